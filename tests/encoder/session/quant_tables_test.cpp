// The quantisers that Init makes, with and without scaling lists.
#include "encoder/session/quant_tables.h"

#include "Common/h264/h264_tables.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace UMC_H264_ENCODER;

std::unique_ptr<QuantTables> Tables(bool HasMatrix)
{
    auto pTables = std::make_unique<QuantTables>();
    FillQuantTables(HasMatrix, *pTables);
    return pTables;
}

template <class Params>
int32_t Level(int32_t Coefficient, const Params& p, size_t Place)
{
    return static_cast<int32_t>((static_cast<uint64_t>(Coefficient) * p.Factor[Place] + p.Rounding) >> p.Shift);
}

TEST(QuantTables, RoundByAThirdAndASixth)
{
    const auto q = Tables(false);
    EXPECT_EQ(Level(2, q->Intra[0], 0), 1); // (26214 + 10922) >> 15
    EXPECT_EQ(Level(2, q->Inter[0], 0), 0); // (26214 + 5461) >> 15
    EXPECT_EQ(q->Intra8x8[0].Rounding, (1u << 16) / 3);
    EXPECT_EQ(q->Inter8x8[13].Rounding, (1u << 18) / 6);
}

TEST(QuantTables, ReachTheDeepestSamplesAndTheChromaDcOf422)
{
    const auto q = Tables(false);
    ASSERT_EQ(q->Intra.size(), size_t{79}); // QP' 75 of 12 bits and three more
    EXPECT_EQ(q->Intra[78].Shift, 15 + 13);
    EXPECT_EQ(q->Inter8x8[78].Shift, 16 + 13);
}

TEST(QuantTables, AMatrixTakesFourBitsOfShiftAndDividesTheFactors)
{
    const auto q = Tables(true);
    EXPECT_EQ(q->Intra[0].Shift, 11);
    EXPECT_EQ(q->Intra8x8[7].Shift, 13);
    EXPECT_EQ(q->Intra[0].Factor[0], 819); // 13107 / 16
    EXPECT_EQ(q->Inter[0].Rounding, (1u << 11) / 6);
    const uint32_t First = h264::kDefaultScaling8x8[1][0];
    EXPECT_EQ(q->Inter8x8[0].Factor[0], (h264::kQuantFactor8x8[0][0] + First / 2) / First);
}

TEST(QuantTables, ScalesOfAMatrixAreThoseOfTheDefaultInterList)
{
    const auto Flat = Tables(false), Listed = Tables(true);
    for (size_t i = 0; i < 64; ++i) {
        const size_t Place = h264::kZigzag8x8[i];
        for (size_t m = 0; m < 6; ++m) {
            EXPECT_EQ(Flat->Scale8x8[m][Place], 16 * h264::kNormAdjust8x8[m][Place]);
            EXPECT_EQ(Listed->Scale8x8[m][Place], h264::kDefaultScaling8x8[1][i] * h264::kNormAdjust8x8[m][Place]);
        }
    }
    EXPECT_EQ(Listed->Scale[3][0], Flat->Scale[3][0]); // the lists of 4x4 are flat
}

} // namespace
