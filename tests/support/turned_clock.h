// A clock that a test turns.
#pragma once

#include "platform/clock.h"

#include <map>

/// While it lives, time stands still but for sleeps, which take none, and for what the test adds. One at a time.
class TurnedClock
{
public:
    explicit TurnedClock(uint32_t Start = 0)
    {
        s_Tick = Start;
        s_Slept.clear();
        static constexpr platform::ClockOperations s_Operations{Tick, Sleep};
        platform::SetClock(&s_Operations);
    }
    ~TurnedClock() { platform::SetClock(nullptr); }
    TurnedClock(const TurnedClock&) = delete;
    TurnedClock& operator=(const TurnedClock&) = delete;

    void Turn(uint32_t Milliseconds) { s_Tick += Milliseconds; }
    /// Milliseconds of a sleep, and how often there was one.
    const std::map<uint32_t, uint32_t>& Slept() const { return s_Slept; }

private:
    static uint32_t Tick() { return s_Tick; }
    static void Sleep(uint32_t Milliseconds)
    {
        s_Tick += Milliseconds;
        ++s_Slept[Milliseconds];
    }

    static inline uint32_t s_Tick = 0;
    static inline std::map<uint32_t, uint32_t> s_Slept;
};
