#include "tools/common/camera_scene.h"

#include <algorithm>
#include <cstdlib>

namespace {

uint32_t Hash(uint32_t a, uint32_t b, uint32_t c)
{
    uint32_t h = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u) * 0x85EBCA77u ^ (c + 0x165667B1u) * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    return h ^ h >> 15;
}

// Smooth noise of -128..127 with features of Cell samples.
int32_t Noise(int32_t x, int32_t y, int32_t Cell, uint32_t Seed)
{
    const int32_t cx = x / Cell, cy = y / Cell;
    const auto Corner = [&](int32_t dx, int32_t dy) {
        return static_cast<int32_t>(Hash(static_cast<uint32_t>(cx + dx), static_cast<uint32_t>(cy + dy), Seed) >> 24) -
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

// A wave of -256..256 with the given period, made of parabolas.
int32_t Wave(int64_t t, int64_t Period)
{
    const int64_t p = t % Period * 1024 / Period; // 0..1023
    const int64_t h = p % 512;                    // within half a wave
    const auto Value = static_cast<int32_t>(h * (512 - h) / 256);
    return p < 512 ? Value : -Value;
}

uint8_t Clip(int32_t v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

int32_t Mix(int32_t a, int32_t b, int32_t Cover) { return a + (b - a) * Cover / 256; }

// How much of a sample an ellipse covers, 0..256, with an edge that is a few samples soft.
int32_t EllipseCover(int32_t x, int32_t y, int32_t cx, int32_t cy, int32_t rx, int32_t ry)
{
    const int64_t dx = x - cx, dy = y - cy;
    const int64_t Distance = (dx * dx * 4096 / (int64_t{rx} * rx)) + (dy * dy * 4096 / (int64_t{ry} * ry));
    const int64_t Softness = std::max<int64_t>(1, 8192 * 2 / std::min(rx, ry));
    return static_cast<int32_t>(std::clamp<int64_t>((4096 - Distance) * 256 / Softness, 0, 256));
}

} // namespace

// All positions in samples of the picture but for the pan, which is in sixteenths.
struct CameraScene::Pose {
    int32_t PanX16;
    int32_t HeadX, HeadY, HeadRx, HeadRy;
    int32_t BodyX, BodyY, BodyRx, BodyRy;
    int32_t MouthRy, EyeRy;
    int32_t Gain; // of the light, 256 is one
};

CameraScene::CameraScene(FrameSize Size, int32_t Fps, uint32_t Seed)
    : m_Size(Size), m_Fps(std::max(Fps, 1)), m_Seed(Seed), m_WallWidth(Size.Width + Size.Width / 4 + 2)
{
    PaintWall();
}

CameraScene::Colour CameraScene::WallColour(int32_t x, int32_t y) const
{
    const int32_t Unit = std::max(m_Size.Height / 24, 4);
    int32_t Y = 150 + Noise(x, y, Unit * 6, m_Seed) / 6 + Noise(x, y, 3, m_Seed + 1) / 24, U = 122, V = 132;
    const int32_t ShelfRow = y / (Unit * 5), InShelf = y % (Unit * 5);
    if (x > m_WallWidth / 2 && ShelfRow < 3) { // books of many colours on three boards
        const int32_t BookWidth = Unit / 2 + 2, Book = x / BookWidth;
        const uint32_t h = Hash(static_cast<uint32_t>(Book), static_cast<uint32_t>(ShelfRow), m_Seed + 2);
        const bool bEdge = x % BookWidth == 0;
        if (InShelf > Unit * 4) {
            Y = 90 + Noise(x, y, 5, m_Seed + 3) / 12, U = 116, V = 142;
        } else if (InShelf > static_cast<int32_t>(h % 8) * Unit / 8) {
            Y = bEdge ? 45 : 60 + static_cast<int32_t>(h >> 8 & 127) + Noise(x, y, 4, m_Seed + 4) / 12;
            U = 98 + static_cast<int32_t>(h >> 16 & 63);
            V = 98 + static_cast<int32_t>(h >> 22 & 63);
        }
    } else if (x > Unit * 2 && x < Unit * 9 && y > Unit * 2 && y < Unit * 12) { // a window with a view
        const bool bBar = (x - Unit * 2) % (Unit * 3) < 3 || (y - Unit * 2) % (Unit * 5) < 3;
        Y = bBar ? 200 : 170 + Noise(x, y, Unit * 2, m_Seed + 5) / 4;
        U = bBar ? 128 : 140, V = bBar ? 128 : 116;
    }
    return {Clip(Y), Clip(U), Clip(V)};
}

void CameraScene::PaintWall()
{
    m_Wall.reserve(static_cast<size_t>(m_WallWidth) * static_cast<size_t>(m_Size.Height));
    for (int32_t y = 0; y < m_Size.Height; ++y)
        for (int32_t x = 0; x < m_WallWidth; ++x) m_Wall.push_back(WallColour(x, y));
}

CameraScene::Pose CameraScene::PoseAt(int64_t Index) const
{
    const int64_t t = Index * 1000 / m_Fps; // milliseconds
    const int32_t w = m_Size.Width, h = m_Size.Height;
    Pose Now;
    // The camera rests for four seconds, then pans to and fro.
    const int64_t PanTime = t % 12000 < 4000 ? 0 : t % 12000 - 4000;
    Now.PanX16 = static_cast<int32_t>(int64_t{w} * 2 + int64_t{w} * 2 * Wave(PanTime, 8000) / 256);
    Now.HeadX = w / 2 + w / 20 * Wave(t, 5300) / 256 + 2 * Wave(t, 900) / 256;
    Now.HeadY = h * 9 / 24 + h / 60 * Wave(t, 2100) / 256;
    Now.HeadRx = std::max(h / 8, 6);
    Now.HeadRy = std::max(h / 6, 8);
    Now.BodyX = w / 2 + w / 40 * Wave(t, 5300) / 256;
    Now.BodyY = h;
    Now.BodyRx = std::max(h * 5 / 12, 12);
    Now.BodyRy = std::max(h * 10 / 24, 12);
    Now.MouthRy = std::max(1, h / 60 + h / 80 * Wave(t, 330) / 256);
    Now.EyeRy = t % 3700 < 120 ? 1 : std::max(h / 90, 1); // a blink
    // A lamp goes off after six seconds and on again after nine.
    const int64_t Lamp = t % 9000;
    Now.Gain = Lamp < 6000 ? 256 : Lamp < 6400 ? static_cast<int32_t>(256 - (Lamp - 6000) * 56 / 400) : 200;
    return Now;
}

// Texture moves with the person: it is looked up relative to the head and the body.
CameraScene::Colour CameraScene::PersonColour(const Pose& Now, int32_t x, int32_t y, int32_t& Cover) const
{
    const int32_t Head = EllipseCover(x, y, Now.HeadX, Now.HeadY, Now.HeadRx, Now.HeadRy);
    const int32_t Body = EllipseCover(x, y, Now.BodyX, Now.BodyY, Now.BodyRx, Now.BodyRy);
    Cover = std::max(Head, Body);
    if (!Cover) return {};
    constexpr int32_t kOrigin = 4096; // keeps texture coordinates positive
    if (Head >= Body) {
        const int32_t dx = x - Now.HeadX, dy = y - Now.HeadY;
        const int32_t Grain = Noise(dx + kOrigin, dy + kOrigin, 3, m_Seed + 6) / 16 +
                              Noise(dx + kOrigin, dy + kOrigin, 17, m_Seed + 7) / 8;
        const int32_t EyeX = std::abs(std::abs(dx) - Now.HeadRx * 2 / 5);
        const bool bEye = EyeX * 5 < Now.HeadRx && std::abs(dy + Now.HeadRy / 6) <= Now.EyeRy;
        const bool bMouth = std::abs(dx) * 5 < Now.HeadRx * 2 && std::abs(dy - Now.HeadRy / 2) <= Now.MouthRy;
        const bool bHair = dy < -Now.HeadRy / 2 + Noise(dx + kOrigin, 0, 7, m_Seed + 8) * Now.HeadRy / 1200;
        if (bHair) return {Clip(50 + Noise(dx * 3 + 3 * kOrigin, dy + kOrigin, 5, m_Seed + 9) / 6), 124, 134};
        if (bEye) return {40, 128, 128};
        if (bMouth) return {Clip(80 + Grain), 118, 160};
        return {Clip(165 + Grain + dx * 20 / Now.HeadRx), 110, 150};
    }
    const int32_t dx = x - Now.BodyX, dy = y - Now.BodyY;
    const bool bStripe = (dx + kOrigin) / std::max(m_Size.Height / 40, 2) % 3 == 0;
    const int32_t Weave = Noise(dx + kOrigin, dy + kOrigin, 2, m_Seed + 10) / 14;
    return {Clip((bStripe ? 95 : 65) + Weave), 140, 118};
}

CameraScene::Colour CameraScene::PixelAt(const Pose& Now, int32_t x, int32_t y) const
{
    const int32_t Whole = x + Now.PanX16 / 16, Part = Now.PanX16 % 16;
    const Colour* const pRow = &m_Wall[static_cast<size_t>(y) * static_cast<size_t>(m_WallWidth)];
    const int32_t Left = std::clamp(Whole, 0, m_WallWidth - 1), Right = std::clamp(Whole + 1, 0, m_WallWidth - 1);
    const Colour a = pRow[Left], b = pRow[Right];
    int32_t Y = (a.Y * (16 - Part) + b.Y * Part + 8) / 16, U = a.U, V = a.V, Cover;
    const Colour Person = PersonColour(Now, x, y, Cover);
    if (Cover) Y = Mix(Y, Person.Y, Cover), U = Mix(U, Person.U, Cover), V = Mix(V, Person.V, Cover);
    return {Clip(16 + (Y - 16) * Now.Gain / 256), Clip(U), Clip(V)};
}

void CameraScene::Render(int64_t Index, std::vector<uint8_t>& Picture) const
{
    const Pose Now = PoseAt(Index);
    const int32_t w = m_Size.Width, h = m_Size.Height, cw = w / 2, ch = h / 2;
    Picture.resize(m_Size.LumaBytes() + 2 * static_cast<size_t>(cw) * static_cast<size_t>(ch));
    uint8_t* pY = Picture.data();
    uint8_t* pU = pY + m_Size.LumaBytes();
    uint8_t* pV = pU + static_cast<size_t>(cw) * static_cast<size_t>(ch);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const Colour Pixel = PixelAt(Now, x, y);
            // Sensor noise: the sum of four small uniform values, new in every picture.
            const uint32_t r =
                Hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(Index) * 977 + m_Seed);
            const auto Grain = static_cast<int32_t>((r & 3) + (r >> 8 & 3) + (r >> 16 & 3) + (r >> 24 & 3)) - 6;
            *pY++ = Clip(Pixel.Y + Grain / 2);
            if (x % 2 == 0 && y % 2 == 0 && x / 2 < cw && y / 2 < ch) {
                *pU++ = Clip(Pixel.U + Grain / 4);
                *pV++ = Clip(Pixel.V - Grain / 4);
            }
        }
}
