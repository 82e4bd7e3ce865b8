#include "kernels/interpolation/interpolation_rows.h"

#include <numeric>

#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr int kHeights[]{2, 4, 8, 16};
constexpr uint8_t kGuard = 0xA5;

// A target of Width x Height with guard rows and columns around it.
struct Target {
    static constexpr ptrdiff_t kStep = 56;
    std::vector<uint8_t> Bytes;
    size_t First;

    Target(int Height, size_t Shift)
        : Bytes(static_cast<size_t>(kStep) * static_cast<size_t>(Height + 4), kGuard), First(2 * kStep + 16 + Shift)
    {
    }
    uint8_t* At() { return Bytes.data() + First; }
    void Put(const Block& b, int Width, int Height)
    {
        for (int y = 0; y < Height; ++y) std::copy_n(b.At(0, y), Width, At() + y * kStep);
    }
};

// Samples that drive both passes of the taps to one end of their range, with the outer and second rows against each
// other: the largest values that can stand between the passes. Repeats every six samples either way.
Block TapsAtTheEnds(int Width, int Height, bool Least)
{
    Block b{std::vector<uint8_t>(static_cast<size_t>(Width * Height)), 0, Width};
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x) {
            const bool NegativeTap = x % 6 == 1 || x % 6 == 4, AgainstIt = y % 6 == 1 || y % 6 == 4;
            *b.At(x, y) = (NegativeTap == AgainstIt) != Least ? 255 : 0;
        }
    return b;
}

template <int Width>
void CheckLumaEnds(InterpolateLumaSig* pFn, InterpolateLumaSig* pReference)
{
    for (const bool Least : {false, true})
        for (int Frac = 0; Frac < 16; ++Frac) {
            const Block Source = TapsAtTheEnds(Width + 5, 21, Least);
            Target Want(16, 0), Got(16, 0);
            pReference(Source.At(2, 2), Source.Step, Want.At(), Target::kStep, Frac & 3, Frac >> 2, 16);
            pFn(Source.At(2, 2), Source.Step, Got.At(), Target::kStep, Frac & 3, Frac >> 2, 16);
            ASSERT_EQ(Got.Bytes, Want.Bytes) << "offset " << (Frac & 3) << ", " << (Frac >> 2);
        }
}

// The source holds exactly the samples that the offset lets the kernel read.
template <int Width>
void CheckLuma(InterpolateLumaSig* pFn, InterpolateLumaSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Height : kHeights)
            for (int Frac = 0; Frac < 16; ++Frac) {
                const int x = Frac & 3, y = Frac >> 2, Left = x ? 2 : 0, Above = y ? 2 : 0;
                const size_t Shift = kShifts[Frac % 4];
                const Block Source =
                    Rng.MakeBlock(How, Width + (x ? 5 : 0), Height + (y ? 5 : 0), Width + 5 + Height, Shift);
                Target Want(Height, 15 - Shift), Got(Height, 15 - Shift);
                pReference(Source.At(Left, Above), Source.Step, Want.At(), Target::kStep, x, y, Height);
                pFn(Source.At(Left, Above), Source.Step, Got.At(), Target::kStep, x, y, Height);
                ASSERT_EQ(Got.Bytes, Want.Bytes) << "offset " << x << ", " << y << ", height " << Height;
            }
    CheckLumaEnds<Width>(pFn, pReference);
}
KERNEL_TEST(InterpolateLuma16, CheckLuma<16>);
KERNEL_TEST(InterpolateLuma8, CheckLuma<8>);
KERNEL_TEST(InterpolateLuma4, CheckLuma<4>);

template <int Width>
void CheckChroma(InterpolateChromaSig* pFn, InterpolateChromaSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Height : kHeights) // 16 rows in 4:2:2
            for (int Frac = 0; Frac < 64; ++Frac) {
                const int x = Frac & 7, y = Frac >> 3;
                const size_t Shift = kShifts[Frac % 4];
                const Block u = Rng.MakeBlock(How, Width + (x ? 1 : 0), Height + (y ? 1 : 0), 23, Shift);
                const Block v = Rng.MakeBlock(How, Width + (x ? 1 : 0), Height + (y ? 1 : 0), 23, 15 - Shift);
                Target WantU(Height, Shift), WantV(Height, 3), GotU = WantU, GotV = WantV;
                pReference(u.At(0, 0), v.At(0, 0), 23, WantU.At(), WantV.At(), Target::kStep, x, y, Height);
                pFn(u.At(0, 0), v.At(0, 0), 23, GotU.At(), GotV.At(), Target::kStep, x, y, Height);
                ASSERT_EQ(GotU.Bytes, WantU.Bytes) << "offset " << x << ", " << y << ", height " << Height;
                ASSERT_EQ(GotV.Bytes, WantV.Bytes) << "offset " << x << ", " << y << ", height " << Height;
            }
}
KERNEL_TEST(InterpolateChroma8, CheckChroma<8>);
KERNEL_TEST(InterpolateChroma4, CheckChroma<4>);
KERNEL_TEST(InterpolateChroma2, CheckChroma<2>);

template <int Width>
void CheckAverage(AverageBlockSig* pFn, AverageBlockSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Height : kHeights)
            for (const size_t Shift : kShifts) {
                const Block a = Rng.MakeBlock(How, Width, Height, 29, Shift);
                Target Want(Height, 15 - Shift);
                Want.Put(Rng.MakeBlock(Fill::Random, Width, Height, 16, 0), Width, Height);
                Target Got = Want;
                pReference(a.At(0, 0), a.Step, Want.At(), Target::kStep, Height);
                pFn(a.At(0, 0), a.Step, Got.At(), Target::kStep, Height);
                ASSERT_EQ(Got.Bytes, Want.Bytes) << "height " << Height << ", shift " << Shift;
            }
}
KERNEL_TEST(AverageBlock16, CheckAverage<16>);
KERNEL_TEST(AverageBlock8, CheckAverage<8>);
KERNEL_TEST(AverageBlock4, CheckAverage<4>);
KERNEL_TEST(AverageBlock2, CheckAverage<2>);

constexpr int kOffsets[]{-128, -1, 0, 3, 127};

template <int Width>
void CheckWeight(WeightBlockSig* pFn, WeightBlockSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (int LogDenom = 0; LogDenom <= 7; ++LogDenom)
            for (const int Weight : {-128, -1, 0, 1, 64, 127, Rng.Range(-128, 127)})
                for (const int Offset : kOffsets) {
                    const int Height = kHeights[Rng.Range(0, 3)];
                    Target Want(Height, kShifts[Rng.Range(0, 3)]);
                    Want.Put(Rng.MakeBlock(How, Width, Height, 16, 0), Width, Height);
                    Target Got = Want;
                    pReference(Want.At(), Target::kStep, Height, LogDenom, Weight, Offset);
                    pFn(Got.At(), Target::kStep, Height, LogDenom, Weight, Offset);
                    ASSERT_EQ(Got.Bytes, Want.Bytes) << LogDenom << ", weight " << Weight << ", offset " << Offset;
                }
}
KERNEL_TEST(WeightBlock16, CheckWeight<16>);
KERNEL_TEST(WeightBlock8, CheckWeight<8>);
KERNEL_TEST(WeightBlock4, CheckWeight<4>);
KERNEL_TEST(WeightBlock2, CheckWeight<2>);

// Every pair of weights that a call may have, on samples whose sums of products are the largest and the least.
template <int Width>
void CheckBiWeightPairs(BiWeightBlockSig* pFn, BiWeightBlockSig* pReference)
{
    constexpr uint8_t kEnds[2][4]{{255, 255, 0, 0}, {255, 0, 255, 0}};
    uint8_t a[Width], b[Width];
    for (int x = 0; x < Width; ++x) {
        a[x] = x < 4 ? kEnds[0][x] : static_cast<uint8_t>(x * 37);
        b[x] = x < 4 ? kEnds[1][x] : static_cast<uint8_t>(x * 91);
    }
    for (int Weight0 = -128; Weight0 <= 128; ++Weight0)
        for (int Weight1 = -128; Weight1 <= 128; ++Weight1) {
            if (Weight0 + Weight1 < -128 || Weight0 + Weight1 > 128) continue;
            const int LogDenom = (Weight0 + Weight1) & 7;
            uint8_t Want[Width], Got[Width];
            std::copy_n(b, Width, Want);
            std::copy_n(b, Width, Got);
            pReference(a, Width, Want, Width, 1, LogDenom, Weight0, Weight1, 2);
            pFn(a, Width, Got, Width, 1, LogDenom, Weight0, Weight1, 2);
            ASSERT_TRUE(std::equal(Want, Want + Width, Got)) << LogDenom << ", weights " << Weight0 << ", " << Weight1;
        }
}

template <int Width>
void CheckBiWeight(BiWeightBlockSig* pFn, BiWeightBlockSig* pReference)
{
    // Weights to the ends of their range, where the sum of products is largest, and implicit pairs, which make 64.
    constexpr int kWeights[][2]{{-128, -128 + 128}, {-128, 128}, {128, -128}, {127, 0}, {64, 63},    {-64, -64}, {0, 0},
                                {32, 32},           {128, -64},  {-63, 127},  {1, 126}, {-128, 127}, {128, -1}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (int LogDenom = 0; LogDenom <= 7; ++LogDenom)
            for (const auto& w : kWeights)
                for (const int Offset : kOffsets) {
                    const int Height = kHeights[Rng.Range(0, 3)];
                    const Block a = Rng.MakeBlock(How, Width, Height, 31, kShifts[Rng.Range(0, 3)]);
                    Target Want(Height, kShifts[Rng.Range(0, 3)]);
                    Want.Put(Rng.MakeBlock(Rng.Range(0, 1) ? How : Fill::ZeroOrMax, Width, Height, 16, 0), Width,
                             Height);
                    Target Got = Want;
                    pReference(a.At(0, 0), a.Step, Want.At(), Target::kStep, Height, LogDenom, w[0], w[1], Offset);
                    pFn(a.At(0, 0), a.Step, Got.At(), Target::kStep, Height, LogDenom, w[0], w[1], Offset);
                    ASSERT_EQ(Got.Bytes, Want.Bytes)
                        << LogDenom << ", weights " << w[0] << ", " << w[1] << ", offset " << Offset;
                }
    CheckBiWeightPairs<Width>(pFn, pReference);
}
KERNEL_TEST(BiWeightBlock16, CheckBiWeight<16>);
KERNEL_TEST(BiWeightBlock8, CheckBiWeight<8>);
KERNEL_TEST(BiWeightBlock4, CheckBiWeight<4>);
KERNEL_TEST(BiWeightBlock2, CheckBiWeight<2>);

void CheckCopyClamped(CopyClampedSig* pFn, CopyClampedSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const int kPlaces[]{-70000, -100, -24, -23, -3, 0, 1, 5, 30, 47, 48, 100, 70000};
    for (const int PlaneWidth : {1, 16, 23, 48})
        for (const int PlaneHeight : {1, 16, 40}) {
            const Block Plane = Rng.MakeBlock(Fill::Random, PlaneWidth, PlaneHeight, PlaneWidth + 3, 5);
            for (const int x : kPlaces)
                for (const int y : kPlaces) {
                    const int Width = Rng.Range(1, 24), Height = Rng.Range(1, 24);
                    Target Want(Height, 3), Got = Want;
                    pReference(Plane.At(0, 0), Plane.Step, PlaneWidth, PlaneHeight, x, y, Want.At(), Target::kStep,
                               Width, Height);
                    pFn(Plane.At(0, 0), Plane.Step, PlaneWidth, PlaneHeight, x, y, Got.At(), Target::kStep, Width,
                        Height);
                    ASSERT_EQ(Got.Bytes, Want.Bytes) << x << ", " << y << ", " << Width << " x " << Height;
                }
        }
}
KERNEL_TEST(CopyClamped, CheckCopyClamped);

template <int Width>
void CheckCopy(CopyBlockSig* pFn, CopyBlockSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Height : kHeights)
        for (const size_t Shift : kShifts) {
            const Block a = Rng.MakeBlock(Fill::Random, Width, Height, 33, Shift);
            Target Want(Height, 15 - Shift), Got = Want;
            pReference(a.At(0, 0), a.Step, Want.At(), Target::kStep, Height);
            pFn(a.At(0, 0), a.Step, Got.At(), Target::kStep, Height);
            ASSERT_EQ(Got.Bytes, Want.Bytes);
        }
}
KERNEL_TEST(CopyBlock16, CheckCopy<16>);
KERNEL_TEST(CopyBlock8, CheckCopy<8>);

// ---- The reference's own results ---------------------------------------------------------------------------

// A column of luma samples 0 0 0 100 100 100: the steps of every offset across it.
int LumaAcrossStep(int FracX, int FracY)
{
    std::vector<uint8_t> Source(9 * 9);
    for (size_t i = 0; i < Source.size(); ++i) Source[i] = i % 9 > 3 ? 100 : 0;
    uint8_t Out[16];
    InterpolateLuma4_px(&Source[2 * 9 + 3], 9, Out, 4, FracX, FracY, 2);
    return Out[0];
}

TEST(InterpolateLumaReference, HalfAndQuarterSamplesAtAStep)
{
    EXPECT_EQ(LumaAcrossStep(0, 0), 0);
    EXPECT_EQ(LumaAcrossStep(2, 0), 50); // (20 - 5 + 1) * 100 / 32
    EXPECT_EQ(LumaAcrossStep(1, 0), 25);
    EXPECT_EQ(LumaAcrossStep(3, 0), 75);
    EXPECT_EQ(LumaAcrossStep(0, 2), 0); // down a column nothing changes
    EXPECT_EQ(LumaAcrossStep(2, 2), 50);
    EXPECT_EQ(LumaAcrossStep(1, 1), 25); // mean of 50 across and 0 down
    EXPECT_EQ(LumaAcrossStep(3, 3), 75); // mean of 50 across and 100 down, one column on
    EXPECT_EQ(LumaAcrossStep(2, 1), 50);
    EXPECT_EQ(LumaAcrossStep(1, 2), 25);
    EXPECT_EQ(LumaAcrossStep(3, 2), 75);
}

TEST(InterpolateLumaReference, TheCentreIsRoundedOnceOnly)
{
    // One sample of 1 beside the centre: 20 * 20 of 1024 stays below a half, and rounding in each pass would give 1.
    std::vector<uint8_t> Source(9 * 9, 0);
    Source[2 * 9 + 2] = 1;
    uint8_t Out[16];
    InterpolateLuma4_px(&Source[2 * 9 + 2], 9, Out, 4, 2, 2, 2);
    EXPECT_EQ(Out[0], 0);
    EXPECT_EQ((20 + 16) >> 5, 1);
}

TEST(InterpolateChromaReference, WeighsFourSamplesByDistance)
{
    const uint8_t u[]{0, 64, 0, 128, 0, 0, 0, 0, 0}, v[]{255, 255, 0, 255, 255, 0, 0, 0, 0};
    uint8_t OutU[4], OutV[4];
    InterpolateChroma2_px(u, v, 3, OutU, OutV, 2, 3, 5, 2);
    EXPECT_EQ(OutU[0], (3 * 3 * 64 + 5 * 5 * 128 + 32) / 64);
    EXPECT_EQ(OutV[0], 255);
}

TEST(AverageBlockReference, RoundsHalfUp)
{
    const uint8_t a[]{4, 255, 0, 0};
    uint8_t Out[]{5, 254, 0, 1};
    AverageBlock2_px(a, 2, Out, 2, 2);
    EXPECT_EQ(std::vector<uint8_t>(Out, Out + 4), (std::vector<uint8_t>{5, 255, 0, 1}));
}

TEST(WeightBlockReference, RoundsBeforeTheOffset)
{
    uint8_t Out[]{10, 200, 11, 0};
    WeightBlock2_px(Out, 2, 2, 5, 48, -3);
    EXPECT_EQ(std::vector<uint8_t>(Out, Out + 4), (std::vector<uint8_t>{12, 255, 14, 0})); // 11 * 1.5 goes up to 17
    uint8_t Plain[]{10, 200, 20, 0};
    WeightBlock2_px(Plain, 2, 2, 0, -1, 20); // without a denominator nothing is rounded
    EXPECT_EQ(std::vector<uint8_t>(Plain, Plain + 4), (std::vector<uint8_t>{10, 0, 0, 20}));
}

TEST(BiWeightBlockReference, WeighsBothPredictions)
{
    const uint8_t a[]{100, 0, 0, 0};
    uint8_t Out[]{50, 255, 0, 0};
    BiWeightBlock2_px(a, 2, Out, 2, 2, 5, 48, 16, 1);
    EXPECT_EQ(Out[0], 89); // (4800 + 800 + 32) / 64 + 1
    EXPECT_EQ(Out[1], 65); // (4080 + 32) / 64 + 1
}

TEST(CopyClampedReference, RepeatsTheBorder)
{
    const uint8_t Plane[]{1, 2, 3, 4};
    uint8_t Out[9];
    CopyClamped_px(Plane, 2, 2, 2, -1, 1, Out, 3, 3, 3);
    EXPECT_EQ(std::vector<uint8_t>(Out, Out + 9), (std::vector<uint8_t>{3, 3, 4, 3, 3, 4, 3, 3, 4}));
}

} // namespace
