// The settings file beside the system's own calls.
#include "Common/h/settings.h"
#include "platform/paths.h"
#include "tests/support/user_folder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <fstream>
#include <shlobj.h>

#undef WriteProfileString // the system's, for a file that it has no more

namespace {

std::string SystemsText(const std::string& File, const char* pSection, const char* pKey)
{
    char Text[20000] = "";
    GetPrivateProfileStringA(pSection, pKey, "(none)", Text, sizeof Text, File.c_str());
    return Text;
}

std::string SystemsFolder()
{
    char Path[MAX_PATH] = "";
    SHGetSpecialFolderPathA(nullptr, Path, 28, FALSE);
    return Path;
}

class SettingsWin32 : public testing::Test
{
protected:
    UserFolder m_Home;
    const std::string m_File = m_Home.File("Zantrel/Orvanta/BrellixIni/Brellix.ini");
};

} // namespace

TEST(SettingsOfTheUser, LieBelowTheFolderThatTheSystemNames)
{
    const std::string Folder = SystemsFolder();
    ASSERT_FALSE(Folder.empty());
    EXPECT_EQ(GetUserDataPath("BrellixIni", false), Folder + "\\Zantrel\\Orvanta\\BrellixIni");
    EXPECT_EQ(GetUserDataPath("\\a\\b", false), Folder + "\\Zantrel\\Orvanta\\a\\b");
    EXPECT_EQ(GetUserDataPath("", false), Folder + "\\Zantrel\\Orvanta");
}

TEST_F(SettingsWin32, TheFolderIsMadeWhereTheSystemNamesOneThatIsMissing)
{
    std::filesystem::remove(m_Home.File(""));
    EXPECT_EQ(SettingsFile(), m_File);
    EXPECT_TRUE(std::filesystem::is_directory(m_Home.File("Zantrel/Orvanta/BrellixIni")));
}

TEST_F(SettingsWin32, AFolderThatCannotBeMadeIsNotTold)
{
    std::ofstream(m_Home.File("Zantrel")) << "a file in its place";
    EXPECT_EQ(GetUserDataPath("BrellixIni", true), m_Home.File("Zantrel\\Orvanta\\BrellixIni"));
    WriteProfileString(SettingsFile(), "CONFIG", "a", "b");
    EXPECT_EQ(ReadProfileString(SettingsFile(), "CONFIG", "a", "c"), "c");
}

TEST_F(SettingsWin32, WhatIsWrittenIsThereForTheSystemAndTheOtherWayRound)
{
    EXPECT_EQ(SettingsFile(), m_File);
    WriteProfileString(m_File, "CONFIG", "nvidia_disable", "NVIDIA Adapter (1)");
    EXPECT_EQ(SystemsText(m_File, "CONFIG", "nvidia_disable"), "NVIDIA Adapter (1)");
    WritePrivateProfileStringA("CONFIG", "greenThreshold1", "4000", m_File.c_str());
    WritePrivateProfileStringA("OTHER", "theirs", "kept", m_File.c_str());
    EXPECT_EQ(ReadProfileInt(m_File, "CONFIG", "greenThreshold1", 3600), 4000);
    WriteProfileString(m_File, "CONFIG", "nvidia_disable", "another");
    EXPECT_EQ(SystemsText(m_File, "CONFIG", "nvidia_disable"), "another");
    EXPECT_EQ(SystemsText(m_File, "CONFIG", "greenThreshold1"), "4000");
    EXPECT_EQ(SystemsText(m_File, "OTHER", "theirs"), "kept");
    EXPECT_EQ(ReadProfileString(m_File, "OTHER", "theirs", ""), "kept");
}

TEST_F(SettingsWin32, NumbersReadAsTheSystemReadsThem)
{
    SettingsFile();
    for (const char* const pValue : {"12", "-12", "12x", "x", "", " 7", "0x10", "4294967295", "+5", "007"}) {
        WritePrivateProfileStringA("CONFIG", "n", pValue, m_File.c_str());
        EXPECT_EQ(ReadProfileInt(m_File, "CONFIG", "n", 99),
                  static_cast<int32_t>(GetPrivateProfileIntA("CONFIG", "n", 99, m_File.c_str())))
            << pValue;
    }
    EXPECT_EQ(ReadProfileInt(m_File, "CONFIG", "missing", -7), -7);
}

TEST_F(SettingsWin32, AValueIsReadToTheEndOfTheBuffer)
{
    SettingsFile();
    for (const size_t Size : {10238u, 10239u, 10240u, 12000u}) {
        WritePrivateProfileStringA("CONFIG", "n", std::string(Size, 'n').c_str(), m_File.c_str());
        ASSERT_EQ(SystemsText(m_File, "CONFIG", "n").size(), Size);
        EXPECT_EQ(ReadProfileString(m_File, "CONFIG", "n", "").size(), std::min<size_t>(Size, 10239));
    }
}

TEST_F(SettingsWin32, OnlyANameWithoutABackslashLiesBesideTheExecutable)
{
    const std::string Own = platform::ExecutablePath();
    char Path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, Path, MAX_PATH);
    EXPECT_EQ(Own, Path);
    const std::string Beside = Own.substr(0, Own.find_last_of('\\') + 1) + "quilvex-beside.ini";
    WriteProfileString("quilvex-beside.ini", "CONFIG", "a", "b");
    EXPECT_EQ(SystemsText(Beside, "CONFIG", "a"), "b");
    EXPECT_TRUE(std::filesystem::remove(Beside));
    WriteProfileString(m_Home.File("there.ini"), "CONFIG", "a", "b");
    EXPECT_EQ(SystemsText(m_Home.File("there.ini"), "CONFIG", "a"), "b");
}
