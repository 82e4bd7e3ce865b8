// The table of bound kernels through which the software codec calls them: g_Kernels.Sad16x16(...).
//
// A kernel is one row in its family's *_rows.h and one line in slot_kernels.def. The slots hold the px variants from
// the start, and the processor's tier is bound while the library is loaded, before any thread can reach a kernel.
// Afterwards the slots are read without a lock. The kernels of memory and images are called by the entries of
// image_kernels.h instead.
#pragma once

#include "kernels/deblocking/deblocking_rows.h"
#include "kernels/dispatch/kernel_row.h"
#include "kernels/distance/distance_rows.h"
#include "kernels/interpolation/interpolation_rows.h"
#include "kernels/intra/intra_rows.h"
#include "kernels/transform/transform_rows.h"

namespace kernels {

struct KernelSlots {
#define SLOT_KERNEL(Name) decltype(k##Name)::Pointer Name = k##Name.At(Tier::px);
#include "kernels/dispatch/slot_kernels.def"
#undef SLOT_KERNEL
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

/// Sets SelectedTier, which the entries of image_kernels.h read, for the processor this runs on. Called at load, after
/// InitKernelsWaterfall().
/// @return 0; 20 when the processor has no cpuid instruction or another vendor than Intel. SelectedTier is set all the
///         same, by what is known of the processor.
int32_t InitKernelsStatic();

} // namespace kernels
