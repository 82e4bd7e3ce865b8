// The decoder when memory runs out: at every request that it makes, once or for a while.
#include "decoder/session/video_decoder.h"
#include "tests/decoder/alpha_stream.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"
#include "tools/h264_decode/stream_decoder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace UMC;
using Bytes = std::vector<uint8_t>;

// 10 pictures of 64x44, cropped, with three slices each, B pictures, explicit weights and arithmetic coding; one IDR
// picture.
const Bytes& SmallStream()
{
    static const Bytes s_Stream = [] {
        const TemporaryFolder Folder;
        const std::string Source = Folder.File("s.yuv"), Target = Folder.File("s.264");
        Bytes Pictures;
        for (int Frame = 0; Frame < 10; ++Frame)
            for (int y = 0; y < 66; ++y)
                for (int x = 0; x < 64; ++x) Pictures.push_back(static_cast<uint8_t>(x * 3 + y * y + Frame * 9));
        test::WriteWholeFile(Source, Pictures);
        const std::string Command =
            "x264 --quiet --threads 1 --slices 3 --bframes 2 --ref 2 --keyint 100 --qp 24 --input-res 64x44 -o " +
            Target + " " + Source + " >/dev/null 2>&1";
        EXPECT_EQ(test_system::RunCommand(Command), 0);
        return test::ReadWholeFile(Target);
    }();
    return s_Stream;
}

const Bytes& StreamWithAlpha()
{
    static const Bytes s_Stream = [] {
        test::AlphaStream In(10);
        In.AddFrames();
        return In.Both;
    }();
    return s_Stream;
}

// Units by where they begin, so that a call may get one of them.
std::vector<size_t> UnitsOf(const Bytes& Stream)
{
    std::vector<size_t> Begins;
    for (size_t i = 0; i + 3 < Stream.size(); ++i)
        if (Stream[i] == 0 && Stream[i + 1] == 0 && Stream[i + 2] == 1) Begins.push_back(i);
    Begins.push_back(Stream.size());
    return Begins;
}

// A decoder whose pictures are taken as numbers. It makes no request of its own once it stands.
class Session
{
public:
    explicit Session(const Bytes& Stream)
        : m_Tap([this](const VideoData& Picture) { Take(Picture); }), m_Stream(Stream), m_Begins(UnitsOf(Stream))
    {
        m_Pictures.reserve(200);
        m_Output.SetBufferPointer(m_Mark, sizeof m_Mark);
        m_Params.m_Info.m_StreamType = kStreamTypeH264;
        m_Params.m_NumThreads = 1;
        m_Params.m_pPostProcessing = &m_Tap;
    }

    Status Init() { return Noted(m_Decoder->Init(&m_Params)); }
    // The stream, a unit a call, and the flush.
    void Decode()
    {
        for (size_t i = 0; i + 1 < m_Begins.size(); ++i) {
            MediaData Input;
            Input.SetBufferPointer(const_cast<uint8_t*>(m_Stream.data()) + m_Begins[i], m_Begins[i + 1] - m_Begins[i]);
            Input.SetDataSize(m_Begins[i + 1] - m_Begins[i]);
            Noted(m_Decoder->GetFrame(&Input, &m_Output));
        }
        Drain();
    }
    void Drain()
    {
        for (int i = 0; i < 30; ++i) Noted(m_Decoder->GetFrame(nullptr, &m_Output));
    }
    std::vector<uint64_t> TakePictures()
    {
        std::vector<uint64_t> Pictures(m_Pictures.begin(), m_Pictures.end());
        m_Pictures.clear();
        return Pictures;
    }
    void Forget() { m_Pictures.clear(); }
    bool SawMemoryRunOut() const { return m_RanOut; }
    Status OddStatus() const { return m_OddStatus; } // one that nothing documents, or 0
    void Make()
    {
        m_Decoder.emplace();
        m_RanOut = false;
    }
    void Destroy() { m_Decoder.reset(); }

private:
    Status Noted(Status s)
    {
        m_RanOut |= s == StatusAllocFailed;
        // A parameter set that was lost makes one that refers to it bad.
        constexpr Status Documented[] = {StatusOk, StatusNotEnoughData, StatusAllocFailed, StatusFailed,
                                         StatusInvalidParams};
        if (std::find(std::begin(Documented), std::end(Documented), s) == std::end(Documented)) m_OddStatus = s;
        return s;
    }
    void Take(const VideoData& Picture)
    {
        uint64_t Digest = 14695981039346656037u;
        tools::ForEachRow(Picture, [&](std::span<const uint8_t> Row) {
            for (const uint8_t Byte : Row) Digest = (Digest ^ Byte) * 1099511628211u;
        });
        if (m_Pictures.size() < m_Pictures.capacity()) m_Pictures.push_back(Digest);
    }

    tools::PictureTap m_Tap;
    VideoDecoderParams m_Params;
    VideoData m_Output;
    uint8_t m_Mark[2] = {};
    std::optional<H264VideoDecoder> m_Decoder;
    const Bytes& m_Stream;
    std::vector<size_t> m_Begins;
    std::vector<uint64_t> m_Pictures;
    bool m_RanOut = false;
    Status m_OddStatus = StatusOk;
};

std::vector<uint64_t> Undisturbed(const Bytes& Stream)
{
    Session s(Stream);
    s.Make();
    EXPECT_EQ(s.Init(), StatusOk);
    s.Decode();
    return s.TakePictures();
}

// Behind the failure: the same decoder goes on at the next IDR picture, then it is initialised again.
void ExpectRecovery(Session& s, Status Started, const std::vector<uint64_t>& Want)
{
    if (Started == StatusOk) {
        s.Drain();
        s.Forget();
        s.Decode();
        EXPECT_EQ(s.TakePictures(), Want) << "the same decoder";
    }
    EXPECT_EQ(s.Init(), StatusOk);
    s.Decode();
    EXPECT_EQ(s.TakePictures(), Want) << "after the next Init";
}

struct StreamCase {
    const char* pName;
    const Bytes& (*Stream)();
    size_t Pictures;
};

class OutOfMemory : public testing::TestWithParam<StreamCase>
{
};

TEST_P(OutOfMemory, AnyRequestMayFailOnce)
{
    const std::vector<uint64_t> Want = Undisturbed(GetParam().Stream());
    ASSERT_EQ(Want.size(), GetParam().Pictures);
    Session s(GetParam().Stream());
    size_t n = 1;
    for (bool Failed = true; Failed && !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        const FailingAllocation Fault(n);
        s.Make();
        const Status Started = s.Init();
        if (Started == StatusOk) s.Decode();
        Failed = Fault.Failed();
        EXPECT_EQ(Failed, s.SawMemoryRunOut() || Started != StatusOk) << "the failure is answered";
        if (Failed) ExpectRecovery(s, Started, Want);
        EXPECT_EQ(s.OddStatus(), StatusOk);
        s.Destroy();
        s.Forget();
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 0);
    }
    EXPECT_GT(n, 50u) << "requests";
}

TEST_P(OutOfMemory, MemoryMayStayAwayForAWhile)
{
    const std::vector<uint64_t> Want = Undisturbed(GetParam().Stream());
    Session s(GetParam().Stream());
    size_t n = 1;
    for (bool Failed = true; Failed && !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        Status Started;
        s.Make();
        {
            const FailingAllocation Fault(n, FailingAllocation::After::Fail);
            Started = s.Init();
            if (Started == StatusOk) s.Decode();
            Failed = Fault.Failed();
        }
        if (Failed) ExpectRecovery(s, Started, Want);
        EXPECT_EQ(s.OddStatus(), StatusOk);
        s.Destroy();
        s.Forget();
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, OutOfMemory,
                         testing::Values(StreamCase{"Slices", SmallStream, 10},
                                         StreamCase{"AuxiliaryPictures", StreamWithAlpha, 4}),
                         [](const auto& Info) { return Info.param.pName; });

} // namespace
