#include "media/os/os_event.h"

#include <condition_variable>
#include <mutex>
#include <new>

namespace UMC {

struct EventState {
    std::mutex Lock; // guards the fields below
    std::condition_variable Changed;
    bool bManual;
    bool bSignalled;
    int Waiters = 0;
    bool bClosing = false; // the last waiter to leave frees the state
};

static Status Check(const EventRecord* pEvent)
{
    if (!pEvent) return StatusNullPointer;
    return pEvent->pState ? StatusOk : StatusNotInitialized;
}

Status InitEvent(EventRecord* pEvent, bool bManual, bool bSignalled)
{
    if (!pEvent) return StatusNullPointer;
    DestroyEvent(pEvent);
    pEvent->pState =
        new (std::nothrow) EventState{.Lock = {}, .Changed = {}, .bManual = bManual, .bSignalled = bSignalled};
    return pEvent->pState ? StatusOk : StatusFailed;
}

Status SignalEvent(EventRecord* pEvent)
{
    if (const Status Result = Check(pEvent); Result != StatusOk) return Result;
    EventState& State = *pEvent->pState;
    const std::lock_guard Held(State.Lock);
    State.bSignalled = true;
    if (State.bManual)
        State.Changed.notify_all();
    else
        State.Changed.notify_one();
    return StatusOk;
}

Status ResetEvent(EventRecord* pEvent)
{
    if (const Status Result = Check(pEvent); Result != StatusOk) return Result;
    const std::lock_guard Held(pEvent->pState->Lock);
    pEvent->pState->bSignalled = false;
    return StatusOk;
}

Status WaitForEvent(EventRecord* pEvent)
{
    if (const Status Result = Check(pEvent); Result != StatusOk) return Result;
    EventState* const pState = pEvent->pState;
    std::unique_lock Held(pState->Lock);
    ++pState->Waiters;
    pState->Changed.wait(Held, [&] { return pState->bSignalled || pState->bClosing; });
    if (!pState->bManual && !pState->bClosing) pState->bSignalled = false;
    const bool bLast = --pState->Waiters == 0 && pState->bClosing;
    Held.unlock();
    if (bLast) delete pState;
    return StatusOk;
}

void DestroyEvent(EventRecord* pEvent)
{
    if (!pEvent || !pEvent->pState) return;
    EventState* const pState = pEvent->pState;
    pEvent->pState = nullptr;
    std::unique_lock Held(pState->Lock);
    pState->bClosing = true;
    pState->Changed.notify_all();
    const bool bNobody = pState->Waiters == 0;
    Held.unlock();
    if (bNobody) delete pState;
}

bool IsEventValid(const EventRecord* pEvent) { return pEvent && pEvent->pState; }

} // namespace UMC
