#include "platform/shared_library.h"

namespace platform {

namespace {

constinit const LibraryOperations* g_pOperations = &kSystemLibraries;

} // namespace

const LibraryOperations& Libraries() { return *g_pOperations; }
void SetLibraries(const LibraryOperations* pOperations)
{
    g_pOperations = pOperations ? pOperations : &kSystemLibraries;
}

} // namespace platform
