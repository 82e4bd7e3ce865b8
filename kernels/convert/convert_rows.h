// The rows of the colour conversions. Where libyuv has the pair, px is libyuv's function, which picks its own vector
// code.
#pragma once

#include "kernels/convert/convert.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

using ConvertRow = KernelRow<ConvertSig>;

inline constexpr ConvertRow kNv12ToYuv420{"Nv12ToYuv420", {Nv12ToYuv420_px}};

inline constexpr ConvertRow kYuy2ToNv12{"Yuy2ToNv12", {Yuy2ToNv12_px}};
inline constexpr ConvertRow kYuy2ToUyvy{"Yuy2ToUyvy", {Yuy2ToUyvy_px}};
inline constexpr ConvertRow kYuy2ToYuv420{"Yuy2ToYuv420", {Yuy2ToYuv420_px}};
inline constexpr ConvertRow kYuy2ToYuv422{"Yuy2ToYuv422", {Yuy2ToYuv422_px}};
inline constexpr ConvertRow kYuy2ToRgb32{"Yuy2ToRgb32", {Yuy2ToRgb32_px}};
inline constexpr ConvertRow kYuy2ToRgb24{"Yuy2ToRgb24", {Yuy2ToRgb24_px}};
inline constexpr ConvertRow kYuy2ToRgb565{"Yuy2ToRgb565", {Yuy2ToRgb565_px}};
inline constexpr ConvertRow kYuy2ToRgb555{"Yuy2ToRgb555", {Yuy2ToRgb555_px}};
inline constexpr ConvertRow kYuy2ToRgb444{"Yuy2ToRgb444", {Yuy2ToRgb444_px}};

inline constexpr ConvertRow kUyvyToNv12{"UyvyToNv12", {UyvyToNv12_px}};
inline constexpr ConvertRow kUyvyToYuy2{"UyvyToYuy2", {UyvyToYuy2_px}};
inline constexpr ConvertRow kUyvyToYuv420{"UyvyToYuv420", {UyvyToYuv420_px}};
inline constexpr ConvertRow kUyvyToYuv422{"UyvyToYuv422", {UyvyToYuv422_px}};
inline constexpr ConvertRow kUyvyToRgb32{"UyvyToRgb32", {UyvyToRgb32_px}};

inline constexpr ConvertRow kYuv411ToYuv422{"Yuv411ToYuv422", {Yuv411ToYuv422_px, nullptr, Yuv411ToYuv422_w7}};

inline constexpr ConvertRow kYuv420ToNv12{"Yuv420ToNv12", {Yuv420ToNv12_px}};
inline constexpr ConvertRow kYuv420ToYuy2{"Yuv420ToYuy2", {Yuv420ToYuy2_px}};
inline constexpr ConvertRow kYuv420ToUyvy{"Yuv420ToUyvy", {Yuv420ToUyvy_px}};
inline constexpr ConvertRow kYuv420ToYuv411{"Yuv420ToYuv411", {Yuv420ToYuv411_px, nullptr, Yuv420ToYuv411_w7}};
inline constexpr ConvertRow kYuv420ToYuv422{"Yuv420ToYuv422", {Yuv420ToYuv422_px}};
inline constexpr ConvertRow kYuv420ToY41p{"Yuv420ToY41p", {Yuv420ToY41p_px}};
inline constexpr ConvertRow kYuv420ToRgb32{"Yuv420ToRgb32", {Yuv420ToRgb32_px}};
inline constexpr ConvertRow kYuv420ToRgb24{"Yuv420ToRgb24", {Yuv420ToRgb24_px}};
inline constexpr ConvertRow kYuv420ToRgb565{"Yuv420ToRgb565", {Yuv420ToRgb565_px}};
inline constexpr ConvertRow kYuv420ToRgb555{"Yuv420ToRgb555", {Yuv420ToRgb555_px}};
inline constexpr ConvertRow kYuv420ToRgb444{"Yuv420ToRgb444", {Yuv420ToRgb444_px}};

inline constexpr ConvertRow kYuv422ToYuv420{"Yuv422ToYuv420", {Yuv422ToYuv420_px}};

inline constexpr ConvertRow kCopyYuv422{"CopyYuv422", {CopyYuv422_px}};
inline constexpr ConvertRow kY41pToYuv420{"Y41pToYuv420", {Y41pToYuv420_px}};

inline constexpr ConvertRow kRgb32ToYuy2{"Rgb32ToYuy2", {Rgb32ToYuy2_px}};
inline constexpr ConvertRow kRgb32ToUyvy{"Rgb32ToUyvy", {Rgb32ToUyvy_px}};
inline constexpr ConvertRow kRgb32ToYuv420{"Rgb32ToYuv420", {Rgb32ToYuv420_px}};
inline constexpr ConvertRow kRgb32ToRgb24{"Rgb32ToRgb24", {Rgb32ToRgb24_px}};

inline constexpr ConvertRow kRgb24ToNv12{"Rgb24ToNv12", {Rgb24ToNv12_px}};
inline constexpr ConvertRow kRgb24ToYuy2{"Rgb24ToYuy2", {Rgb24ToYuy2_px}};
inline constexpr ConvertRow kRgb24ToUyvy{"Rgb24ToUyvy", {Rgb24ToUyvy_px}};
inline constexpr ConvertRow kRgb24ToYuv420{"Rgb24ToYuv420", {Rgb24ToYuv420_px}};
inline constexpr ConvertRow kRgb24ToYuv422{"Rgb24ToYuv422", {Rgb24ToYuv422_px}};
inline constexpr ConvertRow kRgb24ToRgb32{"Rgb24ToRgb32", {Rgb24ToRgb32_px}};
inline constexpr ConvertRow kRgb24ToRgb565{"Rgb24ToRgb565", {Rgb24ToRgb565_px}};
inline constexpr ConvertRow kRgb24ToRgb555{"Rgb24ToRgb555", {Rgb24ToRgb555_px}};
inline constexpr ConvertRow kRgb24ToRgb444{"Rgb24ToRgb444", {Rgb24ToRgb444_px}};

inline constexpr ConvertRow kRgb565ToYuv420{"Rgb565ToYuv420", {Rgb565ToYuv420_px}};
inline constexpr ConvertRow kRgb565ToRgb32{"Rgb565ToRgb32", {Rgb565ToRgb32_px}};
inline constexpr ConvertRow kRgb565ToRgb24{"Rgb565ToRgb24", {Rgb565ToRgb24_px}};

inline constexpr ConvertRow kRgb555ToYuv420{"Rgb555ToYuv420", {Rgb555ToYuv420_px}};
inline constexpr ConvertRow kRgb555ToRgb32{"Rgb555ToRgb32", {Rgb555ToRgb32_px}};
inline constexpr ConvertRow kRgb555ToRgb24{"Rgb555ToRgb24", {Rgb555ToRgb24_px}};

inline constexpr KernelRow<NarrowSig> kNarrow16uTo8u{"Narrow16uTo8u", {Narrow16uTo8u_px, nullptr, Narrow16uTo8u_w7}};

} // namespace kernels
