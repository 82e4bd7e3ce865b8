// The Intel engine when memory runs out at each request in turn, and after many sessions: what stays is what is told.
#include "tests/intel/intel_test.h"

#include "front/VCodec_H264.h"
#include "tests/support/failing_allocation.h"

using namespace intel_test;

namespace {

constexpr int32_t kSurfaces = 3;

const Bytes& KeyUnit(FrameSize Size)
{
    static std::map<int32_t, Bytes> s_Units;
    Bytes& Unit = s_Units[Size.Width];
    if (!Unit.empty()) return Unit;
    CVCodec_H264 Source;
    EXPECT_EQ(Source.InitEncoder(Size.Width, Size.Height, 15, 30, 400), 1);
    Unit.resize(Size.LumaBytes() * 3);
    int32_t Length = 0;
    EXPECT_EQ(Source.Encode(Picture(0, Size).data(), Unit.data(), &Length, 0, nullptr), 1);
    Unit.resize(static_cast<size_t>(Length));
    return Unit;
}

class IntelOutOfMemory : public IntelEngine
{
protected:
    IntelOutOfMemory() { m_Script.Set("surfaces", kSurfaces); }

    /// Runs a session with the first request failing, then the second.. until none fails. Tells each how much stayed.
    template <class Session, class Check>
    size_t ForEachRequest(Session&& Run, Check&& Stays)
    {
        const HeapWatch Watch;
        const SilentLog Silent;
        Run();
        size_t n = 0;
        for (bool bFailed = true; bFailed;) {
            DriverKeepTrace(0);
            const FailingAllocation Fail(++n);
            Run();
            bFailed = Fail.Failed();
            Stays(n, FailingAllocation::BlocksHeld());
            EXPECT_EQ(m_Script.Live(), 0) << n;
        }
        return n - 1;
    }

    Bytes m_Out = Bytes(96 * 64 * 3);
};

} // namespace

TEST_F(IntelOutOfMemory, AnEncodingSessionAnswersEachCallAndRecovers)
{
    Picture(0);
    const auto Session = [&] {
        auto* const pCodec = new (std::nothrow) CVCodecH264hw(1);
        if (!pCodec) return;
        if (pCodec->InitEncoder(96, 64, 15, 30, 400) != 1) {
            EXPECT_EQ(pCodec->InitEncoder(96, 64, 15, 30, 400), 1); // one request fails: the next Init finds memory
        }
        int32_t Length = 0, Type = 0;
        EXPECT_EQ(pCodec->Encode(Picture(0).data(), m_Out.data(), &Length, 0, &Type), 1);
        EXPECT_EQ(Type, 1);
        pCodec->SetBitrate(200);
        EXPECT_EQ(pCodec->Release(), 0);
    };
    testing::internal::CaptureStdout(); // the reports
    ptrdiff_t Most = 0;
    const size_t Requests = ForEachRequest(Session, [&](size_t n, ptrdiff_t Held) {
        EXPECT_LT(Held, kSurfaces) << n; // of too few frames those that had been made stay
        Most = std::max(Most, Held);
    });
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(Most, kSurfaces - 1);
    EXPECT_GE(Requests, 10u);
}

TEST_F(IntelOutOfMemory, ADecodingSessionAnswersEachCallAndRecovers)
{
    const Bytes& Unit = KeyUnit(kSize);
    const auto Length = static_cast<int32_t>(Unit.size());
    const auto Session = [&] {
        auto* const pCodec = new (std::nothrow) CVCodecH264hw(1);
        if (!pCodec) return;
        const int32_t Result = pCodec->InitDecoder(96, 64);
        if (Result != 1) {
            EXPECT_TRUE(Result == 0 || Result == -4);
            EXPECT_EQ(pCodec->InitDecoder(96, 64), 1);
        }
        int32_t Type = 0;
        const bool bFirst = pCodec->Decode(Unit.data(), Length, m_Out.data(), &Type) == 1;
        EXPECT_TRUE(bFirst || pCodec->Decode(Unit.data(), Length, m_Out.data(), &Type) == 1);
        EXPECT_EQ(Type, 1);
        EXPECT_EQ(pCodec->Release(), 0);
    };
    testing::internal::CaptureStdout();
    const size_t Requests = ForEachRequest(Session, [&](size_t n, ptrdiff_t Held) {
        EXPECT_TRUE(Held == kSurfaces || (n == 1 && Held == 0)) << n << ": " << Held; // the records, and nothing else
    });
    testing::internal::GetCapturedStdout();
    EXPECT_GE(Requests, 8u);
}

// Among them the retry whose InitDecoder answers -4: it goes on, and nothing crashes.
TEST_F(IntelOutOfMemory, ARetryAnswersItsCall)
{
    const FrameSize kSmall{64, 48};
    const Bytes &Unit = KeyUnit(kSize), &Other = KeyUnit(kSmall);
    RecordingLog Kept;
    testing::internal::CaptureStdout(); // the reports
    size_t MinusFour = 0;
    for (size_t n = 1; n < 40; ++n) {
        Engine Codec;
        ASSERT_EQ(Codec->InitDecoder(96, 64), 1);
        ASSERT_EQ(Decode(*Codec, Unit).Type, 1);
        Kept.Clear();
        int32_t Type = 0, Result;
        {
            const HeapWatch Watch;
            const FailingAllocation Fail(n);
            Result = Codec->Decode(Other.data(), static_cast<int32_t>(Other.size()), m_Out.data(), &Type);
            if (!Fail.Failed()) break;
        }
        EXPECT_TRUE(Result == 1 || Type == 0 || Type == -1) << n;
        if (Kept.With("InitDecoder retry bRet2=-4").empty()) continue;
        ++MinusFour;
        EXPECT_EQ(Result, 0);
        EXPECT_EQ(Kept.Lines().back().Text, "qvlx - CH264hwDec::Decode() DecodeHeader retry bDecodeHeaderOK=0");
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(MinusFour, 1u);
    EXPECT_EQ(m_Script.Live(), 0);
}

TEST_F(IntelOutOfMemory, TenThousandSessionsLeaveNothingButTheRecords)
{
    constexpr int kSessions = 10000;
    const Bytes& Unit = KeyUnit(kSize);
    Picture(0);
    DriverKeepTrace(0);
    const HeapWatch Watch;
    const SilentLog Silent;
    const auto Session = [&](bool bCodes) {
        Engine Codec;
        ASSERT_EQ(Codec->InitEncoder(96, 64, 15, 30, 400), 1);
        ASSERT_EQ(Codec->InitDecoder(96, 64), 1);
        if (!bCodes) return;
        int32_t Length = 0, Type = 0;
        ASSERT_EQ(Codec->Encode(Picture(0).data(), m_Out.data(), &Length, 0, &Type), 1);
        ASSERT_EQ(Codec->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), m_Out.data(), &Type), 1);
    };
    Session(true);
    const FailingAllocation Held(0);
    constexpr int kCoding = 200;
    for (int i = 0; i < kSessions; ++i) Session(i % (kSessions / kCoding) == 0);
    EXPECT_EQ(Held.BlocksHeld(), kCoding * kSurfaces);
    EXPECT_EQ(m_Script.Live(), 0);
}
