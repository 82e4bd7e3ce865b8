#include "platform/cpuid.h"

#include <cstring>

#if defined(__i386__) || defined(__x86_64__)
#include <cpuid.h>
#endif

namespace platform {

#if defined(__i386__) || defined(__x86_64__)

CpuidAnswers ReadCpuid()
{
    CpuidAnswers Answers;
    CpuidRegisters Zero;
    // Answers 0 when the identification bit of the flags register cannot be toggled.
    if (__get_cpuid_max(0, nullptr) == 0) return Answers;
    Answers.Available = true;
    __cpuid(0, Zero.Eax, Zero.Ebx, Zero.Ecx, Zero.Edx);
    Answers.MaxLeaf = Zero.Eax;
    const uint32_t Name[3] = {Zero.Ebx, Zero.Edx, Zero.Ecx};
    std::memcpy(Answers.Vendor.data(), Name, sizeof Name);
    Answers.MaxExtendedLeaf = static_cast<uint32_t>(__get_cpuid_max(0x80000000, nullptr));

    CpuidRegisters& One = Answers.Leaf1;
    __get_cpuid(1, &One.Eax, &One.Ebx, &One.Ecx, &One.Edx);
    CpuidRegisters& Four = Answers.Leaf4;
    __get_cpuid_count(4, 0, &Four.Eax, &Four.Ebx, &Four.Ecx, &Four.Edx);
    CpuidRegisters& Extended = Answers.ExtendedLeaf1;
    __get_cpuid(0x80000001, &Extended.Eax, &Extended.Ebx, &Extended.Ecx, &Extended.Edx);
    return Answers;
}

#else

CpuidAnswers ReadCpuid() { return {}; }

#endif

} // namespace platform
