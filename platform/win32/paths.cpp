#include "platform/paths.h"

#include <windows.h>

#include <shlobj.h>

namespace platform {

const char kPathSeparator = '\\';

std::string LocalAppDataFolder()
{
    char Path[MAX_PATH] = "";
    return SHGetSpecialFolderPathA(nullptr, Path, CSIDL_LOCAL_APPDATA, TRUE) ? Path : "";
}

bool CreateFolders(const std::string& Path)
{
    const int Result = SHCreateDirectoryExA(nullptr, Path.c_str(), nullptr);
    return Result == ERROR_SUCCESS || Result == ERROR_ALREADY_EXISTS;
}

std::string ExecutablePath()
{
    char Path[MAX_PATH] = "";
    return std::string(Path, GetModuleFileNameA(nullptr, Path, MAX_PATH));
}

} // namespace platform
