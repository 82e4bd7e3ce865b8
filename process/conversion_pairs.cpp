#include "process/conversion_pairs.h"

#include "kernels/memory/memory.h"

#include <algorithm>
#include <libyuv.h>

namespace UMC {

namespace {

// The forms in which libyuv takes its planes: three planes to one, one to three, and so on.
using ThreeToOne = int(const uint8_t*, int, const uint8_t*, int, const uint8_t*, int, uint8_t*, int, int, int);
using OneToThree = int(const uint8_t*, int, uint8_t*, int, uint8_t*, int, uint8_t*, int, int, int);
using OneToOne = int(const uint8_t*, int, uint8_t*, int, int, int);
using ThreeToThree = int(const uint8_t*, int, const uint8_t*, int, const uint8_t*, int, uint8_t*, int, uint8_t*, int,
                         uint8_t*, int, int, int);

template <ThreeToOne* pFunction>
int Pack(const PlaneInfo* f, const PlaneInfo* t, int32_t Width, int32_t Height)
{
    return pFunction(f[0].m_pPlane, f[0].m_Pitch, f[1].m_pPlane, f[1].m_Pitch, f[2].m_pPlane, f[2].m_Pitch,
                     t[0].m_pPlane, t[0].m_Pitch, Width, Height);
}

template <OneToThree* pFunction>
int Unpack(const PlaneInfo* f, const PlaneInfo* t, int32_t Width, int32_t Height)
{
    return pFunction(f[0].m_pPlane, f[0].m_Pitch, t[0].m_pPlane, t[0].m_Pitch, t[1].m_pPlane, t[1].m_Pitch,
                     t[2].m_pPlane, t[2].m_Pitch, Width, Height);
}

template <OneToOne* pFunction>
int Repack(const PlaneInfo* f, const PlaneInfo* t, int32_t Width, int32_t Height)
{
    return pFunction(f[0].m_pPlane, f[0].m_Pitch, t[0].m_pPlane, t[0].m_Pitch, Width, Height);
}

template <ThreeToThree* pFunction>
int Resample(const PlaneInfo* f, const PlaneInfo* t, int32_t Width, int32_t Height)
{
    return pFunction(f[0].m_pPlane, f[0].m_Pitch, f[1].m_pPlane, f[1].m_Pitch, f[2].m_pPlane, f[2].m_Pitch,
                     t[0].m_pPlane, t[0].m_Pitch, t[1].m_pPlane, t[1].m_Pitch, t[2].m_pPlane, t[2].m_Pitch, Width,
                     Height);
}

int Yuv420ToNv12(const PlaneInfo* f, const PlaneInfo* t, int32_t Width, int32_t Height)
{
    return libyuv::I420ToNV12(f[0].m_pPlane, f[0].m_Pitch, f[1].m_pPlane, f[1].m_Pitch, f[2].m_pPlane, f[2].m_Pitch,
                              t[0].m_pPlane, t[0].m_Pitch, t[1].m_pPlane, t[1].m_Pitch, Width, Height);
}

int Nv12ToYuv420(const PlaneInfo* f, const PlaneInfo* t, int32_t Width, int32_t Height)
{
    return libyuv::NV12ToI420(f[0].m_pPlane, f[0].m_Pitch, f[1].m_pPlane, f[1].m_Pitch, t[0].m_pPlane, t[0].m_Pitch,
                              t[1].m_pPlane, t[1].m_Pitch, t[2].m_pPlane, t[2].m_Pitch, Width, Height);
}

constexpr ConversionPair kPairs[] = {
    {NV12, YUV420, Nv12ToYuv420},
    {YUY2, YUV420, Unpack<libyuv::YUY2ToI420>},
    {UYVY, YUV420, Unpack<libyuv::UYVYToI420>},
    {YUV420, NV12, Yuv420ToNv12},
    {YUV420, YUY2, Pack<libyuv::I420ToYUY2>},
    {YUV420, UYVY, Pack<libyuv::I420ToUYVY>},
    {YUV420, YUV422, Resample<libyuv::I420ToI422>},
    {YUV420, RGB32, Pack<libyuv::I420ToARGB>},
    {YUV420, RGB24, Pack<libyuv::I420ToRGB24>},
    {YUV420, RGB565, Pack<libyuv::I420ToRGB565>},
    {YUV420, RGB555, Pack<libyuv::I420ToARGB1555>},
    {YUV420, RGB444, Pack<libyuv::I420ToARGB4444>},
    {YUV422, YUV420, Resample<libyuv::I422ToI420>},
    {RGB32, YUV420, Unpack<libyuv::ARGBToI420>},
    {RGB32, RGB24, Repack<libyuv::ARGBToRGB24>},
    {RGB24, YUV420, Unpack<libyuv::RGB24ToI420>},
    {RGB24, RGB32, Repack<libyuv::RGB24ToARGB>},
};

} // namespace

const ConversionPair* FindConversion(ColorFormat From, ColorFormat To)
{
    for (const ConversionPair& Pair : kPairs)
        if (Pair.From == From && Pair.To == To) return &Pair;
    return nullptr;
}

int32_t NarrowPlane(const PlaneInfo& From, const PlaneInfo& To, int32_t Width, int32_t Height)
{
    if (Width <= 0 || Height <= 0) return kernels::kStatusSize;
    const int32_t Shift = std::max(From.m_BitDepth - 8, 0);
    const int32_t Half = Shift ? 1 << (Shift - 1) : 0;
    for (int32_t y = 0; y < Height; ++y) {
        const auto* const pFrom = reinterpret_cast<const uint16_t*>(From.m_pPlane + ptrdiff_t{y} * From.m_Pitch);
        uint8_t* const pTo = To.m_pPlane + ptrdiff_t{y} * To.m_Pitch;
        for (int32_t x = 0; x < Width; ++x) pTo[x] = static_cast<uint8_t>(std::min((pFrom[x] + Half) >> Shift, 255));
    }
    return kernels::kStatusOk;
}

} // namespace UMC
