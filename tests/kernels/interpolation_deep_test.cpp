// Inter prediction of samples of 2 bytes: as the 8-bit kernels have it where they hold 8 bits, and as the standard
// writes it down above.
#include "kernels/interpolation/interpolation_rows.h"
#include "tests/kernels/deep_block.h"
#include "tests/support/inter_reference.h"
#include "tests/support/kernel_testing.h"

#include <algorithm>

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr int kHeights[]{2, 4, 8, 16};
constexpr int kDeepDepths[]{10, 14};
constexpr int kAllDepths[]{8, 9, 10, 12, 14};

// A target with guards around it, the same for both sample types.
struct Targets {
    static constexpr ptrdiff_t kPitch = 40;
    std::vector<uint8_t> Narrow;
    std::vector<uint16_t> Deep;

    explicit Targets(int Height, uint8_t Value = 0xA5)
        : Narrow(static_cast<size_t>(kPitch * (Height + 4)), Value), Deep(Narrow.begin(), Narrow.end())
    {
    }
    static Targets Random(TestRandom& Rng, Fill How, int Height)
    {
        Targets t(Height);
        t.Narrow = Rng.Bytes(How, t.Narrow.size());
        t.Deep.assign(t.Narrow.begin(), t.Narrow.end());
        return t;
    }
    uint8_t* NarrowAt() { return Narrow.data() + 2 * kPitch + 8; }
    uint16_t* DeepAt() { return Deep.data() + 2 * kPitch + 8; }
    void ExpectEqual() const { ASSERT_EQ(Deep, std::vector<uint16_t>(Narrow.begin(), Narrow.end())); }
};
constexpr ptrdiff_t kNarrowStep = Targets::kPitch, kDeepStep = 2 * Targets::kPitch;

// ---- 8 bits ------------------------------------------------------------------------------------------------

TEST(InterpolateLumaDeep, OfEightBitsIsThe8BitKernels)
{
    constexpr std::pair<int, InterpolateLumaSig*> kKernels[]{
        {16, InterpolateLuma16_px}, {8, InterpolateLuma8_px}, {4, InterpolateLuma4_px}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const auto& [Width, pNarrow] : kKernels)
        for (const Fill How : kAllFills)
            for (const int Height : kHeights)
                for (int Frac = 0; Frac < 16; ++Frac) { // the source holds what the offset lets the kernel read
                    const int x = Frac & 3, y = Frac >> 2, Left = x ? 2 : 0, Above = y ? 2 : 0;
                    const Block Source = Rng.MakeBlock(How, Width + (x ? 5 : 0), Height + (y ? 5 : 0), Width + 9, 0);
                    const DeepBlock Deep(Source);
                    Targets t(Height);
                    pNarrow(Source.At(Left, Above), Source.Step, t.NarrowAt(), kNarrowStep, x, y, Height);
                    InterpolateLumaDeep_px(Deep.At(Left, Above), Deep.Step(), t.DeepAt(), kDeepStep, x, y, Width,
                                           Height, 8);
                    ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << Width << ": offset " << x << ", " << y;
                }
}

TEST(InterpolateChromaDeep, OfEightBitsIsThe8BitKernels)
{
    constexpr std::pair<int, InterpolateChromaSig*> kKernels[]{
        {8, InterpolateChroma8_px}, {4, InterpolateChroma4_px}, {2, InterpolateChroma2_px}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const auto& [Width, pNarrow] : kKernels)
        for (const Fill How : kAllFills)
            for (const int Height : kHeights)
                for (int Frac = 0; Frac < 64; ++Frac) {
                    const int x = Frac & 7, y = Frac >> 3;
                    const Block u = Rng.MakeBlock(How, Width + (x ? 1 : 0), Height + (y ? 1 : 0), 13, 0);
                    const Block v = Rng.MakeBlock(How, Width + (x ? 1 : 0), Height + (y ? 1 : 0), 13, 0);
                    const DeepBlock DeepU(u), DeepV(v);
                    Targets tu(Height), tv(Height);
                    pNarrow(u.At(0, 0), v.At(0, 0), 13, tu.NarrowAt(), tv.NarrowAt(), kNarrowStep, x, y, Height);
                    InterpolateChromaDeep_px(DeepU.At(0, 0), DeepV.At(0, 0), 26, tu.DeepAt(), tv.DeepAt(), kDeepStep, x,
                                             y, Width, Height);
                    ASSERT_NO_FATAL_FAILURE(tu.ExpectEqual()) << Width << ": offset " << x << ", " << y;
                    ASSERT_NO_FATAL_FAILURE(tv.ExpectEqual()) << Width << ": offset " << x << ", " << y;
                }
}

TEST(AverageBlockDeep, OfEightBitsIsThe8BitKernels)
{
    constexpr std::pair<int, AverageBlockSig*> kKernels[]{
        {16, AverageBlock16_px}, {8, AverageBlock8_px}, {4, AverageBlock4_px}, {2, AverageBlock2_px}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const auto& [Width, pNarrow] : kKernels)
        for (const Fill How : kAllFills)
            for (const int Height : kHeights) {
                const Block a = Rng.MakeBlock(How, Width, Height, 29, 0);
                const DeepBlock Deep(a);
                Targets t = Targets::Random(Rng, Fill::Random, Height);
                pNarrow(a.At(0, 0), a.Step, t.NarrowAt(), kNarrowStep, Height);
                AverageBlockDeep_px(Deep.At(0, 0), Deep.Step(), t.DeepAt(), kDeepStep, Width, Height);
                ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << Width << " x " << Height;
            }
}

TEST(WeightBlockDeep, OfEightBitsIsThe8BitKernels)
{
    constexpr std::pair<int, WeightBlockSig*> kKernels[]{
        {16, WeightBlock16_px}, {8, WeightBlock8_px}, {4, WeightBlock4_px}, {2, WeightBlock2_px}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const auto& [Width, pNarrow] : kKernels)
        for (const int Height : kHeights)
            for (int LogDenom = 0; LogDenom <= 7; ++LogDenom)
                for (const int Weight : {-128, -1, 1, 64, 127, Rng.Range(-128, 127)}) {
                    const int Offset = Rng.Range(-128, 127);
                    Targets t = Targets::Random(Rng, Fill::Random, Height);
                    pNarrow(t.NarrowAt(), kNarrowStep, Height, LogDenom, Weight, Offset);
                    WeightBlockDeep_px(t.DeepAt(), kDeepStep, Width, Height, LogDenom, Weight, Offset, 8);
                    ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << Width << ": " << LogDenom << ", weight " << Weight;
                }
}

TEST(BiWeightBlockDeep, OfEightBitsIsThe8BitKernels)
{
    constexpr std::pair<int, BiWeightBlockSig*> kKernels[]{
        {16, BiWeightBlock16_px}, {8, BiWeightBlock8_px}, {4, BiWeightBlock4_px}, {2, BiWeightBlock2_px}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const auto& [Width, pNarrow] : kKernels)
        for (const int Height : kHeights)
            for (int LogDenom = 0; LogDenom <= 7; ++LogDenom)
                for (const auto& [w0, w1] : {std::pair{-128, 0}, {128, -1}, {64, 63}, {-63, 127}, {32, 32}}) {
                    const int Offset = Rng.Range(-128, 127);
                    const Block a = Rng.MakeBlock(Fill::Random, Width, Height, 31, 0);
                    const DeepBlock Deep(a);
                    Targets t = Targets::Random(Rng, Fill::Random, Height);
                    pNarrow(a.At(0, 0), a.Step, t.NarrowAt(), kNarrowStep, Height, LogDenom, w0, w1, Offset);
                    BiWeightBlockDeep_px(Deep.At(0, 0), Deep.Step(), t.DeepAt(), kDeepStep, Width, Height, LogDenom, w0,
                                         w1, Offset, 8);
                    ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << Width << ": " << LogDenom << ", " << w0 << ", " << w1;
                }
}

TEST(CopyClampedDeep, OfEightBitsIsThe8BitKernel)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const Block Plane = Rng.MakeBlock(Fill::Random, 23, 17, 26, 0);
    const DeepBlock Deep(Plane);
    for (const int x : {-70000, -24, -3, 0, 5, 20, 70000})
        for (const int y : {-70000, -23, -1, 0, 9, 16, 70000}) {
            const int Width = Rng.Range(1, 24), Height = Rng.Range(1, 24);
            Targets t(Height);
            CopyClamped_px(Plane.At(0, 0), Plane.Step, 23, 17, x, y, t.NarrowAt(), kNarrowStep, Width, Height);
            CopyClampedDeep_px(Deep.At(0, 0), Deep.Step(), 23, 17, x, y, t.DeepAt(), kDeepStep, Width, Height);
            ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << x << ", " << y;
        }
}

TEST(CopyBlockDeep, MovesEverySampleAndNoOther)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Width : {16, 8})
        for (const int Height : kHeights) {
            const DeepBlock Source = DeepBlock::Random(Rng, Fill::Random, Width, Height, 21, 16);
            DeepBlock Out(Width + 3, Height, Width + 3, 0xA5A5);
            CopyBlockDeep_px(Source.At(0, 0), Source.Step(), Out.At(0, 0), Out.Step(), Width, Height);
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < Width + 3; ++x) ASSERT_EQ(*Out.At(x, y), x < Width ? *Source.At(x, y) : 0xA5A5);
        }
}

// ---- Deeper ------------------------------------------------------------------------------------------------

// Runs Kernel into a target of its own and compares every sample with Want(x, y).
template <class F, class G>
void ExpectSamples(int Width, int Height, const F& Kernel, const G& Want)
{
    DeepBlock Got(Width, Height, Width + 3, 0xA5A5);
    Kernel(Got);
    for (int y = 0; y < Height; ++y) {
        for (int x = 0; x < Width; ++x) ASSERT_EQ(*Got.At(x, y), Want(x, y)) << x << ", " << y;
        for (int x = Width; x < Width + 3 && y < Height - 1; ++x) ASSERT_EQ(*Got.At(x, y), 0xA5A5) << x << ", " << y;
    }
}

TEST(InterpolateLumaDeep, IsAsTheStandardHasIt)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kDeepDepths)
        for (const Fill How : kDeepFills)
            for (const int Width : {16, 8, 4})
                for (int Frac = 0; Frac < 16; ++Frac) {
                    SCOPED_TRACE(testing::Message() << Depth << " bits, offset " << Frac / 4 << ", " << Frac % 4);
                    const DeepBlock Source = DeepBlock::Random(Rng, How, Width + 5, 8 + 5, Width + 7, Depth);
                    ExpectSamples(
                        Width, 8,
                        [&](DeepBlock& Out) {
                            InterpolateLumaDeep_px(Source.At(2, 2), Source.Step(), Out.At(0, 0), Out.Step(), Frac / 4,
                                                   Frac % 4, Width, 8, Depth);
                        },
                        [&](int x, int y) {
                            const auto At = [&](int i, int j) { return int{*Source.At(2 + x + i, 2 + y + j)}; };
                            return test::LumaSample(At, Frac / 4, Frac % 4, Depth);
                        });
                }
}

TEST(InterpolateChromaDeep, IsAsTheStandardHasIt)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kDeepDepths)
        for (const Fill How : kDeepFills)
            for (const int Width : {16, 8, 4, 2})
                for (int Frac = 0; Frac < 64; ++Frac) {
                    SCOPED_TRACE(testing::Message() << Depth << " bits, offset " << Frac / 8 << ", " << Frac % 8);
                    const DeepBlock u = DeepBlock::Random(Rng, How, Width + 1, 16 + 1, Width + 3, Depth);
                    const DeepBlock v = DeepBlock::Random(Rng, How, Width + 1, 16 + 1, Width + 3, Depth);
                    for (const DeepBlock* const pPlane : {&u, &v})
                        ExpectSamples(
                            Width, 16,
                            [&](DeepBlock& Out) {
                                DeepBlock Other = Out;
                                InterpolateChromaDeep_px(u.At(0, 0), v.At(0, 0), u.Step(),
                                                         pPlane == &u ? Out.At(0, 0) : Other.At(0, 0),
                                                         pPlane == &u ? Other.At(0, 0) : Out.At(0, 0), Out.Step(),
                                                         Frac / 8, Frac % 8, Width, 16);
                            },
                            [&](int x, int y) {
                                const auto At = [&](int i, int j) { return int{*pPlane->At(x + i, y + j)}; };
                                return test::ChromaSample(At, Frac / 8, Frac % 8);
                            });
                }
}

TEST(AverageBlockDeep, RoundsHalfUp)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kDeepDepths)
        for (const Fill How : kDeepFills)
            for (const int Width : {16, 8, 4, 2}) {
                const DeepBlock a = DeepBlock::Random(Rng, How, Width, 8, 17, Depth);
                const DeepBlock b = DeepBlock::Random(Rng, How, Width + 3, 8, Width + 3, Depth);
                DeepBlock Out = b;
                AverageBlockDeep_px(a.At(0, 0), a.Step(), Out.At(0, 0), Out.Step(), Width, 8);
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < Width + 3; ++x)
                        ASSERT_EQ(*Out.At(x, y), x < Width ? (*a.At(x, y) + *b.At(x, y) + 1) / 2 : *b.At(x, y));
            }
}

// Offsets are given as the slice header has them, and scaled for the kernel.
TEST(WeightBlockDeep, IsAsTheStandardHasIt)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kDeepDepths)
        for (const Fill How : kDeepFills)
            for (int LogDenom = 0; LogDenom <= 7; ++LogDenom)
                for (const int Weight : {-128, -1, 0, 1, 127, Rng.Range(-128, 127)}) {
                    const int Width = 2 << Rng.Range(0, 3), Offset = Rng.Range(-128, 127);
                    const DeepBlock Before = DeepBlock::Random(Rng, How, Width + 3, 8, Width + 3, Depth);
                    DeepBlock Out = Before;
                    WeightBlockDeep_px(Out.At(0, 0), Out.Step(), Width, 8, LogDenom, Weight,
                                       Offset * (1 << (Depth - 8)), Depth);
                    for (int y = 0; y < 8; ++y)
                        for (int x = 0; x < Width + 3; ++x)
                            ASSERT_EQ(*Out.At(x, y), x < Width ? test::WeightedSample(*Before.At(x, y), LogDenom,
                                                                                      {Weight, Offset}, Depth)
                                                               : *Before.At(x, y))
                                << Depth << " bits, " << LogDenom << ", weight " << Weight << ", offset " << Offset;
                }
}

TEST(BiWeightBlockDeep, IsAsTheStandardHasIt)
{
    constexpr int kWeights[][2]{{-128, 0}, {-128, 128}, {128, -1}, {127, 0},
                                {64, 63},  {-64, -64},  {32, 32},  {128, -64}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kDeepDepths)
        for (const Fill How : kDeepFills)
            for (int LogDenom = 0; LogDenom <= 7; ++LogDenom)
                for (const auto& w : kWeights) {
                    const int Width = 2 << Rng.Range(0, 3), o0 = Rng.Range(-128, 127), o1 = Rng.Range(-128, 127);
                    const DeepBlock a = DeepBlock::Random(Rng, How, Width, 8, 17, Depth);
                    const DeepBlock b = DeepBlock::Random(Rng, Fill::Random, Width + 3, 8, Width + 3, Depth);
                    DeepBlock Out = b;
                    BiWeightBlockDeep_px(a.At(0, 0), a.Step(), Out.At(0, 0), Out.Step(), Width, 8, LogDenom, w[0], w[1],
                                         (o0 + o1) * (1 << (Depth - 9)), Depth);
                    for (int y = 0; y < 8; ++y)
                        for (int x = 0; x < Width + 3; ++x)
                            ASSERT_EQ(*Out.At(x, y), x < Width
                                                         ? test::WeightedSample(*a.At(x, y), *b.At(x, y), LogDenom,
                                                                                {w[0], o0}, {w[1], o1}, Depth)
                                                         : *b.At(x, y))
                                << Depth << " bits, " << LogDenom << ", weights " << w[0] << ", " << w[1];
                }
}

// ---- Variants ----------------------------------------------------------------------------------------------

// Two targets of the same samples, each with a guard behind its rows.
struct TwoTargets {
    DeepBlock Want, Got;
    TwoTargets(TestRandom& Rng, Fill How, int Width, int Height, int Depth)
        : Want(DeepBlock::Random(Rng, How, Width + 3, Height, Width + 3, Depth)), Got(Want)
    {
    }
    void ExpectEqual() const { ASSERT_EQ(Got.Samples, Want.Samples); }
};

// The source holds what the offset lets the kernel read.
void CheckLuma(InterpolateLumaDeepSig* pFn, InterpolateLumaDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kAllDepths)
        for (const Fill How : kDeepFills)
            for (const int Width : {16, 8, 4})
                for (const int Height : {2, 4, 16})
                    for (int Frac = 0; Frac < 16; ++Frac) {
                        const int x = Frac & 3, y = Frac >> 2, Left = x ? 2 : 0, Above = y ? 2 : 0;
                        const DeepBlock Source =
                            DeepBlock::Random(Rng, How, Width + (x ? 5 : 0), Height + (y ? 5 : 0), Width + 7, Depth);
                        TwoTargets t(Rng, Fill::Random, Width, Height, Depth);
                        pReference(Source.At(Left, Above), Source.Step(), t.Want.At(0, 0), t.Want.Step(), x, y, Width,
                                   Height, Depth);
                        pFn(Source.At(Left, Above), Source.Step(), t.Got.At(0, 0), t.Got.Step(), x, y, Width, Height,
                            Depth);
                        ASSERT_NO_FATAL_FAILURE(t.ExpectEqual())
                            << Width << " x " << Height << ", offset " << x << ", " << y << ", " << Depth << " bits";
                    }
}
KERNEL_TEST(InterpolateLumaDeep, CheckLuma);

void CheckChroma(InterpolateChromaDeepSig* pFn, InterpolateChromaDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kDeepDepths)
        for (const Fill How : kDeepFills)
            for (const int Width : {16, 8, 4, 2})
                for (const int Height : kHeights)
                    for (int Frac = 0; Frac < 64; ++Frac) {
                        const int x = Frac & 7, y = Frac >> 3, w = Width + (x ? 1 : 0), h = Height + (y ? 1 : 0);
                        const DeepBlock u = DeepBlock::Random(Rng, How, w, h, Width + 3, Depth);
                        const DeepBlock v = DeepBlock::Random(Rng, How, w, h, Width + 3, Depth);
                        TwoTargets tu(Rng, How, Width, Height, Depth), tv(Rng, How, Width, Height, Depth);
                        pReference(u.At(0, 0), v.At(0, 0), u.Step(), tu.Want.At(0, 0), tv.Want.At(0, 0), tu.Want.Step(),
                                   x, y, Width, Height);
                        pFn(u.At(0, 0), v.At(0, 0), u.Step(), tu.Got.At(0, 0), tv.Got.At(0, 0), tu.Got.Step(), x, y,
                            Width, Height);
                        ASSERT_NO_FATAL_FAILURE(tu.ExpectEqual()) << Width << ": offset " << x << ", " << y;
                        ASSERT_NO_FATAL_FAILURE(tv.ExpectEqual()) << Width << ": offset " << x << ", " << y;
                    }
}
KERNEL_TEST(InterpolateChromaDeep, CheckChroma);

// Run(function, samples of list 0, target, width, depth, round) calls either function with the same arguments.
template <class Sig, class F>
void CheckJoining(Sig* pFn, Sig* pReference, const F& Run)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kAllDepths)
        for (const Fill How : kDeepFills)
            for (const int Width : {16, 8, 4, 2})
                for (int Round = 0; Round < 40; ++Round) {
                    const DeepBlock a = DeepBlock::Random(Rng, How, Width, 8, 19, Depth);
                    TwoTargets t(Rng, Fill::Random, Width, 8, Depth);
                    const int Arguments[4]{Rng.Range(0, 7), Rng.Range(-128, 127), Rng.Range(-128, 127),
                                           Rng.Range(-128, 127) * (1 << (Depth - 8))};
                    Run(pReference, a, t.Want, Width, Depth, Arguments);
                    Run(pFn, a, t.Got, Width, Depth, Arguments);
                    ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << Width << " columns, " << Depth << " bits";
                }
}
KERNEL_TEST(AverageBlockDeep, [](AverageBlockDeepSig* pFn, AverageBlockDeepSig* pReference) {
    CheckJoining(pFn, pReference,
                 [](AverageBlockDeepSig* p, const DeepBlock& a, DeepBlock& t, int Width, int, const int*) {
                     p(a.At(0, 0), a.Step(), t.At(0, 0), t.Step(), Width, 8);
                 });
});
KERNEL_TEST(WeightBlockDeep, [](WeightBlockDeepSig* pFn, WeightBlockDeepSig* pReference) {
    CheckJoining(
        pFn, pReference,
        [](WeightBlockDeepSig* p, const DeepBlock&, DeepBlock& t, int Width, int Depth, const int* pArguments) {
            p(t.At(0, 0), t.Step(), Width, 8, pArguments[0], pArguments[1], pArguments[3], Depth);
        });
});
KERNEL_TEST(BiWeightBlockDeep, [](BiWeightBlockDeepSig* pFn, BiWeightBlockDeepSig* pReference) {
    CheckJoining(
        pFn, pReference,
        [](BiWeightBlockDeepSig* p, const DeepBlock& a, DeepBlock& t, int Width, int Depth, const int* pArguments) {
            const int Second = std::clamp(pArguments[2], -128 - pArguments[1], 127 - pArguments[1]);
            p(a.At(0, 0), a.Step(), t.At(0, 0), t.Step(), Width, 8, pArguments[0], pArguments[1], Second, pArguments[3],
              Depth);
        });
});

void CheckCopyBlockDeep(CopyBlockDeepSig* pFn, CopyBlockDeepSig* pReference)
{
    TestRandom Rng;
    for (const int Width : {16, 8})
        for (const int Height : kHeights) {
            const DeepBlock a = DeepBlock::Random(Rng, Fill::Random, Width, Height, 19, 16);
            TwoTargets t(Rng, Fill::Random, Width, Height, 16);
            pReference(a.At(0, 0), a.Step(), t.Want.At(0, 0), t.Want.Step(), Width, Height);
            pFn(a.At(0, 0), a.Step(), t.Got.At(0, 0), t.Got.Step(), Width, Height);
            ASSERT_NO_FATAL_FAILURE(t.ExpectEqual()) << Width << " x " << Height;
        }
}
KERNEL_TEST(CopyBlockDeep, CheckCopyBlockDeep);

} // namespace
