#include "kernels/convert/convert_arguments.h"

#include <algorithm>

namespace kernels {

int32_t ConvertRefusal(const SourcePlanes* pFrom, int Sources, const TargetPlanes* pTo, int Targets, int32_t Width,
                       int32_t Height)
{
    const auto IsPlane = [](const uint8_t* p) { return p != nullptr; };
    const auto IsStep = [](int32_t Step) { return Step > 0; };
    if (!pFrom || !pTo) return kStatusNullPointer;
    if (!std::all_of(pFrom->pPlane, pFrom->pPlane + Sources, IsPlane) ||
        !std::all_of(pTo->pPlane, pTo->pPlane + Targets, IsPlane))
        return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (!std::all_of(pFrom->Step, pFrom->Step + Sources, IsStep) ||
        !std::all_of(pTo->Step, pTo->Step + Targets, IsStep))
        return kStatusStep;
    return kStatusOk;
}

} // namespace kernels
