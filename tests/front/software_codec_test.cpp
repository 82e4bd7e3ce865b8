// The software engine behind IVCodec: arguments, limits, the stand-in picture, and whole sequences there and back.
#include "front/VCodec_H264.h"
#include "tests/support/recording_log.h"
#include "tools/common/access_units.h"
#include "tools/common/camera_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::HasSubstr;

namespace {

constexpr FrameSize kSize{176, 144};

struct Releaser {
    void operator()(IVCodec* p) const { p->Release(); }
};
using CodecPointer = std::unique_ptr<IVCodec, Releaser>;

// Reaches the counters, whose limits no test can count up to.
class OpenCodec : public CVCodec_H264
{
public:
    using CVCodec_H264::m_bFirstDecode;
    using CVCodec_H264::m_BitsPerSecond;
    using CVCodec_H264::m_DecodedFrames;
    using CVCodec_H264::m_DecodeFrameLimit;
    using CVCodec_H264::m_EncodedFrames;
    using CVCodec_H264::m_EncodeFrameLimit;
    using CVCodec_H264::m_iKeyinterval;
    using CVCodec_H264::m_PictureWidth;
};
using OpenPointer = std::unique_ptr<OpenCodec, Releaser>;

std::vector<uint8_t> Picture(int64_t Index, FrameSize Size = kSize)
{
    static const CameraScene s_Scene(kSize, 15);
    std::vector<uint8_t> Result;
    if (Size == kSize)
        s_Scene.Render(Index, Result);
    else
        CameraScene(Size, 15).Render(Index, Result);
    return Result;
}

struct Coded {
    int32_t Result = 0, Length = -7, Type = -7;
    std::vector<uint8_t> Bytes;
};

Coded EncodeOne(IVCodec& Codec, int64_t Index, int32_t bForceKey = 0)
{
    Coded Out;
    const auto Source = Picture(Index);
    Out.Bytes.resize(kSize.LumaBytes() * 3);
    Out.Result = Codec.Encode(Source.data(), Out.Bytes.data(), &Out.Length, bForceKey, &Out.Type);
    Out.Bytes.resize(static_cast<size_t>(std::max(Out.Length, 0)));
    return Out;
}

bool HasUnit(const std::vector<uint8_t>& Bytes, int Type)
{
    for (size_t i = 0; i + 3 < Bytes.size(); ++i)
        if (!Bytes[i] && !Bytes[i + 1] && Bytes[i + 2] == 1 && (Bytes[i + 3] & 31) == Type) return true;
    return false;
}

constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};

} // namespace

// ---- Construction ----------------------------------------------------------------------------------------------

TEST(SoftwareCodec, ANewObjectIsNeutral)
{
    OpenPointer pCodec(new OpenCodec);
    EXPECT_EQ(pCodec->m_EncodeFrameLimit, 0xFAA3B500u);
    EXPECT_EQ(pCodec->m_DecodeFrameLimit, 0xFAA3B500u);
    EXPECT_EQ(pCodec->m_PictureWidth, 0);
    EXPECT_TRUE(pCodec->m_bFirstDecode);
    EXPECT_EQ(pCodec->Reset(), 0);
}

TEST(SoftwareCodec, ReferencesAreCounted)
{
    IVCodec* const pCodec = new CVCodec_H264;
    EXPECT_EQ(pCodec->AddRef(), 2);
    EXPECT_EQ(pCodec->AddRef(), 3);
    EXPECT_EQ(pCodec->Release(), 2);
    EXPECT_EQ(pCodec->Release(), 1);
    EXPECT_EQ(pCodec->Release(), 0);
}

// ---- Encoder side ----------------------------------------------------------------------------------------------

TEST(SoftwareEncoder, AZeroSizeIsAsserted)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    EXPECT_EQ(pCodec->InitEncoder(0, 144, 15, 0, 0), 0);
    EXPECT_EQ(pCodec->InitEncoder(176, 0, 15, 0, 0), 0);
    EXPECT_EQ(Log.With("Assert failed: file=VCodec_H264 line=").size(), 2u);
    EXPECT_EQ(Log.With("expr=PictureWidth && PictureHeight").size(), 2u);
}

TEST(SoftwareEncoder, ANegativeWidthPassesTheAssertionAndFailsInTheEncoder)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    EXPECT_EQ(pCodec->InitEncoder(-1, 144, 15, 2, 3), 0);
    ASSERT_EQ(Log.Lines().size(), 1u);
    EXPECT_EQ(Log.Lines()[0], (LogLine{kLogError, "qvlx - CVCodec_H264::InitEncoder() Failed err=-899. PictureWidth=-1 "
                                                  "PictureHeight=144 iFramesPerSecond=15 iKeyinterval=2 iKbps=3"}));
}

TEST(SoftwareEncoder, NullArgumentsAreAssertedInOrder)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    uint8_t Byte = 0;
    int32_t Length = 5;
    EXPECT_EQ(pCodec->Encode(&Byte, &Byte, &Length, 0, nullptr), 0); // no encoder yet
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 0, 0), 1);
    EXPECT_EQ(pCodec->Encode(nullptr, nullptr, nullptr, 0, nullptr), 0);
    EXPECT_EQ(pCodec->Encode(&Byte, nullptr, nullptr, 0, nullptr), 0);
    EXPECT_EQ(pCodec->Encode(&Byte, &Byte, nullptr, 0, nullptr), 0);
    const auto Lines = Log.Lines();
    ASSERT_EQ(Lines.size(), 4u);
    EXPECT_THAT(Lines[0].Text, HasSubstr("expr=m_pH264Encoder"));
    EXPECT_THAT(Lines[1].Text, HasSubstr("expr=InBuf"));
    EXPECT_THAT(Lines[2].Text, HasSubstr("expr=OutBuf"));
    EXPECT_THAT(Lines[3].Text, HasSubstr("expr=pdwOutLen"));
    EXPECT_EQ(Length, 5); // untouched
}

TEST(SoftwareEncoder, TheFirstPictureIsAKeyPictureAndTheNextIsNot)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    const Coded First = EncodeOne(*pCodec, 0), Second = EncodeOne(*pCodec, 1);
    EXPECT_EQ(First.Result, 1);
    EXPECT_EQ(First.Type, kFrameI);
    EXPECT_TRUE(HasUnit(First.Bytes, 7));
    EXPECT_TRUE(HasUnit(First.Bytes, 8));
    EXPECT_TRUE(HasUnit(First.Bytes, 5));
    EXPECT_EQ(Second.Type, kFrameP);
    EXPECT_TRUE(HasUnit(Second.Bytes, 1));
    EXPECT_FALSE(HasUnit(Second.Bytes, 7));
}

TEST(SoftwareEncoder, OnlyAFlagOfOneForcesAKeyPicture)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EXPECT_EQ(EncodeOne(*pCodec, 0, 1).Type, kFrameI); // ignored on the first, which is one anyway
    EXPECT_EQ(EncodeOne(*pCodec, 1, 2).Type, kFrameP);
    const Coded Forced = EncodeOne(*pCodec, 2, 1);
    EXPECT_EQ(Forced.Type, kFrameI);
    EXPECT_TRUE(HasUnit(Forced.Bytes, 5));
    EXPECT_EQ(EncodeOne(*pCodec, 3, -1).Type, kFrameP);
}

TEST(SoftwareEncoder, TheFrameTypePointerMayBeNull)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 0, 0), 1);
    const auto Source = Picture(0);
    std::vector<uint8_t> Out(kSize.LumaBytes() * 3);
    int32_t Length = 0;
    EXPECT_EQ(pCodec->Encode(Source.data(), Out.data(), &Length, 0, nullptr), 1);
    EXPECT_GT(Length, 0);
}

TEST(SoftwareEncoder, AnIntervalMakesEveryKeyPictureAnIdrPicture)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 4, 100), 1);
    for (int i = 0; i < 13; ++i) {
        const Coded Out = EncodeOne(*pCodec, i);
        EXPECT_EQ(Out.Type, i % 4 ? kFrameP : kFrameI) << i;
        EXPECT_EQ(HasUnit(Out.Bytes, 5), i % 4 == 0) << i;
    }
}

TEST(SoftwareEncoder, WithoutAnIntervalAPictureInAHundredIsAnIPictureAndOnlyTheFirstIsIdr)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 0, 100), 1);
    for (int i = 0; i < 205; ++i) {
        const Coded Out = EncodeOne(*pCodec, i % 8);
        ASSERT_EQ(Out.Type, i % 100 ? kFrameP : kFrameI) << i;
        ASSERT_EQ(HasUnit(Out.Bytes, 5), i == 0) << i;
    }
}

TEST(SoftwareEncoder, InitAgainStartsANewStream)
{
    OpenPointer pCodec(new OpenCodec);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EncodeOne(*pCodec, 0);
    EncodeOne(*pCodec, 1);
    EXPECT_EQ(pCodec->m_EncodedFrames, 2u);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EXPECT_EQ(pCodec->m_EncodedFrames, 0u);
    EXPECT_TRUE(HasUnit(EncodeOne(*pCodec, 2).Bytes, 7));
}

TEST(SoftwareEncoder, StopsAtItsLimit)
{
    OpenPointer pCodec(new OpenCodec);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EXPECT_EQ(pCodec->m_EncodeFrameLimit, 850000000u);
    EXPECT_EQ(pCodec->m_DecodeFrameLimit, 0xFAA3B500u);
    pCodec->m_EncodedFrames = 849999999;
    EXPECT_EQ(EncodeOne(*pCodec, 0).Result, 1);
    const Coded Over = EncodeOne(*pCodec, 1);
    EXPECT_EQ(Over.Result, 0);
    EXPECT_EQ(Over.Length, 0);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EXPECT_EQ(EncodeOne(*pCodec, 0).Result, 1);
}

TEST(SoftwareEncoder, SetBitrateStartsANewStreamWithTheStoredSettings)
{
    OpenPointer pCodec(new OpenCodec);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EncodeOne(*pCodec, 0);
    EncodeOne(*pCodec, 1);
    EXPECT_EQ(pCodec->SetBitrate(50), 1);
    EXPECT_EQ(pCodec->m_BitsPerSecond, 50000);
    EXPECT_EQ(pCodec->m_iKeyinterval, 75);
    const Coded Out = EncodeOne(*pCodec, 2);
    EXPECT_TRUE(HasUnit(Out.Bytes, 5));
    EXPECT_TRUE(HasUnit(Out.Bytes, 7));
}

TEST(SoftwareEncoder, SetBitrateAssertsItsState)
{
    RecordingLog Log;
    OpenPointer pCodec(new OpenCodec);
    EXPECT_EQ(pCodec->SetBitrate(50), 0);
    EXPECT_EQ(Log.With("expr=m_pH264Encoder && m_pH264EncoderParams").size(), 1u);
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EXPECT_EQ(pCodec->SetBitrate(0), 0);
    EXPECT_EQ(Log.With("expr=iKbps").size(), 1u);
    EXPECT_EQ(pCodec->m_BitsPerSecond, 100000); // unchanged
}

// ---- Decoder side ----------------------------------------------------------------------------------------------

class SoftwareDecoder : public testing::Test
{
protected:
    SoftwareDecoder()
    {
        const CodecPointer pEncoder(new CVCodec_H264);
        EXPECT_EQ(pEncoder->InitEncoder(kSize.Width, kSize.Height, 15, 75, 200), 1);
        for (int i = 0; i < 5; ++i) m_Units.push_back(EncodeOne(*pEncoder, i).Bytes);
    }
    int32_t Decode(IVCodec& Codec, const std::vector<uint8_t>& Unit, int32_t* pType = nullptr)
    {
        return Codec.Decode(Unit.data(), static_cast<int32_t>(Unit.size()), m_Out.data(), pType);
    }

    std::vector<std::vector<uint8_t>> m_Units;
    std::vector<uint8_t> m_Out = std::vector<uint8_t>(kSize.I420Bytes(), 77);
};

TEST_F(SoftwareDecoder, ABadSizeIsAsserted)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    EXPECT_EQ(pCodec->InitDecoder(-1, 144), 0);
    EXPECT_EQ(pCodec->InitDecoder(176, 0), 0);
    EXPECT_EQ(Log.With("expr=(PictureWidth > 0) && (PictureHeight > 0)").size(), 2u);
}

TEST_F(SoftwareDecoder, NullArgumentsAreAsserted)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(pCodec->Decode(nullptr, 5, nullptr, nullptr), 0);
    EXPECT_EQ(pCodec->Decode(m_Out.data(), 5, nullptr, nullptr), 0);
    EXPECT_EQ(Log.With("expr=InBuf").size(), 1u);
    EXPECT_EQ(Log.With("expr=OutBuf").size(), 1u);
}

TEST_F(SoftwareDecoder, WithoutInitTheOutputCannotBeBound)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    EXPECT_EQ(Decode(*pCodec, m_Units[0]), 0);
    EXPECT_EQ(Log.With("expr=PutData(pout)").size(), 1u);
}

TEST_F(SoftwareDecoder, TheFirstCallGetsABlackPictureAndLeavesTheTypeAlone)
{
    OpenPointer pCodec(new OpenCodec);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    int32_t Type = -7;
    EXPECT_EQ(Decode(*pCodec, m_Units[0], &Type), 1);
    EXPECT_EQ(Type, -7);
    EXPECT_EQ(pCodec->m_DecodedFrames, 0u);
    EXPECT_EQ(m_Out[0], 16); // video black, not zeros
    EXPECT_EQ(m_Out[kSize.LumaBytes()], 128);
    EXPECT_EQ(m_Out.back(), 128);
}

TEST_F(SoftwareDecoder, AFragmentFirstGetsTheBlackPictureOnlyOnce)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    const std::vector<uint8_t> Fragment(m_Units[0].begin(), m_Units[0].begin() + 3);
    EXPECT_EQ(Decode(*pCodec, Fragment), 1);
    EXPECT_EQ(Decode(*pCodec, Fragment), 0);
    EXPECT_EQ(Log.Lines(),
              (std::vector<LogLine>{{kLogWarning, "qvlx - CVCodec_H264::Decode() Decode Failed err=-996"}}));
}

TEST_F(SoftwareDecoder, AnyOtherFirstFailureGetsNoPicture)
{
    RecordingLog Log;
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(Decode(*pCodec, {1, 2, 3, 4, 5, 6, 7, 8}), 0); // no start code
    EXPECT_EQ(m_Out[0], 77);
    EXPECT_EQ(Log.Lines(),
              (std::vector<LogLine>{{kLogWarning, "qvlx - CVCodec_H264::Decode() Decode Failed err=-897"}}));
}

TEST_F(SoftwareDecoder, ALengthOfZeroIsPassedDown)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(pCodec->Decode(m_Units[0].data(), 0, m_Out.data(), nullptr), 1); // first call: the black picture
    EXPECT_EQ(pCodec->Decode(m_Units[0].data(), 0, m_Out.data(), nullptr), 0);
    EXPECT_EQ(pCodec->Decode(m_Units[0].data(), -5, m_Out.data(), nullptr), 0);
}

TEST_F(SoftwareDecoder, PicturesComeOneCallLateWithTheirTypes)
{
    OpenPointer pCodec(new OpenCodec);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(Decode(*pCodec, m_Units[0]), 1);
    for (size_t i = 1; i <= m_Units.size(); ++i) {
        int32_t Type = -7;
        const int32_t Result = i < m_Units.size() ? Decode(*pCodec, m_Units[i], &Type)
                                                  : pCodec->Decode(kDelimiter, sizeof kDelimiter, m_Out.data(), &Type);
        EXPECT_EQ(Result, 1);
        EXPECT_EQ(Type, i == 1 ? kFrameI : kFrameP);
        EXPECT_EQ(pCodec->m_DecodedFrames, i);
    }
    EXPECT_EQ(pCodec->Decode(kDelimiter, sizeof kDelimiter, m_Out.data(), nullptr), 0);
}

TEST_F(SoftwareDecoder, StopsAtItsLimit)
{
    OpenPointer pCodec(new OpenCodec);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(pCodec->m_DecodeFrameLimit, 0xFAA3B500u);
    pCodec->m_DecodedFrames = 0xFAA3B500u;
    EXPECT_EQ(Decode(*pCodec, m_Units[0]), 0);
    EXPECT_TRUE(pCodec->m_bFirstDecode); // nothing ran
}

TEST_F(SoftwareDecoder, InitAgainStartsANewSession)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(Decode(*pCodec, m_Units[0]), 1);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    int32_t Type = -7;
    EXPECT_EQ(Decode(*pCodec, m_Units[0], &Type), 1);
    EXPECT_EQ(Type, -7); // the stand-in again
    EXPECT_EQ(Decode(*pCodec, m_Units[1], &Type), 1);
    EXPECT_EQ(Type, kFrameI);
}

TEST_F(SoftwareDecoder, AStreamOfAnotherSizeIsScaledIntoTheClientsPicture)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(88, 72), 1);
    std::vector<uint8_t> Small(88 * 72 * 3 / 2 + 16, 0xA5);
    EXPECT_EQ(pCodec->Decode(m_Units[0].data(), static_cast<int32_t>(m_Units[0].size()), Small.data(), nullptr), 1);
    int32_t Type = -7;
    EXPECT_EQ(pCodec->Decode(m_Units[1].data(), static_cast<int32_t>(m_Units[1].size()), Small.data(), &Type), 1);
    EXPECT_EQ(Type, kFrameI);
    for (size_t i = Small.size() - 16; i < Small.size(); ++i) EXPECT_EQ(Small[i], 0xA5);
}

TEST_F(SoftwareDecoder, BothSidesOfOneObjectAreTornDown)
{
    const CodecPointer pCodec(new CVCodec_H264); // the leak checker watches
    ASSERT_EQ(pCodec->InitEncoder(176, 144, 15, 75, 100), 1);
    EncodeOne(*pCodec, 0);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(Decode(*pCodec, m_Units[0]), 1);
}

TEST_F(SoftwareDecoder, SurvivesEveryTruncationAndManyFlippedBits)
{
    const CodecPointer pCodec(new CVCodec_H264);
    ASSERT_EQ(pCodec->InitDecoder(176, 144), 1);
    for (size_t Cut = 0; Cut < m_Units[0].size(); Cut += 1 + Cut / 16)
        pCodec->Decode(m_Units[0].data(), static_cast<int32_t>(Cut), m_Out.data(), nullptr);
    uint32_t Seed = 1;
    for (int Round = 0; Round < 300; ++Round) {
        auto Unit = m_Units[static_cast<size_t>(Round) % m_Units.size()];
        for (int i = 0; i < 5; ++i) {
            Seed = Seed * 1103515245 + 12345;
            Unit[(Seed >> 8) % Unit.size()] ^= static_cast<uint8_t>(1u << (Seed >> 4 & 7));
        }
        Decode(*pCodec, Unit);
    }
    // An intact key picture brings the session back.
    Decode(*pCodec, m_Units[0]);
    int32_t Type = -7;
    EXPECT_EQ(Decode(*pCodec, m_Units[1], &Type), 1);
    EXPECT_EQ(Type, kFrameI);
}
