// Samples for macroblocks that no data came for.
#pragma once

#include "decoder/picture/dpb.h"
#include "decoder/picture/picture_view.h"
#include "decoder/slice/slice.h"

#include <cstdint>

namespace UMC {

// Patches the macroblocks Start..End - 1 of the slice's picture from an older one, and marks the picture as not to be
// shown. Nothing happens for an empty span or slice groups. pDpb may be null: holes are then filled with grey where the
// slice's lists name no picture.
void ConcealMacroblocks(int32_t Start, int32_t End, const H264Slice& Slice, const H264DBPList* pDpb);

// Copies the samples from macroblock Start up to macroblock End, as ranges of memory, from the reference, which is laid
// out alike, or fills them with grey when that is null.
void CopyOrFillRect(int32_t Start, int32_t End, const PictureView& Picture, const PictureView* pReference);
// The same in an MBAFF frame, but for the samples of macroblocks outside of Start..End - 1.
void CopyOrFillPairs(int32_t Start, int32_t End, const PictureView& Picture, const PictureView* pReference);

} // namespace UMC
