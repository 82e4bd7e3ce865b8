#include "platform/shared_library.h"

#include <windows.h>

namespace platform {

SharedLibrary::SharedLibrary(const std::string& Name) : m_pHandle(LoadLibraryA(Name.c_str())) {}

SharedLibrary::~SharedLibrary()
{
    if (m_pHandle) FreeLibrary(static_cast<HMODULE>(m_pHandle));
}

void* SharedLibrary::Symbol(const char* pName) const
{
    return m_pHandle ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_pHandle), pName)) : nullptr;
}

} // namespace platform
