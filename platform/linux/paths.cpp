#include "platform/paths.h"

#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <unistd.h>

namespace platform {

const char kPathSeparator = '/';

static std::string HomeFolder()
{
    if (const char* const pHome = std::getenv("HOME"); pHome && *pHome) return pHome;
    const passwd* const pUser = getpwuid(getuid());
    return pUser && pUser->pw_dir ? pUser->pw_dir : "";
}

// By the base directory convention of desktop systems: XDG_DATA_HOME, which must be absolute, else ~/.local/share.
std::string LocalAppDataFolder()
{
    const char* const pData = std::getenv("XDG_DATA_HOME");
    std::string Folder = pData && *pData == '/' ? pData : HomeFolder();
    if (Folder.empty()) return Folder;
    if (!pData || *pData != '/') Folder += "/.local/share";
    CreateFolders(Folder);
    return Folder;
}

bool CreateFolders(const std::string& Path)
{
    std::error_code Error;
    std::filesystem::create_directories(Path, Error);
    return !Error;
}

std::string ExecutablePath()
{
    std::error_code Error;
    const auto Path = std::filesystem::read_symlink("/proc/self/exe", Error);
    return Error ? std::string() : Path.string();
}

} // namespace platform
