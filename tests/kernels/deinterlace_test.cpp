#include "kernels/deinterlace/deinterlace_rows.h"

#include "kernels/memory/memory.h"
#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

void CheckDeinterlace(DeinterlaceBlendSig* pFn, DeinterlaceBlendSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const int Width : {1, 15, 16, 37})
            for (const int Height : {3, 4, 9})
                for (const int Weight : {-5, 0, 1, 128, 256, 999})
                    for (const int Layout : {0, 1, 4}) {
                        const Block Source = Rng.MakeBlock(How, Width, Height, Width + 3, 1);
                        Block Want{std::vector<uint8_t>(static_cast<size_t>((Width + 5) * Height), 0xA5), 2, Width + 5};
                        Block Got = Want;
                        EXPECT_EQ(pReference(Source.At(0, 0), Source.Step, Want.At(0, 0), Want.Step, Width, Height,
                                             Weight, Layout),
                                  kStatusOk);
                        EXPECT_EQ(
                            pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, Height, Weight, Layout),
                            kStatusOk);
                        ASSERT_EQ(Got.Bytes, Want.Bytes);
                    }
    uint8_t Row[16]{}, Out[16]{};
    EXPECT_EQ(pFn(nullptr, 4, Out, 4, 4, 3, 128, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(Row, 4, nullptr, 4, 4, 3, 128, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(Row, 4, Out, 4, 0, 3, 128, 0), kStatusSize);
    EXPECT_EQ(pFn(Row, 4, Out, 4, 4, 2, 128, 0), kStatusSize);
}
KERNEL_TEST(DeinterlaceBlend, CheckDeinterlace);

TEST(DeinterlaceBlendReference, WeighsTheLinesAboveAndBelow)
{
    const uint8_t Source[]{100, 40, 20, 0};
    uint8_t Out[4];
    EXPECT_EQ(DeinterlaceBlend_px(Source, 1, Out, 1, 1, 4, 128, 0), kStatusOk);
    EXPECT_EQ(std::vector<int>(Out, Out + 4), (std::vector<int>{85, 50, 20, 5}));
    DeinterlaceBlend_px(Source, 1, Out, 1, 1, 4, 128, 1);
    EXPECT_EQ(Out[0], 100); // layout 1 leaves the first row
    DeinterlaceBlend_px(Source, 1, Out, 1, 1, 4, 300, 0);
    EXPECT_EQ(std::vector<int>(Out, Out + 4), (std::vector<int>{100, 40, 20, 0}));
}

} // namespace
