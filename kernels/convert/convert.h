// Colour conversion: one kernel for each pair of picture layouts, and the narrowing of deep samples.
//
// Layouts. Planar ones have luma first, then U, then V; a chroma plane has half (or, 4:1:1, a quarter) of the samples,
// rounded up. Packed ones have whole groups: an odd width ends in half a group that exists in memory all the same.
//   Nv12    luma plane; plane of U, V pairs for every 2x2 pixels
//   Yuy2    Y0 U Y1 V for 2 pixels
//   Uyvy    U Y0 V Y1 for 2 pixels
//   Yuv411  planar, chroma for 4x1 pixels
//   Yuv420  planar, chroma for 2x2 pixels
//   Yuv422  planar, chroma for 2x1 pixels
//   Y41p    U0 Y0 V0 Y1 U4 Y2 V4 Y3 Y4 Y5 Y6 Y7 for 8 pixels
//   Rgb32   blue, green, red, alpha bytes
//   Rgb24   blue, green, red bytes
//   Rgb565  16-bit words, little endian: blue in the low 5 bits, then 6 bits green, 5 bits red
//   Rgb555  blue, green, red of 5 bits from the low end, alpha in the top bit
//   Rgb444  blue, green, red, alpha of 4 bits from the low end
//
// Between luma-chroma and RGB: BT.601, luma 16 to 235, chroma 16 to 240. The value of a chroma sample holds for all
// the pixels it stands for; RGB is averaged over these pixels. Alpha is opaque where the source has none, and lost
// where the target has none. Between two samplings of chroma: averaged over what the target's sample covers, rounded
// half up, or repeated. Yuv420 to Yuv422 and back interpolate between lines instead: to Yuv422 from the first line to
// the last, back with the centres of the lines in proportion; a chroma plane one sample wide takes the nearest line.
// The arithmetic is libyuv's for every pair that it has: RGB is within 3 levels of exact arithmetic (before it is cut
// to 4, 5 or 6 bits), luma and chroma from RGB and interpolated lines within 2; all else is exact.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

/// First samples and steps in bytes from one row to the next. Planes that a layout lacks are not looked at.
struct SourcePlanes {
    const uint8_t* pPlane[4];
    int32_t Step[4];
};
struct TargetPlanes {
    uint8_t* pPlane[4];
    int32_t Step[4];
};

// Converts Width x Height pixels. Planes need no alignment and do not overlap; of a target the whole groups that hold
// the pixels are written, and no byte beyond them. Statuses (kernels/status.h): 0; -8 for a null argument or plane; -6;
// -14; -9 when a row buffer cannot be had, with the target written in part.
using ConvertSig = int32_t(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height);

ConvertSig Nv12ToYuv420_px;
ConvertSig Yuy2ToNv12_px, Yuy2ToUyvy_px, Yuy2ToYuv420_px, Yuy2ToYuv422_px, Yuy2ToRgb32_px, Yuy2ToRgb24_px,
    Yuy2ToRgb565_px, Yuy2ToRgb555_px, Yuy2ToRgb444_px;
ConvertSig UyvyToNv12_px, UyvyToYuy2_px, UyvyToYuv420_px, UyvyToYuv422_px, UyvyToRgb32_px;
ConvertSig Yuv411ToYuv422_px, Yuv411ToYuv422_w7;
ConvertSig Yuv420ToNv12_px, Yuv420ToYuy2_px, Yuv420ToUyvy_px, Yuv420ToYuv411_px, Yuv420ToYuv411_w7, Yuv420ToYuv422_px,
    Yuv420ToY41p_px, Yuv420ToRgb32_px, Yuv420ToRgb24_px, Yuv420ToRgb565_px, Yuv420ToRgb555_px, Yuv420ToRgb444_px;
ConvertSig Yuv422ToYuv420_px, CopyYuv422_px; // the second for a source with an alpha plane behind its other three
ConvertSig Y41pToYuv420_px;
ConvertSig Rgb32ToYuy2_px, Rgb32ToUyvy_px, Rgb32ToYuv420_px, Rgb32ToRgb24_px;
ConvertSig Rgb24ToNv12_px, Rgb24ToYuy2_px, Rgb24ToUyvy_px, Rgb24ToYuv420_px, Rgb24ToYuv422_px, Rgb24ToRgb32_px,
    Rgb24ToRgb565_px, Rgb24ToRgb555_px, Rgb24ToRgb444_px;
ConvertSig Rgb565ToYuv420_px, Rgb565ToRgb32_px, Rgb565ToRgb24_px;
ConvertSig Rgb555ToYuv420_px, Rgb555ToRgb32_px, Rgb555ToRgb24_px;

// 16-bit samples of BitDepth bits to 8 bits: rounded to nearest, a half up, and saturated at 255. A depth of 8 or less
// only saturates; one above 16 counts as 16. Width is in samples, steps in bytes; no pointer needs alignment. The
// planes do not overlap. Statuses: 0, -8, -6, -14.
using NarrowSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                          int32_t Width, int32_t Height, int32_t BitDepth);
NarrowSig Narrow16uTo8u_px, Narrow16uTo8u_w7;

} // namespace kernels
