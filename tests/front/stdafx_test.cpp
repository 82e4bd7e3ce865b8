// Log, assertion and settings file.
#include "front/stdafx.h"
#include "platform/paths.h"
#include "tests/support/recording_log.h"
#include "tests/support/user_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#define QUILVEX_SOURCE "stdafx_test"

namespace {

std::string Contents(const std::string& Path)
{
    std::ifstream File(Path, std::ios::binary);
    std::ostringstream Text;
    Text << File.rdbuf();
    return Text.str();
}

int32_t Halve(int32_t iValue)
{
    ASSERT_OR_RETURN(iValue % 2 == 0, -1);
    return iValue / 2;
}

} // namespace

TEST(Log, EachLevelHasItsNumber)
{
    RecordingLog Log;
    LogInfo("qvlx - a %d", 1);
    LogWarning("qvlx - b %s", "x");
    LogError("qvlx - c");
    EXPECT_EQ(Log.Lines(), (std::vector<LogLine>{{4, "qvlx - a 1"}, {8, "qvlx - b x"}, {16, "qvlx - c"}}));
}

TEST(Log, ALongMessageIsCutNotRefused)
{
    RecordingLog Log;
    const std::string Long(5000, 'x');
    LogInfo("%s", Long.c_str());
    ASSERT_EQ(Log.Lines().size(), 1u);
    EXPECT_EQ(Log.Lines()[0].Text, Long.substr(0, 2047));
}

TEST(Assertion, LogsTheExpressionAndReturnsTheFailureValue)
{
    RecordingLog Log;
    EXPECT_EQ(Halve(4), 2);
    EXPECT_TRUE(Log.Lines().empty());
    EXPECT_EQ(Halve(5), -1);
    ASSERT_EQ(Log.Lines().size(), 1u);
    EXPECT_EQ(Log.Lines()[0].Level, kLogError);
    EXPECT_EQ(Log.Lines()[0].Text.find("Assert failed: file=stdafx_test line="), 0u);
    EXPECT_NE(Log.Lines()[0].Text.find(" expr=iValue % 2 == 0"), std::string::npos);
}

TEST(CritSec, IsRecursiveAndAnswersOne)
{
    WCritSec Section;
    const WLockGuard Held(&Section);
    EXPECT_EQ(Section.Lock(0), 1);
    EXPECT_EQ(Section.Unlock(), 1);
    const WLockGuard Nothing(nullptr);
}

class SettingsFileTest : public testing::Test
{
protected:
    UserFolder m_Home;
};

TEST_F(SettingsFileTest, LiesInThePerUserFolder)
{
    EXPECT_EQ(SettingsFile(), m_Home.File("Zantrel/Orvanta/BrellixIni/Brellix.ini"));
    EXPECT_TRUE(std::filesystem::is_directory(m_Home.File("Zantrel/Orvanta/BrellixIni")));
}

TEST_F(SettingsFileTest, UserDataPathAddsASeparatorOnlyWhereNoneIs)
{
    EXPECT_EQ(GetUserDataPath("", false), m_Home.File("Zantrel/Orvanta"));
    EXPECT_EQ(GetUserDataPath("a", false), m_Home.File("Zantrel/Orvanta/a"));
    EXPECT_EQ(GetUserDataPath(platform::kPathSeparator + std::string("a"), false), m_Home.File("Zantrel/Orvanta/a"));
    EXPECT_FALSE(std::filesystem::exists(m_Home.File("Zantrel")));
    GetUserDataPath(std::string("a") + platform::kPathSeparator + "b", true);
    EXPECT_TRUE(std::filesystem::is_directory(m_Home.File("Zantrel/Orvanta/a/b")));
}

TEST_F(SettingsFileTest, AMissingFileReadsAsDefaultsAndIsNotCreated)
{
    EXPECT_EQ(ReadProfileString(SettingsFile(), "CONFIG", "nvidia_disable", "d"), "d");
    EXPECT_EQ(ReadProfileInt(SettingsFile(), "CONFIG", "greenThreshold1", 3600), 3600);
    EXPECT_FALSE(std::filesystem::exists(SettingsFile()));
}

TEST_F(SettingsFileTest, AWriteKeepsOtherSectionsKeysAndComments)
{
    std::ofstream(SettingsFile())
        << "; who wrote this\n[CONFIG]\n; a comment\ngreenThreshold1=12x\nunknown=kept\n\n[OTHER]\nkey=value\n";
    WriteProfileString(SettingsFile(), "CONFIG", "nvidia_disable", "NVIDIA Adapter (1) = \"x\"");
    EXPECT_EQ(ReadProfileString(SettingsFile(), "CONFIG", "nvidia_disable", ""), "NVIDIA Adapter (1) = \"x\"");
    EXPECT_EQ(ReadProfileString(SettingsFile(), "config", "UNKNOWN", ""), "kept");
    EXPECT_EQ(ReadProfileString(SettingsFile(), "OTHER", "key", ""), "value");
    EXPECT_EQ(ReadProfileInt(SettingsFile(), "CONFIG", "greenThreshold1", 1), 12);
    EXPECT_EQ(ReadProfileInt(SettingsFile(), "CONFIG", "unknown", 1), 0);
    const std::string Text = Contents(SettingsFile());
    EXPECT_NE(Text.find("; who wrote this"), std::string::npos);
    EXPECT_NE(Text.find("; a comment"), std::string::npos);
}

TEST_F(SettingsFileTest, ALongValueIsCut)
{
    WriteProfileString(SettingsFile(), "CONFIG", "nvidia_disable", std::string(20000, 'n').c_str());
    EXPECT_EQ(ReadProfileString(SettingsFile(), "CONFIG", "nvidia_disable", "").size(), 10239u);
}

TEST_F(SettingsFileTest, AWriteThatFailsIsNotReported)
{
    WriteProfileString(m_Home.File("no/such/folder/file.ini"), "CONFIG", "a", "b");
    EXPECT_EQ(ReadProfileString(m_Home.File("no/such/folder/file.ini"), "CONFIG", "a", "c"), "c");
}

TEST_F(SettingsFileTest, ANameWithoutAFolderLiesBesideTheExecutable)
{
    const std::string Name = "quilvex-profile-test.ini";
    const auto Beside = std::filesystem::path(platform::ExecutablePath()).parent_path() / Name;
    WriteProfileString(Name, "CONFIG", "a", "b");
    EXPECT_EQ(ReadProfileString(Beside.string(), "CONFIG", "a", ""), "b");
    EXPECT_EQ(ReadProfileString(Name, "CONFIG", "a", ""), "b");
    std::filesystem::remove(Beside);
}
