#include "kernels/resize/resize_passes.h"

#include <algorithm>

namespace kernels {

int64_t TapTableBytes(int32_t Width, int) { return (int64_t{Width} + 3) / 4 * 4 * static_cast<int64_t>(sizeof(Taps)); }

void PrepareTapTable(const Taps* pTaps, int32_t Width, int Channels, void* pTable)
{
    auto* const pOwn = static_cast<Taps*>(pTable);
    for (int32_t x = 0; x < (Width + 3) / 4 * 4; ++x) {
        pOwn[x] = x < Width ? pTaps[x] : Taps{};
        pOwn[x].First *= Channels;
    }
}

namespace {

template <int Channels>
void RowPass(const uint8_t* pRow, const void* pTable, int32_t Width, int16_t* pOut)
{
    constexpr int Shift = kRowWeightBits - kRowBits;
    const auto* pTaps = static_cast<const Taps*>(pTable);
    for (int32_t x = 0; x < Width; ++x, ++pTaps)
        for (int c = 0; c < Channels; ++c) {
            int32_t Sum = (1 << (Shift - 1)) + 1;
            for (int t = 0; t < kTaps; ++t) Sum += pRow[pTaps->First + t * Channels + c] * pTaps->Weight[t];
            *pOut++ = static_cast<int16_t>(Sum >> Shift);
        }
}

void ColumnPass(const int16_t* const pRows[kTaps], const int16_t Weight[kTaps], int32_t Count, uint8_t* pOut)
{
    for (int32_t i = 0; i < Count; ++i) {
        int32_t Sum = 1 << (kProductBits - 1);
        for (int t = 0; t < kTaps; ++t) Sum += (pRows[t][i] * Weight[t] + (1 << 14)) >> 15;
        pOut[i] = static_cast<uint8_t>(std::clamp(Sum >> kProductBits, 0, 255));
    }
}

void AddRows(const uint8_t* pFirst, int32_t FirstWeight, const uint8_t* pSecond, int32_t SecondWeight, int32_t Count,
             uint32_t* pSum)
{
    for (int32_t i = 0; i < Count; ++i)
        pSum[i] += static_cast<uint32_t>(pFirst[i] * FirstWeight + pSecond[i] * SecondWeight);
}

template <int Channels>
constexpr ResizePasses kPasses{Channels, TapTableBytes, PrepareTapTable, RowPass<Channels>, ColumnPass, AddRows};

} // namespace

constinit const ResizePasses kResizePassesC1_px = kPasses<1>;
constinit const ResizePasses kResizePassesC2_px = kPasses<2>;
constinit const ResizePasses kResizePassesC3_px = kPasses<3>;
constinit const ResizePasses kResizePassesC4_px = kPasses<4>;

} // namespace kernels
