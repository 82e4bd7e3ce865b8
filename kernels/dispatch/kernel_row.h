// One kernel and its variants. Binding, tests and benchmarks all walk the same rows.
#pragma once

#include "kernels/dispatch/tier.h"

namespace kernels {

template <class Sig>
struct KernelRow {
    using Pointer = Sig*;
    const char* Name;
    std::array<Sig*, kTierCount> Slot; // null: this tier adds nothing of its own; px is always filled

    constexpr Sig* At(Tier t) const { return Slot[static_cast<size_t>(t)]; }
    constexpr Sig* Pick(Tier Best) const // the highest filled slot up to Best
    {
        auto i = static_cast<size_t>(Best);
        while (!Slot[i]) --i;
        return Slot[i];
    }
    constexpr KernelRow Filled() const // the same with every tier pointing at what Pick gives for it
    {
        KernelRow Row{Name, {}};
        for (const Tier t : kAllTiers) Row.Slot[static_cast<size_t>(t)] = Pick(t);
        return Row;
    }
};

} // namespace kernels
