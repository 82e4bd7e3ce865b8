#include "encoder/decide/direct_motion.h"

#include "Common/h264/colocated_in_pair.h"
#include "Common/h264/temporal_distance.h"
#include "encoder/code/inter_prediction.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kFurthestDerived = 4 * 2 * kFurthestVector; // quarter samples

// A 4x4 block of the co-located picture, by the list that it moves by.
struct ColBlock {
    int32_t List, Ref; // Ref below 0: it is intra
    MotionVector Vector;
    bool IsField; // frames of pairs: of a field macroblock, whose reference counts fields and whose vector their lines
};

template <class Sample>
ColBlock FindColBlock(const CurrentMacroblock<Sample>& mb, int32_t Raster)
{
    const Reference<Sample>& Col = mb.pSlice->ref_pic_lists.Pictures[1][0];
    bool IsField = mb.pSlice->IsField;
    ptrdiff_t i = ptrdiff_t{mb.mb_index} * 16 + Raster;
    if (mb.pSlice->IsAdaptive) {
        IsField = (Col.pGlobal[mb.mb_index].Flags & kFlagField) != 0;
        const h264::PairBlock At =
            h264::FindInColocatedPair(mb.mb_index, Raster, mb.pSlice->IsField, IsField, mb.pSlice->B.ColField);
        i = ptrdiff_t{At.Mb} * 16 + At.Block;
    }
    const int32_t List = Col.pReferences[0][i] >= 0 ? 0 : 1;
    return {List, Col.pReferences[List][i], Col.pVectors[List][i], IsField};
}

// colZeroFlag of clause 8.4.1.2.2; all references are short-term.
bool IsColZero(const ColBlock& b) { return b.Ref == 0 && std::abs(b.Vector.x) <= 1 && std::abs(b.Vector.y) <= 1; }

// Clause 8.4.1.2.2: references and vectors of the whole macroblock from its neighbours.
template <class Sample>
PartMotion PredictSpatial(const CurrentMacroblock<Sample>& mb)
{
    PartMotion m;
    for (int List = 0; List < 2; ++List) {
        const h264::MotionNeighbours n = mb.Around.Motion[List].Of16x16();
        // As unsigned numbers the negative ones are the largest: the minimum is MinPositive of equation 8-184.
        const auto Unsigned = [](const h264::BlockMotion& b) { return static_cast<uint8_t>(b.RefIdx); };
        const auto Least = static_cast<int8_t>(std::min({Unsigned(n.A), Unsigned(n.B), Unsigned(n.C)}));
        m.Ref[List] = std::max(Least, h264::kRefNone);
        m.Vector[List] = Least < 0 ? MotionVector{0, 0} : h264::PredictMedian(n, Least);
    }
    return m;
}

// Of one block, from the motion of the whole macroblock.
template <class Sample>
PartMotion SpatialOf(const CurrentMacroblock<Sample>& mb, const PartMotion& Whole, int32_t Raster)
{
    if (Whole.Ref[0] < 0 && Whole.Ref[1] < 0) return {{0, 0}, {{0, 0}, {0, 0}}};
    PartMotion m = Whole;
    if (IsColZero(FindColBlock(mb, Raster)))
        for (int List = 0; List < 2; ++List)
            if (m.Ref[List] == 0) m.Vector[List] = {0, 0};
    return m;
}

// The index in list 0 of what a co-located block refers to. In frames of pairs a field macroblock takes the field of a
// frame that has its own parity, or, from a field, that which was referred to.
template <class Sample>
int32_t RefOfCol(const SliceFacts<Sample>& s, const ColBlock& Col)
{
    const bool CountsFields = s.IsAdaptive && Col.IsField;
    const int32_t Ref = s.B.RefOfCol[Col.List][CountsFields ? Col.Ref / 2 : Col.Ref];
    if (Ref < 0 || !s.IsAdaptive || !s.IsField) return Ref;
    return 2 * Ref + (CountsFields ? Col.Ref & 1 : 0);
}

// Clause 8.4.1.2.3. Ref[0] is kRefNone for a reference that is gone.
template <class Sample>
PartMotion TemporalOf(const CurrentMacroblock<Sample>& mb, int32_t Raster)
{
    const BSliceFacts& B = mb.pSlice->B;
    ColBlock Col = FindColBlock(mb, Raster);
    if (Col.Ref < 0) return {{0, 0}, {{0, 0}, {0, 0}}};
    const int32_t Ref = RefOfCol(*mb.pSlice, Col);
    if (Col.IsField != mb.pSlice->IsField) h264::SeeAcrossKinds(mb.pSlice->IsField, Col.Vector, Col.Ref);
    if (Ref < 0) return {{h264::kRefNone, 0}, {{0, 0}, {0, 0}}};
    if (B.DistScale[Ref] == kNotScaled) return {{Ref, 0}, {Col.Vector, {0, 0}}};
    const MotionVector v = h264::ScaleVector(B.DistScale[Ref], Col.Vector);
    return {{Ref, 0}, {v, v - Col.Vector}};
}

bool IsNear(MotionVector v) { return std::abs(v.x) <= kFurthestDerived && std::abs(v.y) <= kFurthestDerived; }

// Puts the motion of a part where it can be used.
bool Put(const PartMotion& From, MotionPart Part, MacroblockMotion& m)
{
    for (int List = 0; List < 2; ++List) {
        m.References[List][Part.Quadrant()] = static_cast<int8_t>(From.Ref[List]);
        m.Set(List, Part.x, Part.y, Part.Width, Part.Height, From.Vector[List]);
    }
    return IsNear(From.Vector[0]) && IsNear(From.Vector[1]);
}

} // namespace

template <class Sample>
bool DeriveDirectMotion(const CurrentMacroblock<Sample>& mb, MacroblockMotion& m)
{
    static constexpr int8_t kCorners[4]{0, 3, 12, 15}; // raster place of the block in a quadrant's outer corner
    const bool IsSpatial = mb.pSlice->B.direct_spatial_mv_pred;
    const bool Inference = mb.pSlice->Syntax.direct_8x8_inference_flag;
    const PartMotion Whole = IsSpatial ? PredictSpatial(mb) : PartMotion{};
    bool IsUsable = true;
    m.Direct = 15;
    for (int q = 0; q < 4; ++q) {
        m.SubTypes[q] = Inference ? SUB_8X8 : SUB_4X4;
        ForEachPartOf(q, m.SubTypes[q], [&](MotionPart Part) {
            const int32_t Raster = Inference ? kCorners[q] : Part.Raster();
            const PartMotion Of = IsSpatial ? SpatialOf(mb, Whole, Raster) : TemporalOf(mb, Raster);
            if (Of.Ref[0] < 0 && !IsSpatial) IsUsable = false;
            IsUsable &= Put(Of, Part, m);
        });
    }
    return IsUsable;
}

template bool DeriveDirectMotion(const CurrentMacroblock<uint8_t>&, MacroblockMotion&);
template bool DeriveDirectMotion(const CurrentMacroblock<uint16_t>&, MacroblockMotion&);

} // namespace UMC_H264_ENCODER
