#include "kernels/distance/distance_rows.h"
#include "kernels/interpolation/interpolation_rows.h"

#include "tests/kernels/deep_block.h"
#include "tests/support/inter_reference.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// The picture holds exactly the samples that the contract lets a kernel read.
template <int Rows>
void CheckHalfPlane(HalfPlaneSig* pFn, HalfPlaneSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const size_t Shift : kShifts) {
            const Block Picture = Rng.MakeBlock(How, 29, 23, 37, Shift); // columns -3..25, rows -3..19
            constexpr ptrdiff_t Step = 26;
            std::vector<uint8_t> Want(Step * Rows + 1, 0xA5), Got = Want;
            pReference(Picture.At(3, 3), Picture.Step, Want.data() + 1, Step);
            pFn(Picture.At(3, 3), Picture.Step, Got.data() + 1, Step);
            ASSERT_EQ(Got, Want) << "shift " << Shift;
        }
}
KERNEL_TEST(HalfPlaneRight, CheckHalfPlane<18>);
KERNEL_TEST(HalfPlaneDown, CheckHalfPlane<17>);
KERNEL_TEST(HalfPlaneBoth, CheckHalfPlane<17>);

template <int Rows>
void CheckHalfPlaneDeep(HalfPlaneDeepSig* pFn, HalfPlaneDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : {8, 9, 10, 12, 14})
        for (const Fill How : kDeepFills) {
            const DeepBlock Picture = DeepBlock::Random(Rng, How, 29, 23, 37, Depth);
            constexpr ptrdiff_t Step = 52;
            std::vector<uint16_t> Want(Step / 2 * Rows + 1, 0xA5A5), Got = Want;
            pReference(Picture.At(3, 3), Picture.Step(), Want.data() + 1, Step, Depth);
            pFn(Picture.At(3, 3), Picture.Step(), Got.data() + 1, Step, Depth);
            ASSERT_EQ(Got, Want) << Depth << " bits";
        }
}
KERNEL_TEST(HalfPlaneRightDeep, CheckHalfPlaneDeep<18>);
KERNEL_TEST(HalfPlaneDownDeep, CheckHalfPlaneDeep<17>);
KERNEL_TEST(HalfPlaneBothDeep, CheckHalfPlaneDeep<17>);

void CheckSadAverage(AverageDistanceSig* pFn, AverageDistanceSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const Fill Other : kAllFills)
            for (const size_t Shift : kShifts) {
                const Block s = Rng.MakeBlock(How, 16, 16, 40, Shift);
                const Block a = Rng.MakeBlock(Other, 16, 16, 32, 15 - Shift), b = Rng.MakeBlock(How, 16, 16, 61, 3);
                ASSERT_EQ(pFn(s.At(0, 0), s.Step, a.At(0, 0), a.Step, b.At(0, 0), b.Step),
                          pReference(s.At(0, 0), s.Step, a.At(0, 0), a.Step, b.At(0, 0), b.Step));
            }
}
KERNEL_TEST(SadAverage16x16, CheckSadAverage);

template <int Size>
void CheckLargestSad(BlockDistanceSig* pFn, BlockDistanceSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const size_t Shift : kShifts) {
            const Block a = Rng.MakeBlock(How, Size, Size, 40, Shift);
            Block b = a;
            // Parts that differ little but for one, each of them in turn.
            for (int y = 0; y < Size; y += 4)
                for (int x = 0; x < Size; x += 4) {
                    *b.At(x + Rng.Range(0, 3), y + Rng.Range(0, 3)) ^= 0xFF;
                    ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step),
                              pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step));
                }
            const Block c = Rng.MakeBlock(Fill::Random, Size, Size, 16, 15 - Shift);
            ASSERT_EQ(pFn(a.At(0, 0), a.Step, c.At(0, 0), c.Step), pReference(a.At(0, 0), a.Step, c.At(0, 0), c.Step));
        }
}
KERNEL_TEST(LargestSad4x4Of16x16, CheckLargestSad<16>);
KERNEL_TEST(LargestSad4x4Of8x8, CheckLargestSad<8>);

TEST(LargestSadReference, IsThatOfTheWorstPart)
{
    std::vector<uint8_t> a(256, 10), b = a;
    EXPECT_EQ(LargestSad4x4Of16x16_px(a.data(), 16, b.data(), 16), 0);
    b[16 * 7 + 3] = 15; // one part of rows 4..7
    b[16 * 4 + 0] = 8;
    b[16 * 4 + 4] = 16; // the one right of it
    EXPECT_EQ(LargestSad4x4Of16x16_px(a.data(), 16, b.data(), 16), 7);
    EXPECT_EQ(LargestSad4x4Of8x8_px(a.data(), 16, b.data(), 16), 7);
}

// The planes hold what the interpolation of a whole block gives at the same offsets.
TEST(HalfPlaneReference, EqualsTheInterpolationOfBlocks)
{
    TestRandom Rng;
    const Block Picture = Rng.MakeBlock(Fill::Random, 40, 40, 40, 0);
    const uint8_t* const pSrc = Picture.At(8, 8);
    constexpr ptrdiff_t Step = 32;
    struct Case {
        HalfPlaneSig* pPlane;
        int FracX, FracY;
    };
    for (const Case& c : {Case{HalfPlaneRight_px, 2, 0}, {HalfPlaneDown_px, 0, 2}, {HalfPlaneBoth_px, 2, 2}}) {
        std::vector<uint8_t> Plane(Step * 18);
        c.pPlane(pSrc, Picture.Step, Plane.data(), Step);
        for (int y = -1; y <= 0; ++y)
            for (int x = -1; x <= 0; ++x) {
                std::vector<uint8_t> Want(256), Got;
                InterpolateLuma16_px(pSrc + y * Picture.Step + x, Picture.Step, Want.data(), 16, c.FracX, c.FracY, 16);
                for (int Row = 0; Row < 16; ++Row) {
                    const uint8_t* const p = Plane.data() + (Row + y + 1) * Step + x + 1;
                    Got.insert(Got.end(), p, p + 16);
                }
                EXPECT_EQ(Got, Want) << c.FracX << ' ' << c.FracY << " at " << x << ' ' << y;
            }
    }
}

// Every sample of the deep planes is that of the standard.
TEST(HalfPlaneReference, DeepOnesAreAsTheStandardHasIt)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    constexpr struct {
        HalfPlaneDeepSig* pPlane;
        int FracX, FracY, Rows;
    } kPlanes[]{{HalfPlaneRightDeep_px, 2, 0, 18}, {HalfPlaneDownDeep_px, 0, 2, 17}, {HalfPlaneBothDeep_px, 2, 2, 17}};
    for (const int Depth : {10, 14})
        for (const Fill How : kDeepFills) {
            const DeepBlock Picture = DeepBlock::Random(Rng, How, 29, 23, 29, Depth);
            for (const auto& c : kPlanes) {
                DeepBlock Plane(24, 18, 24);
                c.pPlane(Picture.At(3, 3), Picture.Step(), Plane.At(0, 0), Plane.Step(), Depth);
                for (int y = 0; y < c.Rows; ++y)
                    for (int x = 0; x < 24; ++x) {
                        const auto At = [&](int i, int j) { return int{*Picture.At(2 + x + i, 2 + y + j)}; };
                        ASSERT_EQ(*Plane.At(x, y), test::LumaSample(At, c.FracX, c.FracY, Depth)) << x << ", " << y;
                    }
            }
        }
}

} // namespace
