// What the kernel tests share: tiers as test parameters, inputs at random and at the extremes, and buffers without a
// byte to spare, so that the address sanitizer sees one sample read or written too far.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "kernels/dispatch/kernel_row.h"
#include "tests/support/foreign_caller.h"

namespace kernel_testing {

/// The highest tier that this processor runs.
kernels::Tier CpuTier();

/// The tiers for which a row has a variant of its own.
template <class Sig>
std::vector<kernels::Tier> FilledTiers(const kernels::KernelRow<Sig>& Row)
{
    std::vector<kernels::Tier> Tiers;
    for (const kernels::Tier t : kernels::kAllTiers)
        if (Row.At(t)) Tiers.push_back(t);
    return Tiers;
}

/// Adds the test "Tiers/<pKernel>.EqualsReference/<tier>", which is skipped where the processor lacks the tier.
void AddKernelTest(const char* pKernel, kernels::Tier Of, std::function<void()> Body, const char* pFile, int Line);

/// Adds one such test a tier that has a variant of its own in the row: Body(variant, reference). Tests are added by
/// hand and not as parameters, whose templates would cost a second of compiling a kernel. The variant is called as a
/// foreign caller does it (foreign_caller.h).
/// @return true, so that a static constant can hold the call.
template <class Sig>
bool AddKernelTests(const kernels::KernelRow<Sig>& Row, std::type_identity_t<std::function<void(Sig*, Sig*)>> Body,
                    const char* pFile, int Line)
{
    for (const kernels::Tier t : FilledTiers(Row))
        AddKernelTest(
            Row.Name, t,
            [=, pFn = Row.At(t), pReference = Row.At(kernels::Tier::px)] {
                foreign_caller::Caller<Sig>::s_pFn = pFn;
                Body(foreign_caller::Caller<Sig>::Call, pReference);
            },
            pFile, Line);
    return true;
}

enum class Fill { Random, AllZero, AllMax, ZeroOrMax, Smooth };
inline constexpr Fill kAllFills[]{Fill::Random, Fill::AllZero, Fill::AllMax, Fill::ZeroOrMax, Fill::Smooth};

/// Shifts that let a pointer meet good and bad alignment.
inline constexpr size_t kShifts[]{0, 1, 7, 15};

/// Width x Height samples in a buffer that ends with the last of them. Shift bytes come before the first one.
struct Block {
    std::vector<uint8_t> Bytes;
    size_t First = 0;
    ptrdiff_t Step = 0;

    uint8_t* At(ptrdiff_t x, ptrdiff_t y) { return Bytes.data() + First + y * Step + x; }
    const uint8_t* At(ptrdiff_t x, ptrdiff_t y) const { return Bytes.data() + First + y * Step + x; }
    bool operator==(const Block&) const = default;
};

/// Random values, from TEST_SEED or else a fixed seed.
class TestRandom
{
public:
    TestRandom();
    uint32_t Seed() const { return m_Seed; }
    int Range(int Least, int Most); ///< both included
    std::vector<uint8_t> Bytes(Fill How, size_t Count);
    Block MakeBlock(Fill How, int Width, int Height, ptrdiff_t Step, size_t Shift);

private:
    uint32_t m_Seed;
    std::mt19937 m_Engine;
};

} // namespace kernel_testing

/// A suite with the name of a kernel's row: Body(variant, reference) runs once a tier with a variant.
#define KERNEL_TEST(Name, Body)                                                                                        \
    [[maybe_unused]] static const bool s_bTested##Name =                                                               \
        kernel_testing::AddKernelTests(kernels::k##Name, Body, __FILE__, __LINE__)
