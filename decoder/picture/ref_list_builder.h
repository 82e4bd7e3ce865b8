// Reference picture lists of a slice, H.264 clauses 8.2.4.1 to 8.2.4.3.
#pragma once

#include "decoder/picture/dpb.h"
#include "decoder/picture/ref_pic_list.h"
#include "decoder/stream/headers.h"
#include "media/umc_status.h"

namespace UMC {

// What a slice states about its lists.
struct RefListOrder {
    const SliceHeaderFields& Header;
    const RefPicListReordering (&Reordering)[2];
    int32_t MaxFrameNum;
};

// Builds the lists of a slice of Frame from the references that are marked now, and numbers the references for it. A
// reference that is not there is replaced by the last picture of the initial list. StatusInvalidParams, and empty
// lists, when a P or B slice has nothing to refer to.
Status BuildRefPicLists(const RefListOrder& Order, const H264DecoderFrame& Frame, H264DBPList& Dpb,
                        H264DecoderRefPicList& Lists);

} // namespace UMC
