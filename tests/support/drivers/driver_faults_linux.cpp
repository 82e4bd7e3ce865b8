#include "tests/support/drivers/driver_control.h"
#include "tests/support/drivers/driver_faults.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

// Signals are raised and not provoked: a sanitizer would report the cause.
void RaiseDriverFault(int32_t Action)
{
    switch (Action) {
    case kDriverAccess: raise(SIGSEGV); break;
    case kDriverArithmetic: raise(SIGFPE); break;
    case kDriverIllegal: raise(SIGILL); break;
    case kDriverAbort: std::abort();
    case kDriverThrow: throw std::runtime_error("a driver's own exception");
    default: break;
    }
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}
