#include "kernels/memory/memory_rows.h"

#include <cstdint>
#include <numeric>

#include "tests/support/plane_testing.h"

namespace {

using namespace kernels;
using kernel_testing::Fill;
using kernel_testing::TestRandom;

void CheckCopyBytes(CopyBytesSig* pFn, CopyBytesSig*)
{
    for (const int32_t Length : {1, 15, 16, 1000}) {
        const auto Source = TestRandom().Bytes(Fill::Random, static_cast<size_t>(Length));
        std::vector<uint8_t> Target(Source.size() + 2, 0xA5);
        EXPECT_EQ(pFn(Source.data(), &Target[1], Length), kStatusOk);
        EXPECT_TRUE(std::equal(Source.begin(), Source.end(), Target.begin() + 1));
        EXPECT_EQ(Target.front(), 0xA5);
        EXPECT_EQ(Target.back(), 0xA5);
    }
    uint8_t a = 1, b = 2;
    EXPECT_EQ(pFn(nullptr, &b, 1), kStatusNullPointer);
    EXPECT_EQ(pFn(&a, nullptr, 1), kStatusNullPointer);
    EXPECT_EQ(pFn(&a, &b, 0), kStatusSize);
    EXPECT_EQ(pFn(&a, &b, -1), kStatusSize);
    EXPECT_EQ(b, 2);
}
KERNEL_TEST(CopyBytes, CheckCopyBytes);

void CheckSetBytes(SetBytesSig* pFn, SetBytesSig*)
{
    std::vector<uint8_t> Target(9, 1);
    EXPECT_EQ(pFn(7, &Target[1], 7), kStatusOk);
    EXPECT_EQ(Target, (std::vector<uint8_t>{1, 7, 7, 7, 7, 7, 7, 7, 1}));
    EXPECT_EQ(pFn(3, nullptr, 7), kStatusNullPointer);
    EXPECT_EQ(pFn(3, Target.data(), 0), kStatusSize);
    EXPECT_EQ(pFn(3, Target.data(), -9), kStatusSize);
    EXPECT_EQ(Target.front(), 1);
}
KERNEL_TEST(SetBytes, CheckSetBytes);

void CheckCopy8u(Copy8uSig* pFn, Copy8uSig*)
{
    const std::vector<uint8_t> Source{1, 2, 3, 4, 5, 6};
    std::vector<uint8_t> Target(8, 0);
    EXPECT_EQ(pFn(Source.data(), 3, Target.data(), 4, 2, 2), kStatusOk);
    EXPECT_EQ(Target, (std::vector<uint8_t>{1, 2, 0, 0, 4, 5, 0, 0}));
    EXPECT_EQ(pFn(nullptr, 3, Target.data(), 4, 2, 2), kStatusNullPointer);
    EXPECT_EQ(pFn(Source.data(), 3, nullptr, 4, 2, 2), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 2}, {-1, 2}, {2, 0}, {2, -4}})
        EXPECT_EQ(pFn(Source.data(), 3, &Target[2], 4, Width, Height), kStatusSize);
    for (const ptrdiff_t Step : {0, -3}) {
        EXPECT_EQ(pFn(Source.data(), Step, &Target[2], 4, 2, 2), kStatusStep);
        EXPECT_EQ(pFn(Source.data(), 3, &Target[2], Step, 2, 2), kStatusStep);
    }
    EXPECT_EQ(Target[2], 0);
}
KERNEL_TEST(Copy8u, CheckCopy8u);

void CheckSet8u(Set8uSig* pFn, Set8uSig*)
{
    std::vector<uint8_t> Plane(6, 1);
    EXPECT_EQ(pFn(9, Plane.data(), 3, 2, 2), kStatusOk);
    EXPECT_EQ(Plane, (std::vector<uint8_t>{9, 9, 1, 9, 9, 1}));
    EXPECT_EQ(pFn(9, nullptr, 3, 2, 2), kStatusNullPointer);
    EXPECT_EQ(pFn(7, Plane.data(), 3, 0, 2), kStatusSize);
    EXPECT_EQ(pFn(7, Plane.data(), 3, 2, -1), kStatusSize);
    EXPECT_EQ(pFn(7, Plane.data(), 0, 2, 2), kStatusStep);
    EXPECT_EQ(Plane[0], 9);
}
KERNEL_TEST(Set8u, CheckSet8u);

void CheckCopyChannel8uC1C4(CopyChannel8uC1C4Sig* pFn, CopyChannel8uC1C4Sig*)
{
    using namespace kernel_testing;
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const int Channel : {0, 3}) {
            const Block Source = Rng.MakeBlock(Fill::Random, Width, Height, Width + 2, Shift);
            Block Want = Rng.MakeBlock(Fill::Random, 4 * Width, Height, 4 * Width + 7, 15 - Shift), Got = Want;
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < Width; ++x) *Want.At(4 * x + Channel, y) = *Source.At(x, y);
            ASSERT_EQ(pFn(Source.At(0, 0), Source.Step, Got.At(Channel, 0), Got.Step, Width, Height), kStatusOk);
            ASSERT_EQ(Got, Want) << Width << " x " << Height;
        }
    });
    const std::vector<uint8_t> Source(8, 1);
    std::vector<uint8_t> Target(32, 7);
    EXPECT_EQ(pFn(nullptr, 4, Target.data(), 16, 0, 2), kStatusNullPointer);
    EXPECT_EQ(pFn(Source.data(), 4, nullptr, 16, 4, 2), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 2}, {-1, 2}, {4, 0}, {4, -4}})
        EXPECT_EQ(pFn(Source.data(), 0, Target.data(), 16, Width, Height), kStatusSize);
    for (const ptrdiff_t Step : {0, -4}) {
        EXPECT_EQ(pFn(Source.data(), Step, Target.data(), 16, 4, 2), kStatusStep);
        EXPECT_EQ(pFn(Source.data(), 4, Target.data(), Step, 4, 2), kStatusStep);
    }
    EXPECT_EQ(Target, std::vector<uint8_t>(32, 7));
}
KERNEL_TEST(CopyChannel8uC1C4, CheckCopyChannel8uC1C4);

TEST(Malloc, BlocksAreAlignedAndWhole)
{
    for (const int32_t Size : {1, 7, 31, 32, 33, 4096}) {
        uint8_t* const pBlock = Malloc8u(Size);
        ASSERT_NE(pBlock, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pBlock) % 32, 0u);
        std::fill_n(pBlock, Size, uint8_t{0xFF}); // the sanitizer sees a block too short, and Free one overwritten
        Free(pBlock);
        float* const pFloats = Malloc32f(Size);
        ASSERT_NE(pFloats, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pFloats) % 32, 0u);
        std::fill_n(pFloats, Size, -1.0f);
        Free(pFloats);
    }
}

TEST(Malloc, ANonPositiveSizeGivesNull)
{
    EXPECT_EQ(Malloc8u(0), nullptr);
    EXPECT_EQ(Malloc8u(-1), nullptr);
    EXPECT_EQ(Malloc8u(INT32_MIN), nullptr);
    EXPECT_EQ(Malloc32f(0), nullptr);
    EXPECT_EQ(Malloc32f(-5), nullptr);
    Free(nullptr);
}

} // namespace
