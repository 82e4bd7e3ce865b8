// Exception frames over structured exceptions: the code of each, and what a fault leaves behind.
#include "platform/exception_frame.h"

#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cfloat>
#include <cstddef>
#include <cstdlib>

using platform::Guarded;

namespace {

volatile int g_Zero = 0, g_Value = 0;

const NT_TIB* ThisThread()
{
    const NT_TIB* pThread;
    __asm__ volatile("movl %%fs:%c1, %0" : "=r"(pThread) : "i"(offsetof(NT_TIB, Self)));
    return pThread;
}

const void* ChainHead() { return ThisThread()->ExceptionList; }

void DivideByZero() { g_Value = 1000 / g_Zero; }

void DivideBeyondRange()
{
    volatile int Smallest = INT32_MIN, MinusOne = -1;
    g_Value = Smallest / MinusOne;
}

void RaiseForeign(uint32_t Code)
{
    const ULONG_PTR Arguments[3] = {0x19930520, 0, 0};
    RaiseException(Code, EXCEPTION_NONCONTINUABLE, 3, Arguments);
}

void TouchGuardPage()
{
    auto* const pPage =
        static_cast<volatile char*>(VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE | PAGE_GUARD));
    *pPage = 1;
}

void DivideByZeroInX87()
{
    const uint16_t Unmasked = 0x037B;
    __asm__ volatile("fldcw %0\n\tfld1\n\tfldz\n\tfdivrp\n\tfwait" : : "m"(Unmasked));
}

struct Kind {
    const char* pName;
    void (*pBody)();
    uint32_t Code;
};

const Kind kKinds[] = {
    {"Read", [] { g_Value = *static_cast<volatile int*>(reinterpret_cast<int*>(g_Zero)); }, platform::kFaultAccess},
    {"Write", WriteToNull, platform::kFaultAccess},
    {"Call", [] { reinterpret_cast<void (*)()>(g_Zero)(); }, platform::kFaultAccess},
    {"ZeroDivisor", DivideByZero, platform::kFaultArithmetic},
    {"IntegerOverflow", [] { __asm__ volatile("movb $0x7F, %%al\n\taddb $1, %%al\n\tinto"
                                              :
                                              :
                                              : "eax", "cc"); },
     EXCEPTION_INT_OVERFLOW},
    {"IllegalInstruction", RaiseIllegalInstruction, platform::kFaultIllegalInstruction},
    {"PrivilegedInstruction", [] { __asm__ volatile("hlt"); }, EXCEPTION_PRIV_INSTRUCTION},
    {"Breakpoint", [] { __asm__ volatile("int3"); }, platform::kFaultBreakpoint},
    {"Abort", std::abort, platform::kFaultAbort},
    {"X87Division", DivideByZeroInX87, EXCEPTION_FLT_DIVIDE_BY_ZERO},
    {"GuardPage", TouchGuardPage, EXCEPTION_GUARD_PAGE},
    {"ForeignCppException", [] { RaiseForeign(platform::kFaultCppException); }, platform::kFaultCppException},
    {"DriversOwnCode", [] { RaiseForeign(0xE0000001); }, 0xE0000001},
    {"Continuable", [] { RaiseException(0x20000001, 0, 0, nullptr); }, 0x20000001},
    {"CodeZero", [] { RaiseException(0, 0, 0, nullptr); }, 0},
};

class EachFault : public testing::TestWithParam<Kind>
{
};

} // namespace

TEST_P(EachFault, EndsInTheHandlerWithItsCodeAgainAndAgain)
{
    const void* const pHead = ChainHead();
    for (int i = 0; i < 20; ++i) {
        uint32_t Code = 1;
        ASSERT_FALSE(Guarded(GetParam().pBody, Code));
        ASSERT_EQ(Code, GetParam().Code);
        ASSERT_EQ(ChainHead(), pHead);
    }
}

TEST_P(EachFault, EndsInTheInnermostOfNestedFrames)
{
    uint32_t Inner = 1, Outer = 1;
    EXPECT_TRUE(Guarded([&] { EXPECT_FALSE(Guarded(GetParam().pBody, Inner)); }, Outer));
    EXPECT_EQ(Inner, GetParam().Code);
    EXPECT_EQ(Outer, 0u);
    EXPECT_FALSE(Guarded(
        [&] {
            EXPECT_TRUE(Guarded([] {}, Inner));
            GetParam().pBody();
        },
        Outer));
    EXPECT_EQ(Outer, GetParam().Code);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EachFault, testing::ValuesIn(kKinds),
                         [](const auto& Info) { return std::string(Info.param.pName); });

TEST(ExceptionFrame, AQuotientBeyondRangeIsAFaultOfTheDivision)
{
    uint32_t Code;
    EXPECT_FALSE(Guarded(DivideBeyondRange, Code));
    // One processor exception: the system names it by the divisor, where it looks at it.
    EXPECT_TRUE(Code == EXCEPTION_INT_OVERFLOW || Code == EXCEPTION_INT_DIVIDE_BY_ZERO) << std::hex << Code;
}

TEST(ExceptionFrame, TheChainIsAsItWasAfterAnyEnd)
{
    const void* const pHead = ChainHead();
    uint32_t Code;
    EXPECT_TRUE(Guarded([&] { EXPECT_NE(ChainHead(), pHead); }, Code));
    EXPECT_EQ(ChainHead(), pHead);
    EXPECT_FALSE(Guarded([] { throw 1; }, Code));
    EXPECT_EQ(ChainHead(), pHead);
}

// ---- What the caller's function keeps -----------------------------------------------------------------------------

namespace {

void ScribbleAndFault(void*)
{
    __asm__ volatile("movl $1, %%ebx\n\tmovl $2, %%esi\n\tmovl $3, %%edi\n\tstd\n\tmovl $0, 0"
                     :
                     :
                     : "ebx", "esi", "edi", "memory", "cc");
}

} // namespace

TEST(ExceptionFrame, TheCallersRegistersSurviveAFault)
{
    uint32_t Code = 0;
    const auto pRun = &platform::RunInExceptionFrame;
    const auto pBody = &ScribbleAndFault;
    const void* Arguments[3] = {reinterpret_cast<void*>(pBody), nullptr, &Code};
    uint32_t Kept[4];
    const void* Block[3] = {Arguments, reinterpret_cast<void*>(pRun), Kept};
    __asm__ volatile("pushl %%ebp\n\t"
                     "pushl %%eax\n\t"
                     "movl $0x11111111, %%ebx\n\t"
                     "movl $0x22222222, %%esi\n\t"
                     "movl $0x33333333, %%edi\n\t"
                     "movl $0x44444444, %%ebp\n\t"
                     "movl (%%eax), %%ecx\n\t"
                     "movl 4(%%eax), %%edx\n\t"
                     "pushl 8(%%ecx)\n\t"
                     "pushl 4(%%ecx)\n\t"
                     "pushl (%%ecx)\n\t"
                     "call *%%edx\n\t"
                     "addl $12, %%esp\n\t"
                     "popl %%eax\n\t"
                     "movl 8(%%eax), %%eax\n\t"
                     "movl %%ebx, (%%eax)\n\t"
                     "movl %%esi, 4(%%eax)\n\t"
                     "movl %%edi, 8(%%eax)\n\t"
                     "movl %%ebp, 12(%%eax)\n\t"
                     "popl %%ebp"
                     :
                     : "a"(Block)
                     : "ebx", "ecx", "edx", "esi", "edi", "memory", "cc");
    EXPECT_EQ(Code, platform::kFaultAccess);
    EXPECT_EQ(Kept[0], 0x11111111u);
    EXPECT_EQ(Kept[1], 0x22222222u);
    EXPECT_EQ(Kept[2], 0x33333333u);
    EXPECT_EQ(Kept[3], 0x44444444u);
}

namespace {

struct FloatState {
    uint16_t X87, Tags;
    uint32_t Sse;
    bool operator==(const FloatState&) const = default;
};

FloatState ReadFloatState()
{
    uint16_t Environment[14];
    uint32_t Sse;
    __asm__ volatile("fnstenv %0\n\tfldenv %0\n\tstmxcsr %1" : "+m"(Environment), "=m"(Sse));
    return {Environment[0], Environment[4], Sse & 0xFFC0u};
}

// Other rounding, precision and masks in both units, and the x87 registers in the form of MMX.
void DisturbFloat()
{
    const uint16_t X87 = 0x0C7F;
    const uint32_t Sse = 0xFFC0;
    __asm__ volatile("fldcw %0\n\tldmxcsr %1\n\tpcmpeqd %%mm0, %%mm0\n\tmovq %%mm0, %%mm7" : : "m"(X87), "m"(Sse));
}

bool DirectionIsDown()
{
    uint32_t Flags;
    __asm__ volatile("pushfl\n\tpopl %0" : "=r"(Flags));
    return (Flags & 0x400) != 0;
}

} // namespace

TEST(ExceptionFrame, FloatingPointIsAsItWasAfterAFault)
{
    const FloatState Before = ReadFloatState();
    uint32_t Code;
    EXPECT_FALSE(Guarded(
        [] {
            DisturbFloat();
            WriteToNull();
        },
        Code));
    EXPECT_EQ(ReadFloatState(), Before);
    EXPECT_FALSE(Guarded(
        [] {
            DisturbFloat();
            throw 1;
        },
        Code));
    EXPECT_EQ(ReadFloatState(), Before);
    volatile long double Third = 1.0L;
    Third = Third / 3;
    EXPECT_EQ(static_cast<double>(Third), 1.0 / 3);
}

TEST(ExceptionFrame, FloatingPointControlIsAsItWasAfterABodyThatEnds)
{
    const FloatState Before = ReadFloatState();
    uint32_t Code;
    EXPECT_TRUE(Guarded(
        [] {
            DisturbFloat();
            __asm__ volatile("emms");
        },
        Code));
    EXPECT_EQ(ReadFloatState(), Before);
}

TEST(ExceptionFrame, AnExceptionThatTheBodyMaskedDoesNotComeUpAfterIt)
{
    const uint16_t Unmasked = 0x037B, Masked = 0x037F; // the caller wants to be told of a division by zero
    uint32_t Code;
    bool bDone = false;
    __asm__ volatile("fldcw %0" : : "m"(Unmasked));
    EXPECT_TRUE(Guarded(
        [&] {
            bDone = Guarded(
                [&] { __asm__ volatile("fldcw %0\n\tfld1\n\tfldz\n\tfdivrp\n\tfstp %%st(0)"
                                       :
                                       : "m"(Masked)); }, Code);
            __asm__ volatile("fwait");
        },
        Code));
    __asm__ volatile("fnclex\n\tfldcw %0" : : "m"(Masked));
    EXPECT_TRUE(bDone);
}

TEST(ExceptionFrame, StringsGoUpwardsAfterAnyEnd)
{
    uint32_t Code;
    EXPECT_TRUE(Guarded([] { __asm__ volatile("std"); }, Code));
    EXPECT_FALSE(DirectionIsDown());
    EXPECT_FALSE(Guarded([] { ScribbleAndFault(nullptr); }, Code));
    EXPECT_FALSE(DirectionIsDown());
}

TEST(ExceptionFrame, ThePageThatGuardsTheStackIsBackAfterAnOverflow)
{
    const auto CountGuards = [] {
        const auto* const pThread = ThisThread();
        int Guards = 0;
        MEMORY_BASIC_INFORMATION Range{};
        for (auto* p = static_cast<char*>(pThread->StackLimit) - 0x10000; p < pThread->StackBase;
             p = static_cast<char*>(Range.BaseAddress) + Range.RegionSize) {
            if (!VirtualQuery(p, &Range, sizeof Range)) break;
            if (Range.Protect & PAGE_GUARD) ++Guards;
        }
        return Guards;
    };
    const int Before = CountGuards();
    uint32_t Code;
    EXPECT_FALSE(Guarded(OverflowStack, Code));
    EXPECT_EQ(Code, kOverflowCode);
    EXPECT_EQ(CountGuards(), Before);
}

// A library that is marked as one without structured exception handlers has them refused by the system.
TEST(ExceptionFrame, TheProgramIsNotMarkedAsOneWithoutHandlers)
{
    const auto* const pBase = reinterpret_cast<const char*>(GetModuleHandleA(nullptr));
    const auto* const pDos = reinterpret_cast<const IMAGE_DOS_HEADER*>(pBase);
    const auto* const pHeaders = reinterpret_cast<const IMAGE_NT_HEADERS32*>(pBase + pDos->e_lfanew);
    EXPECT_EQ(pHeaders->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NO_SEH, 0);
}
