#include "kernels/resize/resize_passes.h"
#include "kernels/resize/resize_work.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kernels {

namespace {

// Cubic convolution with a = -0.5 at the fraction f between the second and the third tap.
void CubicWeights(double f, int Bits, int16_t Weight[kTaps])
{
    const double One = 1 << Bits;
    const double Exact[kTaps]{((-0.5 * f + 1.0) * f - 0.5) * f, (1.5 * f - 2.5) * f * f + 1.0,
                              ((-1.5 * f + 2.0) * f + 0.5) * f, (0.5 * f - 0.5) * f * f};
    int32_t Sum = 0;
    for (int t = 0; t < kTaps; ++t) {
        Weight[t] = static_cast<int16_t>(std::floor(Exact[t] * One + 0.5));
        Sum += Weight[t];
    }
    // The weights add up to one exactly, so that a flat area stays as it is.
    int16_t& Nearest = Weight[f < 0.5 ? 1 : 2];
    Nearest = static_cast<int16_t>(Nearest + (1 << Bits) - Sum);
}

void FillTaps(Taps* pTaps, int32_t Count, int32_t SourceCount, double Factor, int Bits)
{
    for (int32_t i = 0; i < Count; ++i) {
        // From SourceCount on, all four taps see the last pixel.
        const double Centre = std::min((i + 0.5) / Factor - 0.5, static_cast<double>(SourceCount));
        const double Base = std::floor(Centre);
        pTaps[i].First = static_cast<int32_t>(Base) - 1;
        CubicWeights(Centre - Base, Bits, pTaps[i].Weight);
    }
}

// Copies the row between its first and its last pixel, repeated.
void RepeatEnds(const uint8_t* pRow, int32_t Width, int Channels, uint8_t* pOut)
{
    const auto PixelBytes = static_cast<size_t>(Channels), RowBytes = static_cast<size_t>(Width) * PixelBytes;
    for (int i = 0; i < kPixelsBefore; ++i, pOut += PixelBytes) std::memcpy(pOut, pRow, PixelBytes);
    std::memcpy(pOut, pRow, RowBytes);
    pOut += RowBytes;
    for (int i = 0; i < kPixelsAfter; ++i, pOut += PixelBytes)
        std::memcpy(pOut, pRow + RowBytes - PixelBytes, PixelBytes);
}

} // namespace

int32_t ResizeCubic(const ResizePasses& Passes, const ResizeSource& From, const ResizeTarget& To, double xFactor,
                    double yFactor)
{
    const int64_t RowLength = int64_t{To.Width} * Passes.Channels;
    const int64_t RoomyLength = (RowLength + kSpare + 7) & ~int64_t{7}; // each row keeps the alignment
    const int64_t EndedBytes = (int64_t{From.Width} + kPixelsBefore + kPixelsAfter) * Passes.Channels + kSpare;
    ResizeWork Work;
    const int64_t ColumnPlace = Work.Reserve<Taps>(std::max(To.Width, To.Height));
    static_assert(ResizeWork::kPartAlignment % kPassTableAlignment == 0);
    const int64_t TablePlace = Work.Reserve<uint8_t>(Passes.pTableBytes(To.Width, Passes.Channels));
    const int64_t EndedPlace = Work.Reserve<uint8_t>(EndedBytes);
    const int64_t RowPlace = Work.Reserve<int16_t>(kTaps * RoomyLength);
    if (!Work.Allocate()) return kStatusNoMemory;

    // The taps of the columns have done their work when the table is made.
    Taps* const pTaps = Work.At<Taps>(ColumnPlace);
    void* const pTable = Work.At<uint8_t>(TablePlace);
    FillTaps(pTaps, To.Width, From.Width, xFactor, kRowWeightBits);
    for (int32_t x = 0; x < To.Width; ++x) pTaps[x].First += kPixelsBefore;
    Passes.pPrepare(pTaps, To.Width, Passes.Channels, pTable);
    FillTaps(pTaps, To.Height, From.Height, yFactor, kColumnWeightBits);

    uint8_t* const pEnded = Work.At<uint8_t>(EndedPlace);
    int16_t* const pStore = Work.At<int16_t>(RowPlace);
    std::memset(pEnded, 0, static_cast<size_t>(EndedBytes));
    std::memset(pStore, 0, static_cast<size_t>(kTaps * RoomyLength) * sizeof(int16_t));

    // Rows that went through the row pass, by source row modulo 4: a target row needs four neighbours.
    int32_t Held[kTaps]{-1, -1, -1, -1};
    for (int32_t y = 0; y < To.Height; ++y) {
        const int16_t* pRows[kTaps];
        for (int t = 0; t < kTaps; ++t) {
            const int32_t SourceRow = std::clamp(pTaps[y].First + t, 0, From.Height - 1), Slot = SourceRow % kTaps;
            int16_t* const pRow = pStore + Slot * RoomyLength;
            if (Held[Slot] != SourceRow) {
                RepeatEnds(From.pPixels + SourceRow * From.Step, From.Width, Passes.Channels, pEnded);
                Passes.pRowPass(pEnded, pTable, To.Width, pRow);
                Held[Slot] = SourceRow;
            }
            pRows[t] = pRow;
        }
        Passes.pColumnPass(pRows, pTaps[y].Weight, static_cast<int32_t>(RowLength), To.pPixels + y * To.Step);
    }
    return kStatusOk;
}

} // namespace kernels
