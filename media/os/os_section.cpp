#include "media/os/os_section.h"

namespace UMC {

void os_section_init(os_section& Section)
{
    if (!Section.Mutex) Section.Mutex.emplace();
}

void os_section_destroy(os_section& Section) { Section.Mutex.reset(); }
void os_section_lock(os_section& Section) { Section.Mutex->lock(); }
void os_section_unlock(os_section& Section) { Section.Mutex->unlock(); }

} // namespace UMC
