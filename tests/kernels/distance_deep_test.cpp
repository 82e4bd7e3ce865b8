// Distances of blocks of samples of 2 bytes, and the 8x8 Hadamard distance of both widths.
#include "kernels/distance/distance_rows.h"
#include "tests/kernels/deep_block.h"

#include <array>
#include <bit>
#include <cstdlib>

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr Fill kFills[]{Fill::Random, Fill::AllZero, Fill::AllMax, Fill::ZeroOrMax};

// Every pair of fills at the depths of the encoder, with the steps of a picture and of the encoder's own blocks.
template <int Width, int Height>
void CheckDistance(BlockDistanceDeepSig* pFn, BlockDistanceDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : {8, 9, 10, 12})
        for (const Fill How : kFills)
            for (const Fill Other : kFills) {
                const DeepBlock a = DeepBlock::Random(Rng, How, Width, Height, 16, Depth);
                const DeepBlock b = DeepBlock::Random(Rng, Other, Width, Height, 53, Depth);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step(), b.At(0, 0), b.Step()),
                          pReference(a.At(0, 0), a.Step(), b.At(0, 0), b.Step()))
                    << Depth << " bits";
                // A step of 0 repeats one row, a negative one walks upwards.
                ASSERT_EQ(pFn(a.At(0, 0), 0, b.At(0, Height - 1), -b.Step()),
                          pReference(a.At(0, 0), 0, b.At(0, Height - 1), -b.Step()));
            }
}

#define DISTANCE_TESTS(Width, Height)                                                                                  \
    KERNEL_TEST(Sad##Width##x##Height##Deep, (CheckDistance<Width, Height>));                                          \
    KERNEL_TEST(Satd##Width##x##Height##Deep, (CheckDistance<Width, Height>))
DISTANCE_TESTS(16, 16);
DISTANCE_TESTS(16, 8);
DISTANCE_TESTS(8, 16);
DISTANCE_TESTS(8, 8);
DISTANCE_TESTS(8, 4);
DISTANCE_TESTS(4, 8);
DISTANCE_TESTS(4, 4);
KERNEL_TEST(LargestSad4x4Of16x16Deep, (CheckDistance<16, 16>));
KERNEL_TEST(LargestSad4x4Of8x8Deep, (CheckDistance<8, 8>));

// Also blocks that differ by one value everywhere, on either side of the most that 10 bits give: all of it comes
// together in one sum.
void CheckSatd8x8By8Deep(BlockDistanceDeepSig* pFn, BlockDistanceDeepSig* pReference)
{
    CheckDistance<8, 8>(pFn, pReference);
    for (const int Difference : {1, 511, 1022, 1023, 1024, 1025, 2047, 4094, 4095})
        for (int Last = 0; Last < 2; ++Last) { // the last sample goes the other way
            const DeepBlock a(8, 8, 8, static_cast<uint16_t>(Difference));
            DeepBlock b(8, 8, 8);
            if (Last) *b.At(7, 7) = 4095;
            ASSERT_EQ(pFn(a.At(0, 0), 16, b.At(0, 0), 16), pReference(a.At(0, 0), 16, b.At(0, 0), 16)) << Difference;
            ASSERT_EQ(pFn(b.At(0, 0), 16, a.At(0, 0), 16), pReference(b.At(0, 0), 16, a.At(0, 0), 16)) << Difference;
        }
}
KERNEL_TEST(Satd8x8By8Deep, CheckSatd8x8By8Deep);

void CheckSatd8x8By8(BlockDistanceSig* pFn, BlockDistanceSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const Fill Other : kAllFills)
            for (const size_t Shift : kShifts) {
                const Block a = Rng.MakeBlock(How, 8, 8, 16, Shift), b = Rng.MakeBlock(Other, 8, 8, 53, 15 - Shift);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step),
                          pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step));
                ASSERT_EQ(pFn(a.At(0, 0), 0, b.At(0, 7), -b.Step), pReference(a.At(0, 0), 0, b.At(0, 7), -b.Step));
            }
}
KERNEL_TEST(Satd8x8By8, CheckSatd8x8By8);

void CheckSad16x16x4Deep(FourDistancesDeepSig* pFn, FourDistancesDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kFills) {
        const DeepBlock a = DeepBlock::Random(Rng, How, 16, 16, 16, 12);
        std::array<const uint16_t*, 4> pB;
        std::vector<DeepBlock> b;
        for (const Fill Other : kFills) b.push_back(DeepBlock::Random(Rng, Other, 16, 16, 40, 12));
        for (size_t i = 0; i < 4; ++i) pB[i] = b[i].At(0, 0);
        std::vector<int32_t> Want(6, -7), Got = Want;
        pReference(a.At(0, 0), a.Step(), pB.data(), 80, &Want[1]);
        pFn(a.At(0, 0), a.Step(), pB.data(), 80, &Got[1]);
        ASSERT_EQ(Got, Want);
    }
}
KERNEL_TEST(Sad16x16x4Deep, CheckSad16x16x4Deep);

void CheckSadAverage16x16Deep(AverageDistanceDeepSig* pFn, AverageDistanceDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kFills)
        for (const Fill Other : kFills) {
            const DeepBlock s = DeepBlock::Random(Rng, How, 16, 16, 40, 12);
            const DeepBlock a = DeepBlock::Random(Rng, Other, 16, 16, 32, 12);
            const DeepBlock b = DeepBlock::Random(Rng, How, 16, 16, 61, 12);
            ASSERT_EQ(pFn(s.At(0, 0), s.Step(), a.At(0, 0), a.Step(), b.At(0, 0), b.Step()),
                      pReference(s.At(0, 0), s.Step(), a.At(0, 0), a.Step(), b.At(0, 0), b.Step()));
        }
}
KERNEL_TEST(SadAverage16x16Deep, CheckSadAverage16x16Deep);

void CheckCountEdges16x16Deep(CountEdgesDeepSig* pFn, CountEdgesDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kFills)
        for (const int Difference : {-1, 0, 1, 160, 2000, 4094, 4095, 70000}) {
            const DeepBlock a = DeepBlock::Random(Rng, How, 16, 16, 21, 12);
            ASSERT_EQ(pFn(a.At(0, 0), a.Step(), Difference), pReference(a.At(0, 0), a.Step(), Difference));
        }
}
KERNEL_TEST(CountEdges16x16Deep, CheckCountEdges16x16Deep);

// ---- The reference's own results ---------------------------------------------------------------------------

// Of samples that hold 8 bits every deep form gives what the 8-bit one does; scaled samples scale the result.
TEST(DistanceDeepReference, IsThatOf8BitsInProportion)
{
    constexpr struct {
        BlockDistanceSig* pNarrow;
        BlockDistanceDeepSig* pDeep;
    } kForms[]{{Sad16x16_px, Sad16x16Deep_px},
               {Sad16x8_px, Sad16x8Deep_px},
               {Sad8x16_px, Sad8x16Deep_px},
               {Sad8x8_px, Sad8x8Deep_px},
               {Sad8x4_px, Sad8x4Deep_px},
               {Sad4x8_px, Sad4x8Deep_px},
               {Sad4x4_px, Sad4x4Deep_px},
               {Satd16x16_px, Satd16x16Deep_px},
               {Satd16x8_px, Satd16x8Deep_px},
               {Satd8x16_px, Satd8x16Deep_px},
               {Satd8x8_px, Satd8x8Deep_px},
               {Satd8x4_px, Satd8x4Deep_px},
               {Satd4x8_px, Satd4x8Deep_px},
               {Satd4x4_px, Satd4x4Deep_px},
               {Satd8x8By8_px, Satd8x8By8Deep_px},
               {LargestSad4x4Of16x16_px, LargestSad4x4Of16x16Deep_px},
               {LargestSad4x4Of8x8_px, LargestSad4x4Of8x8Deep_px}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const auto& Form : kForms) {
        const Block a = Rng.MakeBlock(Fill::Random, 16, 16, 23, 0), b = Rng.MakeBlock(Fill::Random, 16, 16, 31, 0);
        DeepBlock DeepA(a), DeepB(b);
        const int32_t Want = Form.pNarrow(a.At(0, 0), a.Step, b.At(0, 0), b.Step);
        EXPECT_EQ(Form.pDeep(DeepA.At(0, 0), DeepA.Step(), DeepB.At(0, 0), DeepB.Step()), Want);
        for (DeepBlock* const p : {&DeepA, &DeepB})
            for (uint16_t& s : p->Samples) s = static_cast<uint16_t>(s * 16);
        EXPECT_EQ(Form.pDeep(DeepA.At(0, 0), DeepA.Step(), DeepB.At(0, 0), DeepB.Step()), 16 * Want);
    }
}

TEST(DistanceDeepReference, OtherFormsAreThoseOf8BitsToo)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const Block s = Rng.MakeBlock(Fill::Random, 16, 16, 23, 0), a = Rng.MakeBlock(Fill::Random, 16, 16, 31, 0);
    const Block b = Rng.MakeBlock(Fill::Random, 16, 16, 31, 0);
    const DeepBlock DeepS(s), DeepA(a), DeepB(b);
    EXPECT_EQ(SadAverage16x16Deep_px(DeepS.At(0, 0), 46, DeepA.At(0, 0), 62, DeepB.At(0, 0), 62),
              SadAverage16x16_px(s.At(0, 0), 23, a.At(0, 0), 31, b.At(0, 0), 31));
    EXPECT_EQ(CountEdges16x16Deep_px(DeepS.At(0, 0), 46, 100), CountEdges16x16_px(s.At(0, 0), 23, 100));
    const uint16_t* const pFour[4]{DeepA.At(0, 0), DeepB.At(0, 0), DeepA.At(0, 0), DeepB.At(0, 0)};
    int32_t Sum[4];
    Sad16x16x4Deep_px(DeepS.At(0, 0), 46, pFour, 62, Sum);
    EXPECT_EQ(Sum[0], Sad16x16_px(s.At(0, 0), 23, a.At(0, 0), 31));
    EXPECT_EQ(Sum[3], Sad16x16_px(s.At(0, 0), 23, b.At(0, 0), 31));
}

// The matrix of Hadamard has a 1 where row and column have an even number of bits in common, and a -1 elsewhere.
TEST(Satd8x8By8Reference, IsTheSumOverTheHadamardMatrix)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const auto Sign = [](unsigned Row, unsigned Column) { return std::popcount(Row & Column) % 2 ? -1 : 1; };
    for (const Fill How : kAllFills) {
        const Block a = Rng.MakeBlock(How, 8, 8, 8, 0), b = Rng.MakeBlock(Fill::Random, 8, 8, 8, 0);
        int32_t Want = 0;
        for (unsigned i = 0; i < 8; ++i)
            for (unsigned j = 0; j < 8; ++j) {
                int Coefficient = 0;
                for (unsigned y = 0; y < 8; ++y)
                    for (unsigned x = 0; x < 8; ++x)
                        Coefficient += Sign(i, y) * Sign(j, x) * (*a.At(x, y) - *b.At(x, y));
                Want += std::abs(Coefficient);
            }
        EXPECT_EQ(Satd8x8By8_px(a.At(0, 0), a.Step, b.At(0, 0), b.Step), Want);
    }
}

TEST(Satd8x8By8Reference, OneDifferentSampleFillsTheTransformAndAFlatDifferenceIsOneCoefficient)
{
    std::vector<uint8_t> a(64, 100), b = a;
    b[19] = 103;
    EXPECT_EQ(Satd8x8By8_px(a.data(), 8, b.data(), 8), 3 * 64);
    std::fill(b.begin(), b.end(), uint8_t{102});
    EXPECT_EQ(Satd8x8By8_px(a.data(), 8, b.data(), 8), 2 * 64);
}

} // namespace
