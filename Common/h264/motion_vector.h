// A motion vector, as both codecs keep it for each 4x4 block.
#pragma once

#include <cstdint>
#include <cstring>

namespace h264 {

// Quarter samples, unless a comment says whole samples.
struct MotionVector {
    int16_t x, y;
};
static_assert(sizeof(MotionVector) == 4);

/// Sum and difference as 16-bit numbers: what damage made too large wraps.
inline MotionVector operator+(MotionVector a, MotionVector b)
{
    return {static_cast<int16_t>(a.x + b.x), static_cast<int16_t>(a.y + b.y)};
}
inline MotionVector operator-(MotionVector a, MotionVector b)
{
    return {static_cast<int16_t>(a.x - b.x), static_cast<int16_t>(a.y - b.y)};
}

/// Both components in one comparable word; 0 for the zero vector.
inline uint32_t AsWord(MotionVector Mv)
{
    uint32_t Word;
    std::memcpy(&Word, &Mv, sizeof Word);
    return Word;
}
inline bool operator==(MotionVector a, MotionVector b) { return AsWord(a) == AsWord(b); }

} // namespace h264
