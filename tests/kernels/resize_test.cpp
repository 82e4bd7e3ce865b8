#include "kernels/resize/resize_rows.h"

#include <algorithm>
#include <cmath>

#include "kernels/memory/memory.h"
#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

double Cubic(double x)
{
    x = std::abs(x);
    if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
    return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
}

// Exact arithmetic for one channel of one target pixel, from a region of Width x Height at (0, 0) of the source.
double Exact(const Block& Source, int Width, int Height, int Channels, int Channel, double x, double y)
{
    const int Left = static_cast<int>(std::floor(x)), Top = static_cast<int>(std::floor(y));
    double Sum = 0;
    for (int j = Top - 1; j <= Top + 2; ++j)
        for (int i = Left - 1; i <= Left + 2; ++i)
            Sum += Cubic(x - i) * Cubic(y - j) *
                   *Source.At(std::clamp(i, 0, Width - 1) * Channels + Channel, std::clamp(j, 0, Height - 1));
    return std::clamp(Sum, 0.0, 255.0);
}

template <int Channels>
void CheckResize(ResizeSig* pFn, ResizeSig*)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (const auto& [ToWidth, ToHeight] : {std::pair{20, 14}, {40, 28}, {10, 7}, {13, 19}, {1, 1}}) {
            const int Width = 20, Height = 14;
            const Block Source = Rng.MakeBlock(How, Width * Channels, Height, Width * Channels + 5, 3);
            Block Got{std::vector<uint8_t>(static_cast<size_t>((ToWidth * Channels + 4) * ToHeight), 0xA5), 0,
                      ToWidth * Channels + 4};
            const double xFactor = static_cast<double>(ToWidth) / Width,
                         yFactor = static_cast<double>(ToHeight) / Height;
            ASSERT_EQ(pFn(Source.At(0, 0), Width, Height, Source.Step, 0, 0, Width, Height, Got.At(0, 0), Got.Step,
                          ToWidth, ToHeight, xFactor, yFactor, kCubic),
                      kStatusOk);
            for (int y = 0; y < ToHeight; ++y)
                for (int x = 0; x < ToWidth * Channels; ++x)
                    ASSERT_NEAR(*Got.At(x, y),
                                Exact(Source, Width, Height, Channels, x % Channels,
                                      (x / Channels + 0.5) / xFactor - 0.5, (y + 0.5) / yFactor - 0.5),
                                1.0)
                        << x << ", " << y;
            for (int y = 0; y < ToHeight; ++y) ASSERT_EQ(*Got.At(ToWidth * Channels, y), 0xA5);
        }
}

template <int Channels>
void CheckResizeStatuses(ResizeSig* pFn)
{
    std::vector<uint8_t> Source(8 * 8 * Channels), Target(4 * 4 * Channels, 7);
    const ptrdiff_t Step = 8 * Channels, TargetStep = 4 * Channels;
    const auto Call = [&](const uint8_t* pSource, int x, int Width, ptrdiff_t From, uint8_t* pTarget, ptrdiff_t To,
                          int ToWidth, int Type) {
        return pFn(pSource, 8, 8, From, x, 0, Width, 8, pTarget, To, ToWidth, 4, 0.5, 0.5, Type);
    };
    EXPECT_EQ(Call(nullptr, 0, 8, Step, Target.data(), TargetStep, 4, kCubic), kStatusNullPointer);
    EXPECT_EQ(Call(Source.data(), 0, 8, Step, nullptr, TargetStep, 4, kCubic), kStatusNullPointer);
    EXPECT_EQ(Call(Source.data(), 0, 0, Step, Target.data(), TargetStep, 4, kCubic), kStatusSize);
    EXPECT_EQ(Call(Source.data(), 1, 8, Step, Target.data(), TargetStep, 4, kCubic), kStatusSize);
    EXPECT_EQ(Call(Source.data(), 0, 8, Step, Target.data(), TargetStep, -4, kCubic), kStatusSize);
    EXPECT_EQ(Call(Source.data(), 0, 8, 0, Target.data(), TargetStep, 4, kCubic), kStatusStep);
    EXPECT_EQ(Call(Source.data(), 0, 8, Step, Target.data(), -TargetStep, 4, kCubic), kStatusStep);
    EXPECT_EQ(Call(Source.data(), 0, 8, Step, Target.data(), TargetStep, 4, 3), kStatusMode);
    EXPECT_EQ(std::count(Target.begin(), Target.end(), 7), static_cast<ptrdiff_t>(Target.size()));
}

template <int Channels>
void CheckAll(ResizeSig* pFn, ResizeSig* pReference)
{
    CheckResize<Channels>(pFn, pReference);
    CheckResizeStatuses<Channels>(pFn);
}
KERNEL_TEST(Resize8uC1, CheckAll<1>);
KERNEL_TEST(Resize8uC3, CheckAll<3>);
KERNEL_TEST(Resize8uC4, CheckAll<4>);

} // namespace
