#include "tests/support/foreign_caller.h"

#include <gtest/gtest.h>

#include <x86intrin.h>

#ifdef __i386__
// (pFn, pWords, Count, Residue): the arguments' copy ends Residue + 4 behind a multiple of 16, below all that is in
// use.
asm(R"(
        .text
        .globl CallOnStack
CallOnStack:
        pushl %ebp
        movl %esp, %ebp
        pushl %esi
        pushl %edi
        pushl %ebx
        movl 16(%ebp), %ecx
        leal 4(,%ecx,4), %eax
        movl %esp, %edx
        subl %eax, %edx
        andl $-16, %edx
        addl 20(%ebp), %edx
        leal -12(%edx), %esp
        movl %esp, %edi
        movl 12(%ebp), %esi
        cld
        rep movsl
        call *8(%ebp)
        leal -12(%ebp), %esp
        popl %ebx
        popl %edi
        popl %esi
        popl %ebp
        ret
)");
#endif

namespace foreign_caller {
namespace {

constexpr uint32_t kStickyFlags = 0x3F; // of MXCSR: what a computation may leave behind
constexpr auto kDirection = decltype(__readeflags()){1} << 10;
constexpr uint16_t kAllEmpty = 0xFFFF;

// One bit pair a register of the floating-point stack, which MMX shares.
uint16_t TagWord()
{
    uint32_t Environment[7];
    asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(Environment));
    return static_cast<uint16_t>(Environment[2]);
}

uint32_t Rounding() { return _mm_getcsr() & ~kStickyFlags; }

} // namespace

StateGuard::StateGuard() : m_Rounding(Rounding()) {}

StateGuard::~StateGuard()
{
    const bool bBackwards = __readeflags() & kDirection;
    asm volatile("cld"); // no code of a compiler runs safely without
    EXPECT_FALSE(bBackwards) << "the direction flag is set";
    EXPECT_EQ(Rounding(), m_Rounding) << "rounding or exceptions are not as they were";
    EXPECT_EQ(TagWord(), kAllEmpty) << "MMX state is left";
}

uint32_t NextResidue()
{
    static uint32_t s_State = 1;
    s_State = s_State * 1664525 + 1013904223;
    return s_State >> 30 << 2;
}

} // namespace foreign_caller
