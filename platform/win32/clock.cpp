#include "platform/clock.h"

#include <windows.h>

namespace platform {

namespace {

uint32_t SystemTicks() { return GetTickCount(); }
void SystemSleep(uint32_t Milliseconds) { Sleep(Milliseconds); }

} // namespace

constinit const ClockOperations kSystemClock{SystemTicks, SystemSleep};

} // namespace platform
