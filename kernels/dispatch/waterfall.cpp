#include "kernels/dispatch/waterfall.h"

#include <cstdio>

namespace kernels {
namespace {

bool ApplyTier(std::span<const KernelRecord> Records, Tier t)
{
    for (const KernelRecord& Record : Records)
        if (!Record.pApply(Record.pSlot, Record.pRow, t)) return false;
    return true;
}

void ReportFailure(const char* pText, const platform::MessageBoxOperations& Box)
{
    char Text[128];
    std::snprintf(Text, sizeof Text, "%s", pText);
    Box.Beep(platform::kMessageStopIcon);
    Box.Show(Text, "Set IPP library error", platform::kMessageStopIcon);
}

} // namespace

int ApplyWaterfall(std::span<const KernelRecord> Records, int StartTier, const char* pFailureText,
                   const platform::MessageBoxOperations& Box, int32_t& BoundTier)
{
    if (!Records.empty() && StartTier >= 0 && StartTier < static_cast<int>(kTierCount))
        for (const int* pTier = kWaterfall[StartTier]; *pTier < kWaterfallEnd; ++pTier)
            if (ApplyTier(Records, static_cast<Tier>(*pTier))) {
                BoundTier = *pTier;
                return 1;
            }
    ReportFailure(pFailureText, Box);
    return 0;
}

} // namespace kernels
