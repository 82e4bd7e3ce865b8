// A job codes a frame or a field of one: its two views, and its place in the tables, follow from the structure.
#include "encoder/state/picture_job.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC_H264_ENCODER;

constexpr int32_t kWidth = 48, kHeight = 64; // three columns of macroblocks, two rows of pairs

class Job : public testing::Test
{
protected:
    void SetUp() override
    {
        const FrameLayout Layout = MakeLayout(kWidth, kHeight, 1, 8, 8, false, false);
        for (auto* const pFrame : {&m_Frame, &m_Kept}) {
            ASSERT_EQ(pFrame->Allocate(Layout), UMC::StatusOk);
            for (int32_t y = 0; y < kHeight; ++y) // each line tells its number, and chroma its plane
                for (uint8_t* const p : {pFrame->m_pY, pFrame->m_pU, pFrame->m_pV})
                    p[y * pFrame->m_Pitch] = static_cast<uint8_t>(y + (p == pFrame->m_pU   ? 64
                                                                       : p == pFrame->m_pV ? 128
                                                                                           : 0));
        }
    }
    // The lines of a view are every Step-th of the frame's from First on.
    template <class Sample>
    static void ExpectLines(const PictureView<Sample>& v, int32_t First, int32_t Step)
    {
        EXPECT_EQ(v.Width, kWidth);
        EXPECT_EQ(v.Height, kHeight / Step);
        for (int32_t y = 0; y < v.Height; ++y) EXPECT_EQ(v.pY[y * v.Pitch], First + Step * y);
        for (int32_t y = 0; y < v.Height / 2; ++y) {
            EXPECT_EQ(v.pU[y * v.Pitch], 64 + First + Step * y);
            EXPECT_EQ(v.pV[y * v.Pitch], 128 + First + Step * y);
        }
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    H264EncoderFrame<uint8_t> m_Frame{&m_Allocator}, m_Kept{&m_Allocator};
    PictureJob<uint8_t> m_Job;
};

TEST_F(Job, OfAFrameHasAllLinesAndAllMacroblocks)
{
    m_Job.Begin(m_Frame, {STRUCTURE_FRAME}, CLASS_REFERENCE);
    EXPECT_EQ(m_Job.pCurrent, &m_Frame);
    EXPECT_EQ(m_Job.picture_class, CLASS_REFERENCE);
    ExpectLines(m_Job.Source, 0, 1);
    ExpectLines(m_Job.Reconstruction, 0, 1);
    EXPECT_EQ(m_Job.FirstMb, 0);
    EXPECT_EQ(m_Job.MbCount, 12);
}

TEST_F(Job, OfAFieldHasItsLinesInBothViewsAndItsHalfOfTheTables)
{
    for (const auto Structure : {STRUCTURE_TOP, STRUCTURE_BOTTOM}) {
        m_Job.Begin(m_Frame, {Structure}, CLASS_IDR);
        ExpectLines(m_Job.Source, Structure, 2);
        ExpectLines(m_Job.Reconstruction, Structure, 2);
        EXPECT_EQ(m_Job.FirstMb, Structure == STRUCTURE_BOTTOM ? 6 : 0);
        EXPECT_EQ(m_Job.MbCount, 6);
    }
}

TEST_F(Job, ReadsASourceThatIsKeptInAnotherFrame)
{
    m_Job.Begin(m_Frame, {STRUCTURE_BOTTOM}, CLASS_IDR);
    m_Job.KeepSourceIn(m_Kept);
    EXPECT_EQ(m_Job.Source.pY, m_Kept.m_pY + m_Kept.m_Pitch);
    EXPECT_EQ(m_Job.Reconstruction.pY, m_Frame.m_pY + m_Frame.m_Pitch);
    ExpectLines(m_Job.Source, 1, 2);
}

TEST(PictureViews, WithoutChromaStayWithout)
{
    uint8_t Luma[4]{};
    const PictureView<uint8_t> Frame{Luma, nullptr, nullptr, 2, 2, 2};
    const PictureView<uint8_t> Field = PartOf(Frame, STRUCTURE_BOTTOM);
    EXPECT_EQ(Field.pY, Luma + 2);
    EXPECT_EQ(Field.pU, nullptr);
    EXPECT_EQ(Field.pV, nullptr);
}

} // namespace
