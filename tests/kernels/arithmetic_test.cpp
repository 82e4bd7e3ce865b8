#include "kernels/arithmetic/arithmetic_rows.h"

#include <cmath>
#include <functional>
#include <limits>

#include "tests/support/plane_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInfinity = std::numeric_limits<float>::infinity();

// Call(Width, Height, Steps) must refuse bad sizes first, then each bad step, and leave the target as it was.
template <class Target, class CallFn>
void ExpectSizesAndStepsRefused(const Target& Plane, size_t StepCount, CallFn Call)
{
    const Target Before = Plane;
    const std::vector<ptrdiff_t> Good(StepCount, 8);
    for (const auto& [Width, Height] : {std::pair{0, 2}, {-1, 2}, {2, 0}, {2, -4}})
        EXPECT_EQ(Call(Width, Height, Good), kStatusSize);
    for (size_t i = 0; i < StepCount; ++i)
        for (const ptrdiff_t Bad : {ptrdiff_t{0}, ptrdiff_t{-8}}) {
            std::vector<ptrdiff_t> Given = Good;
            Given[i] = Bad;
            EXPECT_EQ(Call(2, 2, Given), kStatusStep);
            EXPECT_EQ(Call(0, 2, Given), kStatusSize);
        }
    EXPECT_TRUE(Plane == Before);
}

// A kernel of two sources and a target, its further arguments bound.
using TwoSources =
    std::function<int32_t(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t, int32_t, int32_t)>;

void CompareTwoSources(TestRandom& Rng, const TwoSources& Fn, const TwoSources& Reference)
{
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const Fill How : kAllFills) {
            const Block a = Rng.MakeBlock(How, Width, Height, Width + 3, Shift);
            const Block b = Rng.MakeBlock(Fill::Random, Width, Height, Width, 15 - Shift);
            const auto Run = [&](const TwoSources& Which, Block& Target) {
                ASSERT_EQ(Which(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Target.At(0, 0), Target.Step, Width, Height),
                          kStatusOk);
            };
            Block Want = GuardedBlock(Width, Height, Shift), Got = Want;
            Run(Reference, Want);
            Run(Fn, Got);
            ASSERT_EQ(Got, Want) << Width << " x " << Height;
            // Either source may be the target.
            Block OverFirst = a, OverSecond = b;
            Fn(OverFirst.At(0, 0), a.Step, b.At(0, 0), b.Step, OverFirst.At(0, 0), a.Step, Width, Height);
            Fn(a.At(0, 0), a.Step, OverSecond.At(0, 0), b.Step, OverSecond.At(0, 0), b.Step, Width, Height);
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < Width; ++x) {
                    ASSERT_EQ(*OverFirst.At(x, y), *Want.At(x, y));
                    ASSERT_EQ(*OverSecond.At(x, y), *Want.At(x, y));
                }
        }
    });
}

void ExpectTwoSourcesRefusals(const TwoSources& Fn)
{
    Block a = GuardedBlock(8, 2, 0), b = a, Target = a;
    EXPECT_EQ(Fn(nullptr, 8, b.At(0, 0), 8, Target.At(0, 0), 8, 0, 2), kStatusNullPointer);
    EXPECT_EQ(Fn(a.At(0, 0), 8, nullptr, 8, Target.At(0, 0), 8, 8, 2), kStatusNullPointer);
    EXPECT_EQ(Fn(a.At(0, 0), 8, b.At(0, 0), 8, nullptr, 8, 8, 2), kStatusNullPointer);
    ExpectSizesAndStepsRefused(Target, 3, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
        return Fn(a.At(0, 0), Steps[0], b.At(0, 0), Steps[1], Target.At(0, 0), Steps[2], Width, Height);
    });
}

TwoSources WithScale(Sub8uSig* pFn, int32_t Scale)
{
    return
        [=](const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB, uint8_t* pTarget, ptrdiff_t Step,
            int32_t Width, int32_t Height) { return pFn(pA, StepA, pB, StepB, pTarget, Step, Width, Height, Scale); };
}

void CheckSub8u(Sub8uSig* pFn, Sub8uSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int32_t Scale = 0; Scale <= 8; ++Scale)
        CompareTwoSources(Rng, WithScale(pFn, Scale), WithScale(pReference, Scale));
    ExpectTwoSourcesRefusals(WithScale(pFn, 0));
    uint8_t a = 1, b = 200, Target = 7;
    for (const int32_t Scale : {-1, 9, INT32_MIN, INT32_MAX})
        EXPECT_EQ(pFn(&a, 1, &b, 1, &Target, 1, 1, 1, Scale), kStatusMode);
    EXPECT_EQ(Target, 7);
}
KERNEL_TEST(Sub8u, CheckSub8u);

TEST(Sub8uReference, SubtractsTheFirstFromTheSecondThenShifts)
{
    const uint8_t First[]{10, 0, 255, 7}, Second[]{3, 255, 255, 28};
    uint8_t Target[4];
    EXPECT_EQ(Sub8u_px(First, 4, Second, 4, Target, 4, 4, 1, 0), kStatusOk);
    EXPECT_EQ(std::vector<int>(Target, Target + 4), (std::vector<int>{0, 255, 0, 21}));
    Sub8u_px(First, 4, Second, 4, Target, 4, 4, 1, 2);
    EXPECT_EQ(std::vector<int>(Target, Target + 4), (std::vector<int>{0, 63, 0, 5}));
    Sub8u_px(First, 4, Second, 4, Target, 4, 4, 1, 8);
    EXPECT_EQ(Target[1], 0);
}

// The target, with the step that it has, also serves as the second source of Sub8u.
void CheckSubInPlace8u(SubInPlace8uSig* pFn, SubInPlace8uSig*)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const int32_t Scale : {0, 1, 8}) {
            const Block a = Rng.MakeBlock(Fill::Random, Width, Height, Width + 1, Shift);
            Block Want = Rng.MakeBlock(Fill::ZeroOrMax, Width, Height, Width + 6, 15 - Shift), Got = Want;
            Sub8u_px(a.At(0, 0), a.Step, Want.At(0, 0), Want.Step, Want.At(0, 0), Want.Step, Width, Height, Scale);
            ASSERT_EQ(pFn(a.At(0, 0), a.Step, Got.At(0, 0), Got.Step, Width, Height, Scale), kStatusOk);
            ASSERT_EQ(Got, Want) << Width << " x " << Height;
        }
    });
    Block a = GuardedBlock(8, 2, 0), Target = a;
    EXPECT_EQ(pFn(nullptr, 8, Target.At(0, 0), 8, 8, 2, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(a.At(0, 0), 8, nullptr, 8, 8, 2, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(a.At(0, 0), 8, Target.At(0, 0), 8, 8, 2, 9), kStatusMode);
    EXPECT_EQ(pFn(a.At(0, 0), 8, Target.At(0, 0), 8, 8, 2, -1), kStatusMode);
    ExpectSizesAndStepsRefused(Target, 2, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
        return pFn(a.At(0, 0), Steps[0], Target.At(0, 0), Steps[1], Width, Height, 0);
    });
}
KERNEL_TEST(SubInPlace8u, CheckSubInPlace8u);

void CheckAdd8u(Add8uSig* pFn, Add8uSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    CompareTwoSources(Rng, pFn, pReference);
    ExpectTwoSourcesRefusals(pFn);
}
KERNEL_TEST(Add8u, CheckAdd8u);

TEST(Add8uReference, SaturatesAt255)
{
    const uint8_t First[]{10, 200, 255}, Second[]{3, 55, 1};
    uint8_t Target[3];
    EXPECT_EQ(Add8u_px(First, 3, Second, 3, Target, 3, 3, 1), kStatusOk);
    EXPECT_EQ(std::vector<int>(Target, Target + 3), (std::vector<int>{13, 255, 255}));
}

void CheckMulConst8uInPlace(MulConst8uInPlaceSig* pFn, MulConst8uInPlaceSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    std::vector<uint8_t> Every(256); // each sample with each value and scale
    for (size_t i = 0; i < 256; ++i) Every[i] = static_cast<uint8_t>(i);
    for (int32_t Scale = 0; Scale <= 16; ++Scale)
        for (int Value = 0; Value < 256; ++Value) {
            auto Want = Every, Got = Every;
            ASSERT_EQ(pReference(static_cast<uint8_t>(Value), Want.data(), 256, 256, 1, Scale), kStatusOk);
            ASSERT_EQ(pFn(static_cast<uint8_t>(Value), Got.data(), 256, 256, 1, Scale), kStatusOk);
            ASSERT_EQ(Got, Want) << Value << " scale " << Scale;
        }
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const uint8_t Value : {uint8_t{0}, uint8_t{131}}) {
            Block Want = Rng.MakeBlock(Fill::Random, Width, Height, Width + 5, Shift), Got = Want;
            pReference(Value, Want.At(0, 0), Want.Step, Width, Height, 8);
            pFn(Value, Got.At(0, 0), Got.Step, Width, Height, 8);
            ASSERT_EQ(Got, Want) << Width << " x " << Height;
        }
    });
    Block Plane = GuardedBlock(8, 2, 0);
    EXPECT_EQ(pFn(9, nullptr, 8, 0, 2, 8), kStatusNullPointer);
    for (const uint8_t Value : {uint8_t{0}, uint8_t{9}}) {
        ExpectSizesAndStepsRefused(Plane, 1, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
            return pFn(Value, Plane.At(0, 0), Steps[0], Width, Height, 8);
        });
        for (const int32_t Scale : {-1, 17, INT32_MAX})
            EXPECT_EQ(pFn(Value, Plane.At(0, 0), 8, 8, 2, Scale), kStatusMode);
    }
    EXPECT_EQ(Plane, GuardedBlock(8, 2, 0));
}
KERNEL_TEST(MulConst8uInPlace, CheckMulConst8uInPlace);

TEST(MulConst8uInPlaceReference, RoundsAHalfToEven)
{
    const auto Product = [](uint8_t Sample, uint8_t Value, int32_t Scale) {
        EXPECT_EQ(MulConst8uInPlace_px(Value, &Sample, 1, 1, 1, Scale), kStatusOk);
        return static_cast<int>(Sample);
    };
    EXPECT_EQ(Product(128, 1, 8), 0); // 0.5
    EXPECT_EQ(Product(128, 3, 8), 2); // 1.5
    EXPECT_EQ(Product(128, 5, 8), 2); // 2.5
    EXPECT_EQ(Product(129, 1, 8), 1); // 0.504
    EXPECT_EQ(Product(127, 1, 8), 0); // 0.496
    EXPECT_EQ(Product(200, 128, 8), 100);
    EXPECT_EQ(Product(255, 255, 8), 254); // 254.004
    EXPECT_EQ(Product(3, 1, 1), 2);       // 1.5
    EXPECT_EQ(Product(5, 1, 1), 2);       // 2.5
    EXPECT_EQ(Product(20, 20, 0), 255);   // 400
    EXPECT_EQ(Product(255, 2, 1), 255);
    EXPECT_EQ(Product(255, 255, 16), 1); // 0.992
    EXPECT_EQ(Product(128, 255, 16), 0); // 0.498
    EXPECT_EQ(Product(77, 0, 0), 0);
}

// In place on a plane of floats; the bound call takes plane, step, width and height.
using FloatPlaneCall = std::function<int32_t(float*, ptrdiff_t, int32_t, int32_t)>;

void CompareOnFloats(TestRandom& Rng, const FloatPlaneCall& Fn, const FloatPlaneCall& Reference)
{
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const FloatFill How : kAllFloatFills) {
            FloatPlane Want = MakeFloatPlane(Rng, How, Width, Height, Shift), Got = Want;
            ASSERT_EQ(Reference(Want.At(0, 0), Want.Step, Width, Height), kStatusOk);
            ASSERT_EQ(Fn(Got.At(0, 0), Got.Step, Width, Height), kStatusOk);
            ASSERT_TRUE(Got == Want) << Width << " x " << Height;
        }
    });
}

void ExpectFloatPlaneRefusals(const FloatPlaneCall& Fn)
{
    TestRandom Rng;
    FloatPlane Plane = MakeFloatPlane(Rng, FloatFill::Signed, 4, 2, 0, 0);
    EXPECT_EQ(Fn(nullptr, 16, 0, 2), kStatusNullPointer);
    ExpectSizesAndStepsRefused(Plane, 1, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
        return Fn(Plane.At(0, 0), Steps[0], Width, Height);
    });
}

FloatPlaneCall WithValue(ConstantSig* pFn, float Value)
{
    return [=](float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height) {
        return pFn(Value, pPlane, Step, Width, Height);
    };
}

void CheckConstant(ConstantSig* pFn, ConstantSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const float Value : {60.0f, -0.1f, 1.0f / 1024.0f, 1e30f})
        CompareOnFloats(Rng, WithValue(pFn, Value), WithValue(pReference, Value));
    ExpectFloatPlaneRefusals(WithValue(pFn, 2.0f));
}
KERNEL_TEST(SubConst, CheckConstant);
KERNEL_TEST(MulConst, CheckConstant);

TEST(ConstantReference, SubtractsAndMultiplies)
{
    float Sample = 10.0f;
    EXPECT_EQ(SubConst_px(85.0f, &Sample, 4, 1, 1), kStatusOk);
    EXPECT_EQ(Sample, -75.0f);
    EXPECT_EQ(MulConst_px(0.5f, &Sample, 4, 1, 1), kStatusOk);
    EXPECT_EQ(Sample, -37.5f);
}

void CheckPlanePair(PlanePairSig* pFn, PlanePairSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    ForEachShape([&](int Width, int Height, size_t Shift) {
        for (const FloatFill How : {FloatFill::Signed, FloatFill::Huge}) {
            const FloatPlane Source = MakeFloatPlane(Rng, How, Width, Height, Shift % 4, 1);
            FloatPlane Want = MakeFloatPlane(Rng, FloatFill::Huge, Width, Height, Shift), Got = Want;
            ASSERT_EQ(pReference(Source.At(0, 0), Source.Step, Want.At(0, 0), Want.Step, Width, Height), kStatusOk);
            ASSERT_EQ(pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, Height), kStatusOk);
            ASSERT_TRUE(Got == Want) << Width << " x " << Height;
            FloatPlane Same = Source, SameWant = Source; // a plane with itself, as squares are made
            pReference(SameWant.At(0, 0), Same.Step, SameWant.At(0, 0), Same.Step, Width, Height);
            pFn(Same.At(0, 0), Same.Step, Same.At(0, 0), Same.Step, Width, Height);
            ASSERT_TRUE(Same == SameWant) << Width << " x " << Height;
        }
    });
    const FloatPlane Source = MakeFloatPlane(Rng, FloatFill::Unit, 4, 2, 0, 0);
    FloatPlane Target = Source;
    EXPECT_EQ(pFn(nullptr, 16, Target.At(0, 0), 16, 4, 2), kStatusNullPointer);
    EXPECT_EQ(pFn(Source.At(0, 0), 16, nullptr, 16, 4, 2), kStatusNullPointer);
    ExpectSizesAndStepsRefused(Target, 2, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
        return pFn(Source.At(0, 0), Steps[0], Target.At(0, 0), Steps[1], Width, Height);
    });
}
KERNEL_TEST(Add, CheckPlanePair);
KERNEL_TEST(Mul, CheckPlanePair);

TEST(PlanePairReference, AddsAndMultiplies)
{
    const float Source = 3.0f;
    float Target = 4.0f;
    EXPECT_EQ(Add_px(&Source, 4, &Target, 4, 1, 1), kStatusOk);
    EXPECT_EQ(Target, 7.0f);
    EXPECT_EQ(Mul_px(&Source, 4, &Target, 4, 1, 1), kStatusOk);
    EXPECT_EQ(Target, 21.0f);
}

void CheckConvert8uTo32f(Convert8uTo32fSig* pFn, Convert8uTo32fSig*)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    ForEachShape([&](int Width, int Height, size_t Shift) {
        const Block Source = Rng.MakeBlock(Fill::Random, Width, Height, Width + 2, Shift);
        FloatPlane Got = MakeFloatPlane(Rng, FloatFill::Signed, Width, Height, Shift % 4), Want = Got;
        for (int y = 0; y < Height; ++y)
            for (int x = 0; x < Width; ++x) *Want.At(x, y) = static_cast<float>(*Source.At(x, y));
        ASSERT_EQ(pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, Height), kStatusOk);
        ASSERT_TRUE(Got == Want) << Width << " x " << Height;
    });
    const Block Source = GuardedBlock(8, 2, 0);
    FloatPlane Target = MakeFloatPlane(Rng, FloatFill::Unit, 4, 2, 0, 0);
    EXPECT_EQ(pFn(nullptr, 8, Target.At(0, 0), 16, 4, 2), kStatusNullPointer);
    EXPECT_EQ(pFn(Source.At(0, 0), 8, nullptr, 16, 4, 2), kStatusNullPointer);
    ExpectSizesAndStepsRefused(Target, 2, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
        return pFn(Source.At(0, 0), Steps[0], Target.At(0, 0), Steps[1], Width, Height);
    });
}
KERNEL_TEST(Convert8uTo32f, CheckConvert8uTo32f);

void CheckConvert32fTo8u(Convert32fTo8uSig* pFn, Convert32fTo8uSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int32_t Mode : {kRoundNearest, kRoundCut})
        ForEachShape([&](int Width, int Height, size_t Shift) {
            for (const FloatFill How : kAllFloatFills) {
                const FloatPlane Source = MakeFloatPlane(Rng, How, Width, Height, Shift % 4);
                Block Want = GuardedBlock(Width, Height, Shift), Got = Want;
                pReference(Source.At(0, 0), Source.Step, Want.At(0, 0), Want.Step, Width, Height, Mode);
                ASSERT_EQ(pFn(Source.At(0, 0), Source.Step, Got.At(0, 0), Got.Step, Width, Height, Mode), kStatusOk);
                ASSERT_EQ(Got, Want) << Width << " x " << Height << " mode " << Mode;
            }
        });
    const FloatPlane Source = MakeFloatPlane(Rng, FloatFill::Unit, 8, 2, 0, 0);
    Block Target = GuardedBlock(8, 2, 0);
    EXPECT_EQ(pFn(nullptr, 32, Target.At(0, 0), 8, 8, 2, 0), kStatusNullPointer);
    EXPECT_EQ(pFn(Source.At(0, 0), 32, nullptr, 8, 8, 2, 0), kStatusNullPointer);
    for (const int32_t Mode : {-1, 2, INT32_MAX})
        EXPECT_EQ(pFn(Source.At(0, 0), 32, Target.At(0, 0), 8, 8, 2, Mode), kStatusMode);
    ExpectSizesAndStepsRefused(Target, 2, [&](int Width, int Height, const std::vector<ptrdiff_t>& Steps) {
        return pFn(Source.At(0, 0), Steps[0], Target.At(0, 0), Steps[1], Width, Height, 0);
    });
}
KERNEL_TEST(Convert32fTo8u, CheckConvert32fTo8u);

TEST(Convert32fTo8uReference, RoundsAndSaturates)
{
    const float Source[]{-1.0f, 0.5f, 1.5f, 254.5f, 300.0f, kNaN, kInfinity, -kInfinity, 255.5f, 3e9f, -3e9f, 99.99f};
    constexpr int Count = static_cast<int>(std::size(Source));
    uint8_t Target[Count];
    EXPECT_EQ(Convert32fTo8u_px(Source, sizeof Source, Target, Count, Count, 1, kRoundNearest), kStatusOk);
    EXPECT_EQ(std::vector<int>(Target, Target + Count),
              (std::vector<int>{0, 0, 2, 254, 255, 0, 255, 0, 255, 255, 0, 100}));
    EXPECT_EQ(Convert32fTo8u_px(Source, sizeof Source, Target, Count, Count, 1, kRoundCut), kStatusOk);
    EXPECT_EQ(std::vector<int>(Target, Target + Count),
              (std::vector<int>{0, 0, 1, 254, 255, 0, 255, 0, 255, 255, 0, 99}));
}

struct Limits {
    float LowLimit, LowValue, HighLimit, HighValue;
};

FloatPlaneCall WithLimits(ClampThreshold32fSig* pFn, const Limits& l)
{
    return [=](float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height) {
        return pFn(pPlane, Step, Width, Height, l.LowLimit, l.LowValue, l.HighLimit, l.HighValue);
    };
}

void CheckClampThreshold32f(ClampThreshold32fSig* pFn, ClampThreshold32fSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Limits& l : {Limits{0, 0, 1, 1},
                            {0, 7, 1, -3},
                            {0.25f, 0.25f, 0.75f, 2},
                            {1, 1, 0, 0},
                            {1, 5, -1, 6},
                            {-kInfinity, 0, kInfinity, 0},
                            {kNaN, 1, 0.5f, 2},
                            {0.5f, 2, kNaN, 1},
                            {-0.0f, 0.0f, 1, 1},
                            {-1, -1, 0.0f, -0.0f}})
        CompareOnFloats(Rng, WithLimits(pFn, l), WithLimits(pReference, l));
    ExpectFloatPlaneRefusals(WithLimits(pFn, {0, 0, 1, 1}));
}
KERNEL_TEST(ClampThreshold32f, CheckClampThreshold32f);

TEST(ClampThreshold32fReference, ReplacesWhatLiesOutside)
{
    float Plane[]{-0.1f, 0.0f, 0.5f, 1.0f, 1.1f, kNaN, kInfinity, -kInfinity};
    EXPECT_EQ(ClampThreshold32f_px(Plane, sizeof Plane, 8, 1, 0.0f, 9.0f, 1.0f, 8.0f), kStatusOk);
    EXPECT_EQ(std::vector<float>(Plane, Plane + 5), (std::vector<float>{9.0f, 0.0f, 0.5f, 1.0f, 8.0f}));
    EXPECT_TRUE(std::isnan(Plane[5]));
    EXPECT_EQ(Plane[6], 8.0f);
    EXPECT_EQ(Plane[7], 9.0f);
    float Both = 0.5f; // below the low limit and above the high one: the low one is asked first
    ClampThreshold32f_px(&Both, 4, 1, 1, 1.0f, 5.0f, 0.0f, 6.0f);
    EXPECT_EQ(Both, 5.0f);
}

} // namespace
