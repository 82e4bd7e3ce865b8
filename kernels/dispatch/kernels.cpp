#include "kernels/dispatch/kernels.h"

#include <cstring>

#include "kernels/dispatch/image_kernels.h"
#include "kernels/dispatch/processor_class.h"
#include "kernels/dispatch/waterfall.h"

namespace kernels {

KernelSlots g_Kernels;
int32_t g_BoundTier = 0;
uint32_t SelectedTier = 0;

namespace {

// Every tier of every row is filled from below, so the first attempt of the waterfall succeeds. Constant-initialised;
// not constexpr because g++ refuses to compare addresses with null at compile time under the sanitizers.
#define SLOT_KERNEL(Name) const auto kEvery##Name = k##Name.Filled();
#include "kernels/dispatch/slot_kernels.def"
#undef SLOT_KERNEL

constexpr KernelRecord kRecords[] = {
#define SLOT_KERNEL(Name) RecordOf(&g_Kernels.Name, &kEvery##Name),
#include "kernels/dispatch/slot_kernels.def"
#undef SLOT_KERNEL
};

constexpr char kNoTierForProcessor[] = " No IPP matching to examined CPU was found during the Waterfall procedure";
constexpr char kNoTier[] = " No IPP matching to CPU was found during the Waterfall";
constexpr int32_t kNotExamined = 20;

// The tables above are finished when this runs, whatever the order of the other files.
[[maybe_unused]] const int32_t s_AtLoad = (InitKernelsWaterfall(), InitKernelsStatic());

} // namespace

int InitKernelsWaterfall()
{
    return ApplyWaterfall(kRecords, TierOfClass(DetectProcessorClass()), kNoTierForProcessor,
                          platform::kSystemMessageBox, g_BoundTier);
}

int InitKernelsForTier(int StartTier)
{
    return ApplyWaterfall(kRecords, StartTier, kNoTier, platform::kSystemMessageBox, g_BoundTier);
}

int32_t InitKernelsStatic()
{
    const platform::CpuidAnswers Answers = platform::ReadCpuid();
    SelectedTier = static_cast<uint32_t>(TierOfClass(DetectProcessorClass(Answers)));
    return Answers.Available && std::strcmp(Answers.Vendor.data(), "GenuineIntel") == 0 ? 0 : kNotExamined;
}

} // namespace kernels
