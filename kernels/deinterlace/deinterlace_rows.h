#pragma once

#include "kernels/deinterlace/deinterlace.h"
#include "kernels/dispatch/kernel_row.h"

namespace kernels {

inline constexpr KernelRow<DeinterlaceBlendSig> kDeinterlaceBlend{"DeinterlaceBlend",
                                                                  {DeinterlaceBlend_px, nullptr, DeinterlaceBlend_w7}};

} // namespace kernels
