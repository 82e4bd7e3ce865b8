// The processor tiers that a kernel may have a variant for.
#pragma once

#include <array>
#include <cstddef>

namespace kernels {

// Ascending: a row's Pick() relies on the order. px: plain code, a6: SSE, w7: SSE2, t7: SSE3, v8: SSSE3, p8: SSE4.1.
enum class Tier { px, a6, w7, t7, v8, p8 };
inline constexpr std::array kAllTiers{Tier::px, Tier::a6, Tier::w7, Tier::t7, Tier::v8, Tier::p8};
inline constexpr size_t kTierCount = kAllTiers.size();
inline constexpr std::array<const char*, kTierCount> kTierNames{"px", "a6", "w7", "t7", "v8", "p8"};

} // namespace kernels
