// Clause 6.4.12: what lies around a macroblock. Those of frames and fields are numbered row by row, those of MBAFF
// frames pair by pair.
#pragma once

#include "Common/h264/motion_vector.h"

#include <cstdint>

namespace h264 {

// Macroblocks around one, by number; -1 where there is none that may be used. In MBAFF frames those that hold the
// samples beside the macroblock's first row and above its first line.
struct MbAround {
    int32_t Left = -1, Top = -1, TopRight = -1, TopLeft = -1;
};

// One of two rows or columns of samples away: the macroblock and the row in it. Mb is -1 when it may not be used.
struct NeighbourRow {
    int32_t Mb;
    int Row;
};

enum class Column { Left, Own, Right };

// Clause 6.4.12.1, frames and fields: around macroblock n, number in the frame's arrays, in column X and row Y of a
// picture that is Width macroblocks wide. IsUsable is asked about those inside the picture.
template <class F>
[[gnu::always_inline]] inline MbAround FindAround(int32_t n, int32_t X, int32_t Y, int32_t Width, F&& IsUsable)
{
    const auto Find = [&](bool Inside, int32_t Neighbour) { return Inside && IsUsable(Neighbour) ? Neighbour : -1; };
    return {Find(X > 0, n - 1), Find(Y > 0, n - Width), Find(Y > 0 && X + 1 < Width, n - Width + 1),
            Find(Y > 0 && X > 0, n - Width - 1)};
}

// A macroblock of an MBAFF frame, whose pairs are numbered like macroblocks of other pictures: number 2 * p is the
// upper one (or the top field) of pair p, 2 * p + 1 the other.
class PairNeighbours
{
public:
    // Finds what lies around the pair of macroblock Number, as it counts in the frame, and goes to that macroblock. X
    // and Y are the place of a frame macroblock in it. A pair is all in one slice. IsUsable and IsField are asked about
    // the first macroblock of a pair.
    template <class Usable, class Field>
    void Find(int32_t Number, int32_t X, int32_t Y, int32_t Width, Usable&& IsUsable, Field&& IsField)
    {
        const MbAround Pairs =
            FindAround(Number / 2, X, Y / 2, Width, [&](int32_t Pair) { return IsUsable(Pair * 2); });
        const auto First = [&](int32_t Pair) {
            if (Pair < 0) return PairAround{};
            return PairAround{Pair * 2, IsField(Pair * 2)};
        };
        m_Pair = Number & ~1;
        m_Left = First(Pairs.Left);
        m_Top = First(Pairs.Top);
        m_TopRight = First(Pairs.TopRight);
        m_TopLeft = First(Pairs.TopLeft);
        GoTo(Number);
    }
    // Goes to the upper or the lower macroblock of the pair.
    void GoTo(int32_t Number) { m_IsBottom = Number & 1; }

    // Table 6-4: where row y of the column beside the macroblock, or of its own, lies; y is -1..Height - 1 and
    // Height that of a macroblock in the plane. IsField says what the macroblock is.
    //
    // The table is the geometry of the pair. A row of the macroblock is a line of its pair: every second one in a field
    // macroblock. What lies at that line beside the pair, or that many lines above its end in the pair above, is the
    // neighbour, whichever way that pair is divided.
    [[gnu::always_inline]] NeighbourRow At(Column Where, int y, int Height, bool IsField) const
    {
        int Line = IsField ? 2 * y + m_IsBottom : y + m_IsBottom * Height;
        PairAround Pair;
        if (Line >= 0) {
            if (Where == Column::Left) Pair = m_Left;
            if (Where == Column::Own) Pair = {m_Pair, IsField};
        } else {
            Line += 2 * Height;
            Pair = Where == Column::Left ? m_TopLeft : Where == Column::Own ? m_Top : m_TopRight;
        }
        if (Pair.First < 0) return {-1, 0};
        if (Pair.IsField) return {Pair.First + (Line & 1), Line >> 1};
        return {Pair.First + (Line >= Height), Line >= Height ? Line - Height : Line};
    }

    // The macroblocks that At() gives beside row 0 and above it.
    MbAround Around(bool IsField) const
    {
        const auto Of = [](const PairAround& p, bool Second) { return p.First < 0 ? -1 : p.First + Second; };
        const int32_t Left = Of(m_Left, m_IsBottom && m_Left.IsField == IsField);
        if (!IsField && m_IsBottom) return {Left, m_Pair, -1, Of(m_Left, m_Left.IsField)};
        // The last line of the pair above, or of its field of the same parity.
        const auto Above = [&](const PairAround& p) { return Of(p, m_IsBottom || !IsField || !p.IsField); };
        return {Left, Above(m_Top), Above(m_TopRight), Above(m_TopLeft)};
    }

    // How many of the pairs to the left and above hold field macroblocks: the context of the pair's flag.
    int FieldPairsAround() const { return m_Left.IsField + m_Top.IsField; }
    // What the pair is taken for where it has no flag, or as long as that has not been read (clause 7.4.4).
    bool InfersField() const { return m_Left.First >= 0 ? m_Left.IsField : m_Top.IsField; }

private:
    // The first macroblock of a pair, -1 for none, and whether its macroblocks are those of fields.
    struct PairAround {
        int32_t First = -1;
        bool IsField = false;
    };

    int32_t m_Pair = 0; // number of its first macroblock
    bool m_IsBottom = false;
    PairAround m_Left, m_Top, m_TopRight, m_TopLeft;
};

// Makes motion of a neighbouring macroblock of the other kind what it looks like from a field macroblock, or from a
// frame macroblock: the one counts in fields, the other in frames (clause 8.4.1.3.1). RefIdx is that of a picture.
template <class Index>
inline void SeeAcrossKinds(bool FromField, MotionVector& Mv, Index& RefIdx)
{
    Mv.y = static_cast<int16_t>(FromField ? Mv.y / 2 : Mv.y * 2);
    RefIdx = static_cast<Index>(FromField ? RefIdx * 2 : RefIdx / 2);
}

} // namespace h264
