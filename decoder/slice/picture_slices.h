// What a picture does with its slices that takes knowing what a slice is.
#pragma once

#include "decoder/picture/frame.h"
#include "decoder/slice/slice.h"
#include "decoder/stream/heap_objects.h"
#include "media/umc_status.h"

namespace UMC {

using SlicePool = H264_Heap_Objects<H264Slice>;

bool IsAllDecoded(const H264DecoderFrameInfo& Au); // and deblocked
bool IsComplete(const H264DecoderFrameInfo& Au);   // finished, or all that it holds is decoded

// Makes room for one more slice of a field; StatusAllocFailed.
Status ReserveSlice(H264DecoderFrame& Frame, int Field);
// Adds a slice for which room was reserved, with the lists that were written to the spare ones, and gives it its
// number.
void AddSlice(H264DecoderFrame& Frame, int Field, H264Slice& Slice);
// Decoding is over, that of the auxiliary picture too: what only it needs goes back. The first slice of each field
// stays, for the comparison with the next picture's.
void ReleaseSlices(H264DecoderFrame& Frame, SlicePool& Pool);
// Gives every slice back, and the frame is as a new one. So is that of its auxiliary picture.
void ResetFrame(H264DecoderFrame& Frame, SlicePool& Pool);

} // namespace UMC
