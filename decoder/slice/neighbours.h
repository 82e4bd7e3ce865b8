// The only place that knows how the macroblocks of a picture are numbered, in frames and fields row by row and in MBAFF
// frames pair by pair; everyone else asks here.
#pragma once

#include "Common/h264/mb_neighbours.h"

#include <cstdint>

namespace UMC {

using h264::Column;
using h264::FindAround;
using h264::MbAround;
using h264::NeighbourRow;
using h264::PairNeighbours;

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

} // namespace UMC
