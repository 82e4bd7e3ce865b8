#include "kernels/filter/filter.h"

#include <memory>
#include <new>
#include <type_traits>

namespace kernels {
namespace {

template <class Sample>
Sample* Advance(Sample* p, ptrdiff_t Step)
{
    using Byte = std::conditional_t<std::is_const_v<Sample>, const uint8_t, uint8_t>;
    return reinterpret_cast<Sample*>(reinterpret_cast<Byte*>(p) + Step);
}

// The filters are separable: Across gives one sample of a row's own sum, Down the result from the sums of Side rows,
// the topmost first. The row sums wait in a ring of Side rows, so that a row of the source has been read before the
// target in its place is written.
template <int Side, class Sum, class Sample, class AcrossFn, class DownFn>
int32_t FilterRows(const Sample* pSource, ptrdiff_t SourceStep, Sample* pTarget, ptrdiff_t TargetStep, int32_t Width,
                   int32_t Height, AcrossFn Across, DownFn Down)
{
    const std::unique_ptr<Sum[]> pRing(new (std::nothrow) Sum[size_t{Side} * static_cast<size_t>(Width)]);
    if (!pRing) return kStatusNoMemory;
    const auto RowSums = [&](int32_t Row) { return pRing.get() + ptrdiff_t{Row % Side} * Width; };

    pSource = Advance(pSource, -(Side / 2) * SourceStep);
    for (int32_t Read = 0; Read < Height + Side - 1; ++Read, pSource = Advance(pSource, SourceStep)) {
        Sum* const pSums = RowSums(Read);
        for (int32_t x = 0; x < Width; ++x) pSums[x] = Across(pSource + x - Side / 2);
        if (Read < Side - 1) continue;
        const Sum* pRows[Side];
        for (int i = 0; i < Side; ++i) pRows[i] = RowSums(Read - (Side - 1) + i);
        for (int32_t x = 0; x < Width; ++x) {
            Sum Column[Side];
            for (int i = 0; i < Side; ++i) Column[i] = pRows[i][x];
            pTarget[x] = Down(Column);
        }
        pTarget = Advance(pTarget, TargetStep);
    }
    return kStatusOk;
}

int32_t Status(bool AnyNull, bool AnyStep, int32_t Width, int32_t Height, int32_t Mask)
{
    if (AnyNull) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (AnyStep) return kStatusStep;
    return Mask == kMask3x3 || Mask == kMask5x5 ? kStatusOk : kStatusMask;
}

template <class Sample>
int32_t Binomial3(const Sample* p)
{
    return p[0] + 2 * p[1] + p[2];
}

template <class Sample>
int32_t Binomial5(const Sample* p)
{
    return p[0] + 4 * p[1] + 6 * p[2] + 4 * p[3] + p[4];
}

// v / 2^Bits, a half to even.
template <int Bits>
uint8_t Rounded(int32_t v)
{
    return static_cast<uint8_t>((v + ((v >> Bits) & 1) + (1 << (Bits - 1)) - 1) >> Bits);
}

template <int Side>
float Total(const float* p)
{
    float Sum = p[0];
    for (int i = 1; i < Side; ++i) Sum += p[i];
    return Sum;
}

} // namespace

int32_t FilterGauss8u_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                         int32_t Width, int32_t Height, int32_t Mask)
{
    const int32_t Result = Status(!pSource || !pTarget, SourceStep <= 0 || TargetStep <= 0, Width, Height, Mask);
    if (Result != kStatusOk) return Result;
    if (Mask == kMask3x3)
        return FilterRows<3, uint16_t>(
            pSource, SourceStep, pTarget, TargetStep, Width, Height,
            [](const uint8_t* p) { return static_cast<uint16_t>(Binomial3(p)); },
            [](const uint16_t* p) { return Rounded<4>(Binomial3(p)); });
    return FilterRows<5, uint16_t>(
        pSource, SourceStep, pTarget, TargetStep, Width, Height,
        [](const uint8_t* p) { return static_cast<uint16_t>(Binomial5(p)); },
        [](const uint16_t* p) { return Rounded<8>(Binomial5(p)); });
}

int32_t FilterMean32f_px(const float* pSource, ptrdiff_t SourceStep, float* pTarget, ptrdiff_t TargetStep,
                         int32_t Width, int32_t Height, int32_t Mask)
{
    const int32_t Result = Status(!pSource || !pTarget, SourceStep <= 0 || TargetStep <= 0, Width, Height, Mask);
    if (Result != kStatusOk) return Result;
    if (Mask == kMask3x3)
        return FilterRows<3, float>(pSource, SourceStep, pTarget, TargetStep, Width, Height, Total<3>,
                                    [](const float* p) { return Total<3>(p) * 0.1111111f; });
    return FilterRows<5, float>(pSource, SourceStep, pTarget, TargetStep, Width, Height, Total<5>,
                                [](const float* p) { return Total<5>(p) * 0.04f; });
}

} // namespace kernels
