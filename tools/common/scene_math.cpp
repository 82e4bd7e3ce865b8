#include "tools/common/scene_math.h"

uint32_t SceneHash(uint32_t a, uint32_t b, uint32_t c)
{
    uint32_t h = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u) * 0x85EBCA77u ^ (c + 0x165667B1u) * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    return h ^ h >> 15;
}

int32_t SceneNoise(int32_t x, int32_t y, int32_t Cell, uint32_t Seed)
{
    const int32_t cx = x / Cell, cy = y / Cell;
    const auto Corner = [&](int32_t dx, int32_t dy) {
        return static_cast<int32_t>(SceneHash(static_cast<uint32_t>(cx + dx), static_cast<uint32_t>(cy + dy), Seed) >>
                                    24) -
               128;
    };
    const auto Smooth = [&](int32_t v) { // 3t^2 - 2t^3 in 1/256
        const int32_t t = v * 256 / Cell;
        return t * t * (768 - 2 * t) >> 16;
    };
    const int32_t fx = Smooth(x % Cell), fy = Smooth(y % Cell);
    const int32_t Top = Corner(0, 0) * (256 - fx) + Corner(1, 0) * fx;
    const int32_t Bottom = Corner(0, 1) * (256 - fx) + Corner(1, 1) * fx;
    return (Top / 256 * (256 - fy) + Bottom / 256 * fy) / 256;
}

int32_t SceneWave(int64_t t, int64_t Period)
{
    const int64_t p = t % Period * 1024 / Period; // 0..1023
    const int64_t h = p % 512;                    // within half a wave
    const auto Value = static_cast<int32_t>(h * (512 - h) / 256);
    return p < 512 ? Value : -Value;
}

int32_t EllipseCover(int32_t x, int32_t y, int32_t cx, int32_t cy, int32_t rx, int32_t ry)
{
    const int64_t dx = x - cx, dy = y - cy;
    const int64_t Distance = (dx * dx * 4096 / (int64_t{rx} * rx)) + (dy * dy * 4096 / (int64_t{ry} * ry));
    const int64_t Softness = std::max<int64_t>(1, 8192 * 2 / std::min(rx, ry));
    return static_cast<int32_t>(std::clamp<int64_t>((4096 - Distance) * 256 / Softness, 0, 256));
}
