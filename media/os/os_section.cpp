#include "media/os/os_section.h"

#include <new>

namespace UMC {

bool os_section_init(os_section& Section)
{
    if (!Section.pMutex) Section.pMutex = new (std::nothrow) std::recursive_mutex;
    return Section.pMutex != nullptr;
}

void os_section_destroy(os_section& Section)
{
    delete Section.pMutex;
    Section.pMutex = nullptr;
}

void os_section_lock(os_section& Section) { Section.pMutex->lock(); }
void os_section_unlock(os_section& Section) { Section.pMutex->unlock(); }

} // namespace UMC
