// Events: a flag that threads wait for.
#pragma once

#include "media/umc_status.h"

namespace UMC {

struct os_event_state;

struct os_event {
    os_event_state* pState = nullptr; // null: not initialised
};

/// A manual event stays signalled until it is reset, any other one lets one waiter through. An event that is there
/// already is closed first. Every operation gives StatusNullPointer for null and StatusNotInitialized without a state.
Status os_event_init(os_event* pEvent, bool bManual, bool bSignalled);
Status os_event_signal(os_event* pEvent);
Status os_event_reset(os_event* pEvent);
Status os_event_wait(os_event* pEvent); // without limit
void os_event_destroy(os_event* pEvent);
bool os_event_is_valid(const os_event* pEvent);

/// The same as an object. Init() first signals and closes an event that is there, so that its waiters are released.
class Event
{
public:
    Event() = default;
    ~Event() { os_event_destroy(&m_Event); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    Status Init(bool bManual, bool bSignalled)
    {
        if (IsValid()) Signal();
        return os_event_init(&m_Event, bManual, bSignalled);
    }
    Status Signal() { return os_event_signal(&m_Event); }
    Status Reset() { return os_event_reset(&m_Event); }
    Status Wait() { return os_event_wait(&m_Event); }
    bool IsValid() const { return os_event_is_valid(&m_Event); }

private:
    os_event m_Event;
};

} // namespace UMC
