#include "process/chroma_key.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int32_t kBlueU = 220, kBlueV = 80;

uint8_t Clip(int32_t Value) { return static_cast<uint8_t>(std::clamp(Value, 0, 255)); }

int32_t SquareSaturated(int64_t Value) { return static_cast<int32_t>(std::min<int64_t>(Value * Value, INT32_MAX)); }

int32_t SquareDistance(int32_t U, int32_t V, int32_t KeyU, int32_t KeyV)
{
    return (U - KeyU) * (U - KeyU) + (V - KeyV) * (V - KeyV);
}

int32_t PatchMean(const uint8_t* pPlane, ptrdiff_t Pitch)
{
    int32_t Sum = 0;
    for (ptrdiff_t y = 0; y < 3; ++y)
        for (ptrdiff_t x = 0; x < 3; ++x) Sum += pPlane[y * Pitch + x];
    return Sum / 9;
}

} // namespace

RgbColor ColorOfChroma(int32_t Y, int32_t U, int32_t V)
{
    const int32_t c = (Y - 16) * 74;
    return {Clip((102 * V + c - 13056) >> 6), Clip((-25 * U + c - 52 * V + 9856) >> 6),
            Clip((127 * U + c - 16256) >> 6)};
}

void KeyChromaOfColor(RgbColor Color, int32_t& U, int32_t& V)
{
    if (Color == ColorOfChroma(kDefaultKeyLuma, kDefaultKey.U, kDefaultKey.V)) {
        U = kDefaultKey.U;
        V = kDefaultKey.V;
        return;
    }
    U = (112 * Color.B - 74 * Color.G - 38 * Color.R + 32896) >> 8;
    V = (112 * Color.R - 94 * Color.G - 18 * Color.B + 32896) >> 8;
}

void KeyRadiiOfDistance(int32_t iDistance, int32_t& Threshold1, int32_t& Threshold2)
{
    if (iDistance == kDefaultKeyDistance) {
        Threshold1 = kDefaultKey.Threshold1;
        Threshold2 = kDefaultKey.Threshold2;
        return;
    }
    Threshold1 = SquareSaturated(iDistance);
    Threshold2 = SquareSaturated(static_cast<int64_t>(iDistance * 1.1 + 1.0));
}

bool MatchKeyColor(const KeyThresholds& Thresholds, int32_t U, int32_t V, ChromaKey& Found)
{
    if (SquareDistance(U, V, kDefaultKey.U, kDefaultKey.V) <= Thresholds.Green1) {
        Found = {kDefaultKey.U, kDefaultKey.V, Thresholds.Green1, Thresholds.Green2};
        return true;
    }
    if (SquareDistance(U, V, kBlueU, kBlueV) <= Thresholds.Blue1) {
        Found = {kBlueU, kBlueV, Thresholds.Blue1, Thresholds.Blue2};
        return true;
    }
    return false;
}

bool DetectKeyColor(const KeyThresholds& Thresholds, int32_t iPitch, int32_t iHeight, const uint8_t* pU,
                    const uint8_t* pV, ChromaKey& Found)
{
    constexpr int32_t kNear = 3, kFar = 7; // from the first and the last row or column
    if (!pU || !pV || iPitch < kFar || iHeight < kFar) return false;
    for (const int32_t Row : {iHeight - kFar, kNear})
        for (const int32_t Column : {kNear, iPitch - kFar}) {
            const ptrdiff_t Offset = ptrdiff_t{Row} * iPitch + Column;
            if (MatchKeyColor(Thresholds, PatchMean(pU + Offset, iPitch), PatchMean(pV + Offset, iPitch), Found))
                return true;
        }
    return false;
}
