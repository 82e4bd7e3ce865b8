#include "tools/common/green_screen.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int32_t kOrigin = 4096; // keeps texture coordinates positive

void Put(std::vector<uint8_t>& Rgb, int32_t R, int32_t G, int32_t B)
{
    for (const int32_t v : {B, G, R}) Rgb.push_back(ClipToByte(v));
}

// The sum of four small uniform values, -6..6, from eight of the bits.
int32_t Grain(uint32_t Bits)
{
    return static_cast<int32_t>((Bits & 3) + (Bits >> 2 & 3) + (Bits >> 4 & 3) + (Bits >> 6 & 3)) - 6;
}

// Between head and body, Reach samples within its outline.
int32_t NeckCover(const ScenePerson::Pose& Now, int32_t x, int32_t y, int32_t Reach)
{
    return EllipseCover(x, y, Now.HeadX, Now.HeadY + Now.HeadRy, std::max(Now.HeadRx / 2 - Reach, 1), Now.HeadRy);
}

} // namespace

GreenScreen::GreenScreen(FrameSize Size, int32_t Fps, uint32_t Seed)
    : m_Size(Size), m_Fps(std::max(Fps, 1)), m_Seed(Seed), m_Person(Size, Seed)
{
}

GreenScreen::Rgb GreenScreen::ToRgb(SceneColour Colour)
{
    const int32_t c = (Colour.Y - 16) * 298, u = Colour.U - 128, v = Colour.V - 128;
    return {(c + 409 * v + 128) >> 8, (c - 100 * u - 208 * v + 128) >> 8, (c + 516 * u + 128) >> 8};
}

GreenScreen::Rgb GreenScreen::Mix(const Rgb& a, const Rgb& b, int32_t Cover)
{
    return {MixBy(a.R, b.R, Cover), MixBy(a.G, b.G, Cover), MixBy(a.B, b.B, Cover)};
}

// The default key colour under a lamp that stands to the left: darker towards the corners, with soft folds.
GreenScreen::Rgb GreenScreen::ScreenAt(int32_t x, int32_t y) const
{
    const int64_t w = m_Size.Width, h = m_Size.Height;
    const int64_t dx = x - w * 2 / 5, dy = y - h / 3;
    const auto Falloff = static_cast<int32_t>(64 * (dx * dx * h * h + dy * dy * w * w) / (w * w * h * h));
    const int32_t Cell = std::max(m_Size.Height / 8, 4), Fold = std::max(m_Size.Height / 40, 2);
    const int32_t Gain =
        252 - Falloff + SceneNoise(x, y, Cell, m_Seed + 20) / 10 + SceneNoise(x + y / 3, y / 6, Fold, m_Seed + 21) / 20;
    return {69 * Gain / 256, 250 * Gain / 256, 92 * Gain / 256};
}

// Loose hair around the upper half of the head: strands of a sample or two that run outwards and end at lengths of
// their own.
int32_t GreenScreen::StrandCover(const ScenePerson::Pose& Now, int32_t x, int32_t y) const
{
    const int32_t dx = x - Now.HeadX, dy = y - Now.HeadY;
    if (dy > 0) return 0;
    const int64_t Rx = Now.HeadRx, Ry = Now.HeadRy;
    const auto Radius =
        static_cast<int32_t>((int64_t{dx} * dx * 1024 / (Rx * Rx)) + (int64_t{dy} * dy * 1024 / (Ry * Ry)));
    if (Radius < 900 || Radius > 1600) return 0; // squared, in 1024ths
    const int32_t Along = 2048 + dx * 1024 / (std::abs(dx) + std::abs(dy) + 1);
    const int32_t Cell = std::max<int32_t>(2, static_cast<int32_t>(1400 / Rx));
    const int32_t Curl = SceneNoise(Radius, Along, 97, m_Seed + 22) * Cell / 96;
    const int32_t Place = Along + Curl + kOrigin;
    const auto Length = static_cast<int32_t>(1150 + SceneHash(static_cast<uint32_t>(Place / Cell), 0, m_Seed) % 450);
    const int32_t Strand = SceneNoise(Place, 0, Cell, m_Seed + 23) - 10;
    return std::clamp(Strand * 5, 0, 230) * std::clamp(Length - Radius, 0, 200) / 200;
}

GreenScreen::Rgb GreenScreen::PixelAt(const ScenePerson::Pose& Now, int32_t x, int32_t y) const
{
    const Rgb Screen = ScreenAt(x, y);
    int32_t Cover;
    Rgb Person = ToRgb(m_Person.ColourAt(Now, x, y, Cover));
    const int32_t Neck = NeckCover(Now, x, y, 0);
    if (Neck > Cover) {
        Person = ToRgb({145, 112, 148});
        Cover = Neck;
    }
    const int32_t Strands = StrandCover(Now, x, y);
    if (Strands > Cover) {
        Person = ToRgb({60, 124, 134});
        Cover = Strands;
    }
    return Cover ? Mix(Screen, Mix(Person, Screen, SpillAt(Now, x, y)), Cover) : Screen;
}

// Light from the screen that falls on the person's outline, less and less inwards; in 256ths.
int32_t GreenScreen::SpillAt(const ScenePerson::Pose& Now, int32_t x, int32_t y) const
{
    constexpr int32_t kRings = 4, kStrongest = 48;
    const int32_t Width = std::max(m_Size.Height / 120, 1);
    int32_t Spill = 0;
    for (int32_t Reach = Width; Reach <= kRings * Width; Reach += Width) {
        const auto Inner = [Reach](int32_t Radius) { return std::max(Radius - Reach, 1); };
        const int32_t Head = EllipseCover(x, y, Now.HeadX, Now.HeadY, Inner(Now.HeadRx), Inner(Now.HeadRy));
        const int32_t Body = EllipseCover(x, y, Now.BodyX, Now.BodyY, Inner(Now.BodyRx), Inner(Now.BodyRy));
        Spill += kStrongest / kRings * (256 - std::max({Head, Body, NeckCover(Now, x, y, Reach)})) / 256;
    }
    return Spill;
}

void GreenScreen::Render(int64_t Index, std::vector<uint8_t>& Rgb24) const
{
    const ScenePerson::Pose Now = m_Person.PoseAt(Index * 1000 / m_Fps);
    Rgb24.clear();
    Rgb24.reserve(m_Size.LumaBytes() * 3);
    for (int32_t y = 0; y < m_Size.Height; ++y)
        for (int32_t x = 0; x < m_Size.Width; ++x) {
            const Rgb Pixel = PixelAt(Now, x, y);
            const uint32_t r = SceneHash(static_cast<uint32_t>(x), static_cast<uint32_t>(y),
                                         static_cast<uint32_t>(Index) * 977 + m_Seed);
            // Sensors see blue worst.
            Put(Rgb24, Pixel.R + Grain(r), Pixel.G + Grain(r >> 8), Pixel.B + Grain(r >> 16) * 3 / 2);
        }
}

void RenderLandscape(FrameSize Size, std::vector<uint8_t>& Rgb)
{
    constexpr uint32_t kSeed = 77;
    const int32_t w = Size.Width, h = Size.Height, Unit = std::max(h / 16, 4);
    Rgb.clear();
    Rgb.reserve(Size.LumaBytes() * 3);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const int32_t Far = h / 2 + SceneNoise(x, 0, Unit * 5, kSeed) * h / 900;
            const int32_t Near = h * 2 / 3 + SceneNoise(x, 0, Unit * 3, kSeed + 1) * h / 1200;
            const int32_t Sun = EllipseCover(x, y, w * 3 / 4, h / 5, Unit * 5 / 4, Unit * 5 / 4);
            const int32_t Cloud = std::clamp(SceneNoise(x, y * 3, Unit * 3, kSeed + 2) * 2 - 40, 0, 180);
            const int32_t Tree = SceneNoise(x, y, 5, kSeed + 3) / 5;
            const int32_t Down = y * 256 / h;
            if (y > Near)
                Put(Rgb, 70 + Tree, 96 + Tree - (y - Near) * 40 / h, 52 + Tree / 2);
            else if (y > Far)
                Put(Rgb, 96 + Tree / 2, 116 + Tree / 2, 130 + Tree / 2);
            else
                Put(Rgb, MixBy(MixBy(92, 205, Down * 2), 255, std::max(Sun, Cloud)),
                    MixBy(MixBy(150, 215, Down * 2), 248, std::max(Sun, Cloud)),
                    MixBy(225, 240, std::max(Sun / 2, Cloud)));
        }
}
