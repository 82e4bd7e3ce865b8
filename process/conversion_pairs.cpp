#include "process/conversion_pairs.h"

namespace UMC {

namespace {

kernels::ConvertSig* FromYuy2(ColorFormat To)
{
    switch (To) {
    case NV12: return kernels::g_Kernels.Yuy2ToNv12;
    case UYVY: return kernels::g_Kernels.Yuy2ToUyvy;
    case YUV420: return kernels::g_Kernels.Yuy2ToYuv420;
    case YUV422: return kernels::g_Kernels.Yuy2ToYuv422;
    case RGB32: return kernels::g_Kernels.Yuy2ToRgb32;
    case RGB24: return kernels::g_Kernels.Yuy2ToRgb24;
    case RGB565: return kernels::g_Kernels.Yuy2ToRgb565;
    case RGB555: return kernels::g_Kernels.Yuy2ToRgb555;
    case RGB444: return kernels::g_Kernels.Yuy2ToRgb444;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromUyvy(ColorFormat To)
{
    switch (To) {
    case NV12: return kernels::g_Kernels.UyvyToNv12;
    case YUY2: return kernels::g_Kernels.UyvyToYuy2;
    case YUV420: return kernels::g_Kernels.UyvyToYuv420;
    case YUV422: return kernels::g_Kernels.UyvyToYuv422;
    case RGB32: return kernels::g_Kernels.UyvyToRgb32;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromYuv420(ColorFormat To)
{
    switch (To) {
    case NV12: return kernels::g_Kernels.Yuv420ToNv12;
    case YUY2: return kernels::g_Kernels.Yuv420ToYuy2;
    case UYVY: return kernels::g_Kernels.Yuv420ToUyvy;
    case YUV411: return kernels::g_Kernels.Yuv420ToYuv411;
    case YUV422: return kernels::g_Kernels.Yuv420ToYuv422;
    case Y41P: return kernels::g_Kernels.Yuv420ToY41p;
    case RGB32: return kernels::g_Kernels.Yuv420ToRgb32;
    case RGB24: return kernels::g_Kernels.Yuv420ToRgb24;
    case RGB565: return kernels::g_Kernels.Yuv420ToRgb565;
    case RGB555: return kernels::g_Kernels.Yuv420ToRgb555;
    case RGB444: return kernels::g_Kernels.Yuv420ToRgb444;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromYuv422(ColorFormat To)
{
    switch (To) {
    case YUV420: return kernels::g_Kernels.Yuv422ToYuv420;
    case YUV422: return kernels::g_Kernels.CopyYuv422;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromRgb32(ColorFormat To)
{
    switch (To) {
    case YUY2: return kernels::g_Kernels.Rgb32ToYuy2;
    case UYVY: return kernels::g_Kernels.Rgb32ToUyvy;
    case YUV420: return kernels::g_Kernels.Rgb32ToYuv420;
    case RGB24: return kernels::g_Kernels.Rgb32ToRgb24;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromRgb24(ColorFormat To)
{
    switch (To) {
    case NV12: return kernels::g_Kernels.Rgb24ToNv12;
    case YUY2: return kernels::g_Kernels.Rgb24ToYuy2;
    case UYVY: return kernels::g_Kernels.Rgb24ToUyvy;
    case YUV420: return kernels::g_Kernels.Rgb24ToYuv420;
    case YUV422: return kernels::g_Kernels.Rgb24ToYuv422;
    case RGB32: return kernels::g_Kernels.Rgb24ToRgb32;
    case RGB565: return kernels::g_Kernels.Rgb24ToRgb565;
    case RGB555: return kernels::g_Kernels.Rgb24ToRgb555;
    case RGB444: return kernels::g_Kernels.Rgb24ToRgb444;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromRgb565(ColorFormat To)
{
    switch (To) {
    case YUV420: return kernels::g_Kernels.Rgb565ToYuv420;
    case RGB32: return kernels::g_Kernels.Rgb565ToRgb32;
    case RGB24: return kernels::g_Kernels.Rgb565ToRgb24;
    default: return nullptr;
    }
}

kernels::ConvertSig* FromRgb555(ColorFormat To)
{
    switch (To) {
    case YUV420: return kernels::g_Kernels.Rgb555ToYuv420;
    case RGB32: return kernels::g_Kernels.Rgb555ToRgb32;
    case RGB24: return kernels::g_Kernels.Rgb555ToRgb24;
    default: return nullptr;
    }
}

} // namespace

kernels::ConvertSig* FindConversion(ColorFormat From, ColorFormat To)
{
    switch (From) {
    case NV12: return To == YUV420 ? kernels::g_Kernels.Nv12ToYuv420 : nullptr;
    case YUY2: return FromYuy2(To);
    case UYVY: return FromUyvy(To);
    case YUV411: return To == YUV422 ? kernels::g_Kernels.Yuv411ToYuv422 : nullptr;
    case YUV420: return FromYuv420(To);
    case YUV422:
    case YUVA422: return FromYuv422(To);
    case Y41P: return To == YUV420 ? kernels::g_Kernels.Y41pToYuv420 : nullptr;
    case RGB32: return FromRgb32(To);
    case RGB24: return FromRgb24(To);
    case RGB565: return FromRgb565(To);
    case RGB555: return FromRgb555(To);
    default: return nullptr;
    }
}

} // namespace UMC
