#include "encoder/picture/rate_controller.h"

#include "encoder/state/encoder_types.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace {

using namespace UMC_H264_ENCODER;

constexpr int32_t kBudget = 33333; // of a picture at 1,000,000 bits and 30 pictures a second

RateController Make(int32_t Method, int32_t BitDepth = 8)
{
    RateController r;
    if (Method == 1)
        r.Init(8, 4, 8, 1000000, 30.0, 640, 480, BitDepth, 1, false);
    else
        r.Init(0, 0, 0, 1000000, 30.0, 640, 480, BitDepth, 1, false);
    return r;
}

struct InitialCase {
    int32_t Width, Height, Bitrate;
    double FrameRate;
    int32_t Qp;
};

class RateControllerInitial : public testing::TestWithParam<InitialCase>
{
};
TEST_P(RateControllerInitial, StartsFromTheQpOfSizeAndRate)
{
    const InitialCase& c = GetParam();
    RateController r;
    EXPECT_EQ(r.Init(0, 0, 0, c.Bitrate, c.FrameRate, c.Width, c.Height, 8, 1, false), 0);
    EXPECT_EQ(r.GetQP(FRAME_I), c.Qp);
    EXPECT_EQ(r.GetQP(FRAME_P), c.Qp);
}
INSTANTIATE_TEST_SUITE_P(Table, RateControllerInitial,
                         testing::Values(InitialCase{640, 480, 1000000, 30.0, 26},
                                         InitialCase{1280, 720, 2000000, 30.0, 30},
                                         InitialCase{320, 240, 128000, 15.0, 26},
                                         InitialCase{1920, 1080, 500000, 30.0, 51}));

TEST(RateController, InitialQpCountsAlphaAndChroma)
{
    const auto Qp = [](int32_t Chroma, bool bAlpha) {
        return RateController::InitialQp(1000000, 30.0, 640, 480, 8, Chroma, bAlpha, 51);
    };
    EXPECT_LT(Qp(0, false), Qp(1, false));
    EXPECT_LT(Qp(1, false), Qp(2, false));
    EXPECT_LT(Qp(2, false), Qp(3, false));
    EXPECT_EQ(Qp(0, true), Qp(2, false)); // two planes' worth of samples either way
    EXPECT_EQ(RateController::InitialQp(2000000000, 1.0, 16, 16, 8, 1, false, 51), 1);
}

TEST(RateController, EqualInputsGiveTheQpOfBAboutATenthHigher)
{
    RateController r;
    r.Init(0, 0, 0, 2000000, 30.0, 1280, 720, 8, 1, false);
    ASSERT_EQ(r.GetQP(FRAME_P), 30);
    EXPECT_EQ(r.GetQP(FRAME_B), 33); // (60 * 563 >> 10) + 1
}

TEST(RateController, LimitsTheStepOfTheQp)
{
    const struct {
        int32_t Wanted, Next;
    } kCases[]{{60, 33}, {35, 33}, {34, 32}, {33, 32}, {32, 31}, {31, 31}, {30, 30},
               {29, 29}, {28, 29}, {27, 28}, {26, 28}, {25, 27}, {1, 27}};
    for (const auto& c : kCases) EXPECT_EQ(RateController::LimitStep(c.Wanted, 30), c.Next) << c.Wanted;
}

TEST(RateController, APictureOfItsBudgetKeepsTheQp)
{
    RateController r = Make(2);
    for (int64_t i = 1; i <= 200; ++i) {
        r.PostFrame(FRAME_P, i * kBudget);
        ASSERT_EQ(r.GetQP(FRAME_P), 26) << i;
    }
    EXPECT_EQ(r.BitsDesired(), 200 * kBudget);
    EXPECT_EQ(r.BitsEncoded(), 200 * kBudget);
}

TEST(RateController, IPicturesEnterTheMeanSizeWithTheShortWindowOnly)
{
    RateController Long = Make(2), Short = Make(1);
    Long.PostFrame(FRAME_I, 10 * kBudget);
    Short.PostFrame(FRAME_I, 10 * kBudget);
    EXPECT_DOUBLE_EQ(Long.AverageFrameBits(), kBudget);
    EXPECT_DOUBLE_EQ(Short.AverageFrameBits(), kBudget + 9.0 * kBudget / 4);
    EXPECT_EQ(Long.BitsEncoded(), 10 * kBudget);
    EXPECT_DOUBLE_EQ(Long.AverageInverseQp(), 1.0 / 26);
}

TEST(RateController, AnOvershootOfTenBudgetsWantsTheHighestQp)
{
    RateController r = Make(1);
    r.PostFrame(FRAME_P, 11 * kBudget); // the error term clamps to 1: 51 is wanted, three steps are taken
    EXPECT_EQ(r.GetQP(FRAME_P), 29);
    EXPECT_EQ(r.GetQP(FRAME_I), 29);
}

TEST(RateController, AStrongUndershootLeadsToTheLowestQp)
{
    RateController r = Make(1);
    for (int i = 0; i < 40; ++i) r.PostFrame(FRAME_P, 1);
    EXPECT_EQ(r.GetQP(FRAME_P), 1);
}

TEST(RateController, ABPictureLeavesThePreviousQpOfP)
{
    RateController r = Make(1);
    r.PostFrame(FRAME_B, 11 * kBudget);
    EXPECT_EQ(r.GetQP(FRAME_P), 29);
    EXPECT_EQ(r.GetQP(FRAME_I), 29);
    EXPECT_EQ(r.GetQP(FRAME_B), ((26 + 26) * 563 >> 10) + 1);
    r.PostFrame(FRAME_B, 12 * kBudget); // the QP of P before the last anchor is 26 still
    EXPECT_EQ(r.GetQP(FRAME_B), ((29 + 26) * 563 >> 10) + 1);
}

TEST(RateController, ABPictureEntersTheMeanWithItsOwnQp)
{
    for (const auto& [Type, Qp] : {std::pair{FRAME_B, 29}, std::pair{FRAME_P, 26}, std::pair{FRAME_I, 26}}) {
        RateController r = Make(1);
        ASSERT_EQ(r.GetQP(Type), Qp);
        r.PostFrame(Type, kBudget);
        EXPECT_DOUBLE_EQ(r.AverageInverseQp(), 1.0 / 26 + (1.0 / Qp - 1.0 / 26) / 8);
    }
}

TEST(RateController, TheQpOfBIsNoHigherThanTheHighest)
{
    for (const int32_t Depth : {8, 10}) {
        RateController r;
        r.Init(0, 0, 0, 1000, 30.0, 1920, 1080, Depth, 1, false);
        ASSERT_EQ(r.GetQP(FRAME_P), 51);
        EXPECT_EQ(r.GetQP(FRAME_B), 51);
        r.PostFrame(FRAME_P, 1000000);
        EXPECT_EQ(r.GetQP(FRAME_B), 51);
    }
}

TEST(RateController, ABPictureMovesWhereTheStepLimitCountsFrom)
{
    RateController r = Make(1);
    r.PostFrame(FRAME_B, 11 * kBudget);
    EXPECT_EQ(r.GetQP(FRAME_P), 29); // three steps from 26
    r.PostFrame(FRAME_P, 22 * kBudget);
    EXPECT_EQ(r.GetQP(FRAME_P), 32); // and three from there
    r.PostFrame(FRAME_B, 33 * kBudget);
    EXPECT_EQ(r.GetQP(FRAME_I), 35);
}

// An undershoot takes twice the wished inverse QP less that of the highest QP, and no more however large it is.
TEST(RateController, AnUndershootOfAWindowRoughlyHalvesTheQpAndALargerOneDoesNoMore)
{
    RateController r;
    int32_t Bitrate = 200000; // 49 is so far down that the step limit leaves a difference to be seen
    do {
        Bitrate -= 100;
        r.Init(0, 0, 0, Bitrate, 30.0, 640, 480, 8, 1, false);
    } while (r.GetQP(FRAME_I) < 49);
    ASSERT_EQ(r.GetQP(FRAME_I), 49);
    const int64_t Budget = Bitrate / 30;
    for (const int64_t Windows : {1, 2, 10}) {
        RateController Under = r;
        Under.PostFrame(FRAME_I, -Windows * 100 * Budget); // an I picture leaves the mean size alone
        // 1 / (2 / 49 - 1 / 51) is 47.2.
        EXPECT_EQ(Under.GetQP(FRAME_P), RateController::LimitStep(47, 49)) << Windows;
    }
}

TEST(RateController, SetQpOfBTouchesNothingElse)
{
    RateController r = Make(2);
    r.SetQP(FRAME_B, 40);
    EXPECT_EQ(r.GetQP(FRAME_B), 40);
    EXPECT_EQ(r.GetQP(FRAME_P), 26);
    r.SetQP(FRAME_I, 35);
    EXPECT_EQ(r.GetQP(FRAME_P), 35);
    EXPECT_EQ(r.GetQP(FRAME_I), 35);
    EXPECT_EQ(r.GetQP(FRAME_B), 40);
}

TEST(RateController, DeepSamplesMayHaveANegativeQp)
{
    RateController r;
    r.Init(0, 0, 0, 2000000000, 1.0, 16, 16, 10, 1, false);
    EXPECT_EQ(r.GetQP(FRAME_P), 1 - 12);
    RateController Poor;
    Poor.Init(8, 4, 8, 1000, 30.0, 1280, 720, 10, 1, false);
    EXPECT_EQ(Poor.GetQP(FRAME_P), 51); // the internal scale ends at 63
    Poor.PostFrame(FRAME_P, 1000000);
    EXPECT_EQ(Poor.GetQP(FRAME_P), 51);
}

// The total goes on through a change of rate and the budget starts again, so that the error term sees all bits so far.
TEST(RateController, ASecondInitKeepsTheTotal)
{
    RateController r = Make(2);
    r.PostFrame(FRAME_P, 500000);
    r.Init(0, 0, 0, 2000000, 30.0, 640, 480, 8, 1, false);
    EXPECT_EQ(r.BitsEncoded(), 500000);
    EXPECT_EQ(r.BitsDesired(), 0);
    r.PostFrame(FRAME_P, 500000 + 66666);
    EXPECT_DOUBLE_EQ(r.AverageFrameBits(), 66666.0);
}

// The update written out once more in plain steps, on a random walk of picture sizes.
TEST(RateController, FollowsTheFormulaOfTheUpdate)
{
    for (const int32_t Method : {1, 2}) {
        RateController r = Make(Method);
        const double QpWindow = Method == 1 ? 8 : 100, BitsWindow = Method == 1 ? 4 : 30,
                     ErrorWindow = Method == 1 ? 8 : 100;
        double Inverse = 1.0 / 26, Bits = kBudget;
        int64_t Total = 0, Desired = 0;
        int32_t Qp = 26;
        uint32_t Seed = 1;
        for (int i = 0; i < 300; ++i) {
            Seed = Seed * 1664525 + 1013904223;
            const int32_t Type = i % 50 == 0 ? FRAME_I : FRAME_P;
            const int64_t Size = (Type == FRAME_I ? 5 : 1) * static_cast<int64_t>(Seed >> 16);
            Total += Size;
            Desired += kBudget;
            r.PostFrame(Type, Total);
            Inverse += (1.0 / Qp - Inverse) / QpWindow;
            if (!(Type == FRAME_I && Method == 2)) Bits += (static_cast<double>(Size) - Bits) / BitsWindow;
            double y = Inverse * std::pow(kBudget / Bits, 2.0);
            const double d = static_cast<double>(Total - Desired) / ErrorWindow / kBudget;
            y += (1.0 / 51 - y) * std::fmin(std::fmax(d, -1.0), 1.0);
            y = std::fmin(std::fmax(y, 1.0 / 51), 1.0);
            Qp = RateController::LimitStep(static_cast<int32_t>(1.0 / y + 0.5), Qp);
            ASSERT_EQ(r.GetQP(FRAME_P), Qp) << "picture " << i << ", method " << Method;
        }
    }
}

// Less than one bit for a picture: the budget is one bit, by which can be divided.
TEST(RateControl, ABudgetOfLessThanABitKeepsTheLargestQp)
{
    RateController c;
    c.Init(0, 0, 0, 1, 1e9, 96, 80, 8, 1, false);
    ASSERT_EQ(c.GetQP(FRAME_I), 51);
    c.PostFrame(FRAME_I, 5000);
    EXPECT_EQ(c.GetQP(FRAME_P), 51);
    c.PostFrame(FRAME_P, 10000);
    EXPECT_EQ(c.GetQP(FRAME_P), 51);
}

} // namespace
