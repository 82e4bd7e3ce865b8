// The NVIDIA engine as an encoder, and as both: the slots' contract, and every fault of a driver below them.
#include "NVIDIA/VCodecH264nv.h"
#include "front/engines.h"
#include "quilvex/Quilvex.h"
#include "tests/NVIDIA/engine_faults.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/leaks_allowed.h"
#include "tests/support/user_folder.h"

#include <algorithm>

using namespace cuvid_test;
using testing::IsEmpty;

namespace {

constexpr int32_t kWidth = 64, kHeight = 48, kFps = 15, kKeyInterval = 75, kKbps = 500;
constexpr size_t kRoom = kWidth * kHeight * 3; // bytes that a client keeps for an access unit

class OpenCodec : public CVCodecH264nv
{
public:
    using CVCodecH264nv::CVCodecH264nv;
    using CVCodecH264nv::m_bDecoder;
    using CVCodecH264nv::m_PictureHeight;
    using CVCodecH264nv::m_PictureWidth;
};

const Bytes& Scene(int Index)
{
    static const std::vector<Bytes> s_Pictures = [] {
        std::vector<Bytes> All(8);
        const CameraScene Camera({kWidth, kHeight}, kFps);
        for (size_t i = 0; i < All.size(); ++i) Camera.Render(static_cast<int64_t>(i), All[i]);
        return All;
    }();
    return s_Pictures[static_cast<size_t>(Index)];
}

/// What one call of Encode() gave.
struct Coded {
    int32_t bOk = kUnwritten, Length = kUnwritten, Type = kUnwritten;
    Bytes Unit = Bytes(kRoom, kFill);
};

Coded Encode(IVCodec& Codec, int Index, int32_t bForceKey = 0)
{
    Coded c;
    c.bOk = Codec.Encode(Scene(Index).data(), c.Unit.data(), &c.Length, bForceKey, &c.Type);
    if (c.Length > 0) c.Unit.resize(static_cast<size_t>(c.Length));
    return c;
}

void ExpectFailed(const Coded& c)
{
    EXPECT_EQ(c.bOk, 0);
    EXPECT_EQ(c.Length, -1);
    EXPECT_EQ(c.Type, -1);
}

class EngineEncoder : public WithDrivers
{
protected:
    void SetUp() override
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    void TearDown() override
    {
        EXPECT_EQ(m_Codec.Release(), 0);
        testing::internal::GetCapturedStderr();
        const std::string Printed = testing::internal::GetCapturedStdout();
        if (HasFailure()) std::printf("%s", Printed.c_str()); // what gtest says of it is in there
        WithDrivers::TearDown();
    }
    static int32_t Init(IVCodec& Codec, int32_t KeyInterval = kKeyInterval)
    {
        return Codec.InitEncoder(kWidth, kHeight, kFps, KeyInterval, kKbps);
    }
    /// The first call of that name since the trace was so long; its end when there is none.
    size_t PlaceOf(const std::string& Operation, size_t From) const
    {
        const std::vector<std::string> All = m_Script.Operations();
        return static_cast<size_t>(std::find(All.begin() + static_cast<ptrdiff_t>(From), All.end(), Operation) -
                                   All.begin());
    }

    OpenCodec& m_Codec = *new OpenCodec(1);
};

} // namespace

// ---- The slots -------------------------------------------------------------------------------------------------

TEST_F(EngineEncoder, NullArgumentsAreAssertedInOrderAndTouchNothing)
{
    ASSERT_EQ(Init(m_Codec), 1);
    const size_t Before = m_Script.Trace().size();
    Coded c;
    EXPECT_EQ(m_Codec.Encode(nullptr, nullptr, nullptr, 0, &c.Type), 0);
    EXPECT_EQ(m_Codec.Encode(Scene(0).data(), nullptr, nullptr, 0, &c.Type), 0);
    EXPECT_EQ(m_Codec.Encode(Scene(0).data(), c.Unit.data(), nullptr, 0, &c.Type), 0);
    EXPECT_EQ(c.Type, kUnwritten);
    EXPECT_EQ(m_Script.Trace().size(), Before);
    const std::vector<LogLine> Lines = m_Log.Lines();
    ASSERT_EQ(Lines.size(), 3u);
    const char* const Expressions[] = {"InBuf", "OutBuf", "pdwOutLen"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(Lines[i].Level, kLogError);
        EXPECT_EQ(Lines[i].Text.find("Assert failed: file=VCodecH264nv line="), 0u);
        EXPECT_TRUE(Lines[i].Text.ends_with(std::string(" expr=") + Expressions[i]));
    }
}

TEST_F(EngineEncoder, EncodesThroughItsSlots)
{
    ASSERT_EQ(m_Codec.InitEncoder(kWidth, kHeight, kFps, 4, kKbps), 1);
    EXPECT_EQ(m_Codec.m_bDecoder, 0);
    Bytes Stream;
    for (int i = 0; i < 8; ++i) {
        const Coded c = Encode(m_Codec, i, i == 6);
        ASSERT_EQ(c.bOk, 1);
        EXPECT_EQ(c.Type, i % 4 == 0 || i == 6 ? 1 : 2) << i; // the key interval and the flag reach the encoder
        Stream.insert(Stream.end(), c.Unit.begin(), c.Unit.end());
    }
    const ffmpeg_oracle::Decoded Decoded = ffmpeg_oracle::Decode(Stream);
    EXPECT_EQ(Decoded.Messages, "");
    EXPECT_EQ(Decoded.Pictures.size(), 8 * I420Bytes(kWidth, kHeight));
}

TEST_F(EngineEncoder, AllFiveArgumentsReachTheDriver)
{
    ASSERT_EQ(m_Codec.InitEncoder(320, 176, 25, 50, 1234), 1);
    const std::string Call = m_Script.Trace("nvEncInitializeEncoder ").at(0);
    for (const char* pField : {" encodeWidth=320 ", " encodeHeight=176 ", " frameRateNum=25 "})
        EXPECT_NE(Call.find(pField), std::string::npos) << pField << Call;
    EXPECT_NE(Call.find("1234000"), std::string::npos) << Call;
}

TEST_F(EngineEncoder, TheRateSlotAnswersZeroWhateverBecameOfIt)
{
    EXPECT_EQ(m_Codec.SetBitrate(300), 0);
    std::vector<LogLine> Lines = m_Log.Lines();
    ASSERT_EQ(Lines.size(), 1u);
    EXPECT_EQ(Lines[0].Text.find("Assert failed: file=H264nvEnc line="), 0u);
    EXPECT_TRUE(Lines[0].Text.ends_with(" expr=m_pNvHWEncoder"));
    ASSERT_EQ(Init(m_Codec), 1);
    ASSERT_EQ(Encode(m_Codec, 0).Type, 1);
    ASSERT_EQ(Encode(m_Codec, 1).Type, 2);
    m_Log.Clear();
    EXPECT_EQ(m_Codec.SetBitrate(300), 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
    EXPECT_EQ(m_Script.Calls("nvEncInitializeEncoder"), 2); // it did happen
    EXPECT_EQ(Encode(m_Codec, 2).Type, 1);
    EXPECT_EQ(m_Codec.SetBitrate(0), 0);
    Lines = m_Log.Lines();
    ASSERT_EQ(Lines.size(), 1u);
    EXPECT_TRUE(Lines[0].Text.ends_with(" expr=iKbps"));
}

TEST_F(EngineEncoder, ASizeOfZeroIsAssertedBeforeTheDriverIsAsked)
{
    for (const auto& [Width, Height] : {std::pair{0, kHeight}, {kWidth, 0}}) {
        m_Log.Clear();
        EXPECT_EQ(m_Codec.InitEncoder(Width, Height, kFps, kKeyInterval, kKbps), 0);
        ASSERT_EQ(m_Log.Lines().size(), 1u);
        EXPECT_TRUE(m_Log.Lines()[0].Text.ends_with(" expr=PictureWidth && PictureHeight"));
    }
    EXPECT_THAT(m_Script.Trace(), IsEmpty());
}

TEST_F(EngineEncoder, WithoutADriverItFails)
{
    m_Libraries.Remove(platform::kNvencLibrary);
    EXPECT_EQ(Init(m_Codec), 0);
    EXPECT_EQ(m_Codec.m_PictureWidth, kWidth);
    EXPECT_EQ(m_Codec.m_PictureHeight, kHeight);
}

TEST_F(EngineEncoder, AKeyIntervalOfZeroFaultsAtThePicture)
{
    ASSERT_EQ(Init(m_Codec, 0), 1);
    ExpectFailed(Encode(m_Codec, 0));
    EXPECT_EQ(m_Log.Lines(), FaultLines(-1073741676, "Encode"));
    int32_t Length = 7;
    EXPECT_EQ(m_Codec.Encode(Scene(0).data(), Bytes(kRoom).data(), &Length, 0, nullptr), 0);
    EXPECT_EQ(Length, -1);
}

// ---- Both sides ------------------------------------------------------------------------------------------------

TEST_F(EngineEncoder, BothSidesLiveOnOneObject)
{
    ASSERT_EQ(m_Codec.InitEncoder(kWidth, kHeight, kFps, kKeyInterval, kKbps), 1);
    ASSERT_EQ(m_Codec.InitDecoder(320, 240), 1);
    EXPECT_EQ(m_Codec.m_bDecoder, 1);
    EXPECT_EQ(m_Codec.m_PictureWidth, 320);
    EXPECT_EQ(m_Codec.m_PictureHeight, 240);
    EXPECT_EQ(m_Script.Live("encoder"), 1);
    EXPECT_EQ(m_Script.Live("parser"), 1);
    EXPECT_EQ(m_Script.Live("CUcontext"), 2);
    std::vector<Bytes> Units;
    Bytes Room(I420Bytes(320, 240));
    for (int i = 0; i < 4; ++i) { // the last Init decides nothing
        const Coded c = Encode(m_Codec, i);
        ASSERT_EQ(c.bOk, 1);
        Units.push_back(c.Unit);
        int32_t Type = kUnwritten;
        ASSERT_EQ(m_Codec.Decode(c.Unit.data(), c.Length, Room.data(), &Type), 1);
        EXPECT_EQ(Type, 2);
        EXPECT_EQ(Bytes(Room.begin(), Room.begin() + static_cast<ptrdiff_t>(I420Bytes(kWidth, kHeight))),
                  SoftwarePictures(Units, kWidth, kHeight).back());
    }
    ASSERT_EQ(Init(m_Codec), 1); // tears down its own side alone
    EXPECT_EQ(m_Codec.m_bDecoder, 0);
    EXPECT_EQ(m_Codec.m_PictureWidth, kWidth);
    EXPECT_EQ(m_Script.Calls("cuvidDestroyVideoParser"), 0);
}

TEST_F(EngineEncoder, ResetGivesUpTheEncoderAndThenTheDecoder)
{
    ASSERT_EQ(m_Codec.InitDecoder(kWidth, kHeight), 1);
    ASSERT_EQ(Init(m_Codec), 1);
    const size_t Before = m_Script.Trace().size();
    EXPECT_EQ(m_Codec.Reset(), 0);
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_LT(PlaceOf("nvEncDestroyEncoder", Before), PlaceOf("cuvidDestroyVideoParser", Before));
    EXPECT_LT(PlaceOf("cuvidDestroyVideoParser", Before), m_Script.Trace().size());
    EXPECT_EQ(m_Codec.m_PictureWidth, kWidth);
    ASSERT_EQ(Init(m_Codec), 1);
    EXPECT_EQ(Encode(m_Codec, 0).bOk, 1);
}

TEST_F(EngineEncoder, TheLastReferenceGivesUpBoth)
{
    auto* const pCodec = new OpenCodec(1);
    ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
    ASSERT_EQ(Init(*pCodec), 1);
    EXPECT_EQ(pCodec->Release(), 0);
    EXPECT_EQ(m_Script.Live(), 0);
}

// ---- Faults ----------------------------------------------------------------------------------------------------

namespace {

const std::vector<FaultySlot>& Slots()
{
    static const std::vector<FaultySlot> s_Slots{
        {"InitEncoder",
         {"cuInit", "cuDeviceGetCount", "cuDeviceGet", "cuCtxCreate_v2", "cuCtxPopCurrent_v2",
          "NvEncodeAPICreateInstance", "nvEncOpenEncodeSessionEx", "nvEncGetEncodePresetConfig", "nvEncGetEncodeCaps",
          "nvEncInitializeEncoder", "nvEncCreateInputBuffer", "nvEncCreateBitstreamBuffer"}},
        {"Encode",
         {"nvEncLockInputBuffer", "nvEncUnlockInputBuffer", "nvEncEncodePicture", "nvEncLockBitstream",
          "nvEncUnlockBitstream"}},
        {"SetBitrate", {"nvEncDestroyInputBuffer", "nvEncDestroyEncoder", "cuCtxDestroy_v2", "nvEncInitializeEncoder"}},
        {"Reset",
         {"nvEncDestroyInputBuffer", "nvEncDestroyBitstreamBuffer", "nvEncDestroyEncoder", "cuCtxDestroy_v2"}}};
    return s_Slots;
}

} // namespace

TEST_F(EngineEncoder, AFaultBelowASlotEndsInItsFailureAndTheNextInitWorks)
{
    const LeaksAllowed Abandoned; // what a fault cuts short
    for (const FaultySlot& s : Slots())
        for (const std::string& Call : s.Calls)
            for (const FaultKind& k : kFaultKinds) {
                SCOPED_TRACE(std::string(s.pOperation) + ": " + Call + " ends by " + std::to_string(k.Action));
                DriverReset();
                auto* const pCodec = new OpenCodec(1);
                const std::string Operation = s.pOperation;
                if (Operation != "InitEncoder") {
                    ASSERT_EQ(Init(*pCodec), 1);
                }
                m_Log.Clear();
                m_Script.Fault(Call.c_str(), k.Action, m_Script.Calls(Call.c_str()) + 1);
                if (Operation == "InitEncoder")
                    EXPECT_EQ(Init(*pCodec), 0);
                else if (Operation == "Encode")
                    ExpectFailed(Encode(*pCodec, 0));
                else if (Operation == "SetBitrate")
                    EXPECT_EQ(pCodec->SetBitrate(300), 0);
                else
                    EXPECT_EQ(pCodec->Reset(), 0);
                EXPECT_EQ(m_Log.Lines(), FaultLines(k.Code, Operation));
                ASSERT_EQ(Init(*pCodec), 1);
                EXPECT_EQ(Encode(*pCodec, 0).Type, 1);
                EXPECT_EQ(pCodec->Release(), 0);
            }
    DriverReset();
}

TEST_F(EngineEncoder, AFaultWhileTheLastReferenceGoesStaysBelow)
{
    const LeaksAllowed Abandoned;
    for (const std::string& Call : Slots().back().Calls)
        for (const FaultKind& k : kFaultKinds) {
            SCOPED_TRACE(Call + " ends by " + std::to_string(k.Action));
            DriverReset();
            auto* const pCodec = new OpenCodec(1);
            ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
            ASSERT_EQ(Init(*pCodec), 1);
            m_Log.Clear();
            m_Script.Fault(Call.c_str(), k.Action); // again and again
            EXPECT_EQ(pCodec->Release(), 0);
            const std::vector<LogLine> Lines = m_Log.Lines();
            ASSERT_GE(Lines.size(), 2u);
            EXPECT_EQ(std::vector(Lines.begin(), Lines.begin() + 2), FaultLines(k.Code, "Reset"));
            EXPECT_EQ(m_Script.Live("parser"), 0); // the decoder's side is given up all the same
        }
    DriverReset();
}

// ---- Selection -------------------------------------------------------------------------------------------------

TEST_F(EngineEncoder, IsSelectedWhenItsTrialSucceeds)
{
    const UserFolder Home;
    for (const uint32_t id : {1u, 11u}) {
        m_Log.Clear();
        IVCodec* const pCodec = CreateVCodec(id);
        ASSERT_TRUE(pCodec);
        EXPECT_EQ(pCodec->GetBackendTag(), kBackendNvidia);
        EXPECT_EQ(m_Script.Live(), 0); // the trial is over
        ASSERT_EQ(Init(*pCodec), 1);
        EXPECT_EQ(Encode(*pCodec, 0).bOk, 1);
        EXPECT_EQ(pCodec->Release(), 0);
    }
    EXPECT_EQ(m_Script.Calls("cuvidCreateVideoParser"), 0); // the trial is of what is asked for
}

TEST_F(EngineEncoder, TenThousandLivesOfBothSidesLeaveNothing)
{
    DriverKeepTrace(0);
    for (int i = 0; i < 10000; ++i) {
        IVCodec* const pCodec = GetEngines()->NewNvidia(1);
        ASSERT_EQ(Init(*pCodec), 1) << i;
        ASSERT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1) << i;
        ASSERT_EQ(pCodec->Release(), 0);
        m_Libraries.ForgetAsked();
    }
    EXPECT_EQ(m_Script.Live(), 0);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}
