// One suite of real pictures through every engine, and what a client does when one dies under it.
#include "front/VCodec_H264.h"
#include "quilvex/Quilvex.h"
#include "tests/front/machine.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tools/common/camera_scene.h"
#include "tools/common/psnr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::IsEmpty;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr FrameSize kSize{176, 144};
constexpr int32_t kFps = 15, kKeyInterval = 5, kKbps = 400;
constexpr int kPictures = 12, kForced = 11;

struct Releaser {
    void operator()(IVCodec* p) const { p->Release(); }
};
using CodecPointer = std::unique_ptr<IVCodec, Releaser>;

struct EngineRow {
    const char* pTitle;
    uint32_t Mode;
    uint32_t Tag;
    Driver Nvidia, Amd, Intel;
    const char* pDies; // the driver's operation that ends an encoder for good
    int64_t Status;
};
constexpr Driver kNo = Driver::Absent, kYes = Driver::Works;
constexpr EngineRow kRows[] = {
    {"Nvidia", 1, kBackendNvidia, kYes, kNo, kNo, "nvEncEncodePicture", 20},
    {"Amd", 1, kBackendAmd, kNo, kYes, kNo, "Component.SubmitInput", 1},
    {"IntelHardware", 1, kBackendIntelHard, kNo, kNo, kYes, "MFXVideoENCODE_EncodeFrameAsync", -17},
    {"IntelSoftware", 2, kBackendIntelSoft, kNo, kNo, kYes, "MFXVideoENCODE_EncodeFrameAsync", -17},
    {"Software", 0, kBackendSoftware, kNo, kNo, kNo, nullptr, 0}};

void PrintTo(const EngineRow& Row, std::ostream* pOut) { *pOut << Row.pTitle; }

const Bytes& Picture(int n)
{
    static std::vector<Bytes> s_Pictures;
    for (const CameraScene Scene(kSize, kFps); static_cast<int>(s_Pictures.size()) <= n;) {
        s_Pictures.emplace_back();
        Scene.Render(static_cast<int64_t>(s_Pictures.size()) - 1, s_Pictures.back());
    }
    return s_Pictures[static_cast<size_t>(n)];
}

struct Unit {
    int32_t Result = 0, Length = -7, Type = -7;
    Bytes Stream;
};

Unit EncodeOne(IVCodec& Codec, int n, bool bKey = false)
{
    Unit Coded;
    Coded.Stream.resize(kSize.LumaBytes() * 3);
    Coded.Result = Codec.Encode(Picture(n).data(), Coded.Stream.data(), &Coded.Length, bKey, &Coded.Type);
    Coded.Stream.resize(static_cast<size_t>(std::max(Coded.Length, 0)));
    return Coded;
}

void Append(Bytes& Stream, const Bytes& More) { Stream.insert(Stream.end(), More.begin(), More.end()); }

double QualityOf(const Bytes& Decoded, int First)
{
    const size_t Size = kSize.I420Bytes();
    Psnr Meter;
    for (size_t i = 0; i < Decoded.size() / Size; ++i)
        Meter.Add(&Decoded[i * Size], Picture(First + static_cast<int>(i)).data(), Size);
    return Meter.Decibels();
}

class EveryEngine : public testing::TestWithParam<EngineRow>
{
protected:
    EveryEngine() : m_Machine(GetParam().Nvidia, GetParam().Amd, GetParam().Intel) {}
    CodecPointer Make(uint32_t id)
    {
        CodecPointer pCodec(CreateVCodec(id));
        EXPECT_EQ(pCodec->GetBackendTag(), GetParam().Tag);
        EXPECT_EQ(pCodec->GetFamilyTag(), uint32_t{kBackendSoftware});
        return pCodec;
    }
    CodecPointer MakeEncoder()
    {
        CodecPointer pCodec = Make(GetParam().Mode);
        EXPECT_EQ(pCodec->InitEncoder(kSize.Width, kSize.Height, kFps, kKeyInterval, kKbps), 1);
        return pCodec;
    }

    Machine m_Machine;
};

std::string RowTitle(const testing::TestParamInfo<EngineRow>& Info) { return Info.param.pTitle; }

} // namespace

TEST_P(EveryEngine, EncodesAStreamThatDecodesWithoutAMessage)
{
    Bytes Stream;
    {
        const CodecPointer pCodec = MakeEncoder();
        for (int n = 0; n < kPictures; ++n) {
            const Unit Coded = EncodeOne(*pCodec, n, n == kForced);
            ASSERT_EQ(Coded.Result, 1) << n;
            EXPECT_EQ(Coded.Type, n % kKeyInterval == 0 || n == kForced ? kFrameI : kFrameP) << n;
            Append(Stream, Coded.Stream);
        }
    }
    const ffmpeg_oracle::Decoded Got = ffmpeg_oracle::Decode(Stream);
    EXPECT_EQ(Got.Messages, "");
    EXPECT_EQ(Got.Pictures.size(), kPictures * kSize.I420Bytes());
    EXPECT_GT(QualityOf(Got.Pictures, 0), 28.0);
    EXPECT_THAT(m_Machine.Script.Misuses(), IsEmpty());
}

TEST_P(EveryEngine, DecodesThePicturesThatFfmpegDecodes)
{
    Bytes Stream, Shown;
    std::vector<Bytes> Units;
    {
        const CodecPointer pSoftware(CreateVCodec(0));
        ASSERT_EQ(pSoftware->InitEncoder(kSize.Width, kSize.Height, kFps, kKeyInterval, kKbps), 1);
        for (int n = 0; n < kPictures; ++n) {
            Units.push_back(EncodeOne(*pSoftware, n).Stream);
            Append(Stream, Units.back());
        }
    }
    const CodecPointer pCodec = Make(GetParam().Mode + 100);
    ASSERT_EQ(pCodec->InitDecoder(kSize.Width, kSize.Height), 1);
    Bytes Out(kSize.I420Bytes());
    const auto Feed = [&](const Bytes& In) {
        int32_t Type = kFrameNone;
        pCodec->Decode(In.data(), static_cast<int32_t>(In.size()), Out.data(), &Type);
        EXPECT_NE(Type, kFrameFailed);
        if (Type > kFrameNone) Append(Shown, Out);
    };
    for (const Bytes& In : Units) Feed(In);
    Feed({0, 0, 0, 1, 9, 0xF0});
    EXPECT_EQ(Shown, ffmpeg_oracle::Decode(Stream).Pictures);
    EXPECT_THAT(m_Machine.Script.Misuses(), IsEmpty());
}

TEST_P(EveryEngine, AClientThatReplacesADyingEngineLosesNoPicture)
{
    if (!GetParam().pDies) return; // it does not die
    for (const int Dies : {0, 1, 6}) {
        SCOPED_TRACE(Dies);
        CodecPointer pCodec = MakeEncoder();
        m_Machine.Script.Answer(GetParam().pDies, GetParam().Status,
                                m_Machine.Script.Calls(GetParam().pDies) + 1 +
                                    (GetParam().Tag == kBackendNvidia ? 3 : 1) * Dies); // two ends of stream a picture
        Bytes Stream, SinceSwitch;
        int Switched = -1;
        for (int n = 0; n < kPictures; ++n) {
            Unit Coded = EncodeOne(*pCodec, n);
            if (Coded.Length == kFrameFailed) {
                EXPECT_EQ(Coded.Result, 0);
                EXPECT_EQ(Coded.Type, kFrameFailed);
                EXPECT_EQ(Switched, -1);
                Switched = n;
                pCodec.reset();
                pCodec.reset(CreateVCodec(0));
                ASSERT_EQ(pCodec->InitEncoder(kSize.Width, kSize.Height, kFps, kKeyInterval, kKbps), 1);
                Coded = EncodeOne(*pCodec, n); // the picture again
            }
            ASSERT_EQ(Coded.Result, 1) << n;
            Append(Stream, Coded.Stream);
            if (Switched >= 0) Append(SinceSwitch, Coded.Stream);
        }
        EXPECT_EQ(Switched, Dies);
        EXPECT_EQ(ffmpeg_oracle::Decode(Stream).Pictures.size(), kPictures * kSize.I420Bytes());
        const ffmpeg_oracle::Decoded Behind = ffmpeg_oracle::Decode(SinceSwitch);
        EXPECT_EQ(Behind.Messages, "");
        EXPECT_EQ(Behind.Pictures.size(), static_cast<size_t>(kPictures - Switched) * kSize.I420Bytes());
        EXPECT_GT(QualityOf(Behind.Pictures, Switched), 28.0);
        ResetSelectionState(); // a dead Intel device stays out otherwise
    }
    EXPECT_THAT(m_Machine.Script.Misuses(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, EveryEngine, testing::ValuesIn(kRows), RowTitle);
