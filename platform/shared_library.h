// Libraries loaded by name at run time.
#pragma once

#include <string>

namespace platform {

/// What loading comes down to, as a record, so that a test can leave out a library or one of its names. The system's
/// search path applies to a name without a folder.
struct LibraryOperations {
    void* (*Open)(const char* pName);                   ///< adds to the library's count; null when it is not found
    void* (*Symbol)(void* pLibrary, const char* pName); ///< null when there is none
    void (*Close)(void* pLibrary);                      ///< takes from the count
};
extern const LibraryOperations kSystemLibraries;
/// The operations in use.
const LibraryOperations& Libraries();
/// Puts others in their place, not owned; null restores the system's. Not to be called while another thread loads.
void SetLibraries(const LibraryOperations* pOperations);

/// A library held open for the object's life; an object may hold none.
class SharedLibrary
{
public:
    SharedLibrary() = default;
    explicit SharedLibrary(const std::string& Name) : m_pHandle(Libraries().Open(Name.c_str())) {}
    ~SharedLibrary()
    {
        if (m_pHandle) Libraries().Close(m_pHandle);
    }
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    bool Ok() const { return m_pHandle != nullptr; } ///< whether it was found
    /// Null when there is none.
    void* Symbol(const char* pName) const { return m_pHandle ? Libraries().Symbol(m_pHandle, pName) : nullptr; }

private:
    void* m_pHandle = nullptr;
};

} // namespace platform
