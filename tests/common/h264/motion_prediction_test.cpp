#include "Common/h264/motion_prediction.h"

#include <gtest/gtest.h>

namespace {

using h264::BlockMotion;
using h264::kRefNone;
using h264::kRefUnavailable;
using h264::MotionNeighbours;
using h264::MotionVector;

constexpr BlockMotion kMissing{{0, 0}, kRefUnavailable}, kIntra{{0, 0}, kRefNone};
constexpr MotionVector kZero{0, 0};

TEST(MedianPrediction, TakesTheMiddleOfEachComponent)
{
    const MotionNeighbours n{{{1, 9}, 0}, {{5, -3}, 0}, {{-4, 2}, 1}};
    EXPECT_EQ(h264::PredictMedian(n, 0), (MotionVector{1, 2}));
}

TEST(MedianPrediction, TakesTheOnlyNeighbourWithTheReference)
{
    const MotionNeighbours n{{{1, 9}, 0}, {{5, -3}, 2}, {{-4, 2}, 1}};
    EXPECT_EQ(h264::PredictMedian(n, 2), (MotionVector{5, -3}));
    EXPECT_EQ(h264::PredictMedian(n, 1), (MotionVector{-4, 2}));
    EXPECT_EQ(h264::PredictMedian(n, 0), (MotionVector{1, 9}));
}

TEST(MedianPrediction, TakesTheLeftNeighbourWhenThereIsNoneAbove)
{
    EXPECT_EQ(h264::PredictMedian({{{7, 8}, 3}, kMissing, kMissing}, 0), (MotionVector{7, 8}));
    EXPECT_EQ(h264::PredictMedian({{{7, 8}, 3}, kIntra, kMissing}, 0), kZero); // an intra neighbour is there
}

TEST(DirectionalPrediction, PrefersAboveThenLeftInRowsAndLeftThenAboveRightInColumns)
{
    const MotionNeighbours n{{{1, 1}, 0}, {{2, 2}, 0}, {{3, 3}, 0}};
    EXPECT_EQ(h264::PredictHalfRows(n, 0, 0), (MotionVector{2, 2}));
    EXPECT_EQ(h264::PredictHalfRows(n, 1, 0), (MotionVector{1, 1}));
    EXPECT_EQ(h264::PredictHalfColumns(n, 0, 0), (MotionVector{1, 1}));
    EXPECT_EQ(h264::PredictHalfColumns(n, 1, 0), (MotionVector{3, 3}));
}

TEST(DirectionalPrediction, FallsBackToTheMedianWhereThePreferredHasAnotherReference)
{
    const MotionNeighbours n{{{1, 1}, 0}, {{2, 2}, 1}, {{3, 3}, 0}};
    EXPECT_EQ(h264::PredictHalfRows(n, 0, 0), (MotionVector{2, 2})); // the median of 1, 2 and 3
    EXPECT_EQ(h264::PredictHalfRows(n, 0, 1), (MotionVector{2, 2}));
    EXPECT_EQ(h264::PredictHalfRows(n, 1, 1), (MotionVector{2, 2}));
}

TEST(SkipPrediction, StandsStillAtABorderAndBesideABlockAtRest)
{
    const BlockMotion Moving{{4, 4}, 0};
    EXPECT_EQ(h264::PredictSkip({kMissing, Moving, Moving}), kZero);
    EXPECT_EQ(h264::PredictSkip({Moving, kMissing, Moving}), kZero);
    EXPECT_EQ(h264::PredictSkip({Moving, {{0, 0}, 0}, Moving}), kZero);
    EXPECT_EQ(h264::PredictSkip({Moving, {{0, 0}, 1}, Moving}),
              (MotionVector{4, 4})); // at rest, but in another picture
}

TEST(MotionVectorSum, WrapsAtSixteenBits)
{
    EXPECT_EQ((MotionVector{32767, 0} + MotionVector{1, -1}), (MotionVector{-32768, -1}));
    EXPECT_EQ((MotionVector{-32768, 0} - MotionVector{1, -1}), (MotionVector{32767, 1}));
}

} // namespace
