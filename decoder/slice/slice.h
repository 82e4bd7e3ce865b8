// One slice: its header, the parameter sets it refers to, its reader and how far its macroblocks have got.
#pragma once

#include "decoder/picture/frame.h"
#include "decoder/picture/local_mb_memory.h"
#include "decoder/stream/bitstream.h"
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/headers.h"
#include "decoder/stream/heap.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

// A picture may have as many slices as macroblocks, so only what has to wait for decoding is kept of one.
class H264Slice
{
public:
    virtual ~H264Slice() = default;

    // Finds the slice in a unit that the splitter made and reads the start of its header, up to the identifier of its
    // picture parameter set. False rejects the slice.
    bool ReadStart(const H264HeapPiece& Piece);
    // Reads the rest, the parameter sets being known now, and sets the slice up for decoding. False rejects it.
    bool Init(SliceHeaderTables& Tables);
    // Keeps what decoding needs of the unit that was read, MaxBytes at most, and returns how many bytes that takes.
    // True in Detached: the slice reads the piece itself, which m_pNalPiece is to be set to. Throws std::bad_alloc.
    uint32_t KeepUnit(const H264HeapPiece& Piece, uint32_t MaxBytes, bool& Detached);
    void Reset(); // back to the state of a new object; gives the unit back to its heap
    void ReleaseUnit();

    SliceHeaderFields m_Header{};
    H264Bitstream m_Bitstream;
    uint32_t m_WeightsPosition = 0; // of the table of explicit weights in the unit, bits

    const H264PicParamSet* m_pPicParamSet = nullptr;
    const H264SeqParamSet* m_pSeqParamSet = nullptr;
    const H264SeqParamSetExtension* m_pSeqParamSetEx = nullptr;
    std::shared_ptr<const void> m_HeldSets[3]; // keep the sets while newer ones come
    H264DecoderFrame* m_pFrame = nullptr;
    const H264DecoderRefPicList* m_pRefPicList = nullptr;
    H264LocalMbBuffers* m_pLocal = nullptr; // of the frame's resource
    const uint32_t* m_pNextMbMap = nullptr; // slice groups only

    int32_t m_MbWidth = 0, m_MbHeight = 0; // of the picture; height halved for a field
    int32_t m_SliceNumber = 0;             // from 1 on, over both fields of a frame
    int32_t m_PicOrderCnt = 0;             // of the picture, before its reference marking
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

    std::vector<uint32_t> m_OwnUnit;      // a copy of a unit that would leave most of its piece empty
    bool m_IsUnpadded = false;            // no zeros follow the copy: it is read in the segment decoder's place for it
    H264HeapPiece* m_pNalPiece = nullptr; // goes back to m_pNalHeap at Reset
    H264_Heap* m_pNalHeap = nullptr;
    bool m_IsAuxiliary = false; // unit type 19
    double m_NalTime = -1.0;
};

} // namespace UMC
