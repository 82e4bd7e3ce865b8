// One slice: its header, the parameter sets it refers to, its reader and how far its macroblocks have got.
#pragma once

#include "decoder/h264_bitstream.h"
#include "decoder/h264_cabac.h"
#include "decoder/h264_frame.h"
#include "decoder/h264_headers.h"
#include "decoder/h264_heap.h"

#include <cstdint>

namespace UMC {

// Per-picture macroblock records that live while the picture is decoded; entries by macroblock number.
struct H264LocalMbBuffers {
    MbLocalInfo* m_pLocal = nullptr;
    MbMvd* m_pMvd[2] = {};             // by list: vector differences, for CABAC contexts
    uint8_t* m_pIntraModes = nullptr;  // 16 a macroblock: Intra 4x4 modes, raster of blocks
    uint8_t* m_pCoeffCounts = nullptr; // 48 a macroblock: total_coeff of luma (16), Cb and Cr blocks, raster
};

class H264Slice
{
public:
    virtual ~H264Slice() = default;

    // Finds the slice in a unit that the splitter made and reads the start of its header, up to the identifier of its
    // picture parameter set. False rejects the slice.
    bool ReadStart(const H264HeapPiece& Piece);
    // Reads the rest, the parameter sets being known now, and sets the slice up for decoding. False rejects it.
    bool Init();
    void Reset(); // back to the state of a new object; gives the unit back to its heap
    void ReleaseUnit();

    SliceHeaderFields m_Header{};
    RefPicListReordering m_Reordering[2]{};
    AdaptiveMarking m_Marking{};
    PredWeight m_Weights[2][32]{};
    H264Bitstream m_Bitstream;
    CabacDecoder m_Cabac;

    const H264PicParamSet* m_pPicParamSet = nullptr;
    const H264SeqParamSet* m_pSeqParamSet = nullptr;
    const H264SeqParamSetExtension* m_pSeqParamSetEx = nullptr;
    H264DecoderFrame* m_pFrame = nullptr;
    H264DecoderRefPicList* m_pRefPicList = nullptr;
    H264LocalMbBuffers* m_pLocal = nullptr; // of the frame's resource
    const uint32_t* m_pNextMbMap = nullptr; // slice groups only

    int32_t m_MbWidth = 0, m_MbHeight = 0; // of the picture; height halved for a field
    int32_t m_SliceNumber = 0;
    int32_t m_FirstMbNumber = 0;
    int32_t m_MaxMbNumber = 0; // macroblock at which the slice must stop
    int32_t m_PictureOffset = 0;
    bool m_UsesSliceGroups = false;
    int32_t m_MbBudget = 0;

    // Progress and state flags that the task broker keeps under its lock.
    int32_t m_CurrentMbDecode = 0, m_CurrentMbReconstruct = 0, m_CurrentMbDeblock = 0;
    bool m_InWork = false, m_DecodeAvailable = false, m_ReconstructAvailable = false, m_DeblockAvailable = false;
    bool m_Decoded = false, m_DeblockFromTask = false, m_Deblocked = false;
    bool m_ErrorDetected = false;
    int32_t m_MaxMvDistance = 0;

    // Carried between tasks of the slice.
    int32_t m_MbSkipRun = 0, m_QpLuma = 0, m_PrevDeltaQp = 0;
    bool m_IsBottom = false, m_NotFirstSlice = false;

    H264HeapPiece* m_pNalPiece = nullptr; // goes back to m_pNalHeap at Reset
    H264_Heap* m_pNalHeap = nullptr;
    bool m_IsAuxiliary = false;       // unit type 19
    H264Slice* m_pNextFree = nullptr; // link of the slice heap
    double m_NalTime = -1.0;
};

} // namespace UMC
