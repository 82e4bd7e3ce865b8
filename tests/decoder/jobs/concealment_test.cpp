// Concealment: the samples that stand in for macroblocks which no data came for.
#include "decoder/jobs/concealment.h"

#include "decoder/picture/dpb.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/decoder/jobs/frame_samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace UMC {
namespace {

constexpr int kWidth = 3, kHeight = 3; // macroblocks

class Concealment : public testing::Test
{
protected:
    Concealment()
    {
        m_Sequence.profile_idc = 77;
        m_Sequence.chroma_format_idc = 1;
        m_Sequence.bit_depth_luma = m_Sequence.bit_depth_chroma = 8;
        m_Slice.m_pSeqParamSet = &m_Sequence;
        m_Slice.m_pRefPicList = &m_Lists;
    }

    // The next frame of the list, each with samples of its own.
    H264DecoderFrame* AddFrame(int32_t PicOrderCnt, int32_t ChromaFormat = 1, PictureSize Size = {48, 48})
    {
        auto* const pFrame = new H264DecoderFrame; // owned by the list
        m_Dpb.Append(pFrame);
        pFrame->SetAllocator(&m_Allocator);
        EXPECT_EQ(pFrame->Allocate(PictureFormat::Make(Size, ChromaFormat, 8, 8)), StatusOk);
        pFrame->m_PicOrderCnt[0] = pFrame->m_PicOrderCnt[1] = PicOrderCnt;
        const int Number = m_Dpb.CountAll();
        ForEachSample(*pFrame,
                      [&](int Plane, int x, int y, uint8_t& Sample) { Sample = Pattern(Number, Plane, x, y); });
        return pFrame;
    }

    // Restores Start..End - 1 of the frame that was added last. Reference: the number of the frame that the samples
    // have to come from, 0 for grey; chroma only counts where the format has it.
    void ExpectRestored(int Start, int End, int Reference, bool HasChroma = true)
    {
        SCOPED_TRACE(testing::Message() << "macroblocks " << Start << " to " << End);
        H264DecoderFrame& Frame = *m_Dpb.Tail();
        const int Number = m_Dpb.CountAll();
        m_Slice.m_pFrame = &Frame;
        ConcealMacroblocks(Start, End, m_Slice, &m_Dpb);
        EXPECT_FALSE(Frame.m_FrameExists);
        int Wrong = 0;
        ForEachSample(Frame, [&](int Plane, int x, int y, uint8_t Sample) {
            // In raster order from the first macroblock's top left sample up to that of the last one.
            const int Side = Plane == 0 ? 16 : 8;
            const auto IsBefore = [&](int Mb) {
                const int MbX = Mb % kWidth * Side, MbY = Mb / kWidth * Side;
                return y < MbY || (y == MbY && x < MbX);
            };
            const int Pair = y / (2 * Side) * kWidth + x / Side;
            const bool IsDecoded = m_Slice.m_Header.MbaffFrameFlag &&
                                   (Pair < (Start + 1) / 2 || Pair >= End / 2); // by this or another slice
            const bool IsRestored = !IsBefore(Start) && IsBefore(End) && !IsDecoded && (Plane == 0 || HasChroma);
            const uint8_t Expected = !IsRestored ? Pattern(Number, Plane, x, y)
                                     : Reference ? Pattern(Reference, Plane, x, y)
                                                 : 128;
            Wrong += Sample != Expected;
        });
        EXPECT_EQ(Wrong, 0);
    }

    DefaultMemoryAllocator m_Allocator;
    H264DBPList m_Dpb;
    H264SeqParamSet m_Sequence{};
    H264DecoderRefPicList m_Lists{};
    H264Slice m_Slice;
};

constexpr int kSpans[][2] = {{0, 1}, {0, 9}, {1, 2}, {2, 4}, {3, 5}, {4, 9}, {5, 7}, {8, 9}};

TEST_F(Concealment, TakesTheFirstPictureOfList0)
{
    m_Lists.List[0].Frame[0] = AddFrame(20); // though nothing before it in the list is older
    AddFrame(0);
    m_Lists.List[0].Frame[1] = m_Lists.List[1].Frame[0] = m_Dpb.Tail();
    for (const auto& [Start, End] : kSpans) {
        AddFrame(10);
        ExpectRestored(Start, End, 1);
    }
}

// The span is counted as in other frames, and what was decoded of pairs stays.
TEST_F(Concealment, LeavesDecodedMacroblocksOfPairsAlone)
{
    constexpr PictureSize kSize{48, 96}; // nine pairs
    m_Slice.m_Header.MbaffFrameFlag = 1;
    for (const auto& [Start, End] : {std::pair{0, 18},
                                     {0, 2},
                                     {2, 18},
                                     {4, 18},
                                     {6, 18},
                                     {7, 18},
                                     {5, 18},
                                     {0, 8},
                                     {2, 10},
                                     {8, 12},
                                     {10, 16},
                                     {16, 18},
                                     {17, 18}}) {
        AddFrame(0, 1, kSize);
        m_Lists.List[0].Frame[0] = m_Dpb.Tail();
        const int Reference = m_Dpb.CountAll();
        AddFrame(10, 1, kSize);
        ExpectRestored(Start, End, Reference);
        m_Lists.List[0].Frame[0]->m_IsSkipped = true;
    }
}

TEST_F(Concealment, IsGreyWithoutAnyPicture)
{
    AddFrame(10);
    ExpectRestored(2, 7, 0);
}

TEST_F(Concealment, CountsSamplesOfTwoBytes)
{
    const auto AddDeep = [this](uint16_t Value) {
        auto* const pFrame = new H264DecoderFrame; // owned by the list
        m_Dpb.Append(pFrame);
        pFrame->SetAllocator(&m_Allocator);
        EXPECT_EQ(pFrame->Allocate(PictureFormat::Make({48, 48}, 2, 8, 10)), StatusOk);
        std::fill_n(reinterpret_cast<uint16_t*>(pFrame->m_pPlaneY), 48 * pFrame->m_PitchLuma, Value);
        std::fill_n(reinterpret_cast<uint16_t*>(pFrame->m_pPlaneV), 48 * pFrame->m_PitchChroma, Value);
        return pFrame;
    };
    m_Sequence.profile_idc = 122;
    m_Sequence.chroma_format_idc = 2;
    m_Sequence.bit_depth_chroma = 10;
    for (const bool HasSource : {false, true}) {
        m_Lists.List[0].Frame[0] = HasSource ? AddDeep(700) : nullptr;
        m_Slice.m_pFrame = AddDeep(5);
        ConcealMacroblocks(1, 5, m_Slice, nullptr);
        const H264DecoderFrame& f = *m_Slice.m_pFrame;
        const auto At = [](uint8_t* pPlane, int Pitch, int x, int y) {
            return int{reinterpret_cast<uint16_t*>(pPlane)[y * Pitch + x]};
        };
        const int Restored = HasSource ? 700 : 128;
        EXPECT_EQ(At(f.m_pPlaneY, f.m_PitchLuma, 15, 0), 5);
        EXPECT_EQ(At(f.m_pPlaneY, f.m_PitchLuma, 16, 0), Restored);
        EXPECT_EQ(At(f.m_pPlaneY, f.m_PitchLuma, 15, 16), Restored);
        EXPECT_EQ(At(f.m_pPlaneY, f.m_PitchLuma, 32, 16), 5);
        EXPECT_EQ(At(f.m_pPlaneV, f.m_PitchChroma, 7, 0), 5);
        EXPECT_EQ(At(f.m_pPlaneV, f.m_PitchChroma, 8, 0), Restored);
        EXPECT_EQ(At(f.m_pPlaneV, f.m_PitchChroma, 15, 16), Restored);
        EXPECT_EQ(At(f.m_pPlaneV, f.m_PitchChroma, 16, 16), 5);
    }
}

TEST_F(Concealment, PassesOverASkippedEntryToTheClosestPicture)
{
    AddFrame(0);
    m_Lists.List[0].Frame[0] = AddFrame(2);
    m_Lists.List[0].Frame[0]->m_IsSkipped = true;
    AddFrame(10);
    ExpectRestored(1, 8, 1);
    m_Slice.m_pRefPicList = nullptr;
    AddFrame(10)->m_PicOrderCnt[0] = 5;
    ExpectRestored(1, 8, 1);
}

TEST_F(Concealment, NeverReadsAPictureLaidOutDifferently)
{
    m_Lists.List[0].Frame[0] = AddFrame(0, 1, {32, 32});
    AddFrame(2);
    AddFrame(10);
    ExpectRestored(0, 9, 0);
}

TEST_F(Concealment, LeavesTheChromaOfGreyPicturesAlone)
{
    m_Sequence.chroma_format_idc = 0;
    m_Sequence.profile_idc = 100;
    m_Lists.List[0].Frame[0] = AddFrame(0, 0);
    AddFrame(10, 0);
    ExpectRestored(2, 7, 1, false);
}

TEST_F(Concealment, DoesNothingWithoutASpanOrWithSliceGroups)
{
    m_Slice.m_pFrame = AddFrame(10);
    ConcealMacroblocks(3, 3, m_Slice, &m_Dpb);
    ConcealMacroblocks(4, 3, m_Slice, &m_Dpb);
    m_Slice.m_UsesSliceGroups = true;
    ConcealMacroblocks(0, 9, m_Slice, &m_Dpb);
    EXPECT_TRUE(m_Slice.m_pFrame->m_FrameExists);
    ForEachSample(*m_Slice.m_pFrame,
                  [&](int Plane, int x, int y, uint8_t Sample) { ASSERT_EQ(Sample, Pattern(1, Plane, x, y)); });
}

using ClosestPicture = Concealment;

TEST_F(ClosestPicture, IsTheLastInListOrderBelowTheOrderCount)
{
    AddFrame(8);
    const H264DecoderFrame* const pSecond = AddFrame(2); // neither the nearest count nor the first
    AddFrame(12);
    const H264DecoderFrame* const pFrame = AddFrame(10);
    AddFrame(4); // behind the picture itself
    EXPECT_EQ(m_Dpb.FindClosestForConcealment(pFrame), pSecond);
}

TEST_F(ClosestPicture, IsBelowTheOrderCountOfBothFields)
{
    AddFrame(10);
    const H264DecoderFrame* const pFrame = AddFrame(10);
    EXPECT_EQ(m_Dpb.FindClosestForConcealment(pFrame), nullptr);
    m_Dpb.Head()->m_PicOrderCnt[1] = 9;
    EXPECT_EQ(m_Dpb.FindClosestForConcealment(pFrame), m_Dpb.Head());
}

TEST_F(ClosestPicture, IsNoneOfASequenceBefore)
{
    const H264DecoderFrame* const pFirst = AddFrame(0);
    AddFrame(2)->m_RefListResetCount[0] = 1;
    AddFrame(4)->m_RefListResetCount[1] = 1;
    EXPECT_EQ(m_Dpb.FindClosestForConcealment(AddFrame(10)), pFirst);
}

TEST_F(ClosestPicture, IsNeitherSkippedNorOfAnotherSizeOrFormat)
{
    const H264DecoderFrame* const pFirst = AddFrame(0);
    AddFrame(2)->m_IsSkipped = true;
    AddFrame(4, 1, {32, 48});
    AddFrame(6, 1, {48, 64});
    AddFrame(8, 0);
    EXPECT_EQ(m_Dpb.FindClosestForConcealment(AddFrame(10)), pFirst);
}

} // namespace
} // namespace UMC
