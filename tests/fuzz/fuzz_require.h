// What a fuzz target holds to be true of any input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

inline void Require(bool Condition, const char* pWhat)
{
    if (Condition) return;
    std::fprintf(stderr, "not so: %s\n", pWhat);
    std::abort();
}

} // namespace fuzz
