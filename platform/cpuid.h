// What the processor says about itself.
#pragma once

#include <array>
#include <cstdint>

namespace platform {

struct CpuidRegisters {
    uint32_t Eax = 0, Ebx = 0, Ecx = 0, Edx = 0;
};

// The answers of the cpuid instruction that the choice of a kernel tier rests on. A leaf that the processor does not
// have is all zero.
struct CpuidAnswers {
    bool Available = false;        // the instruction exists
    std::array<char, 13> Vendor{}; // leaf 0, zero-terminated
    uint32_t MaxLeaf = 0;          // highest leaf
    uint32_t MaxExtendedLeaf = 0;  // highest leaf from 0x80000000 on; 0 without any
    CpuidRegisters Leaf1;
    CpuidRegisters Leaf4;         // its first sub-leaf
    CpuidRegisters ExtendedLeaf1; // leaf 0x80000001
};

/// Asks the processor this runs on. Cheap, never fails; on another architecture Available is false.
CpuidAnswers ReadCpuid();

} // namespace platform
