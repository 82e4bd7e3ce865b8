// Where a picture ends and what it may hold, told from the headers of slices.
#pragma once

#include "decoder/slice/slice.h"

#include <cstdint>

namespace UMC {

// Whether a slice continues the picture that First began, clause 7.4.1.2.4. Beyond the clause a new picture begins with
// a slice that repeats First's first macroblock, and where the content of the sequence parameter set has changed: its
// pictures may be of another size. A new content of the picture parameter set that both slices name ends no picture.
bool IsSamePicture(const H264Slice& First, const H264Slice& Slice);
// Whether a slice of an auxiliary picture goes with the primary picture of the slice First.
bool IsAuxiliaryOf(const H264Slice& First, const H264Slice& Slice);

// Whether a slice begins the second field of the frame whose first field First began. A field of an IDR picture never
// does: behind a field that lost its partner every pair from there on would be made of the wrong fields.
bool IsSecondField(const H264DecoderFrame& Frame, const H264Slice& First, const H264Slice& Slice);

// Bytes that the units of a slice's picture may take together: twice the bits that its macroblocks may take, 128 more
// each than their samples (clause A.3.1), and room for headers.
uint32_t MaxUnitBytes(const H264Slice& Slice);

} // namespace UMC
