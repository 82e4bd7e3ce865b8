// Slice groups, H.264 clause 8.2.2: which macroblock follows which in a picture that has several.
#pragma once

#include "decoder/stream/headers.h"

#include <cstdint>
#include <vector>

namespace UMC {

// Macroblocks of the picture that a header belongs to: of a frame, or of a field.
uint32_t PictureMbs(const H264SeqParamSet& Seq, const SliceHeaderFields& Header);

// Writes for each macroblock of the picture the next one of its slice group; behind the last one comes PictureMbs().
// Pic may have been made for a picture of another size: its groups are cut to this one. Units is scratch, which may
// throw std::bad_alloc before anything is written. The work is bounded by the size of the picture, whatever Pic says.
void FillNextMbMap(const H264SeqParamSet& Seq, const H264PicParamSet& Pic, const SliceHeaderFields& Header,
                   std::vector<uint8_t>& Units, uint32_t* pNextMb);

} // namespace UMC
