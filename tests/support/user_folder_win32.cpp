#include "tests/support/user_folder.h"

#include <windows.h>

namespace {

std::string SystemPath(const std::filesystem::path& Path)
{
    return std::filesystem::absolute(Path).make_preferred().string();
}

} // namespace

// The system looks the folder up in the user's part of the registry: the process gets another one. It adds keys of its
// own there, which a key that is not kept would refuse.
struct UserFolder::Redirection {
    explicit Redirection(const std::string& Folder)
    {
        RegCreateKeyExA(HKEY_CURRENT_USER, m_Name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                        &m_User, nullptr);
        HKEY Folders;
        RegCreateKeyExA(m_User, "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", 0,
                        nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &Folders, nullptr);
        RegSetValueExA(Folders, "Local AppData", 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE*>(Folder.c_str()),
                       static_cast<DWORD>(Folder.size() + 1));
        RegCloseKey(Folders);
        RegOverridePredefKey(HKEY_CURRENT_USER, m_User);
    }
    ~Redirection()
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(m_User);
        RegDeleteTreeA(HKEY_CURRENT_USER, m_Name.c_str());
    }

private:
    const std::string m_Name = "Software\\QuilvexTest" + std::to_string(GetCurrentProcessId());
    HKEY m_User = nullptr;
};

UserFolder::UserFolder() : m_pRedirection(std::make_unique<Redirection>(SystemPath(m_Home.Path()))) {}
UserFolder::~UserFolder() = default;

std::string UserFolder::File(const std::string& Name) const { return SystemPath(m_Home.Path() / Name); }
