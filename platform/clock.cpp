#include "platform/clock.h"

namespace platform {

namespace {

constinit const ClockOperations* g_pClock = &kSystemClock;

} // namespace

uint32_t TickCount() { return g_pClock->TickCount(); }
void SleepFor(uint32_t Milliseconds) { g_pClock->Sleep(Milliseconds); }
void SetClock(const ClockOperations* pClock) { g_pClock = pClock ? pClock : &kSystemClock; }

} // namespace platform
