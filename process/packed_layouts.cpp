#include "process/packed_layouts.h"

#include <algorithm>
#include <cstring>
#include <libyuv.h>

namespace UMC {

namespace {

uint8_t* Row(const VideoData& Picture, int32_t Plane, int32_t y)
{
    return Picture.Plane(Plane) + ptrdiff_t{y} * Picture.Pitch(Plane);
}

// Packed 4:2:2 by libyuv.
using OneToThree = int(const uint8_t*, int, uint8_t*, int, uint8_t*, int, uint8_t*, int, int, int);
using ThreeToOne = int(const uint8_t*, int, const uint8_t*, int, const uint8_t*, int, uint8_t*, int, int, int);

template <OneToThree* pFunction>
void Unpack422(const VideoData& f, const VideoData& t)
{
    pFunction(f.Plane(0), f.Pitch(0), t.Plane(0), t.Pitch(0), t.Plane(1), t.Pitch(1), t.Plane(2), t.Pitch(2),
              f.GetWidth(), f.GetHeight());
}

template <ThreeToOne* pFunction>
void Pack422(const VideoData& f, const VideoData& t)
{
    pFunction(f.Plane(0), f.Pitch(0), f.Plane(1), f.Pitch(1), f.Plane(2), f.Pitch(2), t.Plane(0), t.Pitch(0),
              f.GetWidth(), f.GetHeight());
}

// Packed 4:1:1: the bytes of a group of pixels by component; a chroma sample belongs to four pixels in a line.
struct Group {
    int32_t Pixels, Bytes;
    int32_t Luma[8], U[2], V[2];
};
constexpr Group kGroupY411{4, 6, {1, 2, 4, 5}, {0}, {3}};
constexpr Group kGroupY41P{8, 12, {1, 3, 5, 7, 8, 9, 10, 11}, {0, 4}, {2, 6}};

// One component, of which a group has Count samples at the places pPlaces.
void TakeOut(const uint8_t* pFrom, const Group& g, const int32_t* pPlaces, int32_t Count, uint8_t* pTo, int32_t Width)
{
    for (int32_t x = 0; x < Width; pFrom += g.Bytes)
        for (int32_t i = 0; i < Count && x < Width; ++i, ++x) pTo[x] = pFrom[pPlaces[i]];
}

// Behind the last sample a group is filled with that one.
void PutIn(const uint8_t* pFrom, int32_t Width, const Group& g, const int32_t* pPlaces, int32_t Count, uint8_t* pTo)
{
    for (int32_t x = 0; x < Width; pTo += g.Bytes)
        for (int32_t i = 0; i < Count; ++i, ++x) pTo[pPlaces[i]] = pFrom[std::min(x, Width - 1)];
}

template <const Group& g>
void Unpack411(const VideoData& From, const VideoData& To)
{
    const int32_t Width = From.GetWidth(), ChromaWidth = (Width + 3) / 4;
    for (int32_t y = 0; y < From.GetHeight(); ++y) {
        TakeOut(Row(From, 0, y), g, g.Luma, g.Pixels, Row(To, 0, y), Width);
        TakeOut(Row(From, 0, y), g, g.U, g.Pixels / 4, Row(To, 1, y), ChromaWidth);
        TakeOut(Row(From, 0, y), g, g.V, g.Pixels / 4, Row(To, 2, y), ChromaWidth);
    }
}

template <const Group& g>
void Pack411(const VideoData& From, const VideoData& To)
{
    const int32_t Width = From.GetWidth(), ChromaWidth = (Width + 3) / 4;
    for (int32_t y = 0; y < From.GetHeight(); ++y) {
        PutIn(Row(From, 0, y), Width, g, g.Luma, g.Pixels, Row(To, 0, y));
        PutIn(Row(From, 1, y), ChromaWidth, g, g.U, g.Pixels / 4, Row(To, 0, y));
        PutIn(Row(From, 2, y), ChromaWidth, g, g.V, g.Pixels / 4, Row(To, 0, y));
    }
}

// RGB in 16-bit words, blue in the lowest bits, then green, red and alpha.
using OneToOne = int(const uint8_t*, int, uint8_t*, int, int, int);

template <OneToOne* pFunction>
void UnpackRgb(const VideoData& f, const VideoData& t)
{
    pFunction(f.Plane(0), f.Pitch(0), t.Plane(0), t.Pitch(0), f.GetWidth(), f.GetHeight());
}

template <int Bits>
uint32_t Narrow(uint8_t Value)
{
    constexpr uint32_t Most = (1u << Bits) - 1;
    return (Value * Most + 127) / 255;
}

// libyuv cuts the low bits off, which darkens what it has not made itself; these are rounded.
template <int Blue, int Green, int Red, int Alpha>
void PackRgb(const VideoData& From, const VideoData& To)
{
    static_assert(Blue + Green + Red + Alpha == 16);
    for (int32_t y = 0; y < From.GetHeight(); ++y) {
        const uint8_t* p = Row(From, 0, y);
        uint8_t* pTo = Row(To, 0, y);
        for (int32_t x = 0; x < From.GetWidth(); ++x, p += 4, pTo += 2) {
            const auto Word = static_cast<uint16_t>(Narrow<Blue>(p[0]) | Narrow<Green>(p[1]) << Blue |
                                                    Narrow<Red>(p[2]) << (Blue + Green) |
                                                    Narrow<Alpha>(p[3]) << (Blue + Green + Red));
            std::memcpy(pTo, &Word, sizeof Word);
        }
    }
}

constexpr PackedLayout kLayouts[] = {
    {YUY2, YUV422, Unpack422<libyuv::YUY2ToI422>, Pack422<libyuv::I422ToYUY2>},
    {UYVY, YUV422, Unpack422<libyuv::UYVYToI422>, Pack422<libyuv::I422ToUYVY>},
    {Y411, YUV411, Unpack411<kGroupY411>, Pack411<kGroupY411>},
    {Y41P, YUV411, Unpack411<kGroupY41P>, Pack411<kGroupY41P>},
    {RGB565, RGB32, UnpackRgb<libyuv::RGB565ToARGB>, PackRgb<5, 6, 5, 0>},
    {RGB555, RGB32, UnpackRgb<libyuv::ARGB1555ToARGB>, PackRgb<5, 5, 5, 1>},
    {RGB444, RGB32, UnpackRgb<libyuv::ARGB4444ToARGB>, PackRgb<4, 4, 4, 4>},
};

} // namespace

const PackedLayout* FindPackedLayout(ColorFormat Format)
{
    for (const PackedLayout& Layout : kLayouts)
        if (Layout.Packed == Format) return &Layout;
    return nullptr;
}

} // namespace UMC
