#include "kernels/arithmetic/arithmetic.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace kernels {
namespace {

struct Regions {
    bool AnyNull, AnyStep;
    int32_t Width, Height;

    int32_t Status() const
    {
        if (AnyNull) return kStatusNullPointer;
        if (Width <= 0 || Height <= 0) return kStatusSize;
        return AnyStep ? kStatusStep : kStatusOk;
    }
};

// A row further down; Step is in bytes whatever the samples are.
template <class Sample>
Sample* Advance(Sample* p, ptrdiff_t Step)
{
    using Byte = std::conditional_t<std::is_const_v<Sample>, const uint8_t, uint8_t>;
    return reinterpret_cast<Sample*>(reinterpret_cast<Byte*>(p) + Step);
}

template <class Operation>
int32_t ForEachSample(float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height, Operation Result)
{
    const Regions Given{!pPlane, Step <= 0, Width, Height};
    if (Given.Status() != kStatusOk) return Given.Status();
    for (int32_t y = 0; y < Height; ++y, pPlane = Advance(pPlane, Step))
        for (int32_t x = 0; x < Width; ++x) pPlane[x] = Result(pPlane[x]);
    return kStatusOk;
}

// target = Result(source, target).
template <class Source, class Target, class Operation>
int32_t ForEachPair(const Source* pSource, ptrdiff_t SourceStep, Target* pTarget, ptrdiff_t TargetStep, int32_t Width,
                    int32_t Height, Operation Result)
{
    const Regions Given{!pSource || !pTarget, SourceStep <= 0 || TargetStep <= 0, Width, Height};
    if (Given.Status() != kStatusOk) return Given.Status();
    for (int32_t y = 0; y < Height; ++y) {
        for (int32_t x = 0; x < Width; ++x) pTarget[x] = Result(pSource[x], pTarget[x]);
        pSource = Advance(pSource, SourceStep);
        pTarget = Advance(pTarget, TargetStep);
    }
    return kStatusOk;
}

uint8_t ShiftedDifference(uint8_t First, uint8_t Second, int32_t Scale)
{
    return static_cast<uint8_t>(std::max(Second - First, 0) >> Scale);
}

} // namespace

int32_t Sub8u_px(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                 uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height, int32_t Scale)
{
    const Regions Given{!pFirst || !pSecond || !pTarget, FirstStep <= 0 || SecondStep <= 0 || TargetStep <= 0, Width,
                        Height};
    if (Given.Status() != kStatusOk) return Given.Status();
    if (Scale < 0 || Scale > 8) return kStatusMode;
    for (int32_t y = 0; y < Height; ++y, pFirst += FirstStep, pSecond += SecondStep, pTarget += TargetStep)
        for (int32_t x = 0; x < Width; ++x) pTarget[x] = ShiftedDifference(pFirst[x], pSecond[x], Scale);
    return kStatusOk;
}

int32_t SubInPlace8u_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                        int32_t Width, int32_t Height, int32_t Scale)
{
    return Sub8u_px(pSource, SourceStep, pTarget, TargetStep, pTarget, TargetStep, Width, Height, Scale);
}

int32_t Add8u_px(const uint8_t* pFirst, ptrdiff_t FirstStep, const uint8_t* pSecond, ptrdiff_t SecondStep,
                 uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width, int32_t Height)
{
    const Regions Given{!pFirst || !pSecond || !pTarget, FirstStep <= 0 || SecondStep <= 0 || TargetStep <= 0, Width,
                        Height};
    if (Given.Status() != kStatusOk) return Given.Status();
    for (int32_t y = 0; y < Height; ++y, pFirst += FirstStep, pSecond += SecondStep, pTarget += TargetStep)
        for (int32_t x = 0; x < Width; ++x) pTarget[x] = static_cast<uint8_t>(std::min(pFirst[x] + pSecond[x], 255));
    return kStatusOk;
}

int32_t MulConst8uInPlace_px(uint8_t Value, uint8_t* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height,
                             int32_t Scale)
{
    const Regions Given{!pPlane, Step <= 0, Width, Height};
    if (Given.Status() != kStatusOk) return Given.Status();
    if (Scale < 0 || Scale > 16) return kStatusMode;
    const int32_t BelowHalf = Scale ? (1 << (Scale - 1)) - 1 : 0, Odd = Scale ? 1 : 0;
    for (int32_t y = 0; y < Height; ++y, pPlane += Step)
        for (int32_t x = 0; x < Width; ++x) {
            const int32_t Product = pPlane[x] * Value;
            const int32_t Rounded = (Product + BelowHalf + ((Product >> Scale) & Odd)) >> Scale;
            pPlane[x] = static_cast<uint8_t>(std::min(Rounded, 255));
        }
    return kStatusOk;
}

int32_t SubConst_px(float Value, float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height)
{
    return ForEachSample(pPlane, Step, Width, Height, [=](float Sample) { return Sample - Value; });
}

int32_t MulConst_px(float Value, float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height)
{
    return ForEachSample(pPlane, Step, Width, Height, [=](float Sample) { return Sample * Value; });
}

int32_t Add_px(const float* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep, int32_t Width,
               int32_t Height)
{
    return ForEachPair(pSource, SourceStep, pTarget, TargetStep, Width, Height,
                       [](float Source, float Target) { return Target + Source; });
}

int32_t Mul_px(const float* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep, int32_t Width,
               int32_t Height)
{
    return ForEachPair(pSource, SourceStep, pTarget, TargetStep, Width, Height,
                       [](float Source, float Target) { return Target * Source; });
}

int32_t Convert8uTo32f_px(const uint8_t* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep,
                          int32_t Width, int32_t Height)
{
    return ForEachPair(pSource, SourceStep, pTarget, TargetStep, Width, Height,
                       [](uint8_t Source, float) { return static_cast<float>(Source); });
}

int32_t Convert32fTo8u_px(const float* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                          int32_t Width, int32_t Height, int32_t RoundMode)
{
    const Regions Given{!pSource || !pTarget, SourceStep <= 0 || TargetStep <= 0, Width, Height};
    if (Given.Status() != kStatusOk) return Given.Status();
    if (RoundMode != kRoundNearest && RoundMode != kRoundCut) return kStatusMode;
    return ForEachPair(pSource, SourceStep, pTarget, TargetStep, Width, Height, [=](float Source, uint8_t) {
        if (!(Source > 0.0f)) return uint8_t{0}; // also one that is no number
        const float Limited = std::min(Source, 255.0f);
        return static_cast<uint8_t>(RoundMode == kRoundNearest ? std::lrint(Limited) : static_cast<long>(Limited));
    });
}

int32_t ClampThreshold32f_px(float* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height, float LowLimit,
                             float LowValue, float HighLimit, float HighValue)
{
    return ForEachSample(pPlane, Step, Width, Height, [=](float Sample) {
        if (Sample < LowLimit) return LowValue;
        return Sample > HighLimit ? HighValue : Sample;
    });
}

} // namespace kernels
