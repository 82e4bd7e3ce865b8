// Part of the shared library only: ties what runs at load and unload to the system's loader.
#include "front/load.h"

__attribute__((constructor)) static void Load() { OnLibraryLoad(); }
__attribute__((destructor)) static void Unload() { OnLibraryUnload(); }
