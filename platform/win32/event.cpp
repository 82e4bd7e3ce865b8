#include "platform/event.h"

#include <windows.h>

namespace platform {

Event::Event() : m_pHandle(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {}

Event::~Event()
{
    if (m_pHandle) CloseHandle(m_pHandle);
}

void Event::Signal() { SetEvent(m_pHandle); }

bool Event::Wait(uint32_t Milliseconds)
{
    static_assert(kForever == INFINITE);
    return WaitForSingleObject(m_pHandle, Milliseconds) == WAIT_OBJECT_0;
}

} // namespace platform
