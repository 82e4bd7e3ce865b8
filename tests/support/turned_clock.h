// A clock that a test turns.
#pragma once

#include "platform/clock.h"

/// While it lives, time stands still but for sleeps, which take none, and for what the test adds. One at a time.
class TurnedClock
{
public:
    explicit TurnedClock(uint32_t Start = 1000)
    {
        s_Tick = Start;
        s_Slept = 0;
        s_Sleeps = 0;
        static constexpr platform::ClockOperations s_Operations{[] { return s_Tick; },
                                                                [](uint32_t Milliseconds) {
                                                                    s_Tick += Milliseconds;
                                                                    s_Slept += Milliseconds;
                                                                    ++s_Sleeps;
                                                                }};
        platform::SetClock(&s_Operations);
    }
    ~TurnedClock() { platform::SetClock(nullptr); }
    TurnedClock(const TurnedClock&) = delete;
    TurnedClock& operator=(const TurnedClock&) = delete;

    void Turn(uint32_t Milliseconds) { s_Tick += Milliseconds; }
    uint64_t Slept() const { return s_Slept; } ///< milliseconds in all
    uint64_t Sleeps() const { return s_Sleeps; }

private:
    static inline uint32_t s_Tick = 0;
    static inline uint64_t s_Slept = 0, s_Sleeps = 0;
};
