// Picture order counts of single pictures, after the formulas of clause 8.2.1.
#include "Common/h264/pic_order_cnt.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

namespace {

using namespace h264;

using Counts = std::vector<int32_t>;

PicOrderPicture Reference(int32_t frame_num, int32_t pic_order_cnt_lsb = 0)
{
    return {.frame_num = frame_num, .IsReference = true, .pic_order_cnt_lsb = pic_order_cnt_lsb};
}

PicOrderPicture NoReference(int32_t frame_num, int32_t pic_order_cnt_lsb = 0)
{
    PicOrderPicture Picture = Reference(frame_num, pic_order_cnt_lsb);
    Picture.IsReference = false;
    return Picture;
}

PicOrderPicture FieldOf(PicOrderPicture Picture, bool IsBottom)
{
    Picture.IsField = true;
    Picture.IsBottomField = IsBottom;
    return Picture;
}

Counts CountsOf(const PicOrderSequence& Sequence, std::initializer_list<PicOrderPicture> Pictures)
{
    PicOrderCounter Counter;
    Counts All;
    for (const PicOrderPicture& Picture : Pictures) {
        Counter.Compute(Picture, Sequence);
        All.push_back(Counter.PicOrderCnt);
    }
    return All;
}

TEST(OrderCountLsb, StandsForTheCountThatItWasMadeOf)
{
    PicOrderCounter Counter;
    for (const int32_t Count : {0, 6, 2, 9, 16, 10, 17, 24, 31, 33}) {
        const int32_t Lsb = PicOrderCntLsb(Count, 16);
        EXPECT_TRUE(Lsb >= 0 && Lsb < 16) << Lsb;
        Counter.Compute(Reference(0, Lsb), {.pic_order_cnt_type = 0, .MaxPicOrderCntLsb = 16});
        EXPECT_EQ(Counter.PicOrderCnt, Count);
    }
    EXPECT_EQ(PicOrderCntLsb(-1, 16), 15);
}

TEST(OrderCountLsb, WrapsByHalfOfItsRange)
{
    const auto OfLsbs = [](std::initializer_list<int32_t> Lsbs) {
        PicOrderCounter Counter;
        Counts All;
        for (const int32_t Lsb : Lsbs) {
            Counter.Compute(Reference(0, Lsb), {.pic_order_cnt_type = 0, .MaxPicOrderCntLsb = 16});
            All.push_back(Counter.PicOrderCnt);
        }
        return All;
    };
    EXPECT_EQ(OfLsbs({0, 8, 0}), (Counts{0, 8, 16})) << "half down is up";
    EXPECT_EQ(OfLsbs({0, 7, 0}), (Counts{0, 7, 0}));
    EXPECT_EQ(OfLsbs({2, 10, 3}), (Counts{2, 10, 3}));
    EXPECT_EQ(OfLsbs({2, 10, 1, 10}), (Counts{2, 10, 17, 10})) << "more than half up is down";
}

TEST(OrderCountLsb, GoesOnFromTheReferenceBefore)
{
    const PicOrderSequence Sequence{.pic_order_cnt_type = 0, .MaxPicOrderCntLsb = 16};
    EXPECT_EQ(CountsOf(Sequence, {Reference(0, 8), Reference(1, 12), NoReference(2, 1), Reference(2, 7)}),
              (Counts{8, 12, 17, 7}));
    EXPECT_EQ(CountsOf(Sequence, {Reference(0, 8), Reference(1, 12), Reference(2, 1), Reference(3, 7)}),
              (Counts{8, 12, 17, 23}));
}

TEST(OrderCountLsb, BottomFieldHasADifferenceOfItsOwn)
{
    const PicOrderSequence Sequence{.pic_order_cnt_type = 0, .MaxPicOrderCntLsb = 16};
    PicOrderPicture Frame = Reference(0, 5);
    Frame.delta_pic_order_cnt_bottom = -2;
    PicOrderCounter Counter;
    Counter.Compute(Frame, Sequence);
    EXPECT_EQ(Counter.TopFieldOrderCnt, 5);
    EXPECT_EQ(Counter.BottomFieldOrderCnt, 3);
    EXPECT_EQ(Counter.PicOrderCnt, 3) << "the smaller one";
    Counter.Compute(FieldOf(Reference(1, 8), true), Sequence);
    EXPECT_EQ(Counter.TopFieldOrderCnt, 5) << "of the picture before";
    EXPECT_EQ(Counter.BottomFieldOrderCnt, 8);
    EXPECT_EQ(Counter.PicOrderCnt, 8);
}

constexpr uint32_t kSums[] = {4, 13, 19}; // of 4, 9 and 6
constexpr PicOrderSequence kCycle{.pic_order_cnt_type = 1,
                                  .MaxFrameNum = 16,
                                  .offset_for_non_ref_pic = -3,
                                  .offset_for_top_to_bottom_field = -1,
                                  .OffsetSums = kSums};

TEST(OrderCountCycle, AddsTheOffsetsOfTheFramesBefore)
{
    PicOrderPicture Delta = Reference(5);
    Delta.delta_pic_order_cnt[0] = 2;
    Delta.delta_pic_order_cnt[1] = 1;
    PicOrderCounter Counter;
    Counter.Compute(Reference(0), kCycle);
    EXPECT_EQ(Counter.TopFieldOrderCnt, 0);
    EXPECT_EQ(Counter.BottomFieldOrderCnt, -1);
    Counter.Compute(Reference(3), kCycle);
    EXPECT_EQ(Counter.TopFieldOrderCnt, 19);
    Counter.Compute(Delta, kCycle);
    EXPECT_EQ(Counter.TopFieldOrderCnt, 19 + 13 + 2);
    EXPECT_EQ(Counter.BottomFieldOrderCnt, 19 + 13 + 2 - 1 + 1);
    Counter.Compute(NoReference(6), kCycle);
    EXPECT_EQ(Counter.TopFieldOrderCnt, 19 + 13 - 3) << "of the frame before, less the offset";
    Counter.Compute(FieldOf(Delta, true), kCycle);
    EXPECT_EQ(Counter.PicOrderCnt, 6 * 19 + 19 + 2 - 1) << "frame 21 by now, and no second difference";
}

TEST(OrderCountCycle, CountsNothingWithoutOffsets)
{
    PicOrderSequence Sequence = kCycle;
    Sequence.OffsetSums = {};
    EXPECT_EQ(CountsOf(Sequence, {Reference(0), Reference(7), NoReference(8)}), (Counts{-1, -1, -4}));
}

TEST(OrderCountFrameNum, IsTwiceTheNumberAndOneLessForNoReference)
{
    const PicOrderSequence Sequence{.pic_order_cnt_type = 2, .MaxFrameNum = 16};
    EXPECT_EQ(CountsOf(Sequence, {Reference(0), NoReference(1), Reference(1), Reference(15), Reference(0)}),
              (Counts{0, 1, 2, 30, 32}))
        << "over the wrap";
}

TEST(OrderCounts, WrapAt32Bits)
{
    const uint32_t Sums[] = {0x7FFFFFFF};
    const PicOrderSequence Sequence{.pic_order_cnt_type = 1, .MaxFrameNum = 65536, .OffsetSums = Sums};
    EXPECT_EQ(CountsOf(Sequence, {Reference(1), Reference(2), Reference(3)}), (Counts{INT32_MAX, -2, 0x7FFFFFFD}));
}

TEST(OrderCounts, BeginAnewAtAnIdrPictureAndAMemoryReset)
{
    const PicOrderSequence Lsb{.pic_order_cnt_type = 0, .MaxPicOrderCntLsb = 16};
    const PicOrderSequence Number{.pic_order_cnt_type = 2, .MaxFrameNum = 16};
    PicOrderCounter Counter;
    for (const int32_t Value : {8, 15, 3}) Counter.Compute(Reference(9, Value), Lsb);
    EXPECT_EQ(Counter.PicOrderCnt, 19);
    Counter.StartIdr(0);
    Counter.Compute(Reference(0, 3), Lsb);
    EXPECT_EQ(Counter.PicOrderCnt, 3);

    Counter.Compute(Reference(12, 12), Lsb);
    Counter.ApplyMemoryReset(false, 2);
    Counter.Compute(Reference(1, 1), Lsb);
    EXPECT_EQ(Counter.PicOrderCnt, 1) << "near 2, not near 12";
    Counter.Compute(Reference(15), Number);
    Counter.ApplyMemoryReset(true, 2);
    EXPECT_EQ(Counter.PicOrderCntLsb, 0) << "of a bottom field";
    Counter.Compute(Reference(1), Number);
    EXPECT_EQ(Counter.PicOrderCnt, 2) << "no wrap behind frame 0";
}

} // namespace
