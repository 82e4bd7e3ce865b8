#include "kernels/dispatch/processor_class.h"

#include <cstring>

namespace kernels {
namespace {

using platform::CpuidAnswers;

constexpr bool Bit(uint32_t Value, int Position) { return Value >> Position & 1; }
constexpr uint32_t Field(uint32_t Value, int Position, int Width) { return Value >> Position & ((1u << Width) - 1); }

struct Signature {
    uint32_t Family, Model, Cores, LogicalProcessors;
    bool Sse3, HyperThreading, SixtyFourBit;
};

Signature ReadSignature(const CpuidAnswers& Answers)
{
    const uint32_t Version = Answers.Leaf1.Eax;
    Signature s{.Family = Field(Version, 8, 4),
                .Model = Field(Version, 4, 4),
                .Cores = Answers.MaxLeaf >= 4 ? Field(Answers.Leaf4.Eax, 26, 6) + 1 : 1,
                .LogicalProcessors = Field(Answers.Leaf1.Ebx, 17, 7),
                .Sse3 = Bit(Answers.Leaf1.Ecx, 0),
                .HyperThreading = Bit(Answers.Leaf1.Edx, 28),
                .SixtyFourBit = Answers.MaxExtendedLeaf >= 0x80000001 && Bit(Answers.ExtendedLeaf1.Edx, 29)};
    if (s.Family == 15 || s.Family == 6) s.Model += Field(Version, 16, 4) * 16;
    if (s.Family == 15) s.Family += Field(Version, 20, 8);
    return s;
}

constexpr int kUnknown = -1;

int ClassOfFamily6(const Signature& s)
{
    switch (s.Model) {
    case 1: return 3;
    case 3:
    case 5:
    case 6: return 4;
    case 7:
    case 8:
    case 10:
    case 11: return 5;
    case 9:
    case 13: return 9;
    case 14: return s.Cores < 2 ? 10 : 11;
    case 15: return s.Cores < 3 ? 33 : 34;
    case 23: return 68;
    case 26: return 35;
    case 28: return 36;
    default: return kUnknown;
    }
}

int ClassOfFamily15(const Signature& s)
{
    if (s.Sse3) return s.SixtyFourBit ? 32 : 8;
    return s.HyperThreading && s.LogicalProcessors ? 7 : 6;
}

int ClassOfIntel(const Signature& s, uint32_t Features)
{
    if (Bit(Features, 30)) return s.Family == 7 ? 16 : 17;
    switch (s.Family) {
    case 5: return s.Model == 1 || s.Model == 2 ? 1 : s.Model == 4 ? 2 : kUnknown;
    case 6: return ClassOfFamily6(s);
    case 15: return ClassOfFamily15(s);
    default: return kUnknown;
    }
}

int ClassOfFeatures(const CpuidAnswers& Answers, const Signature& s)
{
    const uint32_t Ecx = Answers.Leaf1.Ecx, Edx = Answers.Leaf1.Edx;
    if (Bit(Ecx, 20)) return 69; // SSE4.2
    if (Bit(Ecx, 19)) return 68; // SSE4.1
    if (Bit(Ecx, 9)) return 67;  // SSSE3
    if (Bit(Ecx, 0)) return 66;  // SSE3
    if (Bit(Edx, 26)) return 65; // SSE2
    if (Bit(Edx, 25)) return 64; // SSE
    return s.SixtyFourBit ? 96 : 0;
}

} // namespace

int DetectProcessorClass(const CpuidAnswers& Answers)
{
    if (!Answers.Available) return 0;
    const Signature s = ReadSignature(Answers);
    if (std::strcmp(Answers.Vendor.data(), "GenuineIntel") == 0) {
        const int Class = ClassOfIntel(s, Answers.Leaf1.Edx);
        if (Class != kUnknown) return Class;
    }
    return ClassOfFeatures(Answers, s);
}

int DetectProcessorClass() { return DetectProcessorClass(platform::ReadCpuid()); }

int TierOfClass(int Class)
{
    switch (Class) {
    case 5:
    case 16:
    case 17:
    case 64: return 1;
    case 6:
    case 7:
    case 9:
    case 65: return 2;
    case 8:
    case 10:
    case 11:
    case 32:
    case 66: return 3;
    case 33:
    case 34:
    case 36:
    case 67: return 4;
    case 35:
    case 37:
    case 68:
    case 69: return 5;
    default: return 0;
    }
}

} // namespace kernels
