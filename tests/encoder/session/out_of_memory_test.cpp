// Memory that runs out at any request of an encoder's life: a status, and nothing left half made.
#include "tests/encoder/encoder_testing.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

namespace {

using namespace encoder_testing;

constexpr int32_t kWidth = 64, kHeight = 48;
constexpr size_t kPictures = 10;

// What the encoder is given, made before memory runs out.
struct Material {
    explicit Material(UMC::ColorFormat Format)
    {
        Params = SizedParams(kWidth, kHeight);
        Params.num_slices = 2;
        Params.num_ref_frames = 2;
        Params.search_method = 8; // with a visited map
        Params.key_frame_interval = 4;
        Params.idr_interval = 1;
        Params.write_access_unit_delimiters = 1;
        Input.Init(kWidth, kHeight, Format);
        std::mt19937 Rng(1);
        Picture Source(Input.GetMappingSize());
        for (size_t i = 0; i < kPictures; ++i) {
            for (size_t k = 0; k < Source.size(); ++k) Source[k] = static_cast<uint8_t>(k + 3 * i + (Rng() & 7));
            Sources.push_back(Source);
        }
        Buffer.resize(4 * Source.size() + 65536);
    }

    UMC::H264EncoderParams Params;
    UMC::VideoData Input;
    std::vector<Picture> Sources;
    std::vector<uint8_t> Buffer;
};

// What came of one life: the statuses of Init and of each picture, and the stream. It takes no memory while it is
// filled.
struct Life {
    UMC::Status Init = UMC::StatusOk;
    std::array<UMC::Status, kPictures> Frames{};
    std::array<bool, kPictures> bFailing{}; // a request failed inside this call
    bool bFailingInit = false;
    bool bThrown = false;
    std::vector<uint8_t> Stream;

    Life() { Stream.reserve(1 << 18); }
};

// @param Left  the picture to leave out, or kPictures
void Encode(UMC::H264VideoEncoder& e, Material& m, Life& Out, const FailingAllocation& Memory, size_t Left = kPictures)
try {
    Out.Stream.clear();
    Out.Init = e.Init(&m.Params);
    Out.bFailingInit = Memory.Failed();
    bool bFailedBefore = Memory.Failed();
    for (size_t i = 0; i < kPictures; ++i) {
        if (i == Left) continue;
        m.Input.SetBufferPointer(m.Sources[i].data(), m.Sources[i].size());
        UMC::MediaData Output;
        Output.SetBufferPointer(m.Buffer.data(), m.Buffer.size());
        Out.Frames[i] = e.GetFrame(&m.Input, &Output);
        const auto* const p = static_cast<const uint8_t*>(Output.GetDataPointer());
        Out.Stream.insert(Out.Stream.end(), p, p + Output.GetDataSize());
        Out.bFailing[i] = Memory.Failed() != bFailedBefore;
        bFailedBefore = Memory.Failed();
    }
} catch (const std::bad_alloc&) {
    Out.bThrown = true;
}

class EncoderOutOfMemory : public testing::TestWithParam<UMC::ColorFormat>
{
protected:
    Material m_Material{GetParam()};

    Life Undisturbed(size_t Left = kPictures)
    {
        const FailingAllocation Memory(0);
        Life l;
        UMC::H264VideoEncoder e;
        Encode(e, m_Material, l, Memory, Left);
        return l;
    }
    // Requests of an undisturbed life.
    size_t CountRequests()
    {
        Life l;
        const FailingAllocation Memory(0);
        {
            UMC::H264VideoEncoder e;
            Encode(e, m_Material, l, Memory);
        }
        return FailingAllocation::Requests();
    }
};

TEST_P(EncoderOutOfMemory, IsAStatusAtEveryRequestAndTheNextInitWorks)
{
    const Life Whole = Undisturbed();
    ASSERT_EQ(Whole.Init, UMC::StatusOk);
    for (const UMC::Status s : Whole.Frames) ASSERT_EQ(s, UMC::StatusOk);
    const size_t Requests = CountRequests();
    ASSERT_GT(Requests, 20u);
    for (size_t FailAt = 1; FailAt <= Requests; ++FailAt) {
        SCOPED_TRACE("request " + std::to_string(FailAt) + " of " + std::to_string(Requests));
        Life First, Second;
        ptrdiff_t Held;
        {
            const FailingAllocation Memory(FailAt);
            {
                UMC::H264VideoEncoder e;
                Encode(e, m_Material, First, Memory);
                Encode(e, m_Material, Second, Memory);
            }
            Held = FailingAllocation::BlocksHeld();
        }
        EXPECT_EQ(Held, 0);
        ASSERT_FALSE(First.bThrown || Second.bThrown);
        EXPECT_EQ(First.Init, First.bFailingInit ? UMC::StatusAllocFailed : UMC::StatusOk);
        size_t Lost = kPictures;
        for (size_t i = 0; i < kPictures; ++i) {
            EXPECT_EQ(First.Frames[i], First.bFailingInit  ? UMC::StatusNotInitialized
                                       : First.bFailing[i] ? UMC::StatusAllocFailed
                                                           : UMC::StatusOk);
            if (First.bFailing[i]) Lost = i;
        }
        EXPECT_TRUE(First.bFailingInit || Lost < kPictures);
        // As if the picture had never been given.
        if (!First.bFailingInit) {
            EXPECT_TRUE(First.Stream == Undisturbed(Lost).Stream) << Lost;
        }
        EXPECT_EQ(Second.Init, UMC::StatusOk);
        EXPECT_TRUE(Second.Stream == Whole.Stream);
    }
}

TEST_P(EncoderOutOfMemory, MayLastForGood)
{
    const size_t Requests = CountRequests();
    for (size_t FailAt = 1; FailAt <= Requests; ++FailAt) {
        SCOPED_TRACE("request " + std::to_string(FailAt));
        Life l;
        ptrdiff_t Held;
        {
            const FailingAllocation Memory(FailAt, FailingAllocation::After::Fail);
            {
                UMC::H264VideoEncoder e;
                Encode(e, m_Material, l, Memory);
            }
            Held = FailingAllocation::BlocksHeld();
        }
        EXPECT_EQ(Held, 0);
        ASSERT_FALSE(l.bThrown);
        EXPECT_EQ(l.Init, l.bFailingInit ? UMC::StatusAllocFailed : UMC::StatusOk);
        for (const UMC::Status s : l.Frames)
            EXPECT_TRUE(s == UMC::StatusOk ||
                        s == (l.bFailingInit ? UMC::StatusNotInitialized : UMC::StatusAllocFailed))
                << s;
        if (!l.bFailingInit) {
            EXPECT_EQ(l.Frames.back(), UMC::StatusAllocFailed);
        }
    }
}

// A picture that is copied, and one that the converter needs memory of its own for.
INSTANTIATE_TEST_SUITE_P(Inputs, EncoderOutOfMemory, testing::Values(UMC::YUV420, UMC::RGB24));

} // namespace
