// What Init makes of the settings, and a change of rate, which belongs to the sequence: the settings stay.
#include "encoder/session/core_init.h"

#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

TEST(RateChange, LeavesTheSettingsOfInitAlone)
{
    UMC::H264EncoderParams p = SizedParams(32, 32);
    p.m_Info.m_Bitrate = 100000;
    p.m_Info.m_FrameRate = 20.0;
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    ASSERT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
    p.m_Info.m_Bitrate = 200000;
    p.m_Info.m_FrameRate = 10.0;
    ASSERT_EQ(SetCoreRate(c.Settings, c.Sequence, p), UMC::StatusOk);
    EXPECT_EQ(c.Settings.Params.m_Info.m_Bitrate, 100000);
    EXPECT_EQ(c.Settings.Params.m_Info.m_FrameRate, 20.0);
    EXPECT_EQ(c.Sequence.Rate.GetQP(FRAME_P), RateController::InitialQp(200000, 10.0, 32, 32, 8, 1, false, 51));
}

std::vector<int32_t> SliceLengths(int32_t Width, int32_t Height, int32_t CodingType, int16_t Slices)
{
    UMC::H264EncoderParams p = SizedParams(Width, Height);
    p.coding_type = CodingType;
    p.num_slices = Slices;
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
    std::vector<int32_t> Lengths;
    for (int i = 0; i < Slices; ++i) Lengths.push_back(c.Job.Slices[static_cast<size_t>(i)].Facts.MbLimit);
    return Lengths;
}

TEST(Slices, DivideAPictureEquallyAndTheLastTakesTheRest)
{
    using Lengths = std::vector<int32_t>;
    EXPECT_EQ(SliceLengths(176, 144, CODING_FRAMES, 4), (Lengths{24, 24, 24, 27}));
    EXPECT_EQ(SliceLengths(16, 48, CODING_FIELDS, 3), (Lengths{0, 0, 2})); // 16x64 coded
    EXPECT_EQ(SliceLengths(48, 64, CODING_ADAPTIVE, 4), (Lengths{2, 2, 2, 6})) << "whole pairs";
    EXPECT_EQ(SliceLengths(16, 32, CODING_ADAPTIVE, 2), (Lengths{0, 2}));
}

} // namespace
