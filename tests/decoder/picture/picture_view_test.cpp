#include "decoder/picture/picture_view.h"

#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

namespace UMC {
namespace {

class Views : public testing::Test
{
protected:
    void Allocate(int32_t BitDepth, int32_t ChromaFormat)
    {
        m_Frame.SetAllocator(&m_Allocator);
        ASSERT_EQ(m_Frame.Allocate(PictureFormat::Make({48, 64}, ChromaFormat, BitDepth, BitDepth)), StatusOk);
    }
    DefaultMemoryAllocator m_Allocator;
    H264DecoderFrame m_Frame;
};

TEST_F(Views, OfAFrameAreItsPlanes)
{
    Allocate(8, 1);
    const PictureView v = ViewPicture(m_Frame, FRAME_PICTURE);
    EXPECT_EQ(v.pPlane[0], m_Frame.m_pPlaneY);
    EXPECT_EQ(v.pPlane[1], m_Frame.m_pPlaneU);
    EXPECT_EQ(v.pPlane[2], m_Frame.m_pPlaneV);
    EXPECT_EQ(v.PitchLuma, m_Frame.m_PitchLuma);
    EXPECT_EQ(v.MbWidth, 3);
    EXPECT_EQ(v.MbHeight, 4);
    EXPECT_EQ(v.FirstMb, 0);
    EXPECT_EQ(v.MbCount(), 12);
    EXPECT_FALSE(v.IsField);
}

TEST_F(Views, OfAFieldAreEverySecondLine)
{
    Allocate(8, 1);
    const PictureView Top = ViewPicture(m_Frame, TOP_FIELD), Bottom = ViewPicture(m_Frame, BOTTOM_FIELD);
    EXPECT_EQ(Top.pPlane[0], m_Frame.m_pPlaneY);
    EXPECT_EQ(Bottom.pPlane[0], m_Frame.m_pPlaneY + m_Frame.m_PitchLuma);
    EXPECT_EQ(Bottom.pPlane[2], m_Frame.m_pPlaneV + m_Frame.m_PitchChroma);
    for (const PictureView& v : {Top, Bottom}) {
        EXPECT_EQ(v.PitchLuma, 2 * m_Frame.m_PitchLuma);
        EXPECT_EQ(v.PitchChroma, 2 * m_Frame.m_PitchChroma);
        EXPECT_EQ(v.MbHeight, 2);
        EXPECT_TRUE(v.IsField);
    }
    EXPECT_EQ(Top.FirstMb, 0);
    EXPECT_EQ(Bottom.FirstMb, 6);
    EXPECT_TRUE(Bottom.IsBottom);
}

TEST_F(Views, OfDeepSamplesCountPitchesInBytes)
{
    Allocate(10, 2);
    const PictureView v = ViewPicture(m_Frame, BOTTOM_FIELD);
    EXPECT_EQ(v.PitchLuma, 4 * m_Frame.m_PitchLuma);
    EXPECT_EQ(v.pPlane[1], m_Frame.m_pPlaneU + 2 * m_Frame.m_PitchChroma);
    EXPECT_EQ(v.ChromaFormat, 2);
}

TEST_F(Views, GoByTheSlice)
{
    Allocate(8, 1);
    SliceHeaderFields Header{};
    EXPECT_FALSE(ViewPicture(m_Frame, Header).IsField);
    Header.field_pic_flag = 1;
    EXPECT_TRUE(ViewPicture(m_Frame, Header).IsField);
    EXPECT_FALSE(ViewPicture(m_Frame, Header).IsBottom);
    Header.bottom_field_flag = 1;
    EXPECT_TRUE(ViewPicture(m_Frame, Header).IsBottom);
}

} // namespace
} // namespace UMC
