#include "kernels/bilateral/bilateral.h"

#include "kernels/bilateral/bilateral_context.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace kernels {
namespace {

bool KnownType(int32_t Type) { return Type == kBilateralGauss || Type == kBilateralGaussFull; }

// exp(-0.5 * Square / SquareSigma) as a fraction of One.
uint32_t GaussFactor(double Square, double SquareSigma, uint32_t One)
{
    return static_cast<uint32_t>(std::llround(std::exp(-0.5 * Square / SquareSigma) * One));
}

int64_t Weight(const BilateralContext& Context, const BilateralTap& Tap, int32_t Difference)
{
    const uint64_t Product = uint64_t{Tap.Weight} * Context.Value[Difference];
    return static_cast<int64_t>((Product + (uint64_t{1} << (Context.Shift - 1))) >> Context.Shift);
}

void FillTaps(BilateralContext* pContext, double PositionSquareSigma, int32_t StepInKernel)
{
    const int32_t HalfWidth = pContext->KernelWidth / 2, HalfHeight = pContext->KernelHeight / 2;
    const int32_t Columns = HalfWidth / StepInKernel, Rows = HalfHeight / StepInKernel;
    BilateralTap* pTap = BilateralTaps(pContext);
    const auto AddTap = [&](int32_t dx, int32_t dy) {
        const double Square = static_cast<double>(dx) * dx + static_cast<double>(dy) * dy;
        *pTap++ = {HalfHeight + dy, HalfWidth + dx, GaussFactor(Square, PositionSquareSigma, kPositionOne), 0};
    };
    AddTap(0, 0);
    for (int32_t j = 0; j <= Rows; ++j)
        for (int32_t i = j ? -Columns : 1; i <= Columns; ++i) {
            AddTap(i * StepInKernel, j * StepInKernel);
            AddTap(-i * StepInKernel, -j * StepInKernel);
        }
    pContext->TapCount = static_cast<int32_t>(pTap - BilateralTaps(pContext));
}

// The number of differences, 0 to 256, that have a weight of their own.
int32_t ValueReach(int32_t Type, int32_t TapCount, double ValueSquareSigma)
{
    if (Type == kBilateralGaussFull) return 256;
    const double Logarithm = std::max(0.0, std::log2(TapCount * std::sqrt(ValueSquareSigma)));
    return static_cast<int32_t>(std::ceil(std::min(256.0, std::sqrt((6.3 + Logarithm) * ValueSquareSigma * 1.42))));
}

void ChooseWeights(BilateralContext* pContext)
{
    const BilateralTap* const pTaps = BilateralTaps(pContext);
    pContext->Shift = kNarrowShift;
    int64_t Sum = 0;
    for (int32_t i = 0; i < pContext->TapCount; ++i) Sum += Weight(*pContext, pTaps[i], 0);
    // The weights fall with the difference, and none is larger than the centre's.
    const bool WithinReach = Weight(*pContext, pTaps[0], kNarrowReach + 1) == 0;
    pContext->Narrow = WithinReach && pContext->TapCount <= kNarrowTaps && Sum <= kNarrowSum;
    if (!pContext->Narrow) pContext->Shift = kWideShift;
}

void FillTapTable(const BilateralContext& Context, const BilateralTap& Tap, BilateralTapTable* pTable)
{
    for (int32_t v = 0; v < 64; ++v) {
        const auto Parts = [&](int32_t Difference) {
            const int64_t w = Weight(Context, Tap, Difference);
            return std::pair{static_cast<uint8_t>(w >> kNarrowLowBits),
                             static_cast<uint8_t>(w & ((1 << kNarrowLowBits) - 1))};
        };
        const auto [High, Low] = Parts(v);
        const auto [HighBefore, LowBefore] = v < 16 ? std::pair<uint8_t, uint8_t>{} : Parts(v - 16);
        pTable->High[v / 16][v % 16] = High ^ HighBefore;
        pTable->Low[v / 16][v % 16] = Low ^ LowBefore;
    }
}

uint8_t FilterSample(const BilateralContext& Context, const BilateralTap* pTaps, const uint8_t* pRing)
{
    const int32_t Centre = pRing[pTaps[0].Offset];
    int64_t Weights = 0, Differences = 0;
    for (int32_t i = 0; i < Context.TapCount; ++i) {
        const int32_t Difference = pRing[pTaps[i].Offset] - Centre;
        const int64_t w = Weight(Context, pTaps[i], std::abs(Difference));
        Weights += w;
        Differences += w * Difference;
    }
    return static_cast<uint8_t>(Centre + std::lrint(static_cast<double>(Differences) / static_cast<double>(Weights)));
}

} // namespace

int32_t BilateralGetSize_px(int32_t Type, int32_t Width, int32_t Height, int32_t KernelWidth, int32_t KernelHeight,
                            int32_t* pSize)
{
    if (!pSize) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (!IsBilateralWindow(KernelWidth, KernelHeight)) return kStatusMask;
    if (!KnownType(Type)) return kStatusMode;
    const int64_t Taps = int64_t{KernelWidth} * KernelHeight;
    const int64_t Bytes = static_cast<int64_t>(alignof(BilateralContext) + sizeof(BilateralContext)) +
                          Taps * static_cast<int64_t>(sizeof(BilateralTap)) +
                          BilateralRingStep(Width, KernelWidth) * KernelHeight;
    if (Bytes > INT32_MAX) return kStatusSize;
    *pSize = static_cast<int32_t>(Bytes);
    return kStatusOk;
}

int32_t BilateralInit_px(int32_t Type, int32_t KernelWidth, int32_t KernelHeight, float ValueSquareSigma,
                         float PositionSquareSigma, int32_t StepInKernel, uint8_t* pBuffer)
{
    if (!pBuffer) return kStatusNullPointer;
    if (!IsBilateralWindow(KernelWidth, KernelHeight)) return kStatusMask;
    if (!KnownType(Type)) return kStatusMode;
    if (!(ValueSquareSigma > 0.0f) || !(PositionSquareSigma > 0.0f) || StepInKernel <= 0) return kStatusSigma;

    BilateralContext* const pContext = BilateralContextIn(pBuffer);
    pContext->Tag = Type == kBilateralGauss ? kTagGauss : kTagGaussFull;
    pContext->KernelWidth = KernelWidth;
    pContext->KernelHeight = KernelHeight;
    FillTaps(pContext, PositionSquareSigma, StepInKernel);
    const int32_t Reach = ValueReach(Type, pContext->TapCount, ValueSquareSigma);
    for (int32_t v = 0; v < 256; ++v)
        pContext->Value[v] = v < Reach ? GaussFactor(v * v, ValueSquareSigma, kValueOne) : 0;

    ChooseWeights(pContext);
    const BilateralTap* const pTaps = BilateralTaps(pContext);
    pContext->CentreWeight = static_cast<int32_t>(Weight(*pContext, pTaps[0], 0));
    for (int32_t i = 1; pContext->Narrow && i < pContext->TapCount; ++i)
        FillTapTable(*pContext, pTaps[i], &pContext->Tables[i - 1]);
    return kStatusOk;
}

int32_t BilateralFilter_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                           int32_t Width, int32_t Height, int32_t KernelWidth, int32_t KernelHeight, uint8_t* pBuffer)
{
    const int32_t Status =
        BilateralStatus(pSource, SourceStep, pTarget, TargetStep, Width, Height, KernelWidth, KernelHeight, pBuffer);
    if (Status != kStatusOk) return Status;
    BilateralContext* const pContext = BilateralContextIn(pBuffer);
    const auto Step = static_cast<ptrdiff_t>(BilateralRingStep(Width, KernelWidth));
    const auto Bytes = static_cast<size_t>(Width) + static_cast<size_t>(KernelWidth) - 1;
    uint8_t* const pRing = BilateralRing(pContext);
    const uint8_t* pRead = pSource - KernelHeight / 2 * SourceStep - KernelWidth / 2;
    int32_t Slot = 0;
    for (int32_t y = 1 - KernelHeight; y < Height; ++y, pRead += SourceStep) {
        std::memcpy(pRing + Slot * Step, pRead, Bytes);
        Slot = Slot + 1 < KernelHeight ? Slot + 1 : 0;
        if (y < 0) continue;
        AimBilateralTaps(pContext, y, Step);
        for (int32_t x = 0; x < Width; ++x) pTarget[x] = FilterSample(*pContext, BilateralTaps(pContext), pRing + x);
        pTarget += TargetStep;
    }
    return kStatusOk;
}

} // namespace kernels
