// Which pairs of layouts have a conversion of their own.
//
// What the processing chain makes of a source (row) and a target (column) at one size. c: a copy of the planes, 1: one
// conversion, 2: a conversion to the intermediate format and one from there, .: StatusNotImplemented.
//
//   to   0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21
//
#pragma once

#include "kernels/dispatch/image_kernels.h"
#include "media/umc_color_format.h"

namespace UMC {

using Conversion = kernels::ImageKernelEntry<kernels::ConvertSig>;

/// The kernel for a pair of layouts, with format 0 taken as 5; null when the pair has none.
const Conversion* FindConversion(ColorFormat From, ColorFormat To);

} // namespace UMC
