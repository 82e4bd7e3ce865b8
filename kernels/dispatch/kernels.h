// The table of bound kernels through which the software codec calls them: g_Kernels.Sad16x16(...).
//
// A kernel is one row in its family's *_rows.h and one line in slot_kernels.def. The slots hold the px variants from
// the start, so that a kernel may be called before InitKernelsWaterfall() has bound the processor's tier.
#pragma once

#include "kernels/deblocking/deblocking_rows.h"
#include "kernels/dispatch/kernel_row.h"
#include "kernels/distance/distance_rows.h"
#include "kernels/interpolation/interpolation_rows.h"
#include "kernels/intra/intra_rows.h"
#include "kernels/memory/memory_rows.h"
#include "kernels/transform/transform_rows.h"

namespace kernels {

struct KernelSlots {
#define SLOT_KERNEL(Name) decltype(k##Name)::Pointer Name = k##Name.At(Tier::px);
#include "kernels/dispatch/slot_kernels.def"
#undef SLOT_KERNEL
};

extern KernelSlots g_Kernels; // written at load only, by InitKernelsWaterfall() or InitKernelsForTier()

} // namespace kernels
