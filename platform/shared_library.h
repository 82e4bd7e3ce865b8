// Libraries loaded by name at run time.
#pragma once

#include <string>

namespace platform {

/// A library held open for the object's life; an object may hold none.
class SharedLibrary
{
public:
    SharedLibrary() = default;
    explicit SharedLibrary(
        const std::string& Name); ///< the system's search path applies; Ok() tells whether it was found
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    bool Ok() const { return m_pHandle != nullptr; }
    void* Symbol(const char* pName) const; ///< null when there is none

private:
    void* m_pHandle = nullptr;
};

} // namespace platform
