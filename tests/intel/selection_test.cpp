// The Intel engine in the selection chain: its trials by what the SDK answers, and the flag that closes the hardware.
#include "tests/intel/intel_test.h"

#include "front/VCodec_H264.h"
#include "front/engines.h"
#include "front/probes.h"
#include "quilvex/Quilvex.h"
#include "tests/support/child_process.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/request_tag.h"
#include "tests/support/user_folder.h"

#include <cstdio>

using namespace intel_test;
using testing::ElementsAre;

namespace {

// The build's Intel engine on a machine where nothing else is in its way.
class IntelMachine : public IEngines
{
public:
    IntelMachine() : m_pBuiltIn(GetEngines()) { SetEngines(this); }
    ~IntelMachine() override { SetEngines(nullptr); }

    bool IsWindows7OrLater() override { return true; }
    bool IsCpuVendorAmd() override { return false; }
    uint32_t TickCount() override { return 1; }
    bool MyGetDisplayVideoControllerList(std::vector<std::string>&, bool) override { return true; }
    bool TryNvidiaDecoder(int32_t, int32_t) override { return false; }
    bool TryNvidiaEncoder(int32_t, int32_t, int32_t, int32_t, int32_t) override { return false; }
    bool IsSupportH264hw_0() override { return false; }
    int32_t QueryIntelSession(int32_t Implementation) override { return m_pBuiltIn->QueryIntelSession(Implementation); }
    int32_t AmdInit() override { return 1; }
    int32_t AmdTerminate() override { return 1; }
    IVCodec* NewNvidia(int32_t) override { return nullptr; }
    IVCodec* NewAmd() override { return nullptr; }
    IVCodec* NewIntel(int32_t Argument) override { return m_pBuiltIn->NewIntel(Argument); }
    IVCodec* NewSoftware() override { return m_pBuiltIn->NewSoftware(); }

private:
    IEngines* m_pBuiltIn;
};

class IntelSelection : public IntelEngine
{
protected:
    UserFolder m_Home;
    IntelMachine m_Machine;
};

} // namespace

TEST_F(IntelSelection, ATrialOpensAsksAndCloses)
{
    EXPECT_TRUE(ProbeIntelHardware());
    EXPECT_TRUE(ProbeIntelSoftware());
    EXPECT_THAT(m_Script.Trace(),
                ElementsAre("MFXInit impl=4 major=1 minor=1", "MFXQueryIMPL", "MFXClose encoder=0 decoder=0",
                            "MFXInit impl=1 major=1 minor=1", "MFXQueryIMPL", "MFXClose encoder=0 decoder=0"));
    EXPECT_THAT(m_Log.Lines(), ElementsAre(LogLine{kLogInfo, "qvlx - CVCodecH264hw::IsSupportH264hw() impl=2"},
                                           LogLine{kLogInfo, "qvlx - CVCodecH264hw::IsSupportH264soft() impl=1"}));
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelSelection, TheImplementationDecides)
{
    for (int32_t Impl = 0; Impl < 8; ++Impl) {
        m_Script.Set("impl", Impl | 0x400);
        EXPECT_EQ(ProbeIntelHardware(), (Impl & 6) != 0) << Impl;
        EXPECT_EQ(ProbeIntelSoftware(), (Impl & 1) != 0) << Impl;
    }
}

TEST_F(IntelSelection, AnAnswerThatIsMissingRefuses)
{
    m_Script.Answer("MFXInit", -3);
    EXPECT_FALSE(ProbeIntelHardware());
    EXPECT_FALSE(ProbeIntelSoftware());
    EXPECT_EQ(m_Script.Calls("MFXQueryIMPL"), 0); // no session: nothing gets as far as the run time
    EXPECT_EQ(m_Log.With("impl=0").size(), 2u);
    DriverReset();
    m_Script.Answer("MFXQueryIMPL", -6);
    EXPECT_FALSE(ProbeIntelHardware());
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelSelection, AFaultInATrialRefuses)
{
    for (const char* const pOperation : {"MFXInit", "MFXQueryIMPL", "MFXClose"}) {
        DriverReset();
        m_Log.Clear();
        m_Script.Fault(pOperation, kDriverAccess);
        EXPECT_FALSE(ProbeIntelHardware());
        EXPECT_FALSE(ProbeIntelSoftware());
        EXPECT_THAT(m_Log.Lines(),
                    ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                                LogLine{kLogError, "qvlx - CVCodecH264hw::IsSupportH264hw() MyFilterException"},
                                LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                                LogLine{kLogError, "qvlx - CVCodecH264hw::IsSupportH264soft() MyFilterException"}));
    }
}

TEST_F(IntelSelection, EachModeGetsItsImplementation)
{
    EXPECT_EQ(TagOf(1), kBackendIntelHard);
    EXPECT_EQ(TagOf(101), kBackendIntelHard);
    EXPECT_EQ(TagOf(2), kBackendIntelSoft);
    EXPECT_EQ(TagOf(102), kBackendIntelSoft);
    EXPECT_EQ(TagOf(11), kBackendIntelHard);
    EXPECT_EQ(TagOf(111), kBackendIntelHard);
    EXPECT_EQ(TagOf(0), kBackendSoftware);
    m_Script.Answer("MFXInit", -3);
    EXPECT_EQ(TagOf(1), kBackendSoftware);
    EXPECT_EQ(TagOf(2), kBackendSoftware);
    EXPECT_EQ(TagOf(11), 0u);
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelSelection, AFailureOfEitherImplementationClosesTheHardware)
{
    for (const uint32_t id : {1u, 2u})
        for (const bool bDecoder : {false, true}) {
            ResetSelectionState();
            DriverReset();
            IVCodec* const pCodec = CreateVCodec(id);
            ASSERT_TRUE(bDecoder ? pCodec->InitDecoder(96, 64) : pCodec->InitEncoder(96, 64, 15, 30, 400));
            auto& Codec = static_cast<CVCodecH264hw&>(*pCodec);
            if (bDecoder) {
                CVCodec_H264 Source;
                ASSERT_EQ(Source.InitEncoder(96, 64, 15, 30, 400), 1);
                Bytes Unit(96 * 64 * 3);
                int32_t Length = 0;
                ASSERT_EQ(Source.Encode(Picture(0).data(), Unit.data(), &Length, 0, nullptr), 1);
                Unit.resize(static_cast<size_t>(Length));
                m_Script.Answer("MFXVideoDECODE_DecodeFrameAsync", -17);
                EXPECT_EQ(Decode(Codec, Unit).Type, -1);
            } else {
                m_Script.Answer("MFXVideoENCODE_EncodeFrameAsync", -17);
                Reports([&] { EXPECT_EQ(Encode(Codec, 0).Type, -1); });
            }
            pCodec->Release();
            EXPECT_EQ(TagOf(1), kBackendSoftware) << id;
            EXPECT_EQ(TagOf(11), 0u);
            EXPECT_EQ(TagOf(2), kBackendIntelSoft); // it does not ask
        }
}

// Not bounded, unlike other engines' trials.
CHILD_BODY(TryIntelForEver)
{
    DriverScript Script;
    const DriverLibraries Libraries{platform::kMfxHardwareLibrary};
    const IntelMachine Machine;
    Script.Fault(Argument.c_str(), kDriverHang);
    std::printf("began\n");
    std::fflush(stdout);
    ProbeIntelHardware();
    return 0;
}

TEST(IntelSelectionHangs, ATrialThatHangsHoldsTheCaller)
{
    const ChildResult Result = RunChild("TryIntelForEver", "MFXInit", 2000);
    EXPECT_TRUE(Result.bTimedOut);
    EXPECT_NE(Result.Out.find("began"), std::string::npos);
}

// A client's loop: the engine fails at a picture, that picture goes into a new codec, and none is lost.
TEST_F(IntelSelection, AClientThatSwitchesLosesNoPicture)
{
    ASSERT_TRUE(ffmpeg_oracle::IsInstalled());
    m_Script.Answer("MFXVideoENCODE_EncodeFrameAsync", -17, 4);
    IVCodec* pCodec = CreateVCodec(1);
    ASSERT_EQ(pCodec->GetBackendTag(), kBackendIntelHard);
    ASSERT_EQ(pCodec->InitEncoder(96, 64, 15, 30, 400), 1);
    Bytes Stream, Room(96 * 64 * 3);
    Reports([&] {
        for (int i = 0; i < 8;) {
            int32_t Length = 0, Type = 0;
            if (pCodec->Encode(Picture(i).data(), Room.data(), &Length, 0, &Type) == 1) {
                Stream.insert(Stream.end(), Room.begin(), Room.begin() + Length);
                ++i;
                continue;
            }
            ASSERT_EQ(Length, -1);
            EXPECT_EQ(i, 3);
            pCodec->Release();
            pCodec = CreateVCodec(0);
            ASSERT_EQ(pCodec->InitEncoder(96, 64, 15, 30, 400), 1);
        }
    });
    EXPECT_EQ(pCodec->GetBackendTag(), kBackendSoftware);
    pCodec->Release();
    const auto Decoded = ffmpeg_oracle::Decode(Stream);
    EXPECT_EQ(Decoded.Messages, "");
    EXPECT_EQ(Decoded.Pictures.size(), 8 * kSize.I420Bytes());
}
