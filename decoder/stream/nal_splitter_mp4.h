// Cuts samples of MP4 files into NAL units.
#pragma once

#include "decoder/stream/nal_splitter.h"

#include <cstdint>

namespace UMC {

// Samples of MP4 files: units behind length fields. The first data are the decoder configuration record, all parameter
// sets of which come back in one piece.
class NALUnitSplitterMP4 final : public NALUnitSplitter
{
public:
    explicit NALUnitSplitterMP4(H264_Heap* pHeap) : NALUnitSplitter(pHeap) {}

    void Init() override;
    int32_t CheckNalUnitType(MediaData* pMedia) override;
    H264HeapPiece* GetNalUnits(MediaData* pMedia, MediaDataEx*& pUnits) override;

private:
    H264HeapPiece* ReadRecord(MediaData* pMedia);
    void WriteRecordUnits(H264HeapPiece& Piece, const uint8_t* pSets, const uint8_t* pEnd);

    SwapperForMP4* m_pSwapperMP4 = nullptr; // the strategies of the base, by their own types
    StartCodeIteratorMP4* m_pIteratorMP4 = nullptr;
    uint8_t m_ConfigurationVersion = 1, m_ProfileIndication = 1, m_ProfileCompatibility = 0, m_LevelIndication = 0;
    uint8_t m_LengthSizeMinusOne = 0, m_NumSequenceSets = 0, m_NumPictureSets = 0;
    bool m_RecordRead = false;
};

} // namespace UMC
