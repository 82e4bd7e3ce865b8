// Concealment of one field: only its own lines may change, and nothing that was decoded.
#include "decoder/jobs/concealment.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/decoder/jobs/frame_samples.h"

#include <gtest/gtest.h>

namespace UMC {
namespace {

constexpr int kWidth = 3, kHeight = 4; // macroblocks of a field

class FieldConcealment : public testing::TestWithParam<bool>
{
protected:
    FieldConcealment()
    {
        m_Sequence.profile_idc = 77;
        m_Sequence.chroma_format_idc = 1;
        m_Sequence.bit_depth_luma = m_Sequence.bit_depth_chroma = 8;
        m_Slice.m_pSeqParamSet = &m_Sequence;
        m_Slice.m_pRefPicList = &m_Lists;
        m_Slice.m_Header.field_pic_flag = 1;
        m_Slice.m_Header.bottom_field_flag = GetParam();
        for (H264DecoderFrame& Frame : m_Frames) {
            Frame.SetAllocator(&m_Allocator);
            EXPECT_EQ(Frame.Allocate(PictureFormat::Make({kWidth * 16, kHeight * 32}, 1, 8, 8)), StatusOk);
        }
        m_Slice.m_pFrame = &m_Frames[0];
        Fill();
    }
    void Fill()
    {
        for (int n = 0; n < 2; ++n)
            ForEachSample(m_Frames[n], [&](int Plane, int x, int y, uint8_t& v) { v = Pattern(n, Plane, x, y); });
    }
    // In order of memory, lines of a field being two of the frame's apart, from the first sample of macroblock Start to
    // that of End; half as far in a bottom field.
    bool IsRestored(int Start, int End, int Plane, int x, int y) const
    {
        const int Side = Plane == 0 ? 16 : 8;
        const ptrdiff_t Pitch = 2 * ptrdiff_t{Plane == 0 ? m_Frames[0].m_PitchLuma : m_Frames[0].m_PitchChroma};
        const auto At = [&](int Mb) { return Mb / kWidth * Side * Pitch + Mb % kWidth * Side; };
        if (y % 2 != GetParam()) return false;
        const ptrdiff_t Place = y / 2 * Pitch + x;
        const ptrdiff_t Length = At(End) - At(Start);
        const bool IsInRange = Place >= At(Start) && Place < At(Start) + (GetParam() ? Length / 2 : Length);
        return IsInRange && y / 2 / Side * kWidth + x / Side >= Start; // not in front of the first
    }
    // Reference: whether the samples come from the other frame, else they are grey.
    void ExpectRestored(int Start, int End, bool Reference)
    {
        SCOPED_TRACE(testing::Message() << "macroblocks " << Start << " to " << End);
        Fill();
        m_Frames[0].m_FrameExists = true;
        ConcealMacroblocks(Start, End, m_Slice, nullptr);
        EXPECT_FALSE(m_Frames[0].m_FrameExists);
        int Wrong = 0, Restored = 0;
        ForEachSample(m_Frames[0], [&](int Plane, int x, int y, uint8_t v) {
            const bool Is = IsRestored(Start, End, Plane, x, y);
            Restored += Is;
            Wrong += v != (!Is ? Pattern(0, Plane, x, y) : Reference ? Pattern(1, Plane, x, y) : 128);
        });
        EXPECT_EQ(Wrong, 0);
        EXPECT_GT(Restored, 0);
    }

    DefaultMemoryAllocator m_Allocator;
    H264DecoderFrame m_Frames[2];
    H264SeqParamSet m_Sequence{};
    H264DecoderRefPicList m_Lists{};
    H264Slice m_Slice;
};

constexpr int kSpans[][2] = {{0, 1}, {0, 12}, {0, 5}, {1, 2}, {2, 4}, {3, 8}, {4, 12}, {5, 7}, {8, 12}};

TEST_P(FieldConcealment, TakesTheSameLinesOfTheReferenceAndNoOthers)
{
    m_Lists.List[0].Frame[0] = &m_Frames[1];
    m_Lists.List[0].Flag[0] = GetParam() ? 0 : 1; // the field of the other parity is named
    for (const auto& [Start, End] : kSpans) ExpectRestored(Start, End, true);
}

TEST_P(FieldConcealment, IsGreyWithoutAnyPicture)
{
    for (const auto& [Start, End] : kSpans) ExpectRestored(Start, End, false);
}

TEST_P(FieldConcealment, FromTheFirstFieldOfItsFrameLeavesTheSamplesAlone)
{
    m_Lists.List[0].Frame[0] = &m_Frames[0];
    ConcealMacroblocks(2, 9, m_Slice, nullptr);
    EXPECT_FALSE(m_Frames[0].m_FrameExists);
    int Wrong = 0;
    ForEachSample(m_Frames[0], [&](int Plane, int x, int y, uint8_t v) { Wrong += v != Pattern(0, Plane, x, y); });
    EXPECT_EQ(Wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Parity, FieldConcealment, testing::Bool(),
                         [](const auto& Info) { return Info.param ? "Bottom" : "Top"; });

} // namespace
} // namespace UMC
