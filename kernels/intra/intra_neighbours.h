// Which neighbours an intra block has, and which its modes read, as sets of IntraAvailable.
#pragma once

#include "kernels/intra/intra.h"

#include <cstdint>

namespace kernels {

inline constexpr uint8_t kNeedsAllButTopRight = kLeft | kTop | kTopLeft;

// By mode, of 4x4 and 8x8 blocks (Tables 8-2 and 8-3), 16x16 (Table 8-4) and chroma (Table 8-5). DC takes what is
// there, and the samples above-right are replaced where they are missing.
inline constexpr uint8_t kIntraBlockNeeds[9] = {
    kTop, kLeft, 0, kTop, kNeedsAllButTopRight, kNeedsAllButTopRight, kNeedsAllButTopRight, kTop, kLeft};
inline constexpr uint8_t kIntra16x16Needs[4] = {kTop, kLeft, 0, kNeedsAllButTopRight};
inline constexpr uint8_t kIntraChromaNeeds[4] = {0, kLeft, kTop, kNeedsAllButTopRight};

// Neighbours of the block in column x and row y of a macroblock of Size x Size blocks whose own are Mb (clause 6.4.11).
// Above-right, what lies in this macroblock comes before even rows and columns only, and what lies in the macroblock to
// the right never does.
inline unsigned BlockNeighbours(unsigned Mb, int x, int y, int Size)
{
    unsigned Available = (x > 0 ? kLeft : Mb & kLeft) | (y > 0 ? kTop : Mb & kTop);
    if (x > 0)
        Available |= y > 0 || (Mb & kTop) ? kTopLeft : 0u;
    else if (y > 0)
        Available |= Mb & kLeft ? kTopLeft : 0u;
    else
        Available |= Mb & kTopLeft;
    const bool AtRight = x == Size - 1;
    if (y == 0)
        Available |= (AtRight ? Mb & kTopRight : Mb & kTop) ? kTopRight : 0u;
    else if (!AtRight && !(x == 1 && (y & 1)))
        Available |= kTopRight;
    return Available;
}

} // namespace kernels
