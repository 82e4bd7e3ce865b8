#include "tools/common/scene_person.h"

#include <cstdlib>

ScenePerson::Pose ScenePerson::PoseAt(int64_t t) const
{
    const int32_t w = m_Size.Width, h = m_Size.Height;
    Pose Now;
    Now.HeadX = w / 2 + w / 20 * SceneWave(t, 5300) / 256 + 2 * SceneWave(t, 900) / 256;
    Now.HeadY = h * 9 / 24 + h / 60 * SceneWave(t, 2100) / 256;
    Now.HeadRx = std::max(h / 8, 6);
    Now.HeadRy = std::max(h / 6, 8);
    Now.BodyX = w / 2 + w / 40 * SceneWave(t, 5300) / 256;
    Now.BodyY = h;
    Now.BodyRx = std::max(h * 5 / 12, 12);
    Now.BodyRy = std::max(h * 10 / 24, 12);
    Now.MouthRy = std::max(1, h / 60 + h / 80 * SceneWave(t, 330) / 256);
    Now.EyeRy = t % 3700 < 120 ? 1 : std::max(h / 90, 1); // a blink
    return Now;
}

// Texture moves with the person: it is looked up relative to the head and the body.
SceneColour ScenePerson::ColourAt(const Pose& Now, int32_t x, int32_t y, int32_t& Cover) const
{
    const int32_t Head = EllipseCover(x, y, Now.HeadX, Now.HeadY, Now.HeadRx, Now.HeadRy);
    const int32_t Body = EllipseCover(x, y, Now.BodyX, Now.BodyY, Now.BodyRx, Now.BodyRy);
    Cover = std::max(Head, Body);
    if (!Cover) return {};
    constexpr int32_t kOrigin = 4096; // keeps texture coordinates positive
    if (Head >= Body) {
        const int32_t dx = x - Now.HeadX, dy = y - Now.HeadY;
        const int32_t Grain = SceneNoise(dx + kOrigin, dy + kOrigin, 3, m_Seed + 6) / 16 +
                              SceneNoise(dx + kOrigin, dy + kOrigin, 17, m_Seed + 7) / 8;
        const int32_t EyeX = std::abs(std::abs(dx) - Now.HeadRx * 2 / 5);
        const bool bEye = EyeX * 5 < Now.HeadRx && std::abs(dy + Now.HeadRy / 6) <= Now.EyeRy;
        const bool bMouth = std::abs(dx) * 5 < Now.HeadRx * 2 && std::abs(dy - Now.HeadRy / 2) <= Now.MouthRy;
        const bool bHair = dy < -Now.HeadRy / 2 + SceneNoise(dx + kOrigin, 0, 7, m_Seed + 8) * Now.HeadRy / 1200;
        if (bHair)
            return {ClipToByte(50 + SceneNoise(dx * 3 + 3 * kOrigin, dy + kOrigin, 5, m_Seed + 9) / 6), 124, 134};
        if (bEye) return {40, 128, 128};
        if (bMouth) return {ClipToByte(80 + Grain), 118, 160};
        return {ClipToByte(165 + Grain + dx * 20 / Now.HeadRx), 110, 150};
    }
    const int32_t dx = x - Now.BodyX, dy = y - Now.BodyY;
    const bool bStripe = (dx + kOrigin) / std::max(m_Size.Height / 40, 2) % 3 == 0;
    const int32_t Weave = SceneNoise(dx + kOrigin, dy + kOrigin, 2, m_Seed + 10) / 14;
    return {ClipToByte((bStripe ? 95 : 65) + Weave), 140, 118};
}
