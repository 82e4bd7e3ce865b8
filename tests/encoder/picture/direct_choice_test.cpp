// Which kind of direct prediction is taken, to the skip.
#include "encoder/picture/direct_choice.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

namespace {

using UMC_H264_ENCODER::DirectChoice;

bool IsSpatialAfter(bool WasSpatial, int32_t TemporalSkips, int32_t SpatialSkips)
{
    DirectChoice c{WasSpatial, TemporalSkips, SpatialSkips};
    c.Choose();
    EXPECT_EQ(c.TemporalSkips, 0);
    EXPECT_EQ(c.SpatialSkips, 0);
    return c.IsSpatial;
}

// Of 512 skips the other kind needs more than 545, and of 100 more than 106.
TEST(DirectChoice, TheOtherKindMustLeadByAMargin)
{
    EXPECT_FALSE(IsSpatialAfter(false, 512, 545));
    EXPECT_TRUE(IsSpatialAfter(false, 512, 546));
    EXPECT_FALSE(IsSpatialAfter(false, 100, 106));
    EXPECT_TRUE(IsSpatialAfter(false, 100, 107));
    EXPECT_TRUE(IsSpatialAfter(true, 545, 512));
    EXPECT_FALSE(IsSpatialAfter(true, 546, 512));
    EXPECT_TRUE(IsSpatialAfter(true, 106, 100));
    EXPECT_FALSE(IsSpatialAfter(true, 107, 100));
}

TEST(DirectChoice, WithoutSkipsStays)
{
    EXPECT_FALSE(IsSpatialAfter(false, 0, 0));
    EXPECT_TRUE(IsSpatialAfter(true, 0, 0));
}

TEST(DirectChoice, CountsUnderTheKindInForce)
{
    DirectChoice c;
    c.Count(3);
    c.Count(4);
    EXPECT_EQ(c.TemporalSkips, 7);
    EXPECT_EQ(c.SpatialSkips, 0);
    c.IsSpatial = true;
    c.Count(5);
    EXPECT_EQ(c.TemporalSkips, 7);
    EXPECT_EQ(c.SpatialSkips, 5);
}

TEST(DirectChoice, SkipsOfAPictureOfManyMacroblocksDoNotOverflow)
{
    EXPECT_FALSE(IsSpatialAfter(false, 139264 * 60, 139264 * 60));
    EXPECT_TRUE(IsSpatialAfter(true, 139264 * 60, 139264 * 60));
}

// The settings name the kind, or leave it to the skips of the B pictures so far.
TEST(DirectChoice, IsThatOfTheSettingsUnlessItIsLeftOpen)
{
    for (const int Mode : {0, 1, 2}) {
        UMC::H264EncoderParams p = encoder_testing::SizedParams(48, 48);
        p.num_b_frames = 1;
        p.direct_pred_mode = static_cast<uint8_t>(Mode);
        encoder_testing::CoreDriver<uint8_t> d(p);
        d.EncodeAll(encoder_testing::MakeClip(encoder_testing::Scene::Still, 48, 48, 3));
        ASSERT_EQ(d.Order(), "Ka Pc bb");
        EXPECT_EQ(d.pCore->Job.Slices[0].Facts.B.direct_spatial_mv_pred, Mode == 1);
        const DirectChoice& Choice = d.pCore->Sequence.Direct;
        EXPECT_EQ(Choice.TemporalSkips > 0, Mode == 2);
        EXPECT_EQ(Choice.SpatialSkips, 0);
        if (Mode != 2) continue;
        for (const bool HasLead : {false, true}) {
            d.pCore->Sequence.Direct = {.IsSpatial = true, .TemporalSkips = HasLead ? 1 : 0};
            d.EncodeAll(encoder_testing::MakeClip(encoder_testing::Scene::Still, 48, 48, 2));
            EXPECT_EQ(d.pCore->Job.Slices[0].Facts.B.direct_spatial_mv_pred, !HasLead);
            EXPECT_EQ(Choice.SpatialSkips > 0, !HasLead);
        }
    }
}

} // namespace
