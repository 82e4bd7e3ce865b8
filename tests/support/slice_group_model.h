// Clause 8.2.2 written down formula by formula, apart from the decoder's.
#pragma once

#include "tests/support/h264_stream_writer.h"

#include <vector>

namespace test {

// mapUnitToSliceGroupMap, and the slice group of each macroblock of the slice's picture. All 0 with one slice group.
std::vector<int> MapUnitToSliceGroupMap(const SeqParamSet& Seq, const SliceGroups& Groups, uint32_t ChangeCycle);
std::vector<int> MbToSliceGroupMap(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice);

} // namespace test
