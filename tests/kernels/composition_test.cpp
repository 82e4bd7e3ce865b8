#include "kernels/composition/composition_rows.h"

#include <algorithm>

#include "tests/support/plane_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// The nearest integer to Sum / 255 in exact arithmetic, at most 255. 255 is odd, so no quotient lies between two.
int Blended(int Sum)
{
    int Nearest = 0;
    while (Nearest < 255 && 2 * Sum > (2 * Nearest + 1) * 255) ++Nearest;
    return Nearest;
}

void ExpectBlend(AlphaComp8uAC4Sig* pFn, const std::vector<uint8_t>& First, const std::vector<uint8_t>& Second)
{
    std::vector<uint8_t> Got(First.size());
    const auto Step = static_cast<ptrdiff_t>(First.size());
    ASSERT_EQ(pFn(First.data(), Step, Second.data(), Step, Got.data(), Step, static_cast<int32_t>(First.size() / 4), 1,
                  kAlphaPlus),
              kStatusOk);
    for (size_t i = 0; i < First.size(); ++i) {
        const size_t Alpha = i | 3;
        const int Want = i == Alpha ? std::min(First[i] + Second[i], 255)
                                    : Blended(First[i] * First[Alpha] + Second[i] * Second[Alpha]);
        ASSERT_EQ(Got[i], Want) << "channel " << i % 4 << " of " << int{First[i]} << " alpha " << int{First[Alpha]}
                                << " and " << int{Second[i]} << " alpha " << int{Second[Alpha]};
    }
}

// Every colour with every alpha, over nothing, over itself and over the complement, then pairs at random.
void CheckExact(AlphaComp8uAC4Sig* pFn, TestRandom& Rng)
{
    for (int Alpha = 0; Alpha < 256; ++Alpha) {
        std::vector<uint8_t> First, Clear, Opposite;
        for (int Colour = 0; Colour < 256; ++Colour)
            for (const int Value : {Colour, 255 - Colour, Colour ^ 0x55, Alpha}) {
                First.push_back(static_cast<uint8_t>(Value));
                Clear.push_back(255);
                Opposite.push_back(static_cast<uint8_t>(255 - Value));
            }
        for (size_t i = 3; i < Clear.size(); i += 4) Clear[i] = 0;
        ExpectBlend(pFn, First, Clear);
        ExpectBlend(pFn, Clear, First);
        ExpectBlend(pFn, First, Opposite);
        ExpectBlend(pFn, First, First);
    }
    for (int i = 0; i < 400; ++i) ExpectBlend(pFn, Rng.Bytes(Fill::Random, 1024), Rng.Bytes(Fill::Random, 1024));
}

void CheckComposition(AlphaComp8uAC4Sig* pFn, AlphaComp8uAC4Sig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    CheckExact(pFn, Rng);
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const Fill How : kAllFills) {
            const Block a = Rng.MakeBlock(How, 4 * Width, Height, 4 * Width + 3, Shift);
            const Block b = Rng.MakeBlock(Fill::Random, 4 * Width, Height, 4 * Width, 15 - Shift);
            Block Want = GuardedBlock(4 * Width, Height, Shift), Got = Want, OverFirst = a, OverSecond = b;
            pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Want.At(0, 0), Want.Step, Width, Height, kAlphaPlus);
            ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Got.At(0, 0), Got.Step, Width, Height, kAlphaPlus),
                      kStatusOk);
            ASSERT_EQ(Got, Want) << Width << " x " << Height;
            pFn(OverFirst.At(0, 0), a.Step, b.At(0, 0), b.Step, OverFirst.At(0, 0), a.Step, Width, Height, kAlphaPlus);
            pFn(a.At(0, 0), a.Step, OverSecond.At(0, 0), b.Step, OverSecond.At(0, 0), b.Step, Width, Height,
                kAlphaPlus);
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < 4 * Width; ++x) {
                    ASSERT_EQ(*OverFirst.At(x, y), *Want.At(x, y));
                    ASSERT_EQ(*OverSecond.At(x, y), *Want.At(x, y));
                }
        }
    });
    Block a = GuardedBlock(16, 2, 0), Target = a;
    const uint8_t* const p = a.At(0, 0);
    uint8_t* const pTarget = Target.At(0, 0);
    EXPECT_EQ(pFn(nullptr, 16, p, 16, pTarget, 16, 0, 2, kAlphaPlus), kStatusNullPointer);
    EXPECT_EQ(pFn(p, 16, nullptr, 16, pTarget, 16, 4, 2, kAlphaPlus), kStatusNullPointer);
    EXPECT_EQ(pFn(p, 16, p, 16, nullptr, 16, 4, 2, kAlphaPlus), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 2}, {-1, 2}, {4, 0}, {4, -4}})
        EXPECT_EQ(pFn(p, 0, p, 16, pTarget, 16, Width, Height, kAlphaPlus), kStatusSize);
    for (const ptrdiff_t Step : {0, -16}) {
        EXPECT_EQ(pFn(p, Step, p, 16, pTarget, 16, 4, 2, 0), kStatusStep);
        EXPECT_EQ(pFn(p, 16, p, Step, pTarget, 16, 4, 2, 0), kStatusStep);
        EXPECT_EQ(pFn(p, 16, p, 16, pTarget, Step, 4, 2, 0), kStatusStep);
    }
    for (const int32_t Type : {-1, 0, 4, 6}) EXPECT_EQ(pFn(p, 16, p, 16, pTarget, 16, 4, 2, Type), kStatusMode);
    EXPECT_EQ(Target, a);
}
KERNEL_TEST(AlphaComp8uAC4, CheckComposition);

TEST(AlphaComp8uAC4Reference, AddsTheWeighedColours)
{
    const uint8_t First[]{200, 100, 0, 255, 200, 100, 0, 128, 255, 255, 3, 200};
    const uint8_t Second[]{9, 9, 9, 0, 100, 200, 255, 127, 255, 1, 0, 100};
    uint8_t Target[12];
    EXPECT_EQ(AlphaComp8uAC4_px(First, 12, Second, 12, Target, 12, 3, 1, kAlphaPlus), kStatusOk);
    // 200 * 128 / 255 + 100 * 127 / 255 = 150.2, 100 * 128 / 255 + 200 * 127 / 255 = 149.8; 300 and 200.4 of 3 * 200
    EXPECT_EQ(std::vector<int>(Target, Target + 12),
              (std::vector<int>{200, 100, 0, 255, 150, 150, 127, 255, 255, 200, 2, 255}));
}

} // namespace
