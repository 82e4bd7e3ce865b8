// What B pictures, and the pictures that theirs are co-located with, are made of to test direct prediction.
#pragma once

#include "tests/decoder/random_stream.h"

namespace test {

inline constexpr MacroblockMix kDirect{.skip = 3, .direct = 3, .inter = 3, .intra = 0, .max_mvd = 12};
// Vectors about the limit up to which a co-located block counts as standing still.
inline constexpr MacroblockMix kSlow{.skip = 2, .direct = 0, .inter = 6, .intra = 1, .max_mvd = 1};
inline constexpr MacroblockMix kFast{.skip = 1, .direct = 0, .inter = 6, .intra = 1, .max_mvd = 40};

} // namespace test
