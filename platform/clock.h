// Time as this library measures and spends it.
#pragma once

#include <cstdint>

namespace platform {

/// Milliseconds since some start, wrapping at 32 bits.
uint32_t TickCount();
/// Lets the other threads run for that long, at the least.
void SleepFor(uint32_t Milliseconds);

/// The two operations as a record, so that another clock can stand in their place.
struct ClockOperations {
    uint32_t (*TickCount)();
    void (*Sleep)(uint32_t Milliseconds);
};
extern const ClockOperations kSystemClock;
/// Puts another clock in the system's place, not owned; null restores it. Not to be called while another thread asks.
void SetClock(const ClockOperations* pClock);

} // namespace platform
