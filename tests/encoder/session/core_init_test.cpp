// A change of rate: it belongs to the sequence, and the settings stay as Init made them.
#include "encoder/session/core_init.h"

#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

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

} // namespace
