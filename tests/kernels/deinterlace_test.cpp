#include "kernels/deinterlace/deinterlace_rows.h"

#include <algorithm>

#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr int32_t kLayouts[]{kFilterAll, kFilterAllButFirst, kFilterOdd, 3, kFilterEven, -1};

void CheckEqual(DeinterlaceBlendSig* pFn, DeinterlaceBlendSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Width : {1, 15, 16, 17, 37, 64})
            for (const int Height : {3, 4, 9})
                for (const int Weight : {-5, 0, 1, 127, 128, 255, 256, 999})
                    for (const int Layout : kLayouts) {
                        const size_t Shift = kShifts[static_cast<size_t>(Rng.Range(0, 3))];
                        const Block Source = Rng.MakeBlock(How, Width, Height, Width + 3, Shift);
                        const auto Bytes = Shift + static_cast<size_t>((Width + 5) * (Height - 1) + Width);
                        Block Want{std::vector<uint8_t>(Bytes, 0xA5), Shift, Width + 5};
                        Block Got = Want;
                        ASSERT_EQ(pReference(Source.At(0, 0), Source.Step, Want.At(0, 0), Want.Step, Width, Height,
                                             Weight, Layout),
                                  kStatusOk);
                        ASSERT_EQ(
                            pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, Height, Weight, Layout),
                            kStatusOk);
                        ASSERT_EQ(Got.Bytes, Want.Bytes) << Width << "x" << Height << " layout " << Layout;
                        ASSERT_EQ(*Got.At(Width, 0), 0xA5);
                    }
}

void CheckDeinterlace(DeinterlaceBlendSig* pFn, DeinterlaceBlendSig* pReference)
{
    CheckEqual(pFn, pReference);
    uint8_t Row[16]{}, Out[16];
    std::fill_n(Out, 16, uint8_t{7});
    EXPECT_EQ(pFn(nullptr, 4, Out, 4, 4, 3, 128, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(Row, 4, nullptr, 4, 4, 3, 128, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(Row, 4, Out, 4, 0, 3, 128, 0), kStatusSize);
    EXPECT_EQ(pFn(Row, 4, Out, 4, -1, 3, 128, 0), kStatusSize);
    EXPECT_EQ(pFn(Row, 4, Out, 4, 4, 2, 128, 0), kStatusSize);
    EXPECT_EQ(pFn(Row, 4, Out, 4, 4, -3, 128, 0), kStatusSize);
    for (const ptrdiff_t Step : {0, -4}) {
        EXPECT_EQ(pFn(Row, Step, Out, 4, 4, 3, 128, 0), kStatusStep);
        EXPECT_EQ(pFn(Row, 4, Out, Step, 4, 3, 128, 0), kStatusStep);
    }
    EXPECT_EQ(std::count(Out, Out + 16, 7), 16);
}
KERNEL_TEST(DeinterlaceBlend, CheckDeinterlace);

std::vector<int> Blended(int32_t Weight, int32_t Layout)
{
    const uint8_t Source[]{100, 40, 20, 0};
    uint8_t Out[4];
    EXPECT_EQ(DeinterlaceBlend_px(Source, 1, Out, 1, 1, 4, Weight, Layout), kStatusOk);
    return {Out, Out + 4};
}

TEST(DeinterlaceBlendReference, WeighsTheLinesAboveAndBelow)
{
    EXPECT_EQ(Blended(128, kFilterAll), (std::vector<int>{70, 50, 20, 10}));
    EXPECT_EQ(Blended(0, kFilterAll), (std::vector<int>{40, 60, 20, 20}));
    EXPECT_EQ(Blended(-9, kFilterAll), Blended(0, kFilterAll));
    EXPECT_EQ(Blended(300, kFilterAll), (std::vector<int>{100, 40, 20, 0}));
    EXPECT_EQ(Blended(255, kFilterAll), (std::vector<int>{99, 39, 19, 0})); // the sides get half of 1, which is 0
}

TEST(DeinterlaceBlendReference, TheLayoutChoosesTheRows)
{
    EXPECT_EQ(Blended(128, kFilterAllButFirst), (std::vector<int>{100, 50, 20, 10}));
    EXPECT_EQ(Blended(128, kFilterOdd), (std::vector<int>{100, 50, 20, 10}));
    EXPECT_EQ(Blended(128, kFilterEven), (std::vector<int>{70, 40, 20, 0}));
    for (const int32_t Layout : {-1, 3, 5, 100}) EXPECT_EQ(Blended(128, Layout), Blended(128, kFilterAll));
}

TEST(DeinterlaceBlendReference, WithoutCentreAPictureOfOneFieldRemains)
{
    EXPECT_EQ(Blended(0, kFilterOdd), (std::vector<int>{100, 60, 20, 20}));
    EXPECT_EQ(Blended(0, kFilterEven), (std::vector<int>{40, 40, 20, 0}));
}

} // namespace
