// The parts of a resize that have tiers, and what the parts around them share.
//
// A cubic resize runs each source row that it needs through the row pass, which works along the row and gives int16_t
// samples with kRowBits of fraction, and blends four such rows into a target row by the column pass. The area mean adds
// the source rows that a target row covers, and sums along the row at the end.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

inline constexpr int kTaps = 4;
inline constexpr int kRowWeightBits = 12;
inline constexpr int kRowBits = 6; // of fraction, in the rows between the passes
inline constexpr int kColumnWeightBits = 14;
inline constexpr int kProductBits = kRowBits + kColumnWeightBits - 15; // of fraction, in the products of a column

// The row pass sees each row with its ends repeated, so that no tap has to be clamped.
inline constexpr int kPixelsBefore = 2, kPixelsAfter = 3;

// Spare bytes or samples behind rows and tables, which a vector may read or write.
inline constexpr int kSpare = 64;

// Of the tables of the passes, in bytes.
inline constexpr size_t kPassTableAlignment = 16;

// The four taps of a target column or row: the first tap's source position, and weights that add up to one.
struct Taps {
    int32_t First;
    int16_t Weight[kTaps];
};

using ResizeAddRowsSig = void(const uint8_t* pFirst, int32_t FirstWeight, const uint8_t* pSecond, int32_t SecondWeight,
                              int32_t Count, uint32_t* pSum);

// One tier's passes for one number of channels.
struct ResizePasses {
    int Channels;

    // Bytes of the table that pPrepare makes for Width target pixels of Channels.
    int64_t (*pTableBytes)(int32_t Width, int Channels);

    // Makes the row pass's table, aligned to kPassTableAlignment, from the taps of the target columns: First is a pixel
    // of the row with its ends repeated, weights have kRowWeightBits.
    void (*pPrepare)(const Taps* pTaps, int32_t Width, int Channels, void* pTable);

    // Writes Width * Channels samples, and up to kSpare more that mean nothing. pRow may be read kSpare bytes behind
    // its last pixel, pOut is aligned to 16 bytes. A sample is (sum + 33) >> 6, sum being four source samples times
    // their weights. That 33 stands where 32 would round to nearest is deliberate: the vector tiers add weights in two
    // parts of 6 bits, and their average of the lower parts rounds up.
    void (*pRowPass)(const uint8_t* pRow, const void* pTable, int32_t Width, int16_t* pOut);

    // Writes Count samples exactly. The rows are aligned to 16 bytes and may be read kSpare samples behind the last.
    // Each product of a sample and its weight is rounded to kProductBits of fraction on its own; their sum is rounded
    // and limited to 0..255.
    void (*pColumnPass)(const int16_t* const pRows[kTaps], const int16_t Weight[kTaps], int32_t Count, uint8_t* pOut);

    // pSum += pFirst * FirstWeight + pSecond * SecondWeight, for exactly Count samples. Weights are 0..4096.
    ResizeAddRowsSig* pAddRows;
};

// The plain table: the taps as they are, First in bytes, and taps of no weight up to a multiple of four.
int64_t TapTableBytes(int32_t Width, int Channels);
void PrepareTapTable(const Taps* pTaps, int32_t Width, int Channels, void* pTable);

// A cubic overshoots by at most 1/8 of the range to either side in each direction.
static_assert(255 * 5 / 4 * (1 << kRowBits) <= INT16_MAX);

ResizeAddRowsSig ResizeAddRows_w7;

extern const ResizePasses kResizePassesC1_px, kResizePassesC2_px, kResizePassesC3_px, kResizePassesC4_px;
extern const ResizePasses kResizePassesC1_w7, kResizePassesC2_w7, kResizePassesC3_w7, kResizePassesC4_w7;
extern const ResizePasses kResizePassesC1_v8, kResizePassesC2_v8, kResizePassesC3_v8, kResizePassesC4_v8;

// A rectangle of pixels: first pixel, bytes from row to row, size.
struct ResizeSource {
    const uint8_t* pPixels;
    ptrdiff_t Step;
    int32_t Width, Height;
};
struct ResizeTarget {
    uint8_t* pPixels;
    ptrdiff_t Step;
    int32_t Width, Height;
};

// Both return 0, -9 or, from ResizeArea, -6; the arguments are tested already.
int32_t ResizeCubic(const ResizePasses& Passes, const ResizeSource& From, const ResizeTarget& To, double xFactor,
                    double yFactor);
int32_t ResizeArea(const ResizePasses& Passes, const ResizeSource& From, const ResizeTarget& To, double xFactor,
                   double yFactor);

} // namespace kernels
