// Integer building blocks of the rendered scenes: the same arguments give the same values on every machine.
#pragma once

#include <algorithm>
#include <cstdint>

struct SceneColour {
    uint8_t Y, U, V; // video range
};

/// 32 well mixed bits of three numbers.
uint32_t SceneHash(uint32_t a, uint32_t b, uint32_t c);
/// Smooth noise of -128..127 with features of Cell samples. Coordinates are not negative.
int32_t SceneNoise(int32_t x, int32_t y, int32_t Cell, uint32_t Seed);
/// A wave of -256..256 with the given period, made of parabolas.
int32_t SceneWave(int64_t t, int64_t Period);
/// How much of a sample an ellipse covers, 0..256, with an edge that is a few samples soft.
int32_t EllipseCover(int32_t x, int32_t y, int32_t cx, int32_t cy, int32_t rx, int32_t ry);

inline uint8_t ClipToByte(int32_t v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }
/// From a to b by Cover, 0..256.
inline int32_t MixBy(int32_t a, int32_t b, int32_t Cover) { return a + (b - a) * Cover / 256; }
