// What the system says about itself, beside its own calls.
#include "platform/clock.h"
#include "platform/system_info.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

constexpr char kKey[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", kValue[] = "VendorIdentifier";

// Another place for what the process sees under HKEY_LOCAL_MACHINE, as long as it lives.
class MachineKey
{
public:
    MachineKey()
    {
        RegCreateKeyExA(HKEY_CURRENT_USER, kName, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &m_Root,
                        nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_Root);
    }
    ~MachineKey()
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_Root);
        RegDeleteTreeA(HKEY_CURRENT_USER, kName);
    }
    void Write(DWORD Type, const std::string& Bytes)
    {
        HKEY Key;
        RegCreateKeyExA(m_Root, kKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &Key, nullptr);
        RegSetValueExA(Key, kValue, 0, Type, reinterpret_cast<const BYTE*>(Bytes.data()),
                       static_cast<DWORD>(Bytes.size()));
        RegCloseKey(Key);
    }

private:
    static constexpr char kName[] = "Software\\QuilvexSystemInfoTest";
    HKEY m_Root = nullptr;
};

} // namespace

TEST(SystemInfo, TheVersionIsTheOneThatIsReported)
{
    OSVERSIONINFOA Info{};
    Info.dwOSVersionInfoSize = sizeof Info;
    ASSERT_TRUE(GetVersionExA(&Info));
    platform::SystemVersion Version;
    ASSERT_TRUE(platform::ReadSystemVersion(Version));
    EXPECT_EQ(Version.PlatformId, Info.dwPlatformId);
    EXPECT_EQ(Version.Major, Info.dwMajorVersion);
    EXPECT_EQ(Version.Minor, Info.dwMinorVersion);
}

TEST(SystemInfo, TheVendorIsTheRegistrys)
{
    HKEY Key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey, 0, 131097, &Key), ERROR_SUCCESS);
    char Text[256] = "";
    DWORD Size = sizeof Text;
    EXPECT_EQ(RegQueryValueExA(Key, kValue, nullptr, nullptr, reinterpret_cast<BYTE*>(Text), &Size), ERROR_SUCCESS);
    RegCloseKey(Key);
    EXPECT_STRNE(Text, "");
    EXPECT_EQ(platform::CpuVendor(), Text);
}

TEST(SystemInfo, AVendorOfFiftyBytesIsReadAndALongerOneIsNot)
{
    MachineKey Machine;
    EXPECT_EQ(platform::CpuVendor(), ""); // no key
    Machine.Write(REG_SZ, std::string("AuthenticAMD") + '\0');
    EXPECT_EQ(platform::CpuVendor(), "AuthenticAMD");
    const std::string Whole(49, 'x'); // and its end
    Machine.Write(REG_SZ, Whole + '\0');
    EXPECT_EQ(platform::CpuVendor(), Whole);
    Machine.Write(REG_SZ, std::string(50, 'z') + '\0');
    EXPECT_EQ(platform::CpuVendor(), "");
    Machine.Write(REG_BINARY, std::string("AMD") + '\0');
    EXPECT_EQ(platform::CpuVendor(), "");
}

TEST(SystemInfo, TheTickIsTheSystems)
{
    const DWORD Before = GetTickCount();
    const uint32_t Tick = platform::TickCount();
    const DWORD After = GetTickCount();
    EXPECT_LE(Tick - Before, After - Before);
}
