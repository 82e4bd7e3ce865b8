#include "encoder/decide/motion_tables.h"

#include <bit>
#include <cstddef>

namespace UMC_H264_ENCODER {

namespace {

// The integer nearest to 2^((QP - 12) / 6), 1 below QP 12.
constexpr std::array<int16_t, 52> kLambda{1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  1,  2,  2,
                                          2,  2,  3,  3,  3,  4,  4,  4,  5,  6,  6,  7,  8,  9,  10, 11, 13, 14,
                                          16, 18, 20, 23, 25, 29, 32, 36, 40, 45, 51, 57, 64, 72, 81, 91};

constexpr std::array<BitCostRow, 52> MakeBitCost()
{
    std::array<BitCostRow, 52> Table{};
    for (std::size_t Qp = 0; Qp < Table.size(); ++Qp)
        for (std::size_t n = 0; n < Table[Qp].size(); ++n)
            Table[Qp][n] = static_cast<int16_t>(static_cast<int>(n) * kLambda[Qp]);
    return Table;
}

// Length of the signed Exp-Golomb code (clause 9.1) of a magnitude.
constexpr uint8_t SignedGolombLength(unsigned Magnitude)
{
    const unsigned CodeNumPlus1 = Magnitude ? 2 * Magnitude : 1;
    return static_cast<uint8_t>(2 * std::bit_width(CodeNumPlus1) - 1);
}

constexpr std::array<uint8_t, 2 * kMaxVectorDifference + 1> MakeBits()
{
    std::array<uint8_t, 2 * kMaxVectorDifference + 1> Table{};
    for (int d = 0; d <= kMaxVectorDifference; ++d) {
        const auto Magnitude = static_cast<unsigned>(d);
        const uint8_t Bits = Magnitude < 128 ? SignedGolombLength(Magnitude)
                                             : static_cast<uint8_t>(SignedGolombLength(Magnitude >> 7) + 14);
        Table[static_cast<std::size_t>(kMaxVectorDifference + d)] = Bits;
        Table[static_cast<std::size_t>(kMaxVectorDifference - d)] = Bits;
    }
    return Table;
}

} // namespace

constinit const std::array<BitCostRow, 52> MVBitCost = MakeBitCost();
constinit const std::array<uint8_t, 2 * kMaxVectorDifference + 1> MVBitsTable = MakeBits();

const std::array<int32_t, 52> ThresholdME{38,  38,  38,  38,  38,  38,  38,  38,  38,  46,  46,  46,  50,
                                          50,  50,  50,  60,  60,  60,  68,  68,  68,  68,  68,  68,  71,
                                          95,  95,  95,  107, 153, 176, 176, 176, 202, 209, 209, 284, 294,
                                          314, 359, 371, 383, 383, 396, 452, 516, 533, 628, 739, 841, 1020};

const std::array<int32_t, 52> SkipIntraThreshold{
    3,   4,   20,  26,  31,  41,   47,   59,   71,   77,   86,   95,   103,  104,  106,  107, 127, 134,
    141, 167, 185, 198, 205, 212,  234,  294,  304,  314,  325,  335,  346,  357,  409,  461, 540, 653,
    741, 765, 790, 815, 840, 1045, 1259, 1340, 1556, 1772, 2006, 2069, 2102, 2134, 2569, 3290};

const std::array<int16_t, 52> TryAdvancedIntraThreshold{
    25,   44,   49,   49,   113,  144,  106,  188,  129,  135,  263,  247,  290,  151,   121,   175,  234,  329,
    356,  484,  501,  529,  685,  714,  795,  719,  649,  761,  804,  990,  1210, 1206,  1805,  1744, 1488, 1731,
    1404, 1138, 2060, 2768, 3139, 3294, 3284, 3628, 4008, 4205, 4645, 7605, 8485, 28887, 32000, 32000};

const std::array<uint8_t, 52> EdgePelDifference{0, 0, 0, 0,  1,  1,  1,  1,  2,  2,  2,  2,  3,  3,  3,  3, 4, 4,
                                                4, 4, 5, 5,  5,  5,  6,  6,  6,  6,  7,  7,  7,  7,  8,  8, 8, 8,
                                                9, 9, 9, 10, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21};

const std::array<uint8_t, 52> EdgePelCount{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                           0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1,
                                           1, 1, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 4, 4};

} // namespace UMC_H264_ENCODER
