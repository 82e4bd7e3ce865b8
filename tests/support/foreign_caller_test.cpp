#include "tests/support/foreign_caller.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <set>

using foreign_caller::Caller;

namespace {

using Mixed = int64_t(uint8_t, const int*, double, int16_t, bool);
int64_t AllArguments(uint8_t a, const int* p, double d, int16_t s, bool b)
{
    return (int64_t{*p} << 32) + a * 100000 + static_cast<int>(d * 4) * 1000 + s * 10 + b;
}

TEST(ForeignCaller, PassesArgumentsAndResult)
{
    const int Number = -7;
    Caller<Mixed>::s_pFn = AllArguments;
    EXPECT_EQ(Caller<Mixed>::Call(255, &Number, 2.75, -3, true), AllArguments(255, &Number, 2.75, -3, true));
}

using Nothing = void();

#ifdef __i386__
extern "C" uintptr_t StackOnEntry(int32_t, uint8_t) asm("StackOnEntry");
asm(".text\n"
    ".globl StackOnEntry\n"
    "StackOnEntry:\n"
    "movl %esp, %eax\n"
    "ret\n");

TEST(ForeignCaller, EntersAFunctionWithEveryStackPointerThatIsAMultipleOf4)
{
    Caller<uintptr_t(int32_t, uint8_t)>::s_pFn = StackOnEntry;
    std::set<uintptr_t> Residues;
    for (int i = 0; i < 64; ++i) Residues.insert(Caller<uintptr_t(int32_t, uint8_t)>::Call(i, 0) % 16);
    EXPECT_EQ(Residues, (std::set<uintptr_t>{0, 4, 8, 12}));
}
#endif

TEST(ForeignCaller, TellsOfMmxStateThatIsLeft)
{
    Caller<Nothing>::s_pFn = [] { asm volatile("pxor %%mm0, %%mm0" : : : "memory"); };
    EXPECT_NONFATAL_FAILURE(Caller<Nothing>::Call(), "MMX state");
    asm volatile("emms");
}

TEST(ForeignCaller, TellsOfADirectionFlagThatIsSet)
{
    Caller<Nothing>::s_pFn = [] { asm volatile("std" : : : "memory"); };
    EXPECT_NONFATAL_FAILURE(Caller<Nothing>::Call(), "direction flag");
}

TEST(ForeignCaller, TellsOfRoundingThatIsChanged)
{
    const unsigned Before = _mm_getcsr();
    Caller<Nothing>::s_pFn = [] { _mm_setcsr(_mm_getcsr() ^ _MM_ROUND_DOWN); };
    EXPECT_NONFATAL_FAILURE(Caller<Nothing>::Call(), "rounding");
    _mm_setcsr(Before);
}

} // namespace
