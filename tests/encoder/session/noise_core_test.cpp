// The noise filter at its place in the encoder: off, and turned on through its own interface.
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

// An encoder without its front, so that its filter is at hand.
struct Coder {
    UMC::DefaultMemoryAllocator Allocator; // outlives the frames
    std::unique_ptr<Core8> pCore = std::make_unique<Core8>();
    UMC::VideoData Input;
    std::vector<uint8_t> Buffer = std::vector<uint8_t>(1 << 20);
    std::vector<uint8_t> Stream;

    Coder(int32_t Width, int32_t Height)
    {
        UMC::H264EncoderParams p = SizedParams(Width, Height);
        p.rate_control_method = RATE_CONTROL_CONSTANT_QP;
        EXPECT_EQ(InitCore(*pCore, p, &Allocator), UMC::StatusOk);
        Input.Init(Width, Height, UMC::YUV420, 8);
    }
    UMC::Status Encode(Picture& Source)
    {
        Input.SetBufferPointer(Source.data(), Source.size());
        UMC::MediaData Output;
        Output.SetBufferPointer(Buffer.data(), Buffer.size());
        const UMC::Status s = FrameStep(*pCore, &Input, &Output);
        const auto* const pData = static_cast<const uint8_t*>(Output.GetDataPointer());
        Stream.insert(Stream.end(), pData, pData + Output.GetDataSize());
        return s;
    }
};

// What the filter makes of a clip by itself.
std::vector<Picture> Filtered(std::vector<Picture> Clip, int32_t Width, int32_t Height, uint32_t Mode)
{
    CNoiseReductionFilter<uint8_t> f(1, 1, 0);
    f.Enable(true);
    f.SetMode(Mode);
    for (Picture& p : Clip) {
        uint8_t* const pU = p.data() + Width * Height;
        EXPECT_TRUE(f.Process(p.data(), pU, pU + Width * Height / 4, Width, Width / 2, Width, Height));
    }
    return Clip;
}

std::vector<uint8_t> StreamOf(std::vector<Picture> Clip, int32_t Width, int32_t Height, uint32_t Mode = 0)
{
    Coder c(Width, Height);
    if (Mode != 0) {
        c.pCore->NoiseFilter.Enable(true);
        c.pCore->NoiseFilter.SetMode(Mode);
    }
    for (Picture& p : Clip) EXPECT_EQ(c.Encode(p), UMC::StatusOk);
    return c.Stream;
}

TEST(EncoderNoiseFilter, IsBuiltOff)
{
    const Coder c(96, 80);
    EXPECT_FALSE(c.pCore->NoiseFilter.IsEnabled());
    EXPECT_EQ(c.pCore->NoiseFilter.GetMode(), 3u);
}

TEST(EncoderNoiseFilter, TurnedOnIsWhatThePicturesPassBeforeTheyAreCoded)
{
    const auto Clip = MakeClip(Scene::Mixed, 96, 80, 6);
    const auto Plain = StreamOf(Clip, 96, 80);
    for (const uint32_t Mode :
         {NOISE_MEDIAN + NOISE_BORDERS, NOISE_TABLE + 0u, NOISE_MEDIAN + NOISE_BORDERS + NOISE_TABLE}) {
        const auto Stream = StreamOf(Clip, 96, 80, Mode);
        EXPECT_TRUE(Stream == StreamOf(Filtered(Clip, 96, 80, Mode), 96, 80)) << Mode;
        EXPECT_FALSE(Stream == Plain) << Mode;
    }
}

TEST(EncoderNoiseFilter, InitStartsIt)
{
    UMC::DefaultMemoryAllocator Allocator;
    const auto pCore = std::make_unique<Core8>();
    pCore->NoiseFilter.Enable(true);
    std::vector<uint8_t> Bright(64 * 3 / 2, 200);
    std::fill_n(Bright.begin(), 8, uint8_t{201});
    ASSERT_TRUE(pCore->NoiseFilter.Process(Bright.data(), Bright.data() + 64, Bright.data() + 80, 8, 4, 8, 8));
    ASSERT_EQ(pCore->NoiseFilter.Borders().top_state, BORDER_TRUSTED);
    ASSERT_EQ(InitCore(*pCore, SizedParams(96, 80), &Allocator), UMC::StatusOk);
    EXPECT_EQ(pCore->NoiseFilter.Borders().top_state, BORDER_UNKNOWN);
}

// Sizes that the filter refuses are coded all the same: it passes them as they are.
TEST(EncoderNoiseFilter, StaysOffForSizesThatItRefuses)
{
    for (const auto& [Width, Height] : {std::pair{178, 146}, {178, 144}, {176, 146}, {4, 16}, {16, 4}}) {
        const auto Clip = MakeClip(Scene::Mixed, Width, Height, 3);
        const auto Plain = StreamOf(Clip, Width, Height);
        EXPECT_FALSE(Plain.empty());
        EXPECT_TRUE(StreamOf(Clip, Width, Height, 7) == Plain) << Width << 'x' << Height;
    }
}

TEST(EncoderNoiseFilter, WithoutMemoryPassesThePictureOn)
{
    auto Clip = MakeClip(Scene::Still, 96, 80, 3);
    Coder c(96, 80), Plain(96, 80);
    for (Coder* p : {&c, &Plain}) ASSERT_EQ(p->Encode(Clip[0]), UMC::StatusOk); // frames are there now
    for (Coder* p : {&c, &Plain}) ASSERT_EQ(p->Encode(Clip[1]), UMC::StatusOk);
    c.pCore->NoiseFilter.Enable(true);
    c.pCore->NoiseFilter.SetMode(NOISE_MEDIAN);
    {
        const FailingAllocation Memory(1);
        EXPECT_EQ(c.Encode(Clip[2]), UMC::StatusOk);
        EXPECT_TRUE(Memory.Failed());
    }
    ASSERT_EQ(Plain.Encode(Clip[2]), UMC::StatusOk);
    EXPECT_TRUE(c.Stream == Plain.Stream);
}

} // namespace
