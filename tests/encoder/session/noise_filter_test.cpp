// The noise filter as its user sees it: defaults, refusals, and what it remembers from picture to picture.
#include "encoder/session/noise_filter.h"
#include "tests/encoder/noise_testing.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

namespace {

using namespace UMC_H264_ENCODER;
using noise_testing::Plane;

template <class Sample>
using Picture = noise_testing::Picture<Sample>;

template <class Sample>
bool Run(H264_I_Noise_Reduction<Sample>& f, Picture<Sample>& p)
{
    return f.Process(p.Y.Data(), p.U.Data(), p.V.Data(), p.Y.Pitch(), p.U.Pitch(), p.Y.Width(), p.Y.Height());
}

template <class Sample>
CNoiseReductionFilter<Sample> Running(uint32_t Mode, int32_t HalfScale = 0)
{
    CNoiseReductionFilter<Sample> f(1, 1, HalfScale);
    f.Enable(true);
    f.SetMode(Mode);
    return f;
}

template <class Sample>
class NoiseFilter : public testing::Test
{
};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(NoiseFilter, SampleTypes);

void ExpectDefaults(const NoiseReductionOptions& o)
{
    EXPECT_EQ(o.filter_y, 1);
    EXPECT_EQ(o.filter_u, 1);
    EXPECT_EQ(o.filter_v, 1);
    EXPECT_EQ(o.four_neighbours, 1);
    EXPECT_EQ(o.median_neighbour_threshold, 15u);
    EXPECT_EQ(o.median_trigger_threshold, 6u);
    EXPECT_EQ(o.temporal_threshold_low, 6u);
    EXPECT_EQ(o.temporal_threshold_mid, 12u);
    EXPECT_EQ(o.temporal_threshold_high, 20u);
}

TEST(NoiseReductionOptions, LieInTheirOrder)
{
    using O = NoiseReductionOptions;
    EXPECT_EQ(offsetof(O, filter_y), 0u);
    EXPECT_EQ(offsetof(O, filter_u), 1u);
    EXPECT_EQ(offsetof(O, filter_v), 2u);
    EXPECT_EQ(offsetof(O, four_neighbours), 3u);
    EXPECT_EQ(offsetof(O, median_neighbour_threshold), 4u);
    EXPECT_EQ(offsetof(O, median_trigger_threshold), 8u);
    EXPECT_EQ(offsetof(O, temporal_threshold_low), 12u);
    EXPECT_EQ(offsetof(O, temporal_threshold_mid), 16u);
    EXPECT_EQ(offsetof(O, temporal_threshold_high), 20u);
    EXPECT_EQ(sizeof(O), 24u);
}

TYPED_TEST(NoiseFilter, IsBuiltOffWithItsDefaults)
{
    CNoiseReductionFilter<TypeParam> f(1, 1, 0);
    H264_I_Noise_Reduction<TypeParam>& Seen = f;
    EXPECT_FALSE(Seen.IsSupported());
    EXPECT_FALSE(Seen.IsEnabled());
    EXPECT_EQ(Seen.GetMode(), 3u);
    EXPECT_EQ(Seen.GetDefaultMode(), 3u);
    NoiseReductionOptions o{.filter_y = 9, .median_neighbour_threshold = 99};
    Seen.GetOptions(o);
    ExpectDefaults(o);
    o = {.filter_y = 9, .median_neighbour_threshold = 99};
    Seen.GetDefaultOptions(o);
    ExpectDefaults(o);
    EXPECT_EQ(f.Borders().top_state, 2);
    EXPECT_EQ(f.Borders().left_state, 2);
    EXPECT_EQ(f.Borders().bottom_state, 2);
    EXPECT_TRUE(Seen.Enable(true));
    EXPECT_TRUE(Seen.IsEnabled());
    EXPECT_TRUE(Seen.Enable(false));
    EXPECT_FALSE(Seen.IsEnabled());
}

TYPED_TEST(NoiseFilter, RefusesModesThatDoNotExist)
{
    CNoiseReductionFilter<TypeParam> f(1, 1, 0);
    for (uint32_t Mode = 1; Mode < 8; ++Mode) {
        EXPECT_TRUE(f.SetMode(Mode));
        EXPECT_EQ(f.GetMode(), Mode);
    }
    for (const uint32_t Mode : {0u, 8u, 9u, 255u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(f.SetMode(Mode));
        EXPECT_EQ(f.GetMode(), 7u);
    }
}

TYPED_TEST(NoiseFilter, CutsThresholds)
{
    CNoiseReductionFilter<TypeParam> f(1, 1, 0);
    f.SetOptions({.filter_u = 0,
                  .four_neighbours = 0,
                  .median_neighbour_threshold = 257,
                  .median_trigger_threshold = 300,
                  .temporal_threshold_low = 129,
                  .temporal_threshold_mid = 0xFFFFFFFF,
                  .temporal_threshold_high = 300});
    NoiseReductionOptions o;
    f.GetOptions(o);
    EXPECT_EQ(o.filter_y, 1);
    EXPECT_EQ(o.filter_u, 0);
    EXPECT_EQ(o.four_neighbours, 0);
    EXPECT_EQ(o.median_neighbour_threshold, 256u);
    EXPECT_EQ(o.median_trigger_threshold, 256u);
    EXPECT_EQ(o.temporal_threshold_low, 128u);
    EXPECT_EQ(o.temporal_threshold_mid, 128u);
    EXPECT_EQ(o.temporal_threshold_high, 128u);
    f.GetDefaultOptions(o);
    ExpectDefaults(o);
}

TYPED_TEST(NoiseFilter, ThatIsOffTakesAnythingAndChangesNothing)
{
    CNoiseReductionFilter<TypeParam> f(1, 1, 0);
    std::mt19937 Rng(1);
    Picture<TypeParam> p(16, 16);
    p.FillRandom(Rng, 0, 255);
    const Picture<TypeParam> Then = p;
    EXPECT_TRUE(Run(f, p));
    EXPECT_TRUE(f.Process(p.Y.Data(), p.U.Data(), p.V.Data(), 3, 1, 7, 5));
    EXPECT_TRUE(f.Process(nullptr, nullptr, nullptr, 0, 0, 0, 0));
    EXPECT_TRUE(p == Then);
}

TYPED_TEST(NoiseFilter, RefusesOtherGeometriesAndLeavesThePicture)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(7);
    std::mt19937 Rng(1);
    Picture<TypeParam> p(32, 32);
    p.FillRandom(Rng, 0, 100);
    const Picture<TypeParam> Then = p;
    const auto Try = [&](int32_t PitchY, int32_t PitchUv, int32_t Width, int32_t Height) {
        return f.Process(p.Y.Data(), p.U.Data(), p.V.Data(), PitchY, PitchUv, Width, Height);
    };
    EXPECT_FALSE(Try(8, 8, 6, 8));
    EXPECT_FALSE(Try(8, 8, 8, 6));
    EXPECT_FALSE(Try(8, 8, 4, 8));
    EXPECT_FALSE(Try(8, 8, 8, 4));
    EXPECT_FALSE(Try(8, 8, 0, 8));
    EXPECT_FALSE(Try(8, 8, -8, 8));
    EXPECT_FALSE(Try(16, 8, 10, 8));
    EXPECT_FALSE(Try(16, 8, 16, 18));
    EXPECT_FALSE(Try(10, 8, 8, 8));
    EXPECT_FALSE(Try(9, 8, 8, 8));
    EXPECT_FALSE(Try(8, 5, 8, 8));
    EXPECT_FALSE(Try(8, 4, 16, 8)); // rows that lie in each other
    EXPECT_FALSE(Try(16, 6, 16, 8));
    EXPECT_TRUE(p == Then);
    EXPECT_TRUE(Try(8, 4, 8, 8));
    EXPECT_TRUE(Try(8, 8, 8, 8));
    EXPECT_TRUE(Try(8, 6, 8, 8));
}

TYPED_TEST(NoiseFilter, StartsWithSizesThatItTakes)
{
    CNoiseReductionFilter<TypeParam> f(1, 1, 0);
    EXPECT_TRUE(f.Start(8, 8));
    EXPECT_TRUE(f.Start(1920, 1080));
    EXPECT_FALSE(f.Start(178, 144));
    EXPECT_FALSE(f.Start(176, 146));
    EXPECT_FALSE(f.Start(4, 8));
    EXPECT_FALSE(f.Start(8, 4));
    EXPECT_FALSE(f.Start(0, 0));
}

TYPED_TEST(NoiseFilter, TheFirstPictureOfTheTableStageOnlyFillsTheStore)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_TABLE);
    Picture<TypeParam> First(8, 8, 100, 50, 60);
    const Picture<TypeParam> Then = First;
    ASSERT_TRUE(Run(f, First));
    EXPECT_TRUE(First == Then);
    Picture<TypeParam> Second(8, 8, 107, 58, 30); // by 7, 8 and -30
    ASSERT_TRUE(Run(f, Second));
    EXPECT_TRUE(Second == Picture<TypeParam>(8, 8, 101, 52, 31));
    // The recursion runs on filtered samples: 101 is remembered, not 107.
    Picture<TypeParam> Third(8, 8, 107, 52, 31);
    ASSERT_TRUE(Run(f, Third));
    EXPECT_TRUE(Third == Picture<TypeParam>(8, 8, 102, 52, 31));
}

TYPED_TEST(NoiseFilter, TheFirstPictureOfTheBlendIsNotBlended)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
    Picture<TypeParam> First(8, 8, 15, 100, 120); // near enough to a cleared store for a blend
    const Picture<TypeParam> Then = First;
    ASSERT_TRUE(Run(f, First));
    EXPECT_TRUE(First == Then);
    Picture<TypeParam> Second(8, 8, 19, 112, 100); // previous - current: -4, -12, 20
    ASSERT_TRUE(Run(f, Second));
    EXPECT_TRUE(Second == Picture<TypeParam>(8, 8, 16, 107, 100));
    Picture<TypeParam> Third(8, 8, 12, 107, 100); // 16 - 12 is 4: plus 2
    ASSERT_TRUE(Run(f, Third));
    EXPECT_TRUE(Third == Picture<TypeParam>(8, 8, 14, 107, 100));
}

// The median of a first picture compares it with a cleared store, so that every sample of 6 and above gives way.
TYPED_TEST(NoiseFilter, TheMedianRunsOnTheFirstPictureToo)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
    Picture<TypeParam> p(8, 8, 90);
    p.Y.At(3, 3) = 100;
    ASSERT_TRUE(Run(f, p));
    EXPECT_TRUE(p == Picture<TypeParam>(8, 8, 90));
}

// Deliberate: the first plane takes the flag that spares a picture the blend, and chroma is blended with a cleared
// store.
TYPED_TEST(NoiseFilter, OnlyTheFirstPlaneIsSparedTheBlend)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
    Picture<TypeParam> p(8, 8, 10, 10, 20); // 0 - 10: -5
    ASSERT_TRUE(Run(f, p));
    EXPECT_TRUE(p == Picture<TypeParam>(8, 8, 10, 5, 20));
    f = Running<TypeParam>(NOISE_MEDIAN);
    f.SetOptions({.filter_y = 0});
    p = Picture<TypeParam>(8, 8, 10, 10, 10);
    ASSERT_TRUE(Run(f, p));
    EXPECT_TRUE(p == Picture<TypeParam>(8, 8, 10, 10, 5));
}

TYPED_TEST(NoiseFilter, LeavesPlanesThatItIsNotToTouch)
{
    for (const int Mask : {0, 1, 2, 4, 5, 7})
        for (const uint32_t Mode : {NOISE_MEDIAN, NOISE_TABLE}) {
            CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(Mode);
            f.SetOptions({.filter_y = (Mask & 1) != 0, .filter_u = (Mask & 2) != 0, .filter_v = (Mask & 4) != 0});
            Picture<TypeParam> First(8, 8, 100, 100, 100), Second(8, 8, 104, 104, 104);
            ASSERT_TRUE(Run(f, First) && Run(f, Second));
            const auto Wanted = [&](int Filtered) {
                const auto Of = [&](int Bit) { return Mask & Bit ? Filtered : 104; };
                return Picture<TypeParam>(8, 8, Of(1), Of(2), Of(4));
            };
            EXPECT_TRUE(Second == Wanted(101)) << Mask; // 104 - 3, or 100 + 1
            // They are remembered all the same.
            f.SetOptions({});
            Picture<TypeParam> Third(8, 8, 104, 104, 104);
            ASSERT_TRUE(Run(f, Third));
            EXPECT_TRUE(Third == Wanted(102)) << Mask; // 104 - 2, or 101 + 1
        }
}

// The blend goes before the table stage, each on what the one before has left.
TYPED_TEST(NoiseFilter, RunsBothTemporalStages)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN | NOISE_TABLE);
    Picture<TypeParam> First(8, 8, 100), Second(8, 8, 119);
    ASSERT_TRUE(Run(f, First) && Run(f, Second));
    // -19: -7, 112; then 100 + Coring(12).
    EXPECT_TRUE(Second == Picture<TypeParam>(8, 8, 106));
}

TYPED_TEST(NoiseFilter, DisablingForgetsThePreviousPicture)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_TABLE);
    Picture<TypeParam> p(8, 8, 100), Next(8, 8, 105);
    const Picture<TypeParam> Then = Next;
    ASSERT_TRUE(Run(f, p));
    f.Enable(false);
    f.Enable(true);
    ASSERT_TRUE(Run(f, Next));
    EXPECT_TRUE(Next == Then);
    f.Enable(true); // enabling again forgets nothing
    p = Picture<TypeParam>(8, 8, 109);
    ASSERT_TRUE(Run(f, p));
    EXPECT_EQ(p.Y.At(0, 0), 106);
}

TYPED_TEST(NoiseFilter, DisablingAndStartSpareTheNextPictureTheBlend)
{
    for (const bool IsStarted : {false, true}) {
        CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
        Picture<TypeParam> Before(8, 8, 100), Next(8, 8, 15, 100, 120); // near enough to a cleared store for a blend
        ASSERT_TRUE(Run(f, Before));
        if (IsStarted) {
            ASSERT_TRUE(f.Start(8, 8));
        } else {
            f.Enable(false);
            f.Enable(true);
        }
        ASSERT_TRUE(Run(f, Next));
        EXPECT_TRUE(Next == Picture<TypeParam>(8, 8, 15, 100, 120)) << IsStarted;
    }
}

TYPED_TEST(NoiseFilter, StartForgetsThePreviousPictureAndTheBorders)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_BORDERS | NOISE_TABLE);
    Picture<TypeParam> p(8, 8, 200);
    p.Y.FillRow(0, 201);
    ASSERT_TRUE(Run(f, p));
    EXPECT_EQ(f.Borders().top_state + f.Borders().left_state + f.Borders().bottom_state, 0);
    Picture<TypeParam> Bad(8, 8, 205);
    Bad.Y.FillRow(0, 0);
    ASSERT_TRUE(Run(f, Bad)); // the edge is trusted for good
    EXPECT_EQ(Bad.Y.At(0, 0), 0);
    EXPECT_EQ(Bad.Y.At(0, 1), 201);
    ASSERT_TRUE(f.Start(8, 8));
    EXPECT_EQ(f.Borders().top_state, 2);
    EXPECT_EQ(f.Borders().left_state, 2);
    EXPECT_EQ(f.Borders().bottom_state, 2);
    Bad = Picture<TypeParam>(8, 8, 205);
    Bad.Y.FillRow(0, 0);
    ASSERT_TRUE(Run(f, Bad));
    EXPECT_TRUE(Bad == Picture<TypeParam>(8, 8, 205));
}

TYPED_TEST(NoiseFilter, BordersAloneRememberNothing)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_BORDERS);
    Picture<TypeParam> p(8, 8, 100, 1, 2);
    p.Y.FillRow(0, 0);
    {
        const FailingAllocation Memory(1);
        EXPECT_TRUE(Run(f, p)); // asks for no memory
    }
    EXPECT_TRUE(p == Picture<TypeParam>(8, 8, 100, 1, 2));
    ASSERT_TRUE(f.SetMode(NOISE_TABLE));
    Picture<TypeParam> Next(8, 8, 105, 3, 4);
    ASSERT_TRUE(Run(f, Next)); // the first that is kept
    EXPECT_TRUE(Next == Picture<TypeParam>(8, 8, 105, 3, 4));
}

TYPED_TEST(NoiseFilter, TurningTheMedianOnSparesOnePictureTheBlend)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
    Picture<TypeParam> p(8, 8, 100), Next(8, 8, 104), Last(8, 8, 108);
    ASSERT_TRUE(Run(f, p));
    ASSERT_TRUE(f.SetMode(NOISE_BORDERS));
    ASSERT_TRUE(f.SetMode(NOISE_MEDIAN));
    ASSERT_TRUE(Run(f, Next));
    EXPECT_EQ(Next.Y.At(0, 0), 104);
    ASSERT_TRUE(f.SetMode(NOISE_MEDIAN)); // on already
    ASSERT_TRUE(Run(f, Last));
    EXPECT_EQ(Last.Y.At(0, 0), 105); // 104 - 108: -3
}

TYPED_TEST(NoiseFilter, TurningTheTableOnWhileTheBlendIsSparedForgetsThePreviousPicture)
{
    // With the median at work nothing is spared, and the table finds the previous picture.
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
    Picture<TypeParam> p(8, 8, 100), Next(8, 8, 119);
    ASSERT_TRUE(Run(f, p));
    ASSERT_TRUE(f.SetMode(NOISE_MEDIAN | NOISE_TABLE));
    ASSERT_TRUE(Run(f, Next));
    EXPECT_EQ(Next.Y.At(0, 0), 106);
    // Turned on together with the median it does not.
    ASSERT_TRUE(f.SetMode(NOISE_BORDERS));
    ASSERT_TRUE(f.SetMode(NOISE_MEDIAN | NOISE_TABLE));
    Next = Picture<TypeParam>(8, 8, 112);
    ASSERT_TRUE(Run(f, Next));
    EXPECT_EQ(Next.Y.At(0, 0), 112);
}

TYPED_TEST(NoiseFilter, HalfScaleHalvesTheThresholds)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN, 1);
    NoiseReductionOptions o;
    f.GetOptions(o);
    ExpectDefaults(o); // the record keeps them whole
    // Bands end at 3, 6 and 10.
    Picture<TypeParam> First(8, 8, 100, 100, 100), Second(8, 8, 102, 105, 109);
    ASSERT_TRUE(Run(f, First) && Run(f, Second));
    // -2: -1; -5: -3; -9: (-27 + 3) / 8.
    EXPECT_TRUE(Second == Picture<TypeParam>(8, 8, 101, 102, 106));
    Picture<TypeParam> Third(8, 8, 111, 102, 106);
    ASSERT_TRUE(Run(f, Third));
    EXPECT_EQ(Third.Y.At(0, 0), 111); // 10 away
    // The median: a trigger of 3, and neighbours closer than 7.
    f.SetOptions({.temporal_threshold_low = 0, .temporal_threshold_mid = 0, .temporal_threshold_high = 0});
    Picture<TypeParam> Before(8, 8, 100), Now = Before;
    ASSERT_TRUE(Run(f, Before));
    Now.Y.At(2, 2) = 103;
    Now.Y.At(5, 5) = 107;
    Now.Y.At(2, 5) = 102;
    ASSERT_TRUE(Run(f, Now));
    EXPECT_EQ(Now.Y.At(2, 2), 100);
    EXPECT_EQ(Now.Y.At(5, 5), 107);
    EXPECT_EQ(Now.Y.At(2, 5), 102);
    // And the borders.
    f.SetMode(NOISE_BORDERS);
    Picture<TypeParam> Edge(8, 8, 76);
    Edge.Y.FillRow(0, 77);
    ASSERT_TRUE(Run(f, Edge));
    EXPECT_EQ(f.Borders().top_state, 0);
    f.Start(8, 8);
    ASSERT_TRUE(Run(f, Edge));
    EXPECT_EQ(f.Borders().top_state, 0); // still at half the scale
}

TYPED_TEST(NoiseFilter, OptionsReachTheStages)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_MEDIAN);
    f.SetOptions({.four_neighbours = 0,
                  .median_neighbour_threshold = 3,
                  .median_trigger_threshold = 10,
                  .temporal_threshold_low = 1,
                  .temporal_threshold_mid = 1,
                  .temporal_threshold_high = 1});
    Picture<TypeParam> Before(8, 8, 100), Now(8, 8, 100);
    ASSERT_TRUE(Run(f, Before));
    // Close to the diagonals alone, of which the upper two are 111 by then.
    for (const int32_t x : {2, 4}) Now.Y.At(x, 2) = Now.Y.At(x, 4) = 112;
    Now.Y.At(3, 3) = 110;
    Now.Y.At(1, 6) = 109; // not at the trigger
    Now.Y.At(1, 5) = 107;
    ASSERT_TRUE(Run(f, Now));
    EXPECT_EQ(Now.Y.At(3, 3), 111);
    EXPECT_EQ(Now.Y.At(1, 6), 109);
}

template <class Sample>
void CopyTo(Plane<Sample>& To, int32_t x, int32_t y, const Plane<Sample>& From)
{
    for (int32_t j = 0; j < From.Height(); ++j)
        for (int32_t i = 0; i < From.Width(); ++i) To.At(x + i, y + j) = From.At(i, j);
}

// Pictures at other pitches, and chroma planes side by side in their rows, give the same samples.
TYPED_TEST(NoiseFilter, TakesPlanesAtAnyPitch)
{
    std::mt19937 Rng(8);
    for (const auto& [Width, Pitch] : {std::pair{8, 8}, {8, 12}, {8, 64}, {16, 16}, {16, 20}, {16, 64}}) {
        CNoiseReductionFilter<TypeParam> Apart = Running<TypeParam>(7), Shared = Running<TypeParam>(7);
        for (int i = 0; i < 5; ++i) {
            Picture<TypeParam> p(Width, 8);
            p.FillRandom(Rng, 90, 110);
            // Side by side where a row has the room, else below each other.
            const int32_t Half = Width / 2, X = Pitch > Width ? Pitch - Half : 0, Below = X ? 0 : 4;
            Plane<TypeParam> Y(Width, 8, TypeParam{0}, Pitch), UV(Pitch, 8, TypeParam{0}, Pitch);
            CopyTo(Y, 0, 0, p.Y);
            CopyTo(UV, 0, 0, p.U);
            CopyTo(UV, X, Below, p.V);
            ASSERT_TRUE(Run(Apart, p));
            ASSERT_TRUE(Shared.Process(Y.Data(), UV.Data(), UV.Data() + Below * Pitch + X, Pitch, Pitch, Width, 8));
            Plane<TypeParam> YWanted(Width, 8, TypeParam{0}, Pitch), UVWanted(Pitch, 8, TypeParam{0}, Pitch);
            CopyTo(YWanted, 0, 0, p.Y);
            CopyTo(UVWanted, 0, 0, p.U);
            CopyTo(UVWanted, X, Below, p.V);
            ASSERT_EQ(Y, YWanted) << Pitch;
            ASSERT_EQ(UV, UVWanted) << Pitch;
        }
    }
}

TYPED_TEST(NoiseFilter, FiltersTheLumaOfAPictureWithoutChroma)
{
    std::mt19937 Rng(9);
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(7), Alone = Running<TypeParam>(7);
    for (int i = 0; i < 4; ++i) {
        Picture<TypeParam> p(16, 12);
        p.FillRandom(Rng, 90, 110);
        Plane<TypeParam> Y = p.Y;
        ASSERT_TRUE(Run(f, p));
        ASSERT_TRUE(Alone.Process(Y.Data(), nullptr, nullptr, Y.Pitch(), 1, 16, 12));
        ASSERT_EQ(Y, p.Y);
    }
}

TYPED_TEST(NoiseFilter, ForgetsThePreviousPictureWhenTheStoreGrows)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_TABLE);
    Picture<TypeParam> Small(8, 8, 100), Large(16, 16, 105), Next(16, 16, 109);
    ASSERT_TRUE(Run(f, Small));
    ASSERT_TRUE(Run(f, Large));
    EXPECT_EQ(Large.Y.At(15, 15), 105);
    const FailingAllocation Memory(0);
    ASSERT_TRUE(Run(f, Next));
    EXPECT_EQ(FailingAllocation::Requests(), 0u); // kept between pictures
    EXPECT_EQ(Next.Y.At(15, 15), 106);            // 105 + 1
    f.Start(8, 8);
    ASSERT_TRUE(Run(f, Small)); // nor does it shrink
    EXPECT_EQ(FailingAllocation::Requests(), 0u);
}

TYPED_TEST(NoiseFilter, WithoutMemoryRepairsTheBordersAndGoesOnWithTheNextPicture)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(7);
    Picture<TypeParam> p(8, 8, 100);
    p.Y.FillRow(0, 0);
    p.Y.At(3, 3) = 110;
    Picture<TypeParam> Expected(8, 8, 100);
    Expected.Y.At(3, 3) = 110;
    {
        const FailingAllocation Memory(1);
        EXPECT_FALSE(Run(f, p));
        EXPECT_TRUE(Memory.Failed());
    }
    EXPECT_TRUE(p == Expected);
    Picture<TypeParam> First(8, 8, 200), Second(8, 8, 204);
    ASSERT_TRUE(Run(f, First) && Run(f, Second));
    EXPECT_EQ(First.Y.At(0, 0), 200);
    EXPECT_EQ(Second.Y.At(0, 0), 201);
}

TYPED_TEST(NoiseFilter, WithoutMemoryForALargerStoreHasNone)
{
    CNoiseReductionFilter<TypeParam> f = Running<TypeParam>(NOISE_TABLE);
    Picture<TypeParam> Small(8, 8, 100), Large(32, 32, 100), Next(8, 8, 104);
    ASSERT_TRUE(Run(f, Small));
    {
        const FailingAllocation Memory(1);
        EXPECT_FALSE(Run(f, Large));
    }
    ASSERT_TRUE(Run(f, Next)); // the first again
    EXPECT_EQ(Next.Y.At(0, 0), 104);
    ASSERT_TRUE(Run(f, Large));
}

} // namespace
