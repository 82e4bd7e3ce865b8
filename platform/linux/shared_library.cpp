#include "platform/shared_library.h"

#include <dlfcn.h>

namespace platform {

SharedLibrary::SharedLibrary(const std::string& Name) : m_pHandle(dlopen(Name.c_str(), RTLD_NOW | RTLD_LOCAL)) {}

SharedLibrary::~SharedLibrary()
{
    if (m_pHandle) dlclose(m_pHandle);
}

void* SharedLibrary::Symbol(const char* pName) const { return m_pHandle ? dlsym(m_pHandle, pName) : nullptr; }

} // namespace platform
