#include "platform/profile_file.h"

#define SI_NO_CONVERSION // bytes are kept as they are
#include <SimpleIni.h>

#include <cstdlib>
#include <filesystem>

namespace platform {

namespace {

constexpr size_t kMaxText = 10239;

// Keys and sections compare without case, as the profile functions do.
using ProfileFile = CSimpleIniA;

bool Load(ProfileFile& File, const std::string& Path)
{
    File.SetSpaces(false);
    return File.LoadFile(Path.c_str()) == SI_OK;
}

} // namespace

std::string ReadProfileText(const std::string& Path, const char* pSection, const char* pKey, const char* pDefault)
{
    ProfileFile File;
    const char* const pValue = Load(File, Path) ? File.GetValue(pSection, pKey, nullptr) : nullptr;
    return std::string(pValue ? pValue : pDefault).substr(0, kMaxText);
}

int32_t ReadProfileNumber(const std::string& Path, const char* pSection, const char* pKey, int32_t Default)
{
    ProfileFile File;
    const char* const pValue = Load(File, Path) ? File.GetValue(pSection, pKey, nullptr) : nullptr;
    return pValue ? static_cast<int32_t>(std::strtol(pValue, nullptr, 10)) : Default;
}

// Written beside the file and moved over it, so that a reader in another process never sees half of it.
bool WriteProfileText(const std::string& Path, const char* pSection, const char* pKey, const char* pValue)
{
    ProfileFile File;
    if (!Load(File, Path) && std::filesystem::exists(Path)) return false;
    if (File.SetValue(pSection, pKey, pValue) < 0) return false;
    const std::string Temporary = Path + ".new";
    if (File.SaveFile(Temporary.c_str(), false) < 0) return false;
    std::error_code Error;
    std::filesystem::rename(Temporary, Path, Error);
    return !Error;
}

} // namespace platform
