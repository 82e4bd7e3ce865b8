#include "platform/shared_library.h"

#include <windows.h>

namespace platform {

namespace {

void* Open(const char* pName) { return LoadLibraryA(pName); }
void* Symbol(void* pLibrary, const char* pName)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(pLibrary), pName));
}
void Close(void* pLibrary) { FreeLibrary(static_cast<HMODULE>(pLibrary)); }

} // namespace

constinit const LibraryOperations kSystemLibraries{Open, Symbol, Close};

} // namespace platform
