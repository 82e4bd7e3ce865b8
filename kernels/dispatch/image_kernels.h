// The entries of the memory and image kernels: kernels::Copy8u(...). Each reads SelectedTier and jumps to that tier's
// variant of its row, so all of them change tier together. The contracts are in the families' headers.
#pragma once

#include "kernels/arithmetic/arithmetic_rows.h"
#include "kernels/bilateral/bilateral_rows.h"
#include "kernels/composition/composition_rows.h"
#include "kernels/convert/convert_rows.h"
#include "kernels/deinterlace/deinterlace_rows.h"
#include "kernels/dispatch/kernel_row.h"
#include "kernels/filter/filter_rows.h"
#include "kernels/memory/memory_rows.h"
#include "kernels/resize/resize_rows.h"

namespace kernels {

extern uint32_t SelectedTier; // 0 to 5; set at load by InitKernelsStatic(), constant afterwards

template <class Sig>
struct ImageKernelEntry;

template <class Result, class... Arguments>
struct ImageKernelEntry<Result(Arguments...)> {
    KernelRow<Result(Arguments...)> Row; // every tier filled

    Result operator()(Arguments... Values) const { return Row.Slot[SelectedTier](Values...); }
};

#define IMAGE_KERNEL(Name) inline const ImageKernelEntry<decltype(k##Name)::Signature> Name{k##Name.Filled()};
#include "kernels/dispatch/image_kernels.def"
#undef IMAGE_KERNEL

} // namespace kernels
