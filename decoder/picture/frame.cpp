#include "decoder/picture/frame.h"

#include "decoder/picture/local_mb_memory.h"
#include "decoder/slice/slice.h"
#include "media/umc_memory_allocator.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace UMC {

namespace {

constexpr size_t kBlocks = 16;      // 4x4 blocks of a macroblock
constexpr size_t kMbInfoSlack = 80; // bytes: each of the arrays begins on a boundary of 16

constexpr size_t kKeptEntries = 64; // of a frame's tables that it keeps from picture to picture

// Makes room for one more entry.
template <class T>
void Grow(std::vector<T>& Table)
{
    if (Table.size() == Table.capacity()) Table.reserve(std::max(kKeptEntries, 2 * Table.size()));
}

// Empties a table. One that a flood of slices has blown up gives its memory back.
template <class T>
void Empty(std::vector<T>& Table)
{
    Table.clear();
    if (Table.capacity() > kKeptEntries) std::vector<T>().swap(Table);
}

uint8_t* Align16(uint8_t* p)
{
    return reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(p) + 15) & ~uintptr_t{15});
}

} // namespace

bool H264DecoderFrameInfo::IsAllDecoded() const
{
    return std::all_of(m_Slices.begin(), m_Slices.end(),
                       [](const H264Slice* pSlice) { return pSlice->m_Decoded && pSlice->m_Deblocked; });
}

H264DecoderFrame::H264DecoderFrame()
{
    for (H264DecoderFrameInfo& Au : m_Au) Au.m_pFrame = this;
}

H264DecoderFrame::~H264DecoderFrame()
{
    ReleaseMbInfo();
    for (H264DecoderFrameInfo& Au : m_Au)
        for (H264Slice* const pSlice : Au.m_Slices) delete pSlice;
}

void H264DecoderFrame::ReleaseMbInfo()
{
    if (m_MbMemId != 0) {
        m_pAllocator->Unlock(m_MbMemId);
        m_pAllocator->Free(m_MbMemId);
    }
    m_MbMemId = 0;
    m_MbCapacity = 0;
    m_MbInfo = {};
}

Status H264DecoderFrame::AllocateMbInfo(int32_t MbCount)
{
    if (m_MbCapacity == MbCount) return StatusOk;
    ReleaseMbInfo();
    const auto Count = static_cast<size_t>(MbCount);
    constexpr size_t BytesPerMb = 2 * kBlocks * (sizeof(h264::MotionVector) + 1) + sizeof(MbGlobalInfo);
    if (m_pAllocator->Alloc(&m_MbMemId, Count * BytesPerMb + kMbInfoSlack, 0, 16) != StatusOk) return StatusAllocFailed;
    auto* p = static_cast<uint8_t*>(m_pAllocator->Lock(m_MbMemId));
    const auto Take = [&p](size_t Bytes) {
        uint8_t* const pArray = Align16(p);
        p = pArray + Bytes;
        return pArray;
    };
    static_assert(alignof(h264::MotionVector) <= 16 && alignof(MbGlobalInfo) <= 16);
    for (h264::MotionVector*& pMv : m_MbInfo.m_pMv)
        pMv = reinterpret_cast<h264::MotionVector*>(Take(Count * kBlocks * sizeof(h264::MotionVector)));
    for (int8_t*& pRefIdx : m_MbInfo.m_pRefIdx) pRefIdx = reinterpret_cast<int8_t*>(Take(Count * kBlocks));
    m_MbInfo.m_pGlobal = reinterpret_cast<MbGlobalInfo*>(Take(Count * sizeof(MbGlobalInfo)));
    m_MbCapacity = MbCount;
    ClearMbInfo();
    return StatusOk;
}

void H264DecoderFrame::ClearMbInfo()
{
    const auto Count = static_cast<size_t>(m_MbCapacity);
    for (int List = 0; List < 2 && Count > 0; ++List) {
        std::memset(m_MbInfo.m_pMv[List], 0, Count * kBlocks * sizeof(h264::MotionVector));
        std::memset(m_MbInfo.m_pRefIdx[List], -1, Count * kBlocks);
    }
    ClearGlobalMbInfo();
}

void H264DecoderFrame::ClearGlobalMbInfo()
{
    MbGlobalInfo Uncovered{};
    Uncovered.SliceId = kNoSlice;
    std::fill_n(m_MbInfo.m_pGlobal, m_MbCapacity, Uncovered);
}

void H264DecoderFrame::Reset(H264_Heap_Objects<H264Slice>& SliceHeap)
{
    for (H264DecoderFrameInfo& Au : m_Au) {
        for (H264Slice* const pSlice : Au.m_Slices) SliceHeap.Free(pSlice);
        std::vector<H264Slice*> Slices = std::move(Au.m_Slices);
        Empty(Slices);
        Au = H264DecoderFrameInfo{};
        Au.m_pFrame = this;
        Au.m_Slices = std::move(Slices); // keeps the capacity
    }
    Empty(m_RefPicLists);
    Empty(m_RefPicIndices);
    Empty(m_ListNumber);
    m_pLocalMemory.reset();
    m_IsDisplayable = m_WasOutputted = m_IsSkipped = false;
    m_BusyCount = 0;
    m_Released = {};
    m_UserData = H264SEIPayLoad{};
    m_Time = -1.0;
    m_FrameExists = true;
    m_PictureStructure = FRAME_PICTURE;
    m_FrameType = 0;
    m_FrameNum = m_FrameNumWrap = m_LongTermFrameIdx = 0;
    m_ResourceIndex = -1;
    for (int Field = 0; Field < 2; ++Field) {
        m_PicNum[Field] = m_LongTermPicNum[Field] = 0;
        m_RefListResetCount[Field] = m_PicOrderCnt[Field] = 0;
        m_IsShortTerm[Field] = m_IsLongTerm[Field] = m_IsIdr[Field] = false;
        m_BottomFieldFlag[Field] = 0;
    }
}

Status H264DecoderFrame::ReserveSlice(int Field)
try {
    if (!m_pSpareLists) m_pSpareLists = std::make_unique<H264DecoderRefPicList>();
    Grow(m_RefPicLists);
    Grow(m_RefPicIndices);
    Grow(m_ListNumber);
    Grow(m_Au[Field].m_Slices);
    return StatusOk;
} catch (const std::bad_alloc&) {
    return StatusAllocFailed;
}

void H264DecoderFrame::AppendSlice(int Field, H264Slice& Slice)
{
    if (m_RefPicLists.empty() || *m_RefPicLists.back() != *m_pSpareLists) {
        H264RefPicIndices Indices;
        for (int List = 0; List < 2; ++List)
            for (int i = 0; i < 32; ++i) {
                const H264DecoderFrame* const pFrame = m_pSpareLists->List[List].Frame[i];
                Indices.Index[List][i] = pFrame ? static_cast<uint8_t>(pFrame->m_Index) : H264RefPicIndices::kNone;
            }
        m_RefPicIndices.push_back(Indices);
        m_RefPicLists.push_back(std::move(m_pSpareLists));
    }
    m_ListNumber.push_back(static_cast<uint16_t>(m_RefPicLists.size() - 1));
    m_Au[Field].m_Slices.push_back(&Slice);
    Slice.m_SliceNumber = static_cast<int32_t>(m_ListNumber.size());
    Slice.m_pRefPicList = m_RefPicLists.back().get();
}

void H264DecoderFrame::ReleaseSlices(H264_Heap_Objects<H264Slice>& SliceHeap)
{
    for (H264DecoderFrameInfo& Au : m_Au) {
        for (size_t i = 1; i < Au.m_Slices.size(); ++i) SliceHeap.Free(Au.m_Slices[i]);
        if (Au.m_Slices.empty()) continue;
        Au.m_Slices.resize(1);
        Au.m_Slices.front()->ReleaseUnit();
        Au.m_Slices.front()->m_pRefPicList = nullptr;
        Au.m_Status = AuStatus::Finished;
    }
    Empty(m_RefPicLists);
    m_pLocalMemory.reset();
}

const H264DecoderRefPicList* H264DecoderFrame::RefPicListOf(uint32_t SliceNumber) const
{
    if (SliceNumber - 1 >= m_ListNumber.size()) return nullptr;
    const size_t List = m_ListNumber[SliceNumber - 1];
    return List < m_RefPicLists.size() ? m_RefPicLists[List].get() : nullptr;
}

const H264RefPicIndices* H264DecoderFrame::RefPicIndicesOf(uint32_t SliceNumber) const
{
    return SliceNumber - 1 < m_ListNumber.size() ? &m_RefPicIndices[m_ListNumber[SliceNumber - 1]] : nullptr;
}

} // namespace UMC
