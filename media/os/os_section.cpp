#include "media/os/os_section.h"

namespace UMC {

void InitSection(SectionRecord& Section)
{
    if (!Section.Mutex) Section.Mutex.emplace();
}

void DestroySection(SectionRecord& Section) { Section.Mutex.reset(); }
void LockSection(SectionRecord& Section) { Section.Mutex->lock(); }
void UnlockSection(SectionRecord& Section) { Section.Mutex->unlock(); }

} // namespace UMC
