// What the work buffer of the bilateral filter holds, for its variants: the record below, the taps, and a ring of as
// many source rows as the window is high.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

// Position weights and value weights are fractions of these. The weight of a sample is their product, rounded after a
// shift to the right; the shift is kNarrowShift or kWideShift.
inline constexpr uint32_t kPositionOne = uint32_t{1} << 31;
inline constexpr uint32_t kValueOne = kPositionOne - (kPositionOne >> 12);
inline constexpr int kNarrowShift = 50, kWideShift = 32;

struct BilateralTap {
    int32_t Row, Column; // in the window, 0 0 being its upper left corner
    uint32_t Weight;     // of the position
    int32_t Offset;      // into the ring, from its first byte, for the row that is being filtered
};

// Narrow weights have 12 bits, the largest being 4095, and make the filter fit bytes and words. They serve when no
// difference above kNarrowReach has a weight, the taps are few, and the largest sum of weights is kNarrowSum: a
// quotient of sums that small comes out right in single precision, since it differs from a half by 1 / (2 * kNarrowSum)
// or not at all.
inline constexpr int kNarrowReach = 62;
inline constexpr int kNarrowTaps = 64;
inline constexpr int64_t kNarrowSum = int64_t{1} << 17;
inline constexpr int kNarrowLowBits = 6;
static_assert((uint64_t{kPositionOne} * kValueOne >> kNarrowShift) == 4095);

// The narrow weights by difference, 0 to 63, of a tap: bits 6 to 11, bits 0 to 5. The first sixteen stand as they are.
// Each later run of sixteen is the exclusive or with the run before, so that the runs up to a difference's own join to
// its weight.
struct alignas(16) BilateralTapTable {
    uint8_t High[4][16];
    uint8_t Low[4][16];
};

struct alignas(16) BilateralContext {
    uint32_t Tag;
    int32_t KernelWidth, KernelHeight;
    int32_t TapCount; // odd: the centre, then pairs of taps opposite each other
    int32_t Shift;
    int32_t CentreWeight;                  // as summed, like the tables below
    int32_t Narrow;                        // 0 or 1
    uint32_t Value[256];                   // weights of the differences
    BilateralTapTable Tables[kNarrowTaps]; // of the taps beside the centre; filled for narrow weights
};

inline constexpr uint32_t kTagGauss = 0x42464731, kTagGaussFull = 0x42464632;

/// The record in a buffer: at its first address that is aligned for the record.
BilateralContext* BilateralContextIn(uint8_t* pBuffer);
/// The taps behind the record.
BilateralTap* BilateralTaps(BilateralContext* pContext);
/// The ring behind the taps, and the bytes from one of its rows to the next: a row of the region's width and the
/// window's, with room for loads of 16 samples.
uint8_t* BilateralRing(BilateralContext* pContext);
int64_t BilateralRingStep(int32_t Width, int32_t KernelWidth);

/// Both sides positive and odd, and no more positions than 63 bits sum up.
bool IsBilateralWindow(int32_t KernelWidth, int32_t KernelHeight);

/// What BilateralFilter answers to its arguments.
int32_t BilateralStatus(const uint8_t* pSource, ptrdiff_t SourceStep, const uint8_t* pTarget, ptrdiff_t TargetStep,
                        int32_t Width, int32_t Height, int32_t KernelWidth, int32_t KernelHeight, uint8_t* pBuffer);

/// Sets the taps' offsets for row y of the region; row r of the source rows, the first of which lies half a window
/// above the region, is in row r % KernelHeight of the ring.
void AimBilateralTaps(BilateralContext* pContext, int32_t y, ptrdiff_t RingStep);

} // namespace kernels
