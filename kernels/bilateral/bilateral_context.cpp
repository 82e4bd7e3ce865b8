#include "kernels/bilateral/bilateral_context.h"

#include "kernels/status.h"

namespace kernels {
namespace {

constexpr ptrdiff_t kAlign = alignof(BilateralContext);
// The ring is aligned as well.
static_assert(sizeof(BilateralContext) % kAlign == 0 && sizeof(BilateralTap) % kAlign == 0);

constexpr int64_t kMostPositions = int64_t{1} << 24;
static_assert(kMostPositions <= INT64_MAX / 255 / (int64_t{kPositionOne} * kValueOne >> kWideShift));

int64_t AlignUp(int64_t Bytes) { return (Bytes + kAlign - 1) / kAlign * kAlign; }

} // namespace

BilateralContext* BilateralContextIn(uint8_t* pBuffer)
{
    const auto Past = static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(pBuffer) % kAlign);
    return reinterpret_cast<BilateralContext*>(pBuffer + (Past ? kAlign - Past : 0));
}

BilateralTap* BilateralTaps(BilateralContext* pContext) { return reinterpret_cast<BilateralTap*>(pContext + 1); }

uint8_t* BilateralRing(BilateralContext* pContext)
{
    return reinterpret_cast<uint8_t*>(BilateralTaps(pContext) + pContext->TapCount);
}

int64_t BilateralRingStep(int32_t Width, int32_t KernelWidth) { return AlignUp(AlignUp(Width) + KernelWidth); }

bool IsBilateralWindow(int32_t KernelWidth, int32_t KernelHeight)
{
    const auto Usable = [](int32_t Side) { return Side > 0 && Side % 2 == 1; };
    return Usable(KernelWidth) && Usable(KernelHeight) && int64_t{KernelWidth} * KernelHeight <= kMostPositions;
}

int32_t BilateralStatus(const uint8_t* pSource, ptrdiff_t SourceStep, const uint8_t* pTarget, ptrdiff_t TargetStep,
                        int32_t Width, int32_t Height, int32_t KernelWidth, int32_t KernelHeight, uint8_t* pBuffer)
{
    if (!pSource || !pTarget || !pBuffer) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    if (!IsBilateralWindow(KernelWidth, KernelHeight)) return kStatusMask;
    const BilateralContext& Context = *BilateralContextIn(pBuffer);
    if (Context.Tag != kTagGauss && Context.Tag != kTagGaussFull) return kStatusContext;
    return Context.KernelWidth == KernelWidth && Context.KernelHeight == KernelHeight ? kStatusOk : kStatusMask;
}

void AimBilateralTaps(BilateralContext* pContext, int32_t y, ptrdiff_t RingStep)
{
    BilateralTap* const pTaps = BilateralTaps(pContext);
    for (int32_t i = 0; i < pContext->TapCount; ++i) {
        const auto Slot = static_cast<ptrdiff_t>((int64_t{y} + pTaps[i].Row) % pContext->KernelHeight);
        pTaps[i].Offset = static_cast<int32_t>(Slot * RingStep + pTaps[i].Column);
    }
}

} // namespace kernels
