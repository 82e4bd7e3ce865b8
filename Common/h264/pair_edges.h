// Outer edges of the macroblocks of MBAFF frames, across which macroblocks of the other kind may lie (clause 8.7).
#pragma once

#include <cstdint>

namespace h264 {

// A macroblock and what lies across its outer edges, by number; -1 where there is nothing or it is of another sort.
struct PairPlace {
    int32_t Mb;
    bool IsField;
    int32_t Left = -1, Top = -1; // macroblocks of the same kind, in the same half of their pair
    int32_t MixedLeft = -1;      // the first of a pair of the other kind
    int32_t FrameAbove = -1;     // the lower frame macroblock above a field macroblock
    int32_t FieldsAbove = -1;    // the first of a field pair above a frame macroblock
};

// Macroblock Mb in column X of a frame that is Width macroblocks wide. IsField is asked about the first macroblocks of
// pairs, IsFiltered about those of neighbouring pairs: whether the edge between is to be filtered.
template <class Field, class Filtered>
[[gnu::always_inline]] inline PairPlace FindPairPlace(int32_t Mb, int32_t X, int32_t Width, Field&& IsField,
                                                      Filtered&& IsFiltered)
{
    const int32_t Half = Mb & 1, First = Mb - Half, Left = First - 2, Above = First - 2 * Width;
    PairPlace p{Mb, IsField(First)};
    if (X > 0 && IsFiltered(Left))
        (IsField(Left) == p.IsField ? p.Left : p.MixedLeft) = IsField(Left) == p.IsField ? Left + Half : Left;
    if (!p.IsField && Half == 1) {
        p.Top = First;
    } else if (Above >= 0 && IsFiltered(Above)) {
        if (p.IsField)
            (IsField(Above) ? p.Top : p.FrameAbove) = Above + (IsField(Above) ? Half : 1);
        else
            (IsField(Above) ? p.FieldsAbove : p.Top) = Above + (IsField(Above) ? 0 : 1);
    }
    return p;
}

// Strengths are asked for as Strength(Mb, Block, Other, OtherBlock, Intra): of an edge between both kinds, which makes
// 1 the least, at raster blocks of two macroblocks; Intra is that beside intra samples. A result has a byte for each
// quarter of the edge.

// Of the top edge, whose intra strength is that of fields.
template <class F>
inline uint32_t MixedTopStrengths(int32_t Mb, int32_t Above, F&& Strength)
{
    uint32_t Edge = 0;
    for (int i = 0; i < 4; ++i) Edge |= Strength(Mb, i, Above, 12 + i, 3u) << (8 * i);
    return Edge;
}

// Beside a frame macroblock lie rows of both fields in turn, beside a field macroblock first the rows of the upper and
// then those of the lower frame macroblock. A strength is for two rows of one of the two, which is Part.
template <class F>
inline uint32_t MixedLeftStrengths(const PairPlace& p, int Part, F&& Strength)
{
    const int Half = p.Mb & 1;
    uint32_t Edge = 0;
    for (int i = 0; i < 4; ++i) {
        const int Row = p.IsField ? Part * 2 + i / 2 : i, LeftRow = p.IsField ? i : Half * 2 + i / 2;
        Edge |= Strength(p.Mb, Row * 4, p.MixedLeft + Part, LeftRow * 4 + 3, 4u) << (8 * i);
    }
    return Edge;
}

} // namespace h264
