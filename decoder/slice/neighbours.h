// Clause 6.4.12: what lies around a macroblock. The only place that knows how the macroblocks of a picture are
// numbered, in frames and fields row by row and in MBAFF frames pair by pair; everyone else asks here.
#pragma once

#include "decoder/picture/mb_info.h"

#include <cstdint>

namespace UMC {

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

// Column and row, in macroblocks, of macroblock Number of a picture. In an MBAFF frame the row of one in a field pair
// is that of a frame macroblock in its place.
struct MbPlace {
    int32_t X, Y;
};
template <bool kMbaff>
inline MbPlace PlaceOf(int32_t Number, int32_t Width)
{
    const int32_t Unit = kMbaff ? Number / 2 : Number;
    return {Unit % Width, kMbaff ? Unit / Width * 2 + (Number & 1) : Unit / Width};
}

// The place behind Place: that of the next number.
template <bool kMbaff>
inline MbPlace NextPlace(MbPlace Place, int32_t Width)
{
    if (kMbaff && !(Place.Y & 1)) return {Place.X, Place.Y + 1};
    if (Place.X + 1 == Width) return {0, Place.Y + 1};
    return {Place.X + 1, kMbaff ? Place.Y - 1 : Place.Y};
}

// How many numbers it is to the same column of the next row, or of the next row of pairs; and the first number of the
// row behind that of Number.
template <bool kMbaff>
inline int32_t RowLength(int32_t Width)
{
    return kMbaff ? 2 * Width : Width;
}
template <bool kMbaff>
inline int32_t NextRow(int32_t Number, int32_t Width)
{
    return (Number / RowLength<kMbaff>(Width) + 1) * RowLength<kMbaff>(Width);
}

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
    // Number as it counts in the frame; X and Y are the place of a frame macroblock in it. A pair is all in one slice.
    template <class F>
    void Find(int32_t Number, int32_t X, int32_t Y, int32_t Width, const MbGlobalInfo* pGlobal, F&& IsUsable)
    {
        m_Pair = Number & ~1;
        m_IsBottom = Number & 1;
        m_pGlobal = pGlobal;
        const MbAround Pairs =
            FindAround(Number / 2, X, Y / 2, Width, [&](int32_t Pair) { return IsUsable(Pair * 2); });
        const auto First = [](int32_t Pair) { return Pair < 0 ? -1 : Pair * 2; };
        m_Around = {First(Pairs.Left), First(Pairs.Top), First(Pairs.TopRight), First(Pairs.TopLeft)};
    }

    // Table 6-4: where row y of the column beside the macroblock, or of its own, lies; y is -1..Height - 1 and
    // Height that of a macroblock in the plane. IsField says what the macroblock is.
    NeighbourRow At(Column Where, int y, int Height, bool IsField) const;

    MbAround Around(bool IsField) const;

    // How many of the pairs to the left and above hold field macroblocks: the context of the pair's flag.
    int FieldPairsAround() const { return IsFieldPair(m_Around.Left) + IsFieldPair(m_Around.Top); }
    // What the pair is taken for where it has no flag, or as long as that has not been read (clause 7.4.4).
    bool InfersField() const { return IsFieldPair(m_Around.Left >= 0 ? m_Around.Left : m_Around.Top); }

private:
    bool IsFieldPair(int32_t Pair) const { return Pair >= 0 && (m_pGlobal[Pair].MbFlags & MBFLAG_FIELD) != 0; }

    int32_t m_Pair = 0; // number of its first macroblock
    bool m_IsBottom = false;
    MbAround m_Around; // first macroblocks of the pairs
    const MbGlobalInfo* m_pGlobal = nullptr;
};

} // namespace UMC
