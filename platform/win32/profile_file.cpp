#include "platform/profile_file.h"

#include <windows.h>

namespace platform {

std::string ReadProfileText(const std::string& Path, const char* pSection, const char* pKey, const char* pDefault)
{
    char Value[10240] = "";
    return std::string(Value, GetPrivateProfileStringA(pSection, pKey, pDefault, Value, sizeof Value, Path.c_str()));
}

int32_t ReadProfileNumber(const std::string& Path, const char* pSection, const char* pKey, int32_t Default)
{
    return static_cast<int32_t>(GetPrivateProfileIntA(pSection, pKey, Default, Path.c_str()));
}

bool WriteProfileText(const std::string& Path, const char* pSection, const char* pKey, const char* pValue)
{
    return WritePrivateProfileStringA(pSection, pKey, pValue, Path.c_str()) != 0;
}

} // namespace platform
