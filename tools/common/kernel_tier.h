// The option that binds kernels other than those of this processor's own tier.
#pragma once

#include "kernels/dispatch/kernels.h"

#include <CLI/CLI.hpp>

#include <cstdint>

/// Adds --tier: all kernels of one tier, 0 (plain C++) to 5 (SSE4.1). The caller answers for the processor having it.
inline void AddTierOption(CLI::App& App)
{
    const auto Bind = [](const int& Tier) { kernels::InitKernelsForTier(Tier); };
    App.add_option_function<int>("--tier", Bind, "bind the kernels of this tier, 0 (plain C++) to 5 (SSE4.1)")
        ->check(CLI::Range(0, 5));
}
