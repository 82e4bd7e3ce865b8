// The option that binds kernels other than those of this processor's own tier.
#pragma once

#include "kernels/dispatch/kernels.h"
#include "tools/common/command_line.h"

#include <cstdint>

/// Adds --tier: all kernels of one tier, 0 (plain C++) to 5 (SSE4.1). The caller answers for the processor having it.
inline void AddTierOption(CommandLine& App)
{
    const auto Bind = [](int32_t Tier) { kernels::InitKernelsForTier(Tier); };
    App.Add("--tier", Bind, "bind the kernels of this tier, 0 (plain C++) to 5 (SSE4.1)").Range(0, 5);
}
