// Boundary strengths of the deblocking filter, H.264 clause 8.7.2.1: what does not depend on how a codec keeps its
// records. The four pieces of an edge are the bytes of a word, the upper or left piece the lowest.
#pragma once

#include "Common/h264/motion_vector.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace h264 {

inline constexpr uint32_t kAllPieces = 0x01010101; // times a strength: an edge with that strength throughout

// Of an outer edge with an intra macroblock on either side, of the top edge of one in a field, and of inner edges.
inline constexpr uint32_t kIntraOuter = 4 * kAllPieces, kIntraFieldTop = 3 * kAllPieces, kIntraInner = 3 * kAllPieces;

/// Strengths of the four edges of one direction of an intra macroblock. Outer: of the first, 0 where it is not
/// filtered. With the 8x8 transform the odd edges lie inside blocks.
inline void SetIntraStrengths(uint32_t Outer, bool Transform8x8, uint32_t (&Edge)[4])
{
    Edge[0] = Outer;
    Edge[2] = kIntraInner;
    Edge[1] = Edge[3] = Transform8x8 ? 0 : kIntraInner;
}

/// Eight bits to eight bytes of 0 or 1, the lowest first.
inline constexpr std::array<uint64_t, 256> kBitsToBytes = [] {
    std::array<uint64_t, 256> Table{};
    for (size_t Bits = 0; Bits < 256; ++Bits)
        for (size_t i = 0; i < 8; ++i) Table[Bits] |= uint64_t{Bits >> i & 1} << (8 * i);
    return Table;
}();

/// Strengths of the four edges of one direction between blocks of inter macroblocks: 2 where a block is coded, else 1
/// where motion differs. Bit 4 * e + i: piece i of edge e.
inline void SpreadStrengths(uint32_t Coded, uint32_t Moves, uint32_t (&Edge)[4])
{
    Moves &= ~Coded;
    for (int i = 0; i < 2; ++i) {
        const uint64_t Pair = kBitsToBytes[Coded >> (8 * i) & 255] * 2 + kBitsToBytes[Moves >> (8 * i) & 255];
        Edge[i * 2] = static_cast<uint32_t>(Pair);
        Edge[i * 2 + 1] = static_cast<uint32_t>(Pair >> 32);
    }
}

/// Whether two vectors of one reference differ by a whole sample: 4 quarter samples, or vertically LimitY, which is 2
/// between fields.
inline bool VectorsDiffer(MotionVector a, MotionVector b, int LimitY)
{
    if (AsWord(a) == AsWord(b)) return false; // mostly so
    const auto Far = [](int d, int Limit) {
        return static_cast<unsigned>(d + Limit - 1) > static_cast<unsigned>(2 * Limit - 2);
    };
    return Far(a.x - b.x, 4) || Far(a.y - b.y, LimitY);
}

} // namespace h264
