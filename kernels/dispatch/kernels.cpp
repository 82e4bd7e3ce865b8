#include "kernels/dispatch/kernels.h"

#include "kernels/dispatch/processor_class.h"
#include "kernels/dispatch/waterfall.h"

namespace kernels {

constinit KernelSlots g_Kernels;
int32_t g_BoundTier = 0;

namespace {

// Every tier of every row is filled from below, so the first attempt of the waterfall succeeds. Local, so that the
// binding works at any point of the load: where the compiler does not compute the rows itself (g++ refuses to compare
// addresses with null at compile time under the sanitizers), the first call does.
std::span<const KernelRecord> Records()
{
#define KERNEL(Name) static const auto s_Every##Name = k##Name.Filled();
#include "kernels/dispatch/kernels.def"
#undef KERNEL
    static constexpr KernelRecord s_Records[] = {
#define KERNEL(Name) RecordOf(&g_Kernels.Name, &s_Every##Name),
#include "kernels/dispatch/kernels.def"
#undef KERNEL
    };
    return s_Records;
}

constexpr char kNoTierForProcessor[] = " No IPP matching to examined CPU was found during the Waterfall procedure";
constexpr char kNoTier[] = " No IPP matching to CPU was found during the Waterfall";

// For the programs that hold the library's objects themselves: the shared library binds in its load entry.
[[maybe_unused]] const int s_AtLoad = InitKernelsWaterfall();

} // namespace

int InitKernelsWaterfall()
{
    return ApplyWaterfall(Records(), TierOfClass(DetectProcessorClass()), kNoTierForProcessor,
                          platform::kSystemMessageBox, g_BoundTier);
}

int InitKernelsForTier(int StartTier)
{
    return ApplyWaterfall(Records(), StartTier, kNoTier, platform::kSystemMessageBox, g_BoundTier);
}

} // namespace kernels
