// Part of the shared library only: ties what runs at load and unload to the system's loader.
#include "front/load.h"

#include <windows.h>

// Called by the compiler's own entry, which has run the static initialisers. Both actions stand under the loader's
// lock: they start no thread and wait for none. Threads are not told off: the run time's own callbacks for them would
// go too.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD Reason, void* pReserved)
{
    if (Reason == DLL_PROCESS_ATTACH) OnLibraryLoad();
    // When the process ends the other threads are gone already, with what they held, and other libraries may be.
    const bool bProcessEnds = pReserved != nullptr;
    if (Reason == DLL_PROCESS_DETACH && !bProcessEnds) OnLibraryUnload();
    return TRUE;
}
