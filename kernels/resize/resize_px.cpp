#include "kernels/resize/resize.h"

#include "kernels/memory/memory.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace kernels {

namespace {

constexpr int kTaps = 4;
constexpr int kWeightBits = 14;
// Rows between the passes keep 6 bits of fraction. The cubic overshoots by at most 1/8 of the range to either side, so
// 255 * 1.25 * 64 bounds them.
constexpr int kRowBits = 6;
static_assert(255 * 5 / 4 * (1 << kRowBits) <= INT16_MAX);

struct Region {
    const uint8_t* pPixels;
    ptrdiff_t Step;
    int32_t Width, Height;
};

struct Target {
    uint8_t* pPixels;
    ptrdiff_t Step;
    int32_t Width, Height;
};

// Source positions, already clamped and times the channels, and weights for one target coordinate.
struct Taps {
    int32_t Position[kTaps];
    int16_t Weight[kTaps];
};

double CubicWeight(double x)
{
    constexpr double a = -0.5;
    x = std::fabs(x);
    if (x < 1.0) return ((a + 2.0) * x - (a + 3.0)) * x * x + 1.0;
    return x < 2.0 ? ((a * x - 5.0 * a) * x + 8.0 * a) * x - 4.0 * a : 0.0;
}

void FillTaps(Taps* pTaps, int32_t Count, int32_t SourceCount, double Factor, int32_t Channels)
{
    for (int32_t i = 0; i < Count; ++i) {
        const double Centre = std::clamp((i + 0.5) / Factor - 0.5, -2.0, SourceCount + 1.0);
        const double Base = std::floor(Centre);
        int32_t Sum = 0;
        for (int t = 0; t < kTaps; ++t) {
            const int32_t Position = static_cast<int32_t>(Base) + t - 1;
            pTaps[i].Position[t] = std::clamp(Position, 0, SourceCount - 1) * Channels;
            pTaps[i].Weight[t] = static_cast<int16_t>(std::lround(CubicWeight(Centre - Position) * (1 << kWeightBits)));
            Sum += pTaps[i].Weight[t];
        }
        // The weights add up to one exactly, so that a flat area stays as it is.
        int16_t& Nearest = pTaps[i].Weight[Centre - Base < 0.5 ? 1 : 2];
        Nearest = static_cast<int16_t>(Nearest + (1 << kWeightBits) - Sum);
    }
}

template <int Channels>
void ResizeRow(const uint8_t* pRow, const Taps* pTaps, int32_t Width, int16_t* pOut)
{
    constexpr int Shift = kWeightBits - kRowBits;
    for (int32_t x = 0; x < Width; ++x, ++pTaps)
        for (int c = 0; c < Channels; ++c) {
            int32_t Sum = 1 << (Shift - 1);
            for (int t = 0; t < kTaps; ++t) Sum += pRow[pTaps->Position[t] + c] * pTaps->Weight[t];
            *pOut++ = static_cast<int16_t>(Sum >> Shift);
        }
}

void BlendRows(const int16_t* const pRows[kTaps], const int16_t Weight[kTaps], int32_t Count, uint8_t* pOut)
{
    constexpr int Shift = kWeightBits + kRowBits;
    for (int32_t i = 0; i < Count; ++i) {
        int32_t Sum = 1 << (Shift - 1);
        for (int t = 0; t < kTaps; ++t) Sum += pRows[t][i] * Weight[t];
        pOut[i] = static_cast<uint8_t>(std::clamp(Sum >> Shift, 0, 255));
    }
}

template <int Channels>
int32_t Resize(const Region& From, const Target& To, double xFactor, double yFactor)
{
    const int32_t RowLength = To.Width * Channels;
    const std::unique_ptr<Taps[]> pTapsX(new (std::nothrow) Taps[static_cast<size_t>(To.Width)]);
    const std::unique_ptr<Taps[]> pTapsY(new (std::nothrow) Taps[static_cast<size_t>(To.Height)]);
    const std::unique_ptr<int16_t[]> pStore(new (std::nothrow) int16_t[size_t{kTaps} * static_cast<size_t>(RowLength)]);
    if (!pTapsX || !pTapsY || !pStore) return kStatusNoMemory;
    FillTaps(pTapsX.get(), To.Width, From.Width, xFactor, Channels);
    FillTaps(pTapsY.get(), To.Height, From.Height, yFactor, 1);

    // Rows that went through the horizontal pass, by source row modulo 4: a target row needs four neighbours.
    int32_t Held[kTaps] = {-1, -1, -1, -1};
    for (int32_t y = 0; y < To.Height; ++y) {
        const Taps& Vertical = pTapsY[static_cast<size_t>(y)];
        const int16_t* pRows[kTaps];
        for (int t = 0; t < kTaps; ++t) {
            const int32_t SourceRow = Vertical.Position[t], Slot = SourceRow % kTaps;
            int16_t* const pRow = pStore.get() + ptrdiff_t{Slot} * RowLength;
            if (Held[Slot] != SourceRow)
                ResizeRow<Channels>(From.pPixels + SourceRow * From.Step, pTapsX.get(), To.Width, pRow);
            Held[Slot] = SourceRow;
            pRows[t] = pRow;
        }
        BlendRows(pRows, Vertical.Weight, RowLength, To.pPixels + y * To.Step);
    }
    return kStatusOk;
}

template <int Channels>
int32_t CheckedResize(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, int32_t RegionX,
                      int32_t RegionY, Region From, const Target& To, double xFactor, double yFactor,
                      int32_t Interpolation)
{
    if (!pSource || !To.pPixels) return kStatusNullPointer;
    if (From.Width <= 0 || From.Height <= 0 || To.Width <= 0 || To.Height <= 0 || RegionX < 0 || RegionY < 0 ||
        From.Width > SourceWidth - RegionX || From.Height > SourceHeight - RegionY || !(xFactor > 0.0) ||
        !(yFactor > 0.0))
        return kStatusSize;
    if (From.Step <= 0 || To.Step <= 0) return kStatusStep;
    if (Interpolation != kCubic) return kStatusMode;
    From.pPixels = pSource + RegionY * From.Step + ptrdiff_t{RegionX} * Channels;
    return Resize<Channels>(From, To, xFactor, yFactor);
}

} // namespace

int32_t Resize8uC1_px(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, ptrdiff_t SourceStep,
                      int32_t RegionX, int32_t RegionY, int32_t RegionWidth, int32_t RegionHeight, uint8_t* pTarget,
                      ptrdiff_t TargetStep, int32_t TargetWidth, int32_t TargetHeight, double xFactor, double yFactor,
                      int32_t Interpolation)
{
    return CheckedResize<1>(pSource, SourceWidth, SourceHeight, RegionX, RegionY,
                            {nullptr, SourceStep, RegionWidth, RegionHeight},
                            {pTarget, TargetStep, TargetWidth, TargetHeight}, xFactor, yFactor, Interpolation);
}

int32_t Resize8uC3_px(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, ptrdiff_t SourceStep,
                      int32_t RegionX, int32_t RegionY, int32_t RegionWidth, int32_t RegionHeight, uint8_t* pTarget,
                      ptrdiff_t TargetStep, int32_t TargetWidth, int32_t TargetHeight, double xFactor, double yFactor,
                      int32_t Interpolation)
{
    return CheckedResize<3>(pSource, SourceWidth, SourceHeight, RegionX, RegionY,
                            {nullptr, SourceStep, RegionWidth, RegionHeight},
                            {pTarget, TargetStep, TargetWidth, TargetHeight}, xFactor, yFactor, Interpolation);
}

int32_t Resize8uC4_px(const uint8_t* pSource, int32_t SourceWidth, int32_t SourceHeight, ptrdiff_t SourceStep,
                      int32_t RegionX, int32_t RegionY, int32_t RegionWidth, int32_t RegionHeight, uint8_t* pTarget,
                      ptrdiff_t TargetStep, int32_t TargetWidth, int32_t TargetHeight, double xFactor, double yFactor,
                      int32_t Interpolation)
{
    return CheckedResize<4>(pSource, SourceWidth, SourceHeight, RegionX, RegionY,
                            {nullptr, SourceStep, RegionWidth, RegionHeight},
                            {pTarget, TargetStep, TargetWidth, TargetHeight}, xFactor, yFactor, Interpolation);
}

} // namespace kernels
