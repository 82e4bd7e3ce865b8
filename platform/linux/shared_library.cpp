#include "platform/shared_library.h"

#include <dlfcn.h>

namespace platform {

namespace {

void* Open(const char* pName) { return dlopen(pName, RTLD_NOW | RTLD_LOCAL); }
void* Symbol(void* pLibrary, const char* pName) { return dlsym(pLibrary, pName); }
void Close(void* pLibrary) { dlclose(pLibrary); }

} // namespace

constinit const LibraryOperations kSystemLibraries{Open, Symbol, Close};

} // namespace platform
