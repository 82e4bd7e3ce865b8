// The pairs that libyuv converts, directly or by way of its ARGB, which is this family's Rgb32. Its result is the
// reference.
#include "kernels/convert/convert_arguments.h"

#include <libyuv.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace kernels {

namespace {

// A function of libyuv takes a pointer and a step for each plane, then width and height. It can only fail for want of
// memory: all else has been tested before.
template <auto pFunction, size_t... Source, size_t... Target>
int32_t CallWith(std::index_sequence<Source...>, std::index_sequence<Target...>, const SourcePlanes& From,
                 const TargetPlanes& To, int32_t Width, int32_t Height)
{
    const int Result = std::apply(pFunction, std::tuple_cat(std::make_tuple(From.pPlane[Source], From.Step[Source])...,
                                                            std::make_tuple(To.pPlane[Target], To.Step[Target])...,
                                                            std::make_tuple(Width, Height)));
    return Result == 0 ? kStatusOk : kStatusNoMemory;
}

template <int Sources, int Targets, auto pFunction>
int32_t Call(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, Sources, pTo, Targets, Width, Height)) return Status;
    return CallWith<pFunction>(std::make_index_sequence<Sources>(), std::make_index_sequence<Targets>(), *pFrom, *pTo,
                               Width, Height);
}

// The two packed layouts of 4:2:2 differ in the order of the bytes in each pair. In the form of libyuv's functions.
int SwapBytePairs(const uint8_t* pFrom, int FromStep, uint8_t* pTo, int ToStep, int Width, int Height)
{
    constexpr uint8_t kOrder[16]{1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
    return libyuv::ARGBShuffle(pFrom, FromStep, pTo, ToStep, kOrder, Width / 2 + Width % 2, Height);
}

// Where a plane's sample for pixel (x, y) lies: x / WidthDiv * Bytes + y / HeightDiv * step.
struct PlaneShape {
    int Bytes, WidthDiv, HeightDiv;
};
struct Shape {
    int Planes;
    PlaneShape Plane[3];
};
constexpr Shape kPacked2{1, {{2, 1, 1}}}, kPacked3{1, {{3, 1, 1}}};
constexpr Shape kNv12{2, {{1, 1, 1}, {2, 2, 2}}}, kYuv422{3, {{1, 1, 1}, {1, 2, 1}, {1, 2, 1}}};

template <class Planes>
Planes At(const Planes& Whole, const Shape& Layout, int32_t x, int32_t y)
{
    Planes Part = Whole;
    for (int i = 0; i < Layout.Planes; ++i)
        Part.pPlane[i] += ptrdiff_t{x / Layout.Plane[i].WidthDiv} * Layout.Plane[i].Bytes +
                          ptrdiff_t{y / Layout.Plane[i].HeightDiv} * Whole.Step[i];
    return Part;
}

// Pairs that libyuv joins by way of a third packed layout: tile by tile, so that what lies between stays in the
// first-level cache. The tile's sides are multiples of every group of pixels and of libyuv's vectors.
template <Shape From, auto pToTile, Shape To, auto pFromTile>
int32_t ByTiles(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    constexpr int32_t kTileWidth = 256, kTileHeight = 16, kTileStep = kTileWidth * 4;
    alignas(64) uint8_t Tile[kTileStep * kTileHeight];
    const SourcePlanes TileOut{{Tile}, {kTileStep}};
    const TargetPlanes TileIn{{Tile}, {kTileStep}};
    if (const int32_t Status = ConvertRefusal(pFrom, From.Planes, pTo, To.Planes, Width, Height)) return Status;
    for (int32_t y = 0; y < Height; y += kTileHeight)
        for (int32_t x = 0; x < Width; x += kTileWidth) {
            const SourcePlanes FromPart = At(*pFrom, From, x, y);
            const TargetPlanes ToPart = At(*pTo, To, x, y);
            const int32_t w = std::min(kTileWidth, Width - x), h = std::min(kTileHeight, Height - y);
            int32_t Status = Call<From.Planes, 1, pToTile>(&FromPart, &TileIn, w, h);
            if (Status == kStatusOk) Status = Call<1, To.Planes, pFromTile>(&TileOut, &ToPart, w, h);
            if (Status != kStatusOk) return Status;
        }
    return kStatusOk;
}

} // namespace

#define CONVERSION(Name, ...)                                                                                          \
    int32_t Name##_px(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)               \
    {                                                                                                                  \
        return __VA_ARGS__(pFrom, pTo, Width, Height);                                                                 \
    }

CONVERSION(Nv12ToYuv420, Call<2, 3, libyuv::NV12ToI420>)

// libyuv has YUY2ToNV12, but it gives wrong chroma in the last columns where the width is 17 to 30 above a multiple
// of 32.
CONVERSION(Yuy2ToNv12, ByTiles<kPacked2, SwapBytePairs, kNv12, libyuv::UYVYToNV12>)
CONVERSION(Yuy2ToUyvy, Call<1, 1, SwapBytePairs>)
CONVERSION(Yuy2ToYuv420, Call<1, 3, libyuv::YUY2ToI420>)
CONVERSION(Yuy2ToYuv422, Call<1, 3, libyuv::YUY2ToI422>)
CONVERSION(Yuy2ToRgb32, Call<1, 1, libyuv::YUY2ToARGB>)
CONVERSION(Yuy2ToRgb24, ByTiles<kPacked2, libyuv::YUY2ToARGB, kPacked3, libyuv::ARGBToRGB24>)
CONVERSION(Yuy2ToRgb565, ByTiles<kPacked2, libyuv::YUY2ToARGB, kPacked2, libyuv::ARGBToRGB565>)
CONVERSION(Yuy2ToRgb555, ByTiles<kPacked2, libyuv::YUY2ToARGB, kPacked2, libyuv::ARGBToARGB1555>)
CONVERSION(Yuy2ToRgb444, ByTiles<kPacked2, libyuv::YUY2ToARGB, kPacked2, libyuv::ARGBToARGB4444>)

CONVERSION(UyvyToNv12, Call<1, 2, libyuv::UYVYToNV12>)
CONVERSION(UyvyToYuy2, Call<1, 1, SwapBytePairs>)
CONVERSION(UyvyToYuv420, Call<1, 3, libyuv::UYVYToI420>)
CONVERSION(UyvyToYuv422, Call<1, 3, libyuv::UYVYToI422>)
CONVERSION(UyvyToRgb32, Call<1, 1, libyuv::UYVYToARGB>)

CONVERSION(Yuv420ToNv12, Call<3, 2, libyuv::I420ToNV12>)
CONVERSION(Yuv420ToYuy2, Call<3, 1, libyuv::I420ToYUY2>)
CONVERSION(Yuv420ToUyvy, Call<3, 1, libyuv::I420ToUYVY>)
CONVERSION(Yuv420ToYuv422, Call<3, 3, libyuv::I420ToI422>)
CONVERSION(Yuv420ToRgb32, Call<3, 1, libyuv::I420ToARGB>)
CONVERSION(Yuv420ToRgb24, Call<3, 1, libyuv::I420ToRGB24>)
CONVERSION(Yuv420ToRgb565, Call<3, 1, libyuv::I420ToRGB565>)
CONVERSION(Yuv420ToRgb555, Call<3, 1, libyuv::I420ToARGB1555>)
CONVERSION(Yuv420ToRgb444, Call<3, 1, libyuv::I420ToARGB4444>)

CONVERSION(Yuv422ToYuv420, Call<3, 3, libyuv::I422ToI420>)
CONVERSION(CopyYuv422, Call<3, 3, libyuv::I422Copy>)

CONVERSION(Rgb32ToYuy2, Call<1, 1, libyuv::ARGBToYUY2>)
CONVERSION(Rgb32ToUyvy, Call<1, 1, libyuv::ARGBToUYVY>)
CONVERSION(Rgb32ToYuv420, Call<1, 3, libyuv::ARGBToI420>)
CONVERSION(Rgb32ToRgb24, Call<1, 1, libyuv::ARGBToRGB24>)

CONVERSION(Rgb24ToNv12, ByTiles<kPacked3, libyuv::RGB24ToARGB, kNv12, libyuv::ARGBToNV12>)
CONVERSION(Rgb24ToYuy2, ByTiles<kPacked3, libyuv::RGB24ToARGB, kPacked2, libyuv::ARGBToYUY2>)
CONVERSION(Rgb24ToUyvy, ByTiles<kPacked3, libyuv::RGB24ToARGB, kPacked2, libyuv::ARGBToUYVY>)
CONVERSION(Rgb24ToYuv420, Call<1, 3, libyuv::RGB24ToI420>)
CONVERSION(Rgb24ToYuv422, ByTiles<kPacked3, libyuv::RGB24ToARGB, kYuv422, libyuv::ARGBToI422>)
CONVERSION(Rgb24ToRgb32, Call<1, 1, libyuv::RGB24ToARGB>)
CONVERSION(Rgb24ToRgb565, ByTiles<kPacked3, libyuv::RGB24ToARGB, kPacked2, libyuv::ARGBToRGB565>)
CONVERSION(Rgb24ToRgb555, ByTiles<kPacked3, libyuv::RGB24ToARGB, kPacked2, libyuv::ARGBToARGB1555>)
CONVERSION(Rgb24ToRgb444, ByTiles<kPacked3, libyuv::RGB24ToARGB, kPacked2, libyuv::ARGBToARGB4444>)

CONVERSION(Rgb565ToYuv420, Call<1, 3, libyuv::RGB565ToI420>)
CONVERSION(Rgb565ToRgb32, Call<1, 1, libyuv::RGB565ToARGB>)
CONVERSION(Rgb565ToRgb24, ByTiles<kPacked2, libyuv::RGB565ToARGB, kPacked3, libyuv::ARGBToRGB24>)

CONVERSION(Rgb555ToYuv420, Call<1, 3, libyuv::ARGB1555ToI420>)
CONVERSION(Rgb555ToRgb32, Call<1, 1, libyuv::ARGB1555ToARGB>)
CONVERSION(Rgb555ToRgb24, ByTiles<kPacked2, libyuv::ARGB1555ToARGB, kPacked3, libyuv::ARGBToRGB24>)

} // namespace kernels
