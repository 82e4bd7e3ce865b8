// A critical section: recursive on one thread.
#pragma once

#include "platform/critical_section.h"

#include <optional>

namespace UMC {

struct os_section {
    std::optional<platform::CriticalSection> Mutex; // in place, so that a lock can be had when memory cannot
};

void os_section_init(os_section& Section); // a second call changes nothing
void os_section_destroy(os_section& Section);
void os_section_lock(os_section& Section); // the section must be valid
void os_section_unlock(os_section& Section);
inline bool os_section_is_valid(const os_section& Section) { return Section.Mutex.has_value(); }

/// The same as an object.
class Mutex
{
public:
    Mutex() { os_section_init(m_Section); }
    ~Mutex() { os_section_destroy(m_Section); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void Lock() { os_section_lock(m_Section); }
    void Unlock() { os_section_unlock(m_Section); }
    bool IsValid() const { return os_section_is_valid(m_Section); }

private:
    os_section m_Section;
};

/// Holds a Mutex for a scope.
class AutomaticMutex
{
public:
    explicit AutomaticMutex(Mutex& Held) : m_Mutex(Held) { m_Mutex.Lock(); }
    ~AutomaticMutex() { m_Mutex.Unlock(); }
    AutomaticMutex(const AutomaticMutex&) = delete;
    AutomaticMutex& operator=(const AutomaticMutex&) = delete;

private:
    Mutex& m_Mutex;
};

} // namespace UMC
