#include "Common/h264/reference_numbers.h"

#include <gtest/gtest.h>

TEST(ReferenceNumbers, CountFramesBehindTheWrapBelowZero)
{
    EXPECT_EQ(h264::FrameNumWrap(250, 2, 256), -6);
    EXPECT_EQ(h264::FrameNumWrap(2, 2, 256), 2);
    EXPECT_EQ(h264::FrameNumWrap(1, 2, 256), 1);
}

TEST(ReferenceNumbers, CountFieldsByTwoWithOneForTheSameParity)
{
    EXPECT_EQ(h264::FieldPicNum(-6, true), -11);
    EXPECT_EQ(h264::FieldPicNum(-6, false), -12);
}

TEST(SlidingWindow, IsFullAtTheStatedReferencesAndNeverBelowOne)
{
    EXPECT_FALSE(h264::IsWindowFull(1, 2));
    EXPECT_TRUE(h264::IsWindowFull(2, 2));
    EXPECT_FALSE(h264::IsWindowFull(0, 0));
    EXPECT_TRUE(h264::IsWindowFull(1, 0));
}
