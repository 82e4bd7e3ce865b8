// The key frame rule, which settings and the state of the sequence decide alone.
#include "encoder/session/frame_step.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace UMC_H264_ENCODER;

// Types that the rule gives Count pictures; an IDR picture is 'K'.
std::string Types(int32_t NumB, int32_t KeyInterval, int32_t IdrInterval, int Count, bool bKeepPattern = false)
{
    EncoderSettings Settings;
    SequenceState<uint8_t> Sequence;
    Settings.Params.num_b_frames = NumB;
    Settings.Params.key_frame_interval = KeyInterval;
    Settings.Params.idr_interval = IdrInterval;
    Settings.Params.keep_pattern_at_key = bKeepPattern;
    Settings.gop_length = NumB + 1;
    Settings.gop_pattern.assign(static_cast<size_t>(NumB) + 1, FRAME_B);
    Settings.gop_pattern[0] = FRAME_P;
    Sequence.key_countdown = static_cast<uint32_t>(KeyInterval) + 1;
    Sequence.idr_countdown = static_cast<uint32_t>(IdrInterval) + 1;
    std::string s;
    for (int i = 0; i < Count; ++i) {
        const int32_t Type = NextFrameType(Settings, Sequence);
        const bool bIdr = Type == FRAME_I && Sequence.make_idr_next;
        s += bIdr ? 'K' : Type == FRAME_I ? 'I' : Type == FRAME_P ? 'P' : 'B';
        if (bIdr) Sequence.make_idr_next = false;
        ++Sequence.poc_frame_count;
    }
    return s;
}

TEST(KeyFrameRule, PatternsWithoutBPictures)
{
    EXPECT_EQ(Types(0, 4, 1, 10), "KPPPKPPPKP");
    EXPECT_EQ(Types(0, 4, 0, 10), "KPPPIPPPIP");
    EXPECT_EQ(Types(0, 3, 2, 13), "KPPIPPKPPIPPK");
    EXPECT_EQ(Types(0, 1, 1, 3), "KKK");
    EXPECT_EQ(Types(0, 0, 0, 6), "KPPPPP");
}

TEST(KeyFrameRule, PatternsWithBPictures)
{
    EXPECT_EQ(Types(2, 100, 0, 9), "KBBPBBPBB");
    EXPECT_EQ(Types(2, 6, 0, 13), "KBBPBBIBBPBBI");
    // The pattern starts again at a key picture, unless it is kept.
    EXPECT_EQ(Types(2, 5, 0, 10), "KBBPBIBBPB");
    EXPECT_EQ(Types(2, 5, 0, 10, true), "KBBPBIPBBP");
}

TEST(KeyFrameRule, AnIdrPictureInsideARunWaitsForItsAnchor)
{
    // Picture 5 would be the key, in the middle of a run: it ends the run as P. The next place of the pattern is an
    // anchor that is P as well, and the key picture follows it.
    EXPECT_EQ(Types(2, 5, 1, 9), "KBBPBPPKB");
}

} // namespace
