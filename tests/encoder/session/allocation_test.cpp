// In the steady state a picture costs no allocation.
#include "tests/encoder/encoder_testing.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;

TEST(SteadyState, APictureCostsNoAllocation)
{
    UMC::H264EncoderParams p = SizedParams(176, 144);
    p.num_slices = 2;
    p.key_frame_interval = 4;
    p.idr_interval = 1;
    UMC::H264VideoEncoder e;
    ASSERT_EQ(e.Init(&p), UMC::StatusOk);
    auto Clip = MakeClip(Scene::Mixed, 176, 144, 12);
    UMC::VideoData Input;
    Input.Init(176, 144, UMC::YUV420, 8);
    UMC::MediaData Output(1 << 20);
    const FailingAllocation Count(0);
    size_t Before = 0;
    for (size_t i = 0; i < Clip.size(); ++i) {
        if (i == 3) Before = FailingAllocation::Requests();
        Input.SetBufferPointer(Clip[i].data(), Clip[i].size());
        Input.SetTime(static_cast<double>(i));
        Output.Reset();
        const UMC::Status s = e.GetFrame(&Input, &Output);
        if (s != UMC::StatusOk) FAIL() << s;
    }
    EXPECT_GT(Before, 0u);
    EXPECT_EQ(FailingAllocation::Requests(), Before);
}

} // namespace
