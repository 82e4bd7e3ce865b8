// Which pairs of layouts have a conversion of their own.
//
// What the processing chain makes of a source (row) and a target (column) at one size. c: a copy of the planes, 1: one
// conversion, 2: a conversion to the intermediate format and one from there, .: StatusNotImplemented.
//
//    to  0  1  2  3  4  5  6  7  8  9 10 11 12 13 14 15 16 17 18 19 20 21
//    0  c  1  1  1  1  c  1  .  .  .  1  1  1  1  1  1  .  .  .  .  .  .
//    1  1  c  2  2  2  1  2  .  .  .  2  2  2  2  2  2  .  .  .  .  .  .
//    2  1  1  c  1  2  1  1  .  .  .  2  1  1  1  1  1  .  .  .  .  .  .
//    3  1  1  1  c  2  1  1  .  .  .  2  1  2  2  2  2  .  .  .  .  .  .
//    4  2  2  2  2  c  2  1  .  .  .  2  2  2  2  2  2  .  .  .  .  .  .
//    5  c  1  1  1  1  c  1  .  .  .  1  1  1  1  1  1  .  .  .  .  .  .
//    6  1  1  1  1  1  1  c  .  .  .  1  1  1  1  1  1  .  .  .  .  .  .
//    7  .  .  .  .  .  .  .  c  .  .  .  .  .  .  .  .  .  .  .  .  .  .
//    8  c  2  2  2  2  c  2  .  c  .  2  2  2  2  2  2  .  .  .  .  .  .
//    9  .  .  .  .  .  .  .  .  .  c  .  .  .  .  .  .  .  .  .  .  .  .
//   10  1  .  .  .  .  1  .  .  .  .  c  .  .  .  .  .  .  .  .  .  .  .
//   11  1  2  1  1  .  1  2  .  .  .  .  c  1  2  2  2  .  .  .  .  .  .
//   12  1  1  1  1  .  1  1  .  .  .  .  1  c  1  1  1  .  .  .  .  .  .
//   13  1  2  2  2  .  1  2  .  .  .  .  1  1  c  2  2  .  .  .  .  .  .
//   14  1  2  2  2  .  1  2  .  .  .  .  1  1  2  c  2  .  .  .  .  .  .
//   15  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  c  .  .  .  .  .  .
//   16  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  c  .  .  .  .  .
//   17  c  2  2  2  2  c  2  .  .  .  2  2  2  2  2  2  .  c  .  .  .  .
//   18  1  2  2  2  2  1  1  .  .  .  2  2  2  2  2  2  .  .  c  .  .  .
//   19  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  c  .  .
//   20  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  c  .
//   21  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  .  c  .  .  .  .  c
#pragma once

#include "kernels/dispatch/kernels.h"
#include "media/umc_color_format.h"

namespace UMC {

/// The kernel for a pair of layouts; null when the pair has none. The caller takes format 0 as 5.
kernels::ConvertSig* FindConversion(ColorFormat From, ColorFormat To);

} // namespace UMC
