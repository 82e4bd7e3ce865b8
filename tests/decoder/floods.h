// Streams that ask for as much work or memory as they can with as few bytes as possible, one for each kind of unit.
#pragma once

#include "tests/support/h264_stream_writer.h"

#include <cstdint>
#include <span>

namespace test {

struct Flood {
    Bytes Stream;
    uint64_t Macroblocks = 0; // of all pictures that it opens or has made up
};

struct FloodKind {
    const char* Name;
    Flood (*Make)(uint32_t Count); // Count: about how many units or, of zeros, thousands of bytes
    uint32_t Count;                // for a test of instructions; ten times as many are to take ten times as long
};
std::span<const FloodKind> AllFloods();

// Those that are measured whole.
Flood OneMacroblockSlices();  // a picture of 4096x2304 in 36,864 slices
Flood TooManySlices();        // 100,000 slices in one picture of 4096x2304
Flood TooLargePicture();      // 90,000 slices for a picture of 4800x4800
Flood LargestParameterSets(); // all 256 picture parameter sets with the largest maps, twice
Flood LongSlices();           // slices with as many bytes as a picture may take, and more
Flood ListsOfTheirOwn();      // every slice of a 4096x2304 picture with reference lists unlike the one's before
Flood ManySizes();            // large pictures of ever other sizes
Flood References444();        // as many references of 1024x1024 in 4:4:4 as a buffer holds
Flood SmallBehindLarge();     // small pictures when the buffer is full of large ones

} // namespace test
