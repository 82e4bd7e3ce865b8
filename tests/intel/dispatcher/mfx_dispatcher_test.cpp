// The library's own dispatcher: which run time it opens for an implementation, what it answers without one, and that it
// gives everything back.
#include "intel/mfx_session.h"
#include "tests/intel/intel_test.h"

using namespace intel_test;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

const std::string kHardware = platform::kMfxHardwareLibrary, kSoftware = platform::kMfxSoftwareLibrary;

class MfxDispatcher : public IntelEngine
{
protected:
    mfxStatus Open(mfxIMPL Implementation)
    {
        m_Version = kMfxVersion;
        return MFXInit(Implementation, &m_Version, &m_Session);
    }
    std::vector<std::string> Opened() const
    {
        std::vector<std::string> Found;
        for (const std::string& Line : m_Libraries.Asked())
            if (Line.starts_with("open ")) Found.push_back(Line.substr(5));
        return Found;
    }

    mfxVersion m_Version{};
    mfxSession m_Session = nullptr;
};

} // namespace

TEST_F(MfxDispatcher, EachImplementationHasItsRunTime)
{
    const std::pair<mfxIMPL, std::string> kAll[] = {
        {MFX_IMPL_SOFTWARE, kSoftware},     {MFX_IMPL_HARDWARE, kHardware},
        {MFX_IMPL_HARDWARE_ANY, kHardware}, {MFX_IMPL_AUTO, kHardware},
        {MFX_IMPL_AUTO_ANY, kHardware},     {MFX_IMPL_HARDWARE_ANY | MFX_IMPL_VIA_D3D11, kHardware}};
    for (const auto& [Implementation, Library] : kAll) {
        m_Libraries.ForgetAsked();
        DriverReset();
        ASSERT_EQ(Open(Implementation), MFX_ERR_NONE);
        EXPECT_THAT(Opened(), ElementsAre(Library));
        EXPECT_EQ(m_Script.Trace().front(), "MFXInit impl=" + std::to_string(Implementation) + " major=1 minor=1");
        EXPECT_EQ(m_Libraries.Held(Library), 1);
        EXPECT_EQ(MFXClose(m_Session), MFX_ERR_NONE);
        EXPECT_EQ(m_Libraries.Held(Library), 0);
        EXPECT_EQ(m_Script.Live(), 0);
    }
}

TEST_F(MfxDispatcher, TheAutomaticOneFallsBackToSoftware)
{
    m_Libraries.Remove(kHardware);
    ASSERT_EQ(Open(MFX_IMPL_AUTO_ANY), MFX_ERR_NONE);
    EXPECT_THAT(Opened(), ElementsAre(kHardware, kSoftware));
    MFXClose(m_Session);
    EXPECT_EQ(Open(MFX_IMPL_HARDWARE_ANY), MFX_ERR_UNSUPPORTED);
}

TEST_F(MfxDispatcher, WithoutARunTimeThereIsNoSession)
{
    m_Libraries.Remove(kHardware);
    m_Libraries.Remove(kSoftware);
    for (const mfxIMPL Implementation :
         {MFX_IMPL_AUTO, MFX_IMPL_SOFTWARE, MFX_IMPL_HARDWARE, MFX_IMPL_AUTO_ANY, MFX_IMPL_HARDWARE_ANY}) {
        EXPECT_EQ(Open(Implementation), MFX_ERR_UNSUPPORTED);
        EXPECT_EQ(m_Session, nullptr);
        EXPECT_EQ(m_Version.Version, kMfxVersion.Version);
        EXPECT_EQ(QueryMfxSession(Implementation), 0);
    }
}

TEST_F(MfxDispatcher, ARunTimesRefusalIsTheAnswerAndItsLibraryIsGivenBack)
{
    m_Script.Answer("MFXInit", -9);
    EXPECT_EQ(Open(MFX_IMPL_HARDWARE_ANY), -9);
    EXPECT_EQ(m_Session, nullptr);
    EXPECT_EQ(m_Libraries.Held(kHardware), 0);
}

TEST_F(MfxDispatcher, ANullSessionIsRefusedByEveryCall)
{
    mfxIMPL Impl = 7;
    mfxVersion Version{};
    mfxVideoParam Param{};
    mfxSession Other = nullptr;
    mfxPlatform Platform{};
    EXPECT_EQ(MFXQueryIMPL(nullptr, &Impl), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(Impl, 7);
    EXPECT_EQ(MFXQueryVersion(nullptr, &Version), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXClose(nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXVideoCORE_SyncOperation(nullptr, nullptr, 0), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXVideoCORE_SetFrameAllocator(nullptr, nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXVideoCORE_QueryPlatform(nullptr, &Platform), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXVideoENCODE_EncodeFrameAsync(nullptr, nullptr, nullptr, nullptr, nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXVideoENCODE_Close(nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXVideoDECODE_Init(nullptr, &Param), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXJoinSession(nullptr, nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(MFXCloneSession(nullptr, &Other), MFX_ERR_INVALID_HANDLE);
    EXPECT_THAT(m_Script.Trace(), IsEmpty());
}

TEST_F(MfxDispatcher, NullPointersOfAnInitAreRefused)
{
    EXPECT_EQ(MFXInit(MFX_IMPL_AUTO, nullptr, &m_Session), MFX_ERR_NULL_PTR);
    EXPECT_EQ(MFXInit(MFX_IMPL_AUTO, &m_Version, nullptr), MFX_ERR_NULL_PTR);
    EXPECT_THAT(Opened(), IsEmpty());
}

TEST_F(MfxDispatcher, TheLongFormOfInitIsTheShortOne)
{
    mfxInitParam Param{};
    Param.Implementation = MFX_IMPL_SOFTWARE;
    Param.Version = kMfxVersion;
    ASSERT_EQ(MFXInitEx(Param, &m_Session), MFX_ERR_NONE);
    EXPECT_THAT(Opened(), ElementsAre(kSoftware));
    EXPECT_EQ(MFXJoinSession(m_Session, m_Session), MFX_ERR_UNSUPPORTED);
    mfxSession Clone = nullptr;
    EXPECT_EQ(MFXCloneSession(m_Session, &Clone), MFX_ERR_UNSUPPORTED);
    EXPECT_EQ(MFXClose(m_Session), MFX_ERR_NONE);
}

// A run time that lacks a name of the version asked for is none; one that lacks a younger name is.
TEST_F(MfxDispatcher, EveryNameOfTheVersionIsNeeded)
{
    ASSERT_EQ(Open(MFX_IMPL_HARDWARE), MFX_ERR_NONE);
    MFXClose(m_Session);
    std::vector<std::string> Names;
    for (const std::string& Line : m_Libraries.Asked())
        if (Line.starts_with("symbol ")) Names.push_back(Line.substr(7));
    EXPECT_GT(Names.size(), 30u);
    EXPECT_THAT(Names, Contains("MFXVideoDECODE_DecodeFrameAsync"));
    const std::set<std::string> kYounger{"MFXVideoCORE_QueryPlatform", "MFXDoWork"};
    for (const std::string& Name : std::set<std::string>(Names.begin(), Names.end())) {
        m_Libraries.Lack(Name);
        EXPECT_EQ(Open(MFX_IMPL_HARDWARE), kYounger.count(Name) ? MFX_ERR_NONE : MFX_ERR_UNSUPPORTED) << Name;
        if (Name == "MFXVideoCORE_QueryPlatform") {
            mfxPlatform Platform{};
            EXPECT_EQ(MFXVideoCORE_QueryPlatform(m_Session, &Platform), MFX_ERR_UNSUPPORTED);
        }
        if (kYounger.count(Name)) MFXClose(m_Session);
        m_Libraries.Have(Name);
        EXPECT_EQ(m_Libraries.Held(kHardware), 0) << Name;
    }
}
