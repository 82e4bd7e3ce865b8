// Reference picture lists of a slice, H.264 clauses 8.2.4.1 to 8.2.4.3.
#pragma once

#include "decoder/picture/dpb.h"
#include "decoder/slice/slice.h"
#include "media/umc_status.h"

namespace UMC {

// Builds the lists of a slice from the references that are marked now, with the reordering commands of its header, and
// numbers the references for it. A reference that is not there is replaced by the last picture of the initial list.
// StatusInvalidParams, and empty lists, when a P or B slice has nothing to refer to.
Status BuildRefPicLists(const H264Slice& Slice, const RefPicListReordering (&Reordering)[2], H264DBPList& Dpb,
                        H264DecoderRefPicList& Lists);

// The picture order count that a slice of the frame sees as its own.
int32_t OrderCountOfSlice(const H264DecoderFrame& Frame, const SliceHeaderFields& Header);

// Distances and implicit weights, clauses 8.4.1.2.3 and 8.4.2.3.1, of a B slice with lists and the order count of its
// picture. The weights are made where they are in use.
void ComputeDirectTables(const H264DecoderRefPicList& Lists, const SliceHeaderFields& Header, int32_t PicOrderCnt,
                         bool HasImplicitWeights, H264DirectTables& Tables);

} // namespace UMC
