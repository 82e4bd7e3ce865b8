// Lines of the driver's layer on the standard error stream.
#pragma once

#include <cstdio>

/// Tells on the standard error stream which source and line met what. The source that uses it defines QUILVEX_SOURCE;
/// the format says whether the line ends.
#define TELL_ON_CONSOLE(Format, ...)                                                                                   \
    std::fprintf(stderr, "%s line %d: " Format, QUILVEX_SOURCE, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
