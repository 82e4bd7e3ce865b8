// The slices of a picture that is being put together or decoded.
#pragma once

#include "decoder/stream/headers.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace UMC {

class H264Slice; // known to the floors above only: a picture holds slices and never looks into one
class H264DecoderFrame;

enum class AuStatus : int32_t { Empty = 0, SecondFieldExpected = 1, Ready = 2, Finished = 3, InBroker = 4 };

// The slices of one field, or of a frame, and how far they have got. Part of its frame: the session fills it until it
// is Ready; from then on the task broker writes status, places and link under its lock, up to the end of decoding.
struct H264DecoderFrameInfo {
    H264DecoderFrame* m_pFrame = nullptr;
    std::vector<H264Slice*> m_Slices; // in decoding order; the slice pool owns them
    AuStatus m_Status = AuStatus::Empty;
    size_t m_NextToDecode = 0, m_NextToDeblock = 0; // slices in front of these need no look any more
    bool m_NeedsDeblocking = false;                 // any slice has disable_deblocking_filter_idc other than 1
    bool m_IsReference = false, m_UsesSliceGroups = false;
    uint64_t m_UnitBytes = 0;                // kept of the slices' units
    AdaptiveMarking m_Marking;               // of the first slice, where its header has commands
    H264DecoderFrameInfo* m_pNext = nullptr; // in the list that the broker draws tasks from
};

} // namespace UMC
