#include "kernels/intra/intra_rows.h"

#include <algorithm>
#include <functional>

#include <numeric>

#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr unsigned kAll = kLeft | kTop | kTopRight | kTopLeft;

// A picture with the block at (16, 1) of it, and room for the neighbours above and to the right.
template <int Size>
Block Picture(TestRandom& Rng, Fill How, size_t Shift)
{
    return Rng.MakeBlock(How, 16 + 3 * Size, Size + 1, 16 + 3 * Size + 3, Shift);
}

// Prediction into a block of its own with guards, and into the picture itself.
template <int Size, class Predict>
void Compare(const Block& Around, const Predict& Call, const Predict& Reference)
{
    Block Want{std::vector<uint8_t>(40 * (Size + 2), 0xA5), 40 + 9, 40}, Got = Want;
    Reference(Around.At(16, 1), Around.Step, Want.At(0, 0), Want.Step);
    Call(Around.At(16, 1), Around.Step, Got.At(0, 0), Got.Step);
    ASSERT_EQ(Got.Bytes, Want.Bytes);
    Block WantIn = Around, GotIn = Around;
    Reference(WantIn.At(16, 1), Around.Step, WantIn.At(16, 1), Around.Step);
    Call(GotIn.At(16, 1), Around.Step, GotIn.At(16, 1), Around.Step);
    ASSERT_EQ(GotIn.Bytes, WantIn.Bytes);
}

using Predictor = std::function<void(const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t)>;

// Every set of neighbours that has those Needed.
template <int Size, unsigned Needed>
void CheckPredict(PredictIntraSig* pFn, PredictIntraSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 8; ++Round)
        for (const Fill How : kAllFills)
            for (unsigned Available = 0; Available < 16; ++Available) {
                if ((Available & Needed) != Needed) continue;
                const auto Bind = [=](PredictIntraSig* p) -> Predictor {
                    return [=](const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep) {
                        p(pAround, AroundStep, pDst, DstStep, Available);
                    };
                };
                Compare<Size>(Picture<Size>(Rng, How, kShifts[Round % 4]), Bind(pFn), Bind(pReference));
            }
}
KERNEL_TEST(Predict16x16Vertical, (CheckPredict<16, kTop>));
KERNEL_TEST(Predict16x16Horizontal, (CheckPredict<16, kLeft>));
KERNEL_TEST(Predict16x16Dc, (CheckPredict<16, 0>));
KERNEL_TEST(Predict16x16Plane, (CheckPredict<16, kTop | kLeft | kTopLeft>));
KERNEL_TEST(PredictChromaVertical, (CheckPredict<8, kTop>));
KERNEL_TEST(PredictChromaHorizontal, (CheckPredict<8, kLeft>));
KERNEL_TEST(PredictChromaDc, (CheckPredict<8, 0>));
KERNEL_TEST(PredictChromaPlane, (CheckPredict<8, kTop | kLeft | kTopLeft>));

// The neighbours that each of the nine modes needs (Tables 8-2 and 8-3).
constexpr unsigned kNeeded[9]{kTop, kLeft, 0, kTop, kAll & ~kTopRight, kAll & ~kTopRight, kAll & ~kTopRight,
                              kTop, kLeft};

void CheckIntra4x4(PredictIntra4x4Sig* pFn, PredictIntra4x4Sig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 4; ++Round)
        for (const Fill How : kAllFills)
            for (int Mode = 0; Mode < 9; ++Mode)
                for (unsigned Available = 0; Available < 16; ++Available) {
                    if ((Available & kNeeded[Mode]) != kNeeded[Mode]) continue;
                    const std::vector<uint8_t> TopRight = Rng.Bytes(How, 4);
                    const auto Bind = [&](PredictIntra4x4Sig* p) -> Predictor {
                        return [=, &TopRight](const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst,
                                              ptrdiff_t DstStep) {
                            p(Mode, pAround, AroundStep, Available & kTopRight ? TopRight.data() : nullptr, pDst,
                              DstStep, Available);
                        };
                    };
                    SCOPED_TRACE(Mode);
                    Compare<4>(Picture<4>(Rng, How, kShifts[Round]), Bind(pFn), Bind(pReference));
                }
}
KERNEL_TEST(PredictIntra4x4, CheckIntra4x4);

void CheckIntra8x8(PredictIntra8x8Sig* pFn, PredictIntra8x8Sig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 4; ++Round)
        for (const Fill How : kAllFills)
            for (int Mode = 0; Mode < 9; ++Mode)
                for (unsigned Available = 0; Available < 16; ++Available) {
                    if ((Available & kNeeded[Mode]) != kNeeded[Mode]) continue;
                    const auto Bind = [&](PredictIntra8x8Sig* p) -> Predictor {
                        return [=](const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep) {
                            p(Mode, pAround, AroundStep, pDst, DstStep, Available);
                        };
                    };
                    SCOPED_TRACE(Mode);
                    Compare<8>(Picture<8>(Rng, How, kShifts[Round]), Bind(pFn), Bind(pReference));
                }
}
KERNEL_TEST(PredictIntra8x8, CheckIntra8x8);

// A neighbour that is not there is not touched: the buffer begins at the block itself.
void CheckReadsNothingOutside(PredictIntraSig* pFn, PredictIntraSig*)
{
    std::vector<uint8_t> Samples(15 * 24 + 16, 7);
    pFn(Samples.data(), 24, Samples.data(), 24, 0);
    EXPECT_EQ(Samples[0], 128);
}

TEST(PredictDc, WithoutNeighboursNothingIsRead)
{
    for (const Tier t : kAllTiers) {
        if (t > CpuTier()) continue;
        CheckReadsNothingOutside(kPredict16x16Dc.Pick(t), nullptr);
        CheckReadsNothingOutside(kPredictChromaDc.Pick(t), nullptr);
        std::vector<uint8_t> Samples(7 * 24 + 8, 7);
        kPredictIntra4x4.Pick(t)(2, Samples.data(), 24, nullptr, Samples.data(), 24, 0);
        EXPECT_EQ(Samples[0], 128);
        kPredictIntra8x8.Pick(t)(2, Samples.data(), 24, Samples.data(), 24, 0);
        EXPECT_EQ(Samples[7 * 24 + 7], 128);
    }
}

// ---- The reference's own results ---------------------------------------------------------------------------

// Above-left 10, above 20 30 40 50, above-right 60 70 80 90, left 12 14 16 18.
std::vector<int> Predicted4x4(int Mode, unsigned Available = kAll)
{
    std::vector<uint8_t> Around{10, 20, 30, 40, 50, 60, 70, 80, 90, 12, 0, 0, 0, 0,  0, 0, 0, 0, 14, 0, 0, 0, 0,
                                0,  0,  0,  0,  16, 0,  0,  0,  0,  0,  0, 0, 0, 18, 0, 0, 0, 0, 0,  0, 0, 0};
    uint8_t Out[16];
    PredictIntra4x4_px(Mode, &Around[10], 9, &Around[5], Out, 4, Available);
    return {Out, Out + 16};
}

TEST(PredictIntra4x4Reference, EveryModeByHand)
{
    const std::vector<std::vector<int>> Want{
        {20, 30, 40, 50, 20, 30, 40, 50, 20, 30, 40, 50, 20, 30, 40, 50},
        {12, 12, 12, 12, 14, 14, 14, 14, 16, 16, 16, 16, 18, 18, 18, 18},
        {25, 25, 25, 25, 25, 25, 25, 25, 25, 25, 25, 25, 25, 25, 25, 25},
        {30, 40, 50, 60, 40, 50, 60, 70, 50, 60, 70, 80, 60, 70, 80, 88},
        {13, 20, 30, 40, 12, 13, 20, 30, 14, 12, 13, 20, 16, 14, 12, 13},
        {15, 25, 35, 45, 13, 20, 30, 40, 12, 15, 25, 35, 14, 13, 20, 30},
        {11, 13, 20, 30, 13, 12, 11, 13, 15, 14, 13, 12, 17, 16, 15, 14},
        {25, 35, 45, 55, 30, 40, 50, 60, 35, 45, 55, 65, 40, 50, 60, 70},
        {13, 14, 15, 16, 15, 16, 17, 18, 17, 18, 18, 18, 18, 18, 18, 18},
    };
    for (int Mode = 0; Mode < 9; ++Mode) EXPECT_EQ(Predicted4x4(Mode), Want[static_cast<size_t>(Mode)]) << Mode;
}

TEST(PredictIntra4x4Reference, WithoutAboveRightTheLastAboveRepeats)
{
    EXPECT_EQ(Predicted4x4(3, kAll & ~kTopRight),
              (std::vector<int>{30, 40, 48, 50, 40, 48, 50, 50, 48, 50, 50, 50, 50, 50, 50, 50}));
}

TEST(PredictIntra4x4Reference, DcUsesTheSidesThatAreThere)
{
    EXPECT_EQ(Predicted4x4(2, kTop)[0], 35);
    EXPECT_EQ(Predicted4x4(2, kLeft)[0], 15);
    EXPECT_EQ(Predicted4x4(2, 0)[0], 128);
}

TEST(PredictIntra8x8Reference, NeighboursAreSmoothedFirst)
{
    std::vector<uint8_t> Around(9 * 24, 0);
    Around[8] = 80; // the last but eight of those above: smoothed into 20 40 20
    uint8_t Out[64];
    PredictIntra8x8_px(0, &Around[24 + 1], 24, Out, 8, kTop | kTopRight | kTopLeft);
    EXPECT_EQ(std::vector<int>(Out, Out + 8), (std::vector<int>{0, 0, 0, 0, 0, 0, 20, 40}));
    PredictIntra8x8_px(0, &Around[24 + 1], 24, Out, 8, kTop); // the sample above-right repeats the last one
    EXPECT_EQ(Out[7], 60);
}

TEST(PredictIntra8x8Reference, TheEndsRepeatThemselves)
{
    std::vector<uint8_t> Around(9 * 24, 100);
    Around[0] = 200; // above-left
    uint8_t Out[64];
    PredictIntra8x8_px(0, &Around[24 + 1], 24, Out, 8, kTop | kTopLeft);
    EXPECT_EQ(Out[0], 125);
    PredictIntra8x8_px(0, &Around[24 + 1], 24, Out, 8, kTop);
    EXPECT_EQ(Out[0], 100);
    PredictIntra8x8_px(1, &Around[24 + 1], 24, Out, 8, kLeft | kTopLeft);
    EXPECT_EQ(Out[0], 125);
    EXPECT_EQ(Out[8], 100);
}

TEST(PredictPlaneReference, ARampGoesOn)
{
    std::vector<uint8_t> Around(17 * 17);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 17; ++x) Around[static_cast<size_t>(y * 17 + x)] = static_cast<uint8_t>(20 + 3 * x + 2 * y);
    uint8_t Out[256];
    Predict16x16Plane_px(&Around[18], 17, Out, 16, kAll);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_EQ(Out[y * 16 + x], Around[static_cast<size_t>((y + 1) * 17 + x + 1)]);
    PredictChromaPlane_px(&Around[18], 17, Out, 8, kAll);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(Out[y * 8 + x], Around[static_cast<size_t>((y + 1) * 17 + x + 1)]);
}

TEST(PredictChromaDcReference, EachQuarterTakesItsOwnSide)
{
    std::vector<uint8_t> Around(9 * 9, 0);
    for (size_t i = 1; i <= 8; ++i) {
        Around[i] = i <= 4 ? 10 : 30;
        Around[i * 9] = i <= 4 ? 50 : 90;
    }
    uint8_t Out[64];
    const auto Quarters = [&](unsigned Available) {
        PredictChromaDc_px(&Around[10], 9, Out, 8, Available);
        return std::vector<int>{Out[0], Out[4], Out[32], Out[36]};
    };
    EXPECT_EQ(Quarters(kTop | kLeft), (std::vector<int>{30, 30, 90, 60}));
    EXPECT_EQ(Quarters(kTop), (std::vector<int>{10, 30, 10, 30}));
    EXPECT_EQ(Quarters(kLeft), (std::vector<int>{50, 50, 90, 90}));
    EXPECT_EQ(Quarters(0), (std::vector<int>{128, 128, 128, 128}));
}

// Only the modes whose neighbours are there have to be predictions, but what is read of the others counts too.
void CheckAll4x4(PredictAll4x4Sig* pFn, PredictAll4x4Sig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const size_t Shift : kShifts)
            for (unsigned Available = 0; Available < 16; ++Available) {
                const Block Around = Rng.MakeBlock(How, 9, 5, 21, Shift); // the row above, the column left
                const Block Source = Rng.MakeBlock(Fill::Random, 4, 4, 17, 15 - Shift);
                alignas(16) uint8_t Want[9][16], Got[9][16];
                int32_t WantSad[9], GotSad[9];
                pReference(Source.At(0, 0), Source.Step, Around.At(1, 1), Around.Step, Available, Want, WantSad);
                pFn(Source.At(0, 0), Source.Step, Around.At(1, 1), Around.Step, Available, Got, GotSad);
                for (int Mode = 0; Mode < 9; ++Mode) {
                    ASSERT_EQ(std::vector<uint8_t>(Got[Mode], Got[Mode] + 16),
                              std::vector<uint8_t>(Want[Mode], Want[Mode] + 16))
                        << "mode " << Mode << ", neighbours " << Available;
                    ASSERT_EQ(GotSad[Mode], WantSad[Mode]) << Mode;
                }
            }
}
KERNEL_TEST(PredictAll4x4, CheckAll4x4);

TEST(PredictAll4x4Reference, EqualsTheModesOneByOne)
{
    TestRandom Rng;
    const Block Around = Rng.MakeBlock(Fill::Random, 9, 5, 9, 0);
    const uint8_t Source[16]{};
    alignas(16) uint8_t All[9][16];
    int32_t Sad[9];
    for (const unsigned Available : {0u, 1u, 2u, 3u, 6u, 11u, 15u}) {
        PredictAll4x4_px(Source, 4, Around.At(1, 1), Around.Step, Available, All, Sad);
        const bool bLeft = Available & kLeft, bTop = Available & kTop, bAll = bLeft && bTop && (Available & kTopLeft);
        const bool Usable[9]{bTop, bLeft, true, bTop, bAll, bAll, bAll, bTop, bLeft};
        for (int Mode = 0; Mode < 9; ++Mode) {
            if (!Usable[Mode]) continue;
            uint8_t One[16];
            PredictIntra4x4_px(Mode, Around.At(1, 1), Around.Step, Around.At(5, 0), One, 4, Available);
            EXPECT_EQ(std::vector<uint8_t>(All[Mode], All[Mode] + 16), std::vector<uint8_t>(One, One + 16)) << Mode;
            EXPECT_EQ(Sad[Mode], std::accumulate(One, One + 16, 0));
        }
    }
}

} // namespace
