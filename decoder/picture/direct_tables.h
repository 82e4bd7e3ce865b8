// Distances and weights that B slices derive from picture order counts, clauses 8.4.1.2.3 and 8.4.2.3.1.
#pragma once

#include "Common/h264/temporal_distance.h"
#include "decoder/picture/ref_pic_list.h"
#include "decoder/stream/headers.h"

#include <cstdint>

namespace UMC {

inline constexpr int32_t kNotScaled = 9999; // more than any DistScaleFactor: the vector is taken as it is

// By reference index.
struct H264DirectTables {
    int32_t DistScaleFactor[32];    // temporal direct; kNotScaled where the reference is long-term or at equal distance
    int16_t ImplicitWeight[32][32]; // w1 by list 0 index and list 1 index; w0 is 64 - w1
};

// Of a B slice with lists and the order count of its picture. The weights are made where they are in use.
void ComputeDirectTables(const H264DecoderRefPicList& Lists, const SliceHeaderFields& Header, int32_t PicOrderCnt,
                         bool HasImplicitWeights, H264DirectTables& Tables);

} // namespace UMC
