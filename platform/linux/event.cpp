#include "platform/event.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

namespace platform {

namespace {

int Descriptor(void* pHandle) { return static_cast<int>(reinterpret_cast<intptr_t>(pHandle)) - 1; }

int64_t Now()
{
    timespec Time;
    clock_gettime(CLOCK_MONOTONIC, &Time);
    return Time.tv_sec * 1000 + Time.tv_nsec / 1000000;
}

} // namespace

Event::Event() : m_pHandle(reinterpret_cast<void*>(intptr_t{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} + 1)) {}

Event::~Event()
{
    if (m_pHandle) close(Descriptor(m_pHandle));
}

void Event::Signal()
{
    const uint64_t One = 1;
    while (write(Descriptor(m_pHandle), &One, sizeof One) < 0 && errno == EINTR) {
    }
}

bool Event::Wait(uint32_t Milliseconds)
{
    const int64_t End = Now() + Milliseconds;
    for (;;) {
        uint64_t Count;
        if (read(Descriptor(m_pHandle), &Count, sizeof Count) == sizeof Count) return true; // and unset
        const int64_t Left = End - Now();
        if (Milliseconds != kForever && Left <= 0) return false;
        pollfd Poll{Descriptor(m_pHandle), POLLIN, 0};
        poll(&Poll, 1, Milliseconds == kForever ? -1 : static_cast<int>(Left));
    }
}

} // namespace platform
