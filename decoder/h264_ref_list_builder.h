// Reference picture lists of a slice, H.264 clauses 8.2.4.1 to 8.2.4.3.
#pragma once

#include "decoder/h264_dpb.h"
#include "decoder/h264_slice.h"
#include "media/umc_status.h"

namespace UMC {

// Builds Slice.m_pRefPicList from the references that are marked now, and numbers them for the slice. A reference that
// is not there is replaced by the last picture of the initial list. StatusInvalidParams, and empty lists, when a P or B
// slice has nothing to refer to.
Status BuildRefPicLists(H264Slice& Slice, H264DBPList& Dpb);

// Distances and implicit weights of a B slice with lists, clauses 8.4.1.2.3 and 8.4.2.3.1.
void ComputeDirectTables(H264Slice& Slice);

} // namespace UMC
