// Events: a flag that threads wait for.
#pragma once

#include "media/umc_status.h"

namespace UMC {

struct EventState;

struct EventRecord {
    EventState* pState = nullptr; // null: not initialised
};

/// A manual event stays signalled until it is reset, any other one lets one waiter through. An event that is there
/// already is closed first. Every operation gives StatusNullPointer for null and StatusNotInitialized without a state.
Status InitEvent(EventRecord* pEvent, bool bManual, bool bSignalled);
Status SignalEvent(EventRecord* pEvent);
Status ResetEvent(EventRecord* pEvent);
Status WaitForEvent(EventRecord* pEvent); // without limit
void DestroyEvent(EventRecord* pEvent);
bool IsEventValid(const EventRecord* pEvent);

/// The same as an object. Init() first signals and closes an event that is there, so that its waiters are released.
class Event
{
public:
    Event() = default;
    ~Event() { DestroyEvent(&m_Event); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    Status Init(bool bManual, bool bSignalled)
    {
        if (IsValid()) Signal();
        return InitEvent(&m_Event, bManual, bSignalled);
    }
    Status Signal() { return SignalEvent(&m_Event); }
    Status Reset() { return ResetEvent(&m_Event); }
    Status Wait() { return WaitForEvent(&m_Event); }
    bool IsValid() const { return IsEventValid(&m_Event); }

private:
    EventRecord m_Event;
};

} // namespace UMC
