#include "Common/h/settings.h"

#include "Common/h/host_log.h"
#include "platform/paths.h"
#include "platform/profile_file.h"

namespace {

constexpr char kSettingsFolder[] = "BrellixIni", kSettingsName[] = "Brellix.ini";

bool IsSeparator(char c) { return c == '\\' || c == platform::kPathSeparator; }

// A file name without a separator lies beside the running executable.
std::string ProfilePath(const std::string& File)
{
    for (const char c : File)
        if (IsSeparator(c)) return File;
    std::string Folder = platform::ExecutablePath();
    while (!Folder.empty() && !IsSeparator(Folder.back())) Folder.pop_back();
    return Folder + File;
}

} // namespace

std::string GetUserDataPath(const std::string& Subdirectory, bool bCreate)
{
    const std::string Separator(1, platform::kPathSeparator);
    std::string Path = platform::LocalAppDataFolder() + Separator + "Zantrel" + Separator + "Orvanta";
    if (!Subdirectory.empty()) {
        if (!IsSeparator(Subdirectory.front())) Path += Separator;
        Path += Subdirectory;
    }
    if (bCreate) platform::CreateFolders(Path);
    return Path;
}

std::string SettingsFile() { return GetUserDataPath(kSettingsFolder, true) + platform::kPathSeparator + kSettingsName; }

std::string HostSettingsFile()
{
    std::string Folder = GetHostLog()->UserDataPath(platform::kPathSeparator + std::string(kSettingsFolder));
    if (Folder.empty()) Folder = GetUserDataPath(kSettingsFolder, false);
    return Folder + platform::kPathSeparator + kSettingsName;
}

std::string ReadProfileString(const std::string& File, const char* pSection, const char* pKey, const char* pDefault)
{
    return platform::ReadProfileText(ProfilePath(File), pSection, pKey, pDefault);
}

int32_t ReadProfileInt(const std::string& File, const char* pSection, const char* pKey, int32_t iDefault)
{
    return platform::ReadProfileNumber(ProfilePath(File), pSection, pKey, iDefault);
}

void WriteProfileString(const std::string& File, const char* pSection, const char* pKey, const char* pValue)
{
    platform::WriteProfileText(ProfilePath(File), pSection, pKey, pValue);
}
