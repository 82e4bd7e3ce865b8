// A critical section: recursive on one thread.
#pragma once

#include <mutex>

namespace UMC {

struct os_section {
    std::recursive_mutex* pMutex = nullptr; // null: not initialised
};

bool os_section_init(os_section& Section); // false when memory is exhausted; a second call changes nothing
void os_section_destroy(os_section& Section);
void os_section_lock(os_section& Section); // the section must be valid
void os_section_unlock(os_section& Section);
inline bool os_section_is_valid(const os_section& Section) { return Section.pMutex != nullptr; }

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
