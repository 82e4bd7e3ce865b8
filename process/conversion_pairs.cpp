#include "process/conversion_pairs.h"

namespace UMC {

namespace {

const Conversion* FromYuy2(ColorFormat To)
{
    switch (To) {
    case NV12: return &kernels::Yuy2ToNv12;
    case UYVY: return &kernels::Yuy2ToUyvy;
    case YUV420: return &kernels::Yuy2ToYuv420;
    case YUV422: return &kernels::Yuy2ToYuv422;
    case RGB32: return &kernels::Yuy2ToRgb32;
    case RGB24: return &kernels::Yuy2ToRgb24;
    case RGB565: return &kernels::Yuy2ToRgb565;
    case RGB555: return &kernels::Yuy2ToRgb555;
    case RGB444: return &kernels::Yuy2ToRgb444;
    default: return nullptr;
    }
}

const Conversion* FromUyvy(ColorFormat To)
{
    switch (To) {
    case NV12: return &kernels::UyvyToNv12;
    case YUY2: return &kernels::UyvyToYuy2;
    case YUV420: return &kernels::UyvyToYuv420;
    case YUV422: return &kernels::UyvyToYuv422;
    case RGB32: return &kernels::UyvyToRgb32;
    default: return nullptr;
    }
}

const Conversion* FromYuv420(ColorFormat To)
{
    switch (To) {
    case NV12: return &kernels::Yuv420ToNv12;
    case YUY2: return &kernels::Yuv420ToYuy2;
    case UYVY: return &kernels::Yuv420ToUyvy;
    case YUV411: return &kernels::Yuv420ToYuv411;
    case YUV422: return &kernels::Yuv420ToYuv422;
    case Y41P: return &kernels::Yuv420ToY41p;
    case RGB32: return &kernels::Yuv420ToRgb32;
    case RGB24: return &kernels::Yuv420ToRgb24;
    case RGB565: return &kernels::Yuv420ToRgb565;
    case RGB555: return &kernels::Yuv420ToRgb555;
    case RGB444: return &kernels::Yuv420ToRgb444;
    default: return nullptr;
    }
}

const Conversion* FromYuv422(ColorFormat To)
{
    switch (To) {
    case YUV420: return &kernels::Yuv422ToYuv420;
    case YUV422: return &kernels::CopyYuv422;
    default: return nullptr;
    }
}

const Conversion* FromRgb32(ColorFormat To)
{
    switch (To) {
    case YUY2: return &kernels::Rgb32ToYuy2;
    case UYVY: return &kernels::Rgb32ToUyvy;
    case YUV420: return &kernels::Rgb32ToYuv420;
    case RGB24: return &kernels::Rgb32ToRgb24;
    default: return nullptr;
    }
}

const Conversion* FromRgb24(ColorFormat To)
{
    switch (To) {
    case NV12: return &kernels::Rgb24ToNv12;
    case YUY2: return &kernels::Rgb24ToYuy2;
    case UYVY: return &kernels::Rgb24ToUyvy;
    case YUV420: return &kernels::Rgb24ToYuv420;
    case YUV422: return &kernels::Rgb24ToYuv422;
    case RGB32: return &kernels::Rgb24ToRgb32;
    case RGB565: return &kernels::Rgb24ToRgb565;
    case RGB555: return &kernels::Rgb24ToRgb555;
    case RGB444: return &kernels::Rgb24ToRgb444;
    default: return nullptr;
    }
}

const Conversion* FromRgb565(ColorFormat To)
{
    switch (To) {
    case YUV420: return &kernels::Rgb565ToYuv420;
    case RGB32: return &kernels::Rgb565ToRgb32;
    case RGB24: return &kernels::Rgb565ToRgb24;
    default: return nullptr;
    }
}

const Conversion* FromRgb555(ColorFormat To)
{
    switch (To) {
    case YUV420: return &kernels::Rgb555ToYuv420;
    case RGB32: return &kernels::Rgb555ToRgb32;
    case RGB24: return &kernels::Rgb555ToRgb24;
    default: return nullptr;
    }
}

} // namespace

const Conversion* FindConversion(ColorFormat From, ColorFormat To)
{
    switch (From) {
    case NV12: return To == YUV420 ? &kernels::Nv12ToYuv420 : nullptr;
    case YUY2: return FromYuy2(To);
    case UYVY: return FromUyvy(To);
    case YUV411: return To == YUV422 ? &kernels::Yuv411ToYuv422 : nullptr;
    case YUV420: return FromYuv420(To);
    case YUV422:
    case YUVA422: return FromYuv422(To);
    case Y41P: return To == YUV420 ? &kernels::Y41pToYuv420 : nullptr;
    case RGB32: return FromRgb32(To);
    case RGB24: return FromRgb24(To);
    case RGB565: return FromRgb565(To);
    case RGB555: return FromRgb555(To);
    default: return nullptr;
    }
}

} // namespace UMC
