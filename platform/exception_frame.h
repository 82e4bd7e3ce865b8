// Exception frames: a processor fault or an exception inside one ends in its handler and not in the process.
#pragma once

#include <cstdint>

namespace platform {

/// Codes that a handler is told, the ones structured exceptions carry. On Windows it is told every other code as well,
/// that of a stack overflow (0xC00000FD) or of a driver's own exception.
inline constexpr uint32_t kFaultAccess = 0xC0000005;
inline constexpr uint32_t kFaultIllegalInstruction = 0xC000001D;
inline constexpr uint32_t kFaultArithmetic = 0xC0000094;
inline constexpr uint32_t kFaultBreakpoint = 0x80000003;
inline constexpr uint32_t kFaultSystemCall = 0xC000001C; // one that the system refuses by force
inline constexpr uint32_t kFaultAbort = 0x40000015;      // the body gave up: abort()
inline constexpr uint32_t kFaultCppException = 0xE06D7363;

/// Runs pBody(pContext) in a frame.
/// @return true when it came to its end; false when a fault or a C++ exception ended it, with its code in *pCode.
/// @note   What the body held then stays held: no destructor between the fault and the frame is sure to run. Frames
///         nest, and any number of threads may be in frames of their own. A fault outside every frame goes where it
///         went before the process's first frame.
/// @note   Where faults are signals (on Windows, abort() alone), that first frame installs handlers, and they stay. Who
///         installs one later stands in front of them, for faults inside frames too, and passes on what is not his.
/// @note   On Windows only the abort() of the run-time library that this one uses is caught. The control words of the
///         floating-point units are those of the entry again, however the body ended.
bool RunInExceptionFrame(void (*pBody)(void* pContext), void* pContext, uint32_t* pCode);

/// Raises a fault by its code, kFaultAccess or kFaultArithmetic: what the processor does where an expression has no
/// value, which a compiler may drop and a sanitizer would report. Outside every frame it ends the process.
[[noreturn]] void RaiseFault(uint32_t Code);

/// RunInExceptionFrame() for anything callable.
template <class Body>
bool Guarded(Body Run, uint32_t& Code)
{
    return RunInExceptionFrame([](void* pContext) { (*static_cast<Body*>(pContext))(); }, &Run, &Code);
}

} // namespace platform
