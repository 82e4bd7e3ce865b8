#include "tests/support/drivers/driver_libraries.h"

#include "platform/paths.h"
#include "platform/shared_library.h"

#include <filesystem>

namespace {

DriverLibraries* g_pIn = nullptr;

} // namespace

std::string DriverPath(const std::string& Library)
{
    return (std::filesystem::path(platform::ExecutablePath()).parent_path() / "drivers" / Library).string();
}

DriverLibraries::DriverLibraries(std::initializer_list<std::string> Present) : m_Present(Present)
{
    static constexpr platform::LibraryOperations s_Operations{Open, Symbol, Close};
    g_pIn = this;
    platform::SetLibraries(&s_Operations);
}

DriverLibraries::~DriverLibraries()
{
    platform::SetLibraries(nullptr);
    g_pIn = nullptr;
}

void DriverLibraries::Add(const std::string& Library)
{
    const std::lock_guard Held(m_Lock);
    m_Present.insert(Library);
}

void DriverLibraries::Remove(const std::string& Library)
{
    const std::lock_guard Held(m_Lock);
    m_Present.erase(Library);
}

void DriverLibraries::Lack(const std::string& Name)
{
    const std::lock_guard Held(m_Lock);
    m_Lacking.insert(Name);
}

void DriverLibraries::Have(const std::string& Name)
{
    const std::lock_guard Held(m_Lock);
    m_Lacking.erase(Name);
}

int DriverLibraries::Held(const std::string& Library) const
{
    const std::lock_guard Locked(m_Lock);
    const auto Found = m_Held.find(Library);
    return Found == m_Held.end() ? 0 : Found->second;
}

std::vector<std::string> DriverLibraries::Asked() const
{
    const std::lock_guard Held(m_Lock);
    return m_Asked;
}

void DriverLibraries::ForgetAsked()
{
    const std::lock_guard Held(m_Lock);
    m_Asked.clear();
}

void* DriverLibraries::Open(const char* pName)
{
    DriverLibraries& In = *g_pIn;
    const std::lock_guard Locked(In.m_Lock);
    In.m_Asked.push_back(std::string("open ") + pName);
    if (!In.m_Present.count(pName)) return nullptr;
    void* const pLibrary = platform::kSystemLibraries.Open(DriverPath(pName).c_str());
    if (!pLibrary) return nullptr;
    In.m_Names[pLibrary] = pName;
    ++In.m_Held[pName];
    return pLibrary;
}

void* DriverLibraries::Symbol(void* pLibrary, const char* pName)
{
    DriverLibraries& In = *g_pIn;
    const std::lock_guard Locked(In.m_Lock);
    In.m_Asked.push_back(std::string("symbol ") + pName);
    return In.m_Lacking.count(pName) ? nullptr : platform::kSystemLibraries.Symbol(pLibrary, pName);
}

void DriverLibraries::Close(void* pLibrary)
{
    DriverLibraries& In = *g_pIn;
    const std::lock_guard Locked(In.m_Lock);
    const std::string Name = In.m_Names[pLibrary];
    In.m_Asked.push_back("close " + Name);
    --In.m_Held[Name];
    platform::kSystemLibraries.Close(pLibrary);
}
