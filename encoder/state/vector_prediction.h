// Prediction of motion vectors (clause 8.4.1) of whole macroblocks in frame pictures.
#pragma once

#include "encoder/state/encoder_core.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

// A neighbouring block's motion: reference -1 when it is not available or not predicted from this list.
struct NeighbourMotion {
    MotionVector mv;
    int32_t ref;
    bool available;
};

template <class Core>
NeighbourMotion MotionOf(const Core& c, int32_t List, int32_t MbIndex, int32_t RasterBlock)
{
    if (MbIndex < 0) return {{0, 0}, -1, false};
    const ptrdiff_t i = static_cast<ptrdiff_t>(MbIndex) * 16 + RasterBlock;
    return {c.current->mb_motion[List][i], c.current->mb_reference[List][i], true};
}

inline int16_t Median(int16_t a, int16_t b, int16_t c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

// Clause 8.4.1.3 for a block whose shape has no neighbour of its own preferred.
inline MotionVector MedianPrediction(const NeighbourMotion& a, const NeighbourMotion& b, const NeighbourMotion& c,
                                     int32_t Ref)
{
    if (!b.available && !c.available && a.available) return a.mv;
    const bool bA = a.ref == Ref, bB = b.ref == Ref, bC = c.ref == Ref;
    if (bA + bB + bC == 1) return bA ? a.mv : bB ? b.mv : c.mv;
    return {Median(a.mv.x, b.mv.x, c.mv.x), Median(a.mv.y, b.mv.y, c.mv.y)};
}

// The neighbours A, B and C of a 16x16 block; D stands in for C (clause 8.4.1.3.2).
struct Neighbours16x16 {
    NeighbourMotion a, b, c;
};

template <class Core>
Neighbours16x16 NeighboursOf16x16(const Core& c, const typename Core::Slice& s, int32_t List)
{
    const auto& mb = s.cur_mb;
    return {MotionOf(c, List, mb.left, 3), MotionOf(c, List, mb.top, 12),
            mb.top_right >= 0 ? MotionOf(c, List, mb.top_right, 12) : MotionOf(c, List, mb.top_left, 15)};
}

// Clause 8.4.1.1: the vector of P_Skip.
inline MotionVector SkipVector(const Neighbours16x16& n)
{
    const MotionVector Zero{0, 0};
    if (!n.a.available || !n.b.available) return Zero;
    if ((n.a.ref == 0 && n.a.mv == Zero) || (n.b.ref == 0 && n.b.mv == Zero)) return Zero;
    return MedianPrediction(n.a, n.b, n.c, 0);
}

} // namespace UMC_H264_ENCODER
