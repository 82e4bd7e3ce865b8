#include "decoder/stream/nal_splitter.h"

#include "decoder/stream/exception.h"

#include <new>

namespace UMC {

namespace {

constexpr uint32_t kUnitMargin = 8; // bytes that a unit may grow by: a longer start code and whole words

} // namespace

NALUnitSplitter::NALUnitSplitter(H264_Heap* pHeap) : m_pHeap(pHeap)
{
    if (!m_NalUnitsInfo.Offsets || !m_NalUnitsInfo.Values) throw std::bad_alloc();
    m_NalUnits.SetExData(&m_NalUnitsInfo);
}

void NALUnitSplitter::Init()
{
    Release();
    m_pSwapper = std::make_unique<Swapper>();
    m_pCodeIterator = std::make_unique<StartCodeIterator>();
    m_IsFirstUnit = true;
}

void NALUnitSplitter::Release()
{
    m_pSwapper.reset();
    m_pCodeIterator.reset();
}

void NALUnitSplitter::Reset()
{
    ReleaseCurrent();
    m_IsFirstUnit = true;
}

void NALUnitSplitter::ReleaseCurrent()
{
    m_pHeap->Free(m_pCurrentPiece);
    DetachCurrent();
}

void NALUnitSplitter::DetachCurrent()
{
    m_pCurrentPiece = nullptr;
    m_NalUnitsInfo.Count = 0;
}

int32_t NALUnitSplitter::CheckNalUnitType(MediaData* pMedia)
{
    return pMedia ? static_cast<int32_t>(m_pCodeIterator->Init(pMedia) & 31) : 0;
}

H264HeapPiece* NALUnitSplitter::GetNalUnits(MediaData* pMedia, MediaDataEx*& pUnits)
{
    pUnits = &m_NalUnits;
    if (!pMedia || m_pCurrentPiece) return m_pCurrentPiece;
    return CutUnit(pMedia);
}

H264HeapPiece* NALUnitSplitter::CutUnit(MediaData* pMedia)
{
    const auto* const pData = static_cast<const uint8_t*>(pMedia->GetDataPointer());
    const uint32_t Code = m_pCodeIterator->Init(pMedia);
    if (Code == 0) {
        m_NalUnitsInfo.Count = 0;
        pMedia->MoveDataPointer(static_cast<int32_t>(pMedia->GetDataSize()));
        return nullptr;
    }
    const uint8_t* const pBegin = m_pCodeIterator->Position();
    const uint8_t* const pEnd = m_pCodeIterator->Next() ? m_pCodeIterator->Position() : pData + pMedia->GetDataSize();
    const auto Size = static_cast<uint32_t>(pEnd - pBegin);
    H264HeapPiece* const pPiece = m_pHeap->Allocate(Size + kUnitMargin);
    if (!pPiece) throw h264_exception(StatusAllocFailed);
    pMedia->MoveDataPointer(static_cast<int32_t>(pEnd - pData));

    uint32_t Packed = 0;
    m_pSwapper->SwapMemory(pPiece->m_pData, Packed, pBegin, Size);
    pPiece->Seal(Packed);
    m_NalUnitsInfo.Values[0] = Code & 31;
    m_NalUnitsInfo.Offsets[0] = 0;
    m_NalUnitsInfo.Offsets[1] = Packed;
    m_NalUnitsInfo.Count = 1;
    m_pCurrentPiece = pPiece;
    return pPiece;
}

} // namespace UMC
