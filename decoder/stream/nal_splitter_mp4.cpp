#include "decoder/stream/nal_splitter_mp4.h"

#include "Common/h264/nal_unit_type.h"
#include "decoder/stream/exception.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr uint32_t kRecordLengthSize = 2; // bytes of a length field in the configuration record
constexpr uint32_t kRecordHeaderSize = 6; // up to and with the count of sequence sets

// Walks one list of length-prefixed units. Lengths may lie: what is beyond the end is not there.
class RecordWalker
{
public:
    RecordWalker(const uint8_t* p, const uint8_t* pEnd) : m_p(p), m_pEnd(pEnd) {}

    bool HasUnit() const { return m_pEnd - m_p > static_cast<ptrdiff_t>(kRecordLengthSize); }
    uint32_t StatedLength() const { return HasUnit() ? ReadBigEndian(m_p, kRecordLengthSize) : 0; }
    const uint8_t* Unit() const { return m_p; } // its length field
    uint32_t UnitSize() const                   // length field and as much of the body as is there
    {
        const auto There = static_cast<uint32_t>(m_pEnd - m_p);
        return std::min(StatedLength() + kRecordLengthSize, There);
    }
    uint8_t TypeByte() const { return m_p[kRecordLengthSize]; }
    void Next() { m_p += UnitSize(); }
    uint32_t TakeCount() { return m_p < m_pEnd ? *m_p++ : 0; }

private:
    const uint8_t* m_p;
    const uint8_t* m_pEnd;
};

// Rounds up to whole words.
uint32_t WholeWords(uint32_t Bytes) { return (Bytes + 3) & ~3u; }

} // namespace

void NALUnitSplitterMP4::Init()
{
    Release();
    auto Swap = std::make_unique<SwapperForMP4>();
    auto Iterator = std::make_unique<StartCodeIteratorMP4>();
    m_pSwapperMP4 = Swap.get();
    m_pIteratorMP4 = Iterator.get();
    m_pSwapper = std::move(Swap);
    m_pCodeIterator = std::move(Iterator);
    m_IsFirstUnit = true;
    m_RecordRead = false;
}

int32_t NALUnitSplitterMP4::CheckNalUnitType(MediaData* pMedia)
{
    if (!m_RecordRead) return h264::NAL_SEQ_PARAM_SET;
    m_pIteratorMP4->SetLengthSize(m_LengthSizeMinusOne + 1u);
    return NALUnitSplitter::CheckNalUnitType(pMedia);
}

H264HeapPiece* NALUnitSplitterMP4::GetNalUnits(MediaData* pMedia, MediaDataEx*& pUnits)
{
    pUnits = &m_NalUnits;
    if (!pMedia || m_pCurrentPiece) return m_pCurrentPiece;
    if (!m_RecordRead) return ReadRecord(pMedia);
    m_pIteratorMP4->SetLengthSize(m_LengthSizeMinusOne + 1u);
    return CutUnit(pMedia);
}

H264HeapPiece* NALUnitSplitterMP4::ReadRecord(MediaData* pMedia)
{
    const auto* const pData = static_cast<const uint8_t*>(pMedia->GetDataPointer());
    const auto Size = static_cast<uint32_t>(pMedia->GetDataSize());
    const auto Refuse = [pMedia] {
        pMedia->SetDataSize(0);
        throw h264_exception(StatusInvalidParams);
    };
    if (Size < kRecordHeaderSize) Refuse();
    m_ConfigurationVersion = pData[0];
    m_ProfileIndication = pData[1];
    m_ProfileCompatibility = pData[2];
    m_LevelIndication = pData[3];
    m_LengthSizeMinusOne = pData[4] & 3;
    m_NumSequenceSets = pData[5] & 31;

    // Both lists once for the size. A list of picture sets that is cut short is deliberately not refused.
    uint32_t Total = 0;
    RecordWalker Walker(pData + kRecordHeaderSize, pData + Size);
    for (uint32_t i = 0; i < m_NumSequenceSets; ++i, Walker.Next()) Total += Walker.StatedLength() + 4;
    if (Size + 3 + kRecordLengthSize * m_NumSequenceSets < Total) Refuse();
    m_NumPictureSets = static_cast<uint8_t>(Walker.TakeCount());

    const uint32_t Units = uint32_t{m_NumSequenceSets} + m_NumPictureSets;
    H264HeapPiece* const pPiece = m_pHeap->Allocate(Size + Units * 8); // each grows by a start code and whole words
    if (!pPiece) throw h264_exception(StatusAllocFailed);
    WriteRecordUnits(*pPiece, pData + kRecordHeaderSize, pData + Size);
    pMedia->SetDataSize(0);
    m_RecordRead = true;
    m_pSwapperMP4->SetLengthSize(m_LengthSizeMinusOne + 1u);
    m_pCurrentPiece = pPiece;
    return pPiece;
}

void NALUnitSplitterMP4::WriteRecordUnits(H264HeapPiece& Piece, const uint8_t* pSets, const uint8_t* pEnd)
{
    m_pSwapperMP4->SetLengthSize(kRecordLengthSize);
    RecordWalker Walker(pSets, pEnd);
    uint32_t Count = 0, Offset = 0;
    const auto WriteList = [&](uint32_t Units) {
        for (uint32_t i = 0; i < Units && Walker.HasUnit(); ++i, Walker.Next()) {
            uint32_t Packed = 0;
            m_NalUnitsInfo.Offsets[Count] = Offset;
            m_NalUnitsInfo.Values[Count] = Walker.TypeByte() & 31u;
            m_pSwapperMP4->SwapMemory(Piece.m_pData + Offset / 4, Packed, Walker.Unit(), Walker.UnitSize());
            Offset += WholeWords(Packed);
            ++Count;
        }
    };
    WriteList(m_NumSequenceSets);
    Walker.TakeCount();
    WriteList(m_NumPictureSets);
    m_NalUnitsInfo.Offsets[Count] = Offset;
    m_NalUnitsInfo.Count = Count;
    Piece.Seal(Offset);
}

} // namespace UMC
