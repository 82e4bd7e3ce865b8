#include "kernels/distance/distance_rows.h"

#include <numeric>

#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// Every pair of fills and shifts, with the steps of a picture and of the encoder's own 16-byte block.
template <int Width, int Height>
void CheckDistance(BlockDistanceSig* pFn, BlockDistanceSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const Fill Other : kAllFills)
            for (const size_t Shift : kShifts) {
                const Block a = Rng.MakeBlock(How, Width, Height, 16, Shift);
                const Block b = Rng.MakeBlock(Other, Width, Height, 53, 15 - Shift);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step),
                          pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step));
                // A step of 0 repeats one row, a negative one walks upwards.
                ASSERT_EQ(pFn(a.At(0, 0), 0, b.At(0, Height - 1), -b.Step),
                          pReference(a.At(0, 0), 0, b.At(0, Height - 1), -b.Step));
            }
}

#define DISTANCE_TESTS(Width, Height)                                                                                  \
    KERNEL_TEST(Sad##Width##x##Height, (CheckDistance<Width, Height>));                                                \
    KERNEL_TEST(Satd##Width##x##Height, (CheckDistance<Width, Height>))
DISTANCE_TESTS(16, 16);
DISTANCE_TESTS(16, 8);
DISTANCE_TESTS(8, 16);
DISTANCE_TESTS(8, 8);
DISTANCE_TESTS(8, 4);
DISTANCE_TESTS(4, 8);
DISTANCE_TESTS(4, 4);

void CheckFourDistances(FourDistancesSig* pFn, FourDistancesSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const size_t Shift : kShifts) {
            const Block a = Rng.MakeBlock(How, 16, 16, 16, Shift);
            const Block b[4]{Rng.MakeBlock(Fill::Random, 16, 16, 40, 0), Rng.MakeBlock(Fill::ZeroOrMax, 16, 16, 40, 1),
                             Rng.MakeBlock(Fill::AllMax, 16, 16, 40, 2), Rng.MakeBlock(How, 16, 16, 40, 3)};
            const uint8_t* const ppB[4]{b[0].At(0, 0), b[1].At(0, 0), b[2].At(0, 0), b[3].At(0, 0)};
            std::vector<int32_t> Want(6, -7), Got = Want;
            pReference(a.At(0, 0), a.Step, ppB, 40, &Want[1]);
            pFn(a.At(0, 0), a.Step, ppB, 40, &Got[1]);
            ASSERT_EQ(Got, Want);
        }
}
KERNEL_TEST(Sad16x16x4, CheckFourDistances);

void CheckCountEdges(CountEdgesSig* pFn, CountEdgesSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const size_t Shift : kShifts)
            for (const int Difference : {-300, -1, 0, 1, 2, 10, 127, 128, 254, 255, 256, 1000}) {
                const Block a = Rng.MakeBlock(How, 16, 16, 21, Shift);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step, Difference), pReference(a.At(0, 0), a.Step, Difference))
                    << Difference;
            }
}
KERNEL_TEST(CountEdges16x16, CheckCountEdges);

// ---- The reference's own results ---------------------------------------------------------------------------

TEST(DistanceReference, SumsTheMagnitudesOfAllDifferences)
{
    const std::vector<uint8_t> a(256, 200), b(256, 203);
    EXPECT_EQ(Sad16x16_px(a.data(), 16, b.data(), 16), 768);
    EXPECT_EQ(Sad4x8_px(b.data(), 4, a.data(), 4), 96);
    std::vector<uint8_t> Zero(256, 0), Max(256, 255);
    EXPECT_EQ(Sad16x16_px(Zero.data(), 16, Max.data(), 16), 65280);
}

TEST(DistanceReference, OneDifferentSampleFillsTheHadamardTransform)
{
    std::vector<uint8_t> a(16, 100), b = a;
    b[6] = 103;
    EXPECT_EQ(Satd4x4_px(a.data(), 4, b.data(), 4), 3 * 16);
}

TEST(DistanceReference, AFlatDifferenceIsOneCoefficientInEachBlock)
{
    const std::vector<uint8_t> a(64, 10), b(64, 8);
    EXPECT_EQ(Satd8x8_px(a.data(), 8, b.data(), 8), 4 * 16 * 2);
}

TEST(DistanceReference, AlternatingColumnsAreOneCoefficient)
{
    const std::vector<uint8_t> Zero(16, 0);
    std::vector<uint8_t> a(16);
    for (size_t i = 0; i < 16; ++i) a[i] = i % 2 ? 1 : 0;
    EXPECT_EQ(Satd4x4_px(a.data(), 4, Zero.data(), 4), 8 + 8); // the mean and the alternation
}

TEST(CountEdgesReference, ASampleWithTwoEdgesCountsOnce)
{
    std::vector<uint8_t> a(256, 50);
    a[3 * 16 + 4] = 60; // seen from itself, from the left and from above
    EXPECT_EQ(CountEdges16x16_px(a.data(), 16, 9), 3);
    EXPECT_EQ(CountEdges16x16_px(a.data(), 16, 10), 0);
}

TEST(CountEdgesReference, TheLastRowAndColumnAreOnlyNeighbours)
{
    std::vector<uint8_t> a(256, 50);
    a[15 * 16 + 15] = 255; // a neighbour of no sample that counts
    EXPECT_EQ(CountEdges16x16_px(a.data(), 16, 5), 0);
    a[15 * 16 + 14] = 255;
    EXPECT_EQ(CountEdges16x16_px(a.data(), 16, 5), 1);
}

} // namespace
