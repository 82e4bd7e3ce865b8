// Scaling of transform coefficients while they are parsed, H.264 clause 8.5.12.1.
#pragma once

#include <cstdint>

namespace UMC {

// LevelScale products of one list at one QP, and QP / 6.
struct Dequant {
    const int16_t* pScale; // by raster place
    uint32_t Per;
};

// What leaves levels as they are, by raster place of a block of 4x4 or 8x8.
struct LevelsAsTheyAre {
    int16_t Of4x4[16], Of8x8[64];
};
inline constexpr LevelsAsTheyAre kLevelsAsTheyAre = [] {
    LevelsAsTheyAre Scale{};
    for (int16_t& s : Scale.Of4x4) s = 16;
    for (int16_t& s : Scale.Of8x8) s = 64;
    return Scale;
}();

// (level * scale * 2^Per) / 16 with rounding: for QP below 24 this is the standard's rounded right shift, from 24 on
// the rounding term drops out. Damaged levels wrap.
template <class Coeffs>
inline Coeffs Scale4x4(int32_t Level, int16_t Scale, uint32_t Per)
{
    const uint32_t Product = static_cast<uint32_t>(Level) * static_cast<uint32_t>(int32_t{Scale}) << Per;
    return static_cast<Coeffs>(static_cast<int32_t>(Product + 8) >> 4);
}

// The same over 64, for 8x8 blocks.
template <class Coeffs>
inline Coeffs Scale8x8(int32_t Level, int16_t Scale, uint32_t Per)
{
    const uint32_t Product = static_cast<uint32_t>(Level) * static_cast<uint32_t>(int32_t{Scale}) << Per;
    return static_cast<Coeffs>(static_cast<int32_t>(Product + 32) >> 6);
}

} // namespace UMC
