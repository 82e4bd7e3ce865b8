// Fills a table of kernel slots for a tier, falling to the next lower tier while a record lacks its variant.
#pragma once

#include <cstdint>
#include <span>

#include "kernels/dispatch/kernel_row.h"
#include "platform/message_box.h"

namespace kernels {

/// A function-pointer slot and the row of variants that may go into it. Built by RecordOf; owns neither.
struct KernelRecord {
    void* pSlot;
    const void* pRow;
    bool (*pApply)(void* pSlot, const void* pRow, Tier t); // false, slot untouched: the row has nothing for the tier
};

template <class Sig>
constexpr KernelRecord RecordOf(Sig** ppSlot, const KernelRow<Sig>* pRow)
{
    return {ppSlot, pRow, [](void* pTarget, const void* pVariants, Tier t) {
                Sig* const pFn = static_cast<const KernelRow<Sig>*>(pVariants)->At(t);
                if (pFn) *static_cast<Sig**>(pTarget) = pFn;
                return pFn != nullptr;
            }};
}

inline constexpr int kWaterfallEnd = 6;

/// The order of attempts for each starting tier: that tier, the lower ones down to 0, the end mark, then zeros.
inline constexpr int kWaterfall[kTierCount][kTierCount + 1] = {
    {0, 6, 0, 0, 0, 0, 0}, {1, 0, 6, 0, 0, 0, 0}, {2, 1, 0, 6, 0, 0, 0},
    {3, 2, 1, 0, 6, 0, 0}, {4, 3, 2, 1, 0, 6, 0}, {5, 4, 3, 2, 1, 0, 6},
};

/// Writes the variants of the first tier of StartTier's row for which every record has one, and stores it in BoundTier.
/// A failed attempt leaves what it has written. With no records, a tier outside 0 to 5 or no tier that serves,
/// pFailureText is sounded and shown through Box and BoundTier stays.
/// @return 1 on success, 0 otherwise.
int ApplyWaterfall(std::span<const KernelRecord> Records, int StartTier, const char* pFailureText,
                   const platform::MessageBoxOperations& Box, int32_t& BoundTier);

} // namespace kernels
