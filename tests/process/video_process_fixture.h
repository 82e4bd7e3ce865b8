// Pictures and objects for the tests of camera treatment.
#pragma once

#include "process/CVideoProcessIPP.h"

#include <cstdint>
#include <vector>

/// The object with its fields in sight. It may stand on the stack: nobody releases it to 0 then.
class OpenProcess : public CVideoProcessIPP
{
public:
    using CVideoProcessIPP::DetectKeyColor;
    using CVideoProcessIPP::m_BackgroundHeight;
    using CVideoProcessIPP::m_BackgroundWidth;
    using CVideoProcessIPP::m_bBackgroundChanged;
    using CVideoProcessIPP::m_bBackgroundReady;
    using CVideoProcessIPP::m_BlueThreshold1;
    using CVideoProcessIPP::m_BlueThreshold2;
    using CVideoProcessIPP::m_Brightness;
    using CVideoProcessIPP::m_bSmoothing;
    using CVideoProcessIPP::m_DefaultKeyColor;
    using CVideoProcessIPP::m_DefaultKeyDistance;
    using CVideoProcessIPP::m_GreenThreshold1;
    using CVideoProcessIPP::m_GreenThreshold2;
    using CVideoProcessIPP::m_Height;
    using CVideoProcessIPP::m_iRefCount;
    using CVideoProcessIPP::m_KeyColor;
    using CVideoProcessIPP::m_KeyDistance;
    using CVideoProcessIPP::m_KeyingEnabled;
    using CVideoProcessIPP::m_KeyU;
    using CVideoProcessIPP::m_KeyV;
    using CVideoProcessIPP::m_pAlpha;
    using CVideoProcessIPP::m_pArgb;
    using CVideoProcessIPP::m_pBackground;
    using CVideoProcessIPP::m_pDistanceA;
    using CVideoProcessIPP::m_pDistanceB;
    using CVideoProcessIPP::m_pLock;
    using CVideoProcessIPP::m_pMask;
    using CVideoProcessIPP::m_pScaledBackground;
    using CVideoProcessIPP::m_pScratch;
    using CVideoProcessIPP::m_pU;
    using CVideoProcessIPP::m_pV;
    using CVideoProcessIPP::m_pY;
    using CVideoProcessIPP::m_Threshold1;
    using CVideoProcessIPP::m_Threshold2;
    using CVideoProcessIPP::m_Width;
};

/// An RGB24 picture, blue first, in a buffer without a byte to spare.
struct RgbPicture {
    int32_t Width, Height, Pitch;
    std::vector<uint8_t> Bytes;

    RgbPicture(int32_t Width_, int32_t Height_, int32_t Padding = 0)
        : Width(Width_), Height(Height_), Pitch(Width_ * 3 + Padding), Bytes(static_cast<size_t>(Pitch * Height_), 0xA5)
    {
    }
    uint8_t* At(int32_t x, int32_t y) { return Bytes.data() + static_cast<ptrdiff_t>(y) * Pitch + 3 * x; }
    const uint8_t* At(int32_t x, int32_t y) const { return const_cast<RgbPicture*>(this)->At(x, y); }
    void Paint(int32_t x, int32_t y, RgbColor Color)
    {
        uint8_t* const p = At(x, y);
        p[0] = Color.B, p[1] = Color.G, p[2] = Color.R;
    }
    bool operator==(const RgbPicture&) const = default;
};

inline RgbPicture Solid(int32_t Width, int32_t Height, RgbColor Color, int32_t Padding = 0)
{
    RgbPicture Picture(Width, Height, Padding);
    for (int32_t y = 0; y < Height; ++y)
        for (int32_t x = 0; x < Width; ++x) Picture.Paint(x, y, Color);
    return Picture;
}

/// Soft colours with noise.
inline RgbPicture Scene(int32_t Width, int32_t Height, uint32_t Seed, int32_t Padding = 0)
{
    RgbPicture Picture(Width, Height, Padding);
    for (int32_t y = 0; y < Height; ++y)
        for (int32_t x = 0; x < Width; ++x) {
            Seed = Seed * 1664525 + 1013904223;
            const auto Grain = static_cast<int32_t>(Seed >> 28);
            const auto Level = [Grain](int32_t v) { return static_cast<uint8_t>(v % 240 + Grain); };
            Picture.Paint(x, y, {Level(30 + 2 * x + y), Level(200 + x - y + 1000), Level(90 + x / 2 + 3 * y)});
        }
    return Picture;
}

/// A green screen with a dark disc in front, whose edge is some pixels soft.
inline RgbPicture GreenScreen(int32_t Width, int32_t Height)
{
    RgbPicture Picture(Width, Height);
    for (int32_t y = 0; y < Height; ++y)
        for (int32_t x = 0; x < Width; ++x) {
            const int32_t dx = 2 * x - Width, dy = 2 * y - Height;
            const int32_t Radius = Width * Width / 4, Distance = dx * dx + dy * dy;
            const int32_t Cover = Distance < Radius ? 256 : Distance > Radius * 2 ? 0 : 512 - Distance * 256 / Radius;
            const auto Mix = [Cover](int32_t Screen, int32_t Disc) {
                return static_cast<uint8_t>((Disc * Cover + Screen * (256 - Cover)) / 256);
            };
            Picture.Paint(x, y, {Mix(69, 120), Mix(250, 60 + y % 16), Mix(92, 50)});
        }
    return Picture;
}

inline int32_t Treat(IVideoProcess& Process, RgbPicture& Picture)
{
    return Process.ProcessFrame(Picture.Width, Picture.Height, Picture.Bytes.data(), Picture.Pitch);
}

inline int32_t SetBackground(IVideoProcess& Process, const RgbPicture& Picture)
{
    return Process.SetBackgroundImage(Picture.Width, Picture.Height, Picture.Bytes.data(), Picture.Pitch);
}
