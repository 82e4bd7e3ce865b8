// Which kind of processor this is, and which kernel tier suits it.
#pragma once

#include "platform/cpuid.h"

namespace kernels {

/// The class of the processor that gave these answers: a small number for the older Intel models, otherwise by its
/// feature bits, 0 when nothing is known of it.
int DetectProcessorClass(const platform::CpuidAnswers& Answers);

/// The class of the processor this runs on.
int DetectProcessorClass();

/// The tier, 0 to 5, of a processor class; 0 for a class without a mapping.
int TierOfClass(int Class);

} // namespace kernels
