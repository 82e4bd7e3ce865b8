#include "platform/system_info.h"

#include <windows.h>

namespace platform {

bool ReadSystemVersion(SystemVersion& Version)
{
    OSVERSIONINFOA Info{};
    Info.dwOSVersionInfoSize = sizeof Info;
    if (!GetVersionExA(&Info)) return false;
    Version = {.PlatformId = Info.dwPlatformId, .Major = Info.dwMajorVersion, .Minor = Info.dwMinorVersion};
    return true;
}

std::string CpuVendor()
{
    HKEY Key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", 0, KEY_READ, &Key) !=
        ERROR_SUCCESS)
        return {};
    char Vendor[51] = "";
    DWORD Size = sizeof Vendor - 1, Type = 0;
    const LSTATUS Result =
        RegQueryValueExA(Key, "VendorIdentifier", nullptr, &Type, reinterpret_cast<BYTE*>(Vendor), &Size);
    RegCloseKey(Key);
    return Result == ERROR_SUCCESS && Type == REG_SZ ? Vendor : "";
}

} // namespace platform
