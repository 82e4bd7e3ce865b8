// What a slice is, and how far it has got.
#pragma once

#include "decoder/picture/frame.h"
#include "decoder/picture/local_mb_memory.h"
#include "decoder/stream/headers.h"

#include <cstdint>
#include <memory>

namespace UMC {

// What threads may share. Written while the slice's picture is put together; from there to the end of decoding nobody
// writes it: tasks give slices to segment decoders as const.
struct SliceJob {
    SliceHeaderFields m_Header{};
    uint32_t m_WeightsPosition = 0; // of the table of explicit weights in the unit, bits
    const H264PicParamSet* m_pPicParamSet = nullptr;
    const H264SeqParamSet* m_pSeqParamSet = nullptr;
    std::shared_ptr<const void> m_HeldSets[2]; // keep the sets while newer ones come

    H264DecoderFrame* m_pFrame = nullptr;
    const H264DecoderRefPicList* m_pRefPicList = nullptr;
    H264LocalMbBuffers* m_pLocal = nullptr; // of the frame's resource
    const uint32_t* m_pNextMbMap = nullptr; // slice groups only

    int32_t m_MbWidth = 0, m_MbHeight = 0; // of the picture; height halved for a field
    int32_t m_SliceNumber = 0;             // from 1 on, over both fields of a frame
    int32_t m_PicOrderCnt = 0;             // of the picture, before its reference marking
    int32_t m_FirstMbNumber = 0;
    int32_t m_MaxMbNumber = 0; // macroblock at which the slice must stop
    bool m_UsesSliceGroups = false;
    double m_NalTime = -1.0; // of the unit, seconds; below 0 for none
};

// Written by the task broker under its lock, and by the segment decoder whose task gives it.
struct SliceProgress {
    bool InWork = false, Decoded = false, Deblocked = false;
    bool DeblockFromTask = false; // the task that decodes the slice filters it too, or nothing does
    int32_t MbBudget = 0;         // macroblocks that the slice may still take
    int32_t MaxMvDistance = 0;    // rows below its own that the slice reads of its references, at most

    // Carried between tasks of the slice.
    int32_t MbSkipRun = 0, QpLuma = 0, PrevDeltaQp = 0;
};

} // namespace UMC
