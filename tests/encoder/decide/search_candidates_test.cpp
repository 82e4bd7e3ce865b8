// What a search starts from, and how the parts of a macroblock are searched.
#include "encoder/decide/block_search.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/encoder/slice_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

constexpr int32_t kSide = 48, kMiddle = 4; // of three macroblocks by three

// The middle macroblock of a picture in whose tables, and in those of its reference, every macroblock has a vector of
// its own: in whole samples (10 * list + number + 1, -number - 1), and three
// quarters more.
class SearchCandidates : public testing::Test
{
protected:
    void Start(int32_t BPictures)
    {
        UMC::H264EncoderParams p = SizedParams(kSide, kSide);
        p.num_b_frames = BPictures;
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        InitInput(p, Input);
        UMC::MediaData Output(1 << 20);
        for (Picture& Source : MakeClip(Scene::Still, kSide, kSide, BPictures + 2)) {
            Input.SetBufferPointer(Source.data(), Source.size());
            FrameStep(c, &Input, &Output);
        }
        if (BPictures > 0) FrameStep(c, nullptr, &Output);
        ASSERT_NE(c.Job.pCurrent, nullptr);
        for (int List = 0; List < 2; ++List)
            for (int16_t Mb = 0; Mb < 9; ++Mb) {
                const auto x = static_cast<int16_t>(4 * Near(List, Mb).x + 3),
                           y = static_cast<int16_t>(4 * Near(List, Mb).y + 3);
                std::fill_n(c.Job.pCurrent->mb_motion[List] + 16 * Mb, 16, MotionVector{x, y});
                std::fill_n(c.Job.pCurrent->mb_reference[List] + 16 * Mb, 16, int8_t{0});
                m_OfReference.insert(m_OfReference.end(), 16,
                                     List ? MotionVector{} : MotionVector{static_cast<int16_t>(x + 80), y});
            }
        mb = c.Job.Slices[0].cur_mb;
        mb.mb_index = kMiddle;
        mb.mb_x = mb.mb_y = 1;
        mb.pPosition = &c.Settings.Positions[kMiddle];
        FillNeighbours(mb.Around, c.Job.Slices[0].Facts.Neighbours, kMiddle, 1);
    }
    std::vector<MotionVector> Of(int List, MotionVector Predicted)
    {
        Reference<uint8_t> Ref = c.Job.Slices[0].Facts.ref_pic_lists.Pictures[List][0];
        Ref.pVectors[0] = m_OfReference.data();
        p.pred_mv = Predicted;
        BuildCandidates(mb, List, Ref, p);
        return {p.candidates, p.candidates + std::min(p.candidate_count, 8)};
    }
    static MotionVector Near(int List, int Mb)
    {
        return {static_cast<int16_t>(10 * List + Mb + 1), static_cast<int16_t>(-Mb - 1)};
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    CurrentMacroblock<uint8_t> mb;
    MEParams<uint8_t> p{};
    std::vector<MotionVector> m_OfReference;
};

TEST_F(SearchCandidates, AreThePredictorNoneTheNeighboursAndThoseOfTheReference)
{
    Start(0);
    // Above, left, above left, above right; below, right and in place of the reference.
    const std::vector<MotionVector> Around{Near(0, 1), Near(0, 3), Near(0, 0), Near(0, 2), Near(2, 7), Near(2, 5)};
    std::vector<MotionVector> Want{{-10, 5}, {0, 0}};
    Want.insert(Want.end(), Around.begin(), Around.end());
    EXPECT_EQ(Of(0, {-37, 23}), Want);
    EXPECT_EQ(p.candidate_count, 9);
    EXPECT_EQ(p.pred_mv, Near(2, 4)); // the ninth falls on the predictor
    // With one less it stays.
    EXPECT_EQ(Of(0, {1, 2}),
              (std::vector<MotionVector>{
                  {0, 0}, Near(0, 1), Near(0, 3), Near(0, 0), Near(0, 2), Near(2, 7), Near(2, 5), Near(2, 4)}));
    EXPECT_EQ(p.pred_mv, (MotionVector{1, 2}));
}

TEST_F(SearchCandidates, OfList1AreItsOwnNeighbours)
{
    Start(1);
    ASSERT_EQ(c.Job.Slices[0].Facts.slice_type, h264::SLICE_B);
    const std::vector<MotionVector> Found = Of(1, {-37, 23});
    ASSERT_EQ(Found.size(), 8u);
    EXPECT_EQ((std::vector<MotionVector>(Found.begin() + 2, Found.begin() + 6)),
              (std::vector<MotionVector>{Near(1, 1), Near(1, 3), Near(1, 0), Near(1, 2)}));
}

TEST_F(SearchCandidates, OfTheReferenceAreScaledInABSlice)
{
    Start(2);
    const auto& s = c.Job.Slices[0].Facts;
    ASSERT_EQ(s.slice_type, h264::SLICE_B);
    // A third of the way between the references.
    ASSERT_EQ(s.B.DistScale[0], 85);
    m_OfReference.assign(m_OfReference.size(), MotionVector{-48, 96});
    EXPECT_EQ(Of(0, {4, 4}).back(), (MotionVector{-4, 8}));  // (-48 * 85 + 128) >> 8 = -16
    EXPECT_EQ(Of(1, {4, 4}).back(), (MotionVector{8, -16})); // -16 less -48, 32 less 96
}

// Only where chroma has half the rows do fields of unlike parity have it a quarter of a row apart; without chroma it
// takes no part in a search.
TEST_F(SearchCandidates, TheRecordOfASearchFollowsTheChromaFormat)
{
    Start(0);
    auto& s = c.Job.Slices[0];
    Reference<uint8_t> Ref = s.Facts.ref_pic_lists.Pictures[0][0];
    Ref.ChromaMvOffset = -2;
    c.Settings.AnalysisFlags |= ENC_ANALYSE_ME_CHROMA;
    for (const int32_t Format : {0, 1, 2}) {
        s.Facts.Syntax.chroma_format_idc = Format;
        FillSearch(c.Settings, mb, Ref, {0, 0, 4, 4}, SEARCH_LOG, s.work_area, p);
        EXPECT_EQ((p.flags & ENC_ANALYSE_ME_CHROMA) != 0, Format != 0);
        if (Format == 0) continue;
        EXPECT_EQ(p.chroma_mv_offset, Format == 1 ? -2 : 0);
        const ptrdiff_t Row = Format == 1 ? 4 : 8; // of a quadrant
        FillSearch(c.Settings, mb, Ref, {2, 2, 2, 2}, SEARCH_LOG, s.work_area, p);
        EXPECT_EQ(p.src_u, mb.pSrcU + Row * mb.SrcPitch + 4);
        EXPECT_EQ(p.src_v, mb.pSrcV + Row * mb.SrcPitch + 4);
        EXPECT_EQ(p.ref_u, Ref.View.pU + mb.pPosition->Chroma + Row * mb.pitch + 4);
        EXPECT_EQ(p.ref_v, Ref.View.pV + mb.pPosition->Chroma + Row * mb.pitch + 4);
    }
}

TEST(SearchMethods, OfPartsAreTheWalkUnlessAllPointsAreSearched)
{
    UMC::H264EncoderParams p;
    for (p.search_method = 0; p.search_method <= 8; ++p.search_method) {
        EXPECT_EQ(SearchMethodOf16x16(p), p.search_method ? p.search_method + 64 : 0);
        EXPECT_EQ(SearchMethodOfParts(p), p.search_method ? 330 : 0);
    }
}

} // namespace
