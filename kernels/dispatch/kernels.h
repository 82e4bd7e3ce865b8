// The table of bound kernels through which they are called: g_Kernels.Sad16x16(...).
//
// A kernel is one row in its family's *_rows.h and one line in kernels.def. The slots hold the px variants from the
// start, and the processor's tier is bound while the library is loaded, before any thread can reach a kernel.
// Afterwards the slots are read without a lock.
#pragma once

#include "kernels/arithmetic/arithmetic_rows.h"
#include "kernels/bilateral/bilateral_rows.h"
#include "kernels/composition/composition_rows.h"
#include "kernels/convert/convert_rows.h"
#include "kernels/deblocking/deblocking_rows.h"
#include "kernels/deinterlace/deinterlace_rows.h"
#include "kernels/dispatch/kernel_row.h"
#include "kernels/distance/distance_rows.h"
#include "kernels/filter/filter_rows.h"
#include "kernels/interpolation/interpolation_rows.h"
#include "kernels/intra/intra_rows.h"
#include "kernels/memory/memory_rows.h"
#include "kernels/resize/resize_rows.h"
#include "kernels/transform/transform_rows.h"

namespace kernels {

struct KernelSlots {
#define KERNEL(Name) decltype(k##Name)::Pointer Name = k##Name.At(Tier::px);
#include "kernels/dispatch/kernels.def"
#undef KERNEL
};

extern KernelSlots g_Kernels; // written by InitKernelsWaterfall() and InitKernelsForTier() only
extern int32_t g_BoundTier;   // the tier that the slots were last bound for, 0 to 5

/// Binds g_Kernels for the processor this runs on. Called at load; to call it again restores that state.
/// @return 1; 0 after a message box when no tier serves: the slots then keep what they had.
/// @note   Not to be called while another thread may run a kernel.
int InitKernelsWaterfall();

/// Binds g_Kernels for a stated tier, 0 to 5, or the next lower one that serves. The caller answers for the processor
/// having its instructions. Results and threads as for InitKernelsWaterfall().
int InitKernelsForTier(int StartTier);

} // namespace kernels
