#include "kernels/memory/memory.h"

#include <cstring>

namespace kernels {

int32_t CopyBytes_px(const uint8_t* pSource, uint8_t* pTarget, int32_t Length)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Length <= 0) return kStatusSize;
    std::memcpy(pTarget, pSource, static_cast<size_t>(Length));
    return kStatusOk;
}

int32_t SetBytes_px(uint8_t Value, uint8_t* pTarget, int32_t Length)
{
    if (!pTarget) return kStatusNullPointer;
    if (Length <= 0) return kStatusSize;
    std::memset(pTarget, Value, static_cast<size_t>(Length));
    return kStatusOk;
}

int32_t Copy8u_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width,
                  int32_t Height)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep)
        std::memcpy(pTarget, pSource, static_cast<size_t>(Width));
    return kStatusOk;
}

int32_t Set8u_px(uint8_t Value, uint8_t* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height)
{
    if (!pPlane) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (Step <= 0) return kStatusStep;
    for (int32_t y = 0; y < Height; ++y, pPlane += Step) std::memset(pPlane, Value, static_cast<size_t>(Width));
    return kStatusOk;
}

int32_t CopyChannel8uC1C4_px(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                             int32_t Width, int32_t Height)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    for (int32_t y = 0; y < Height; ++y, pSource += SourceStep, pTarget += TargetStep)
        for (ptrdiff_t x = 0; x < Width; ++x) pTarget[4 * x] = pSource[x];
    return kStatusOk;
}

} // namespace kernels
