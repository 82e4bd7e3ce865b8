#include "decoder/picture/frame.h"

#include "decoder/picture/local_mb_memory.h"
#include "media/umc_memory_allocator.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace UMC {

namespace {

constexpr size_t kBlocks = 16;      // 4x4 blocks of a macroblock
constexpr size_t kMbInfoSlack = 80; // bytes: each of the arrays begins on a boundary of 16

uint8_t* Align16(uint8_t* p)
{
    return reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(p) + 15) & ~uintptr_t{15});
}

} // namespace

H264DecoderFrame::H264DecoderFrame()
{
    for (H264DecoderFrameInfo& Au : m_Au) Au.m_pFrame = this;
}

const H264DecoderRefPicList* H264DecoderFrame::RefPicListOf(uint32_t SliceNumber) const
{
    return m_RefPicLists.ListsOf(SliceNumber);
}

H264DecoderFrame::~H264DecoderFrame() { ReleaseMbInfo(); }

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
    for (h264::MotionVector*& pMv : m_MbInfo.pMv)
        pMv = reinterpret_cast<h264::MotionVector*>(Take(Count * kBlocks * sizeof(h264::MotionVector)));
    for (int8_t*& pRefIdx : m_MbInfo.pRefIdx) pRefIdx = reinterpret_cast<int8_t*>(Take(Count * kBlocks));
    m_MbInfo.pGlobal = reinterpret_cast<MbGlobalInfo*>(Take(Count * sizeof(MbGlobalInfo)));
    m_MbCapacity = MbCount;
    ClearMbInfo();
    return StatusOk;
}

void H264DecoderFrame::ClearMbInfo()
{
    const auto Count = static_cast<size_t>(m_MbCapacity);
    for (int List = 0; List < 2 && Count > 0; ++List) {
        std::memset(m_MbInfo.pMv[List], 0, Count * kBlocks * sizeof(h264::MotionVector));
        std::memset(m_MbInfo.pRefIdx[List], -1, Count * kBlocks);
    }
    ClearGlobalMbInfo();
}

void H264DecoderFrame::ClearGlobalMbInfo()
{
    if (m_MbCapacity == 0) return;
    MbGlobalInfo* const p = m_MbInfo.pGlobal;
    *p = MbGlobalInfo{};
    p->SliceId = kNoSlice;
    // Each copy doubles what is filled: blocks are copied faster than records of 8 bytes are written.
    const auto Count = static_cast<size_t>(m_MbCapacity);
    for (size_t Done = 1; Done < Count; Done *= 2)
        std::memcpy(p + Done, p, std::min(Done, Count - Done) * sizeof(MbGlobalInfo));
}

void H264DecoderFrame::Reset()
{
    for (H264DecoderFrameInfo& Au : m_Au) {
        std::vector<H264Slice*> Slices = std::move(Au.m_Slices);
        EmptyTable(Slices);
        Au = H264DecoderFrameInfo{};
        Au.m_pFrame = this;
        Au.m_Slices = std::move(Slices); // keeps the capacity
    }
    m_RefPicLists.Clear();
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
        m_IsShortTerm[Field] = m_IsLongTerm[Field] = false;
        m_BottomFieldFlag[Field] = 0;
    }
}

} // namespace UMC
