// A critical section: recursive on one thread.
#pragma once

#include "platform/critical_section.h"

#include <optional>

namespace UMC {

struct SectionRecord {
    std::optional<platform::CriticalSection> Mutex; // in place, so that a lock can be had when memory cannot
};

void InitSection(SectionRecord& Section); // a second call changes nothing
void DestroySection(SectionRecord& Section);
void LockSection(SectionRecord& Section); // the section must be valid
void UnlockSection(SectionRecord& Section);
inline bool IsSectionValid(const SectionRecord& Section) { return Section.Mutex.has_value(); }

/// The same as an object.
class Mutex
{
public:
    Mutex() { InitSection(m_Section); }
    ~Mutex() { DestroySection(m_Section); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void Lock() { LockSection(m_Section); }
    void Unlock() { UnlockSection(m_Section); }
    bool IsValid() const { return IsSectionValid(m_Section); }

private:
    SectionRecord m_Section;
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
