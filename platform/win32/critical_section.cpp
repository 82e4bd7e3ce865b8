#include "platform/critical_section.h"

#include <windows.h>

namespace platform {

static CRITICAL_SECTION* Section(std::byte* pPlace) { return reinterpret_cast<CRITICAL_SECTION*>(pPlace); }

CriticalSection::CriticalSection()
{
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof m_Place && alignof(CRITICAL_SECTION) <= alignof(CriticalSection));
    InitializeCriticalSection(Section(m_Place));
}

CriticalSection::~CriticalSection() { DeleteCriticalSection(Section(m_Place)); }
void CriticalSection::lock() { EnterCriticalSection(Section(m_Place)); }
bool CriticalSection::try_lock() { return TryEnterCriticalSection(Section(m_Place)) != 0; }
void CriticalSection::unlock() { LeaveCriticalSection(Section(m_Place)); }

} // namespace platform
