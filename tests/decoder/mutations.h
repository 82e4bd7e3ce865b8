// Damage to byte streams: units lost, doubled, moved, cut and spliced, and bits flipped, by number.
#pragma once

#include "tests/support/h264_stream_writer.h"

#include <cstdint>
#include <vector>

namespace test {

struct Mutation {
    const char* Kind;
    Bytes Stream;
    std::vector<bool> Kept = {}; // of each unit, where slices were lost and nothing else happened
};

// Everything about a mutation is in its number and the seed. Eight or more in a row are of every kind.
Mutation Mutate(const Units& Clean, uint32_t Seed, uint32_t Number);

} // namespace test
