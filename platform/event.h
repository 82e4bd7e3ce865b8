// Events that a driver signals.
#pragma once

#include <cstdint>

namespace platform {

/// A signal that lets one waiter through and is then unset again; unset at first.
class Event
{
public:
    static constexpr uint32_t kForever = 0xFFFFFFFF;

    Event();
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    bool Ok() const { return m_pHandle != nullptr; } ///< false when the system has none left
    /// What a driver is given to signal: on Windows the event's handle; on Linux the descriptor of an eventfd, plus 1.
    void* Handle() const { return m_pHandle; }
    void Signal();
    /// Waits for at most that long; whether the signal came.
    bool Wait(uint32_t Milliseconds);

private:
    void* m_pHandle;
};

} // namespace platform
