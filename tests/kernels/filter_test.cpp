#include "kernels/filter/filter_rows.h"

#include "tests/support/plane_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// Width x Height samples with Border more on every side, ending with the last of them.
Block WithBorder(TestRandom& Rng, Fill How, int Width, int Height, int Border, size_t Shift)
{
    return Rng.MakeBlock(How, Width + 2 * Border, Height + 2 * Border, Width + 2 * Border + 3, Shift);
}

int GaussAt(const Block& Source, int x, int y, int Mask)
{
    static constexpr int kWeights[2][5]{{0, 1, 2, 1, 0}, {1, 4, 6, 4, 1}};
    const int* const pWeights = kWeights[Mask == kMask5x5];
    const int Border = Mask == kMask3x3 ? 1 : 2, Divisor = Mask == kMask3x3 ? 16 : 256;
    int Sum = 0;
    for (int j = -Border; j <= Border; ++j)
        for (int i = -Border; i <= Border; ++i)
            Sum += pWeights[2 + j] * pWeights[2 + i] * *Source.At(x + Border + i, y + Border + j);
    const int Quotient = Sum / Divisor, Twice = 2 * (Sum % Divisor);
    return Quotient + (Twice > Divisor || (Twice == Divisor && Quotient % 2 == 1));
}

void CheckGaussShape(FilterGauss8uSig* pFn, TestRandom& Rng, int Width, int Height, size_t Shift, int Mask)
{
    const int Border = Mask == kMask3x3 ? 1 : 2;
    for (const Fill How : kAllFills) {
        const Block Source = WithBorder(Rng, How, Width, Height, Border, Shift);
        Block Want = GuardedBlock(Width, Height, 15 - Shift), Got = Want, InPlace = Source, WantInPlace = Source;
        for (int y = 0; y < Height; ++y)
            for (int x = 0; x < Width; ++x)
                *Want.At(x, y) = *WantInPlace.At(x + Border, y + Border) =
                    static_cast<uint8_t>(GaussAt(Source, x, y, Mask));
        ASSERT_EQ(pFn(Source.At(Border, Border), Source.Step, Got.At(0, 0), Got.Step, Width, Height, Mask), kStatusOk);
        ASSERT_EQ(Got, Want) << Width << " x " << Height << " mask " << Mask;
        uint8_t* const pPlane = InPlace.At(Border, Border);
        ASSERT_EQ(pFn(pPlane, InPlace.Step, pPlane, InPlace.Step, Width, Height, Mask), kStatusOk);
        ASSERT_EQ(InPlace, WantInPlace) << Width << " x " << Height << " mask " << Mask;
    }
}

// The direct formula stands in for px, which is one of the variants here.
void CheckGauss(FilterGauss8uSig* pFn, FilterGauss8uSig*)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Mask : {kMask3x3, kMask5x5}) {
        ForEachShape(
            [&](int Width, int Height, size_t Shift) { CheckGaussShape(pFn, Rng, Width, Height, Shift, Mask); });
        CheckGaussShape(pFn, Rng, 21, 30, 1, Mask);
    }
    Block Source = GuardedBlock(10, 10, 0), Target = Source;
    const auto Call = [&](const uint8_t* pSource, ptrdiff_t From, uint8_t* pTarget, ptrdiff_t To, int Width, int Height,
                          int Mask) { return pFn(pSource, From, pTarget, To, Width, Height, Mask); };
    EXPECT_EQ(Call(nullptr, 19, Target.At(2, 2), 19, 0, 4, kMask3x3), kStatusNullPointer);
    EXPECT_EQ(Call(Source.At(2, 2), 19, nullptr, 19, 4, 4, kMask3x3), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 4}, {-1, 4}, {4, 0}, {4, -4}})
        EXPECT_EQ(Call(Source.At(2, 2), 0, Target.At(2, 2), 19, Width, Height, kMask3x3), kStatusSize);
    for (const ptrdiff_t Step : {0, -19}) {
        EXPECT_EQ(Call(Source.At(2, 2), Step, Target.At(2, 2), 19, 4, 4, 0), kStatusStep);
        EXPECT_EQ(Call(Source.At(2, 2), 19, Target.At(2, 2), Step, 4, 4, 0), kStatusStep);
    }
    for (const int Mask : {0, 3, 11, 32, 34, 35, 53, 77, -33})
        EXPECT_EQ(Call(Source.At(2, 2), 19, Target.At(2, 2), 19, 4, 4, Mask), kStatusMask);
    EXPECT_EQ(Target, GuardedBlock(10, 10, 0));
}
KERNEL_TEST(FilterGauss8u, CheckGauss);

TEST(FilterGauss8uReference, RoundsAHalfToEven)
{
    uint8_t Plane[9]{0, 0, 0, 0, 2, 0, 0, 0, 0}, Target = 7; // 4 * 2 / 16 = 0.5
    EXPECT_EQ(FilterGauss8u_px(&Plane[4], 3, &Target, 1, 1, 1, kMask3x3), kStatusOk);
    EXPECT_EQ(Target, 0);
    Plane[4] = 6; // 1.5
    FilterGauss8u_px(&Plane[4], 3, &Target, 1, 1, 1, kMask3x3);
    EXPECT_EQ(Target, 2);
    Plane[0] = 8; // 24 / 16 + 8 / 16 = 2
    FilterGauss8u_px(&Plane[4], 3, &Target, 1, 1, 1, kMask3x3);
    EXPECT_EQ(Target, 2);
    Plane[1] = 4; // and 8 / 16: 2.5
    FilterGauss8u_px(&Plane[4], 3, &Target, 1, 1, 1, kMask3x3);
    EXPECT_EQ(Target, 2);
}

float MeanAt(const FloatPlane& Source, int x, int y, int Side)
{
    float Total = 0.0f;
    for (int j = 0; j < Side; ++j) {
        float Row = *Source.At(x, y + j);
        for (int i = 1; i < Side; ++i) Row += *Source.At(x + i, y + j);
        Total = j ? Total + Row : Row;
    }
    return Total * (Side == 3 ? 0.1111111f : 0.04f);
}

void CheckMeanShape(FilterMean32fSig* pFn, TestRandom& Rng, int Width, int Height, size_t Shift, int Mask)
{
    const int Side = Mask / 11, Border = Side / 2;
    for (const FloatFill How : {FloatFill::Unit, FloatFill::Signed, FloatFill::Huge}) {
        const FloatPlane Source = MakeFloatPlane(Rng, How, Width + 2 * Border, Height + 2 * Border, Shift % 4);
        FloatPlane Want = MakeFloatPlane(Rng, FloatFill::Unit, Width, Height, Shift), Got = Want, InPlace = Source,
                   WantInPlace = Source;
        for (int y = 0; y < Height; ++y)
            for (int x = 0; x < Width; ++x)
                *Want.At(x, y) = *WantInPlace.At(x + Border, y + Border) = MeanAt(Source, x, y, Side);
        ASSERT_EQ(pFn(Source.At(Border, Border), Source.Step, Got.At(0, 0), Got.Step, Width, Height, Mask), kStatusOk);
        ASSERT_TRUE(Got == Want) << Width << " x " << Height << " mask " << Mask;
        float* const pPlane = InPlace.At(Border, Border);
        ASSERT_EQ(pFn(pPlane, InPlace.Step, pPlane, InPlace.Step, Width, Height, Mask), kStatusOk);
        ASSERT_TRUE(InPlace == WantInPlace) << Width << " x " << Height << " mask " << Mask;
    }
}

void CheckMean(FilterMean32fSig* pFn, FilterMean32fSig*)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Mask : {kMask3x3, kMask5x5}) {
        ForEachShape(
            [&](int Width, int Height, size_t Shift) { CheckMeanShape(pFn, Rng, Width, Height, Shift, Mask); });
        CheckMeanShape(pFn, Rng, 21, 30, 1, Mask);
    }
    const FloatPlane Source = MakeFloatPlane(Rng, FloatFill::Unit, 10, 10, 0, 0);
    FloatPlane Target = Source;
    const float* const pSource = Source.At(2, 2);
    float* const pTarget = Target.At(2, 2);
    EXPECT_EQ(pFn(nullptr, 40, pTarget, 40, 0, 4, kMask3x3), kStatusNullPointer);
    EXPECT_EQ(pFn(pSource, 40, nullptr, 40, 4, 4, kMask3x3), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 4}, {-1, 4}, {4, 0}, {4, -4}})
        EXPECT_EQ(pFn(pSource, 0, pTarget, 40, Width, Height, kMask3x3), kStatusSize);
    for (const ptrdiff_t Step : {0, -40}) {
        EXPECT_EQ(pFn(pSource, Step, pTarget, 40, 4, 4, 0), kStatusStep);
        EXPECT_EQ(pFn(pSource, 40, pTarget, Step, 4, 4, 0), kStatusStep);
    }
    for (const int Mask : {0, 3, 34, 53, 77, -55}) EXPECT_EQ(pFn(pSource, 40, pTarget, 40, 4, 4, Mask), kStatusMask);
    EXPECT_TRUE(Target == Source);
}
KERNEL_TEST(FilterMean32f, CheckMean);

TEST(FilterMean32fReference, IsTheSumTimesTheConstant)
{
    const float Plane[9]{1, 2, 3, 4, 5, 6, 7, 8, 9};
    float Target;
    EXPECT_EQ(FilterMean32f_px(&Plane[4], 12, &Target, 4, 1, 1, kMask3x3), kStatusOk);
    EXPECT_EQ(Target, 45.0f * 0.1111111f);
    const std::vector<float> Ones(25, 1.0f);
    EXPECT_EQ(FilterMean32f_px(&Ones[12], 20, &Target, 4, 1, 1, kMask5x5), kStatusOk);
    EXPECT_EQ(Target, 1.0f);
}

} // namespace
