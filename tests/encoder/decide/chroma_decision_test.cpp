// What chroma has a say in, where it has half the rows of luma and where it has all of them.
#include "Common/h264/h264_tables.h"
#include "encoder/code/chroma_residual.h"
#include "encoder/decide/block_distance.h"
#include "encoder/decide/part_choice.h"
#include "encoder/decide/skip_test.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/dispatch/kernels.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/encoder/slice_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

// Scan positions of the levels of 1 that each 8x8 half of a plane comes to, in its first block.
using Positions = std::vector<size_t>;
std::vector<Positions> s_Halves;
size_t s_Calls;

uint32_t StatedAc(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, int16_t* pLevels, int16_t* pDc,
                  const kernels::QuantParams*)
{
    std::fill_n(pLevels, 64, int16_t{0});
    std::fill_n(pDc, 4, int16_t{0});
    for (const size_t p : s_Halves[s_Calls % s_Halves.size()]) pLevels[h264::kZigzag4x4[p]] = 1;
    return s_Halves[s_Calls++ % s_Halves.size()].empty() ? 0 : 1;
}

class ChromaByFormat : public testing::TestWithParam<int32_t>
{
protected:
    static constexpr int32_t kSide = 48;
    static constexpr uint8_t kFar = 200; // from the grey of the references

    void SetUp() override
    {
        UMC::H264EncoderParams p = SizedParams(kSide, kSide);
        p.profile_idc = 100;
        p.chroma_format_idc = Format();
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = 26;
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        InitInput(p, Input);
        UMC::MediaData Output(1 << 20);
        Picture Grey(kSide * kSide * (Is422() ? 4 : 3) / 2, 100);
        for (int i = 0; i < 2; ++i) {
            Input.SetBufferPointer(Grey.data(), Grey.size());
            Output.Reset();
            ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        }
        Mb().pSrcY = m_Y;
        Mb().pSrcU = m_U;
        Mb().pSrcV = m_V;
        Mb().SrcPitch = 16;
        const auto& Ref = Mb().pSlice->ref_pic_lists.Pictures[0][0];
        for (int y = 0; y < 16; ++y)
            std::copy_n(Ref.View.pY + Mb().pPosition->Luma + y * Ref.View.Pitch, 16, m_Y + 16 * y);
        std::fill_n(m_U, 256, kFar);
        std::fill_n(m_V, 256, kFar);
    }
    void TearDown() override { kernels::g_Kernels = m_Kernels; }
    void StateAc(const std::vector<Positions>& Halves)
    {
        kernels::g_Kernels.ForwardQuantAc8x8 = StatedAc;
        s_Halves = Halves;
        s_Calls = 0;
    }
    int32_t Format() const { return GetParam(); }
    bool Is422() const { return Format() == 2; }
    CurrentMacroblock<uint8_t>& Mb() { return c.Job.Slices[0].cur_mb; }
    WorkArea<uint8_t>& Work() { return c.Job.Slices[0].work_area; }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    kernels::KernelSlots m_Kernels = kernels::g_Kernels; // those of the processor, which come back at the end
    uint8_t m_Y[256], m_U[256], m_V[256];
};

// Levels worth 7 to a half are dropped, and with one that is worth 8 the plane stays.
TEST_P(ChromaByFormat, AcLevelsOfAPlaneAreDroppedAsTheyAreWorthSevenToAHalf)
{
    const Positions Seven{1, 2, 7}, Eight{1, 2, 4};
    std::vector<uint8_t> Prediction(256, 100);
    const auto CodedOf = [&](const Positions& Last) {
        StateAc(Is422() ? std::vector<Positions>{Seven, Last} : std::vector<Positions>{Last});
        *Mb().Records.pLocal = {};
        ReconstructChroma(Prediction.data(), Mb(), Work());
        return Mb().Records.pLocal->Coded;
    };
    const uint32_t Plane = Is422() ? 0x11 : 1; // the first block of each half
    EXPECT_EQ(CodedOf(Seven), 0u);
    EXPECT_EQ(CodedOf(Eight), Plane << kCodedCbShift | Plane << kCodedCrShift);
}

TEST_P(ChromaByFormat, APlaneWorthSevenIsTooMuchToSkip)
{
    const auto IsSkip = [this](const std::vector<Positions>& Halves) {
        StateAc(Halves);
        return CheckSkipP(Mb(), Work(), Work().Inter[0], {0, 0}, {0, 0}).IsSkip;
    };
    if (Is422()) {
        EXPECT_TRUE(IsSkip({{1}, {1}}));     // 3 + 3
        EXPECT_FALSE(IsSkip({{1}, {1, 5}})); // 3 + 4
    } else {
        EXPECT_TRUE(IsSkip({{1, 2}}));
        EXPECT_FALSE(IsSkip({{1, 2, 6}}));
    }
}

TEST_P(ChromaByFormat, EveryRowCountsInIntra)
{
    Mb().Around.Available = 0; // 128 is predicted
    std::fill_n(m_U, 256, uint8_t{128});
    std::fill_n(m_V, 256, uint8_t{128});
    const int32_t Last = Is422() ? 15 : 7;
    for (int32_t x = 0; x < 8; ++x) m_U[16 * Last + x] = 130, m_V[16 * Last + x] = 125;
    uint8_t Mode = 9;
    EXPECT_EQ(IntraChroma(c.Settings, Mb(), Work(), Mode), BitPrice(Mb().Records.pLocal->QpChroma, 1) + 8 * (2 + 3));
    EXPECT_EQ(Mode, CHROMA_DC);
}

// Both kinds of distance are sums over 4x4 blocks.
TEST_P(ChromaByFormat, DistanceOfAPartIsThatOfItsBlocksInAllPlanes)
{
    std::mt19937 Rng(4);
    std::vector<uint8_t> Y(256), UV(256);
    for (uint8_t* const p : {m_Y, m_U, m_V, Y.data(), UV.data()})
        for (int i = 0; i < 256; ++i) p[i] = static_cast<uint8_t>(Rng());
    const int32_t Rows = Is422() ? 1 : 2; // of luma to one of chroma
    for (const uint32_t Sad : {0u, uint32_t{ENC_ANALYSE_SAD}})
        for (const MotionPart Part : {MotionPart{0, 0, 4, 4}, MotionPart{0, 2, 4, 2}, MotionPart{2, 0, 2, 4},
                                      MotionPart{2, 2, 2, 2}, MotionPart{0, 2, 2, 2}}) {
            const auto Block = [Sad](const uint8_t* a, const uint8_t* b) {
                return Sad ? SAD(a, 16, b, 16, SizeCode(4, 4)) : SATD(a, 16, b, 16, SizeCode(4, 4));
            };
            const int32_t Width = 4 * Part.Width, Height = 4 * Part.Height;
            int32_t Luma = 0, Chroma = 0;
            for (int32_t y = 0; y < Height; y += 4)
                for (int32_t x = 0; x < Width; x += 4) {
                    const int32_t At = 16 * (4 * Part.y + y) + 4 * Part.x + x;
                    Luma += Block(m_Y + At, &Y[static_cast<size_t>(At)]);
                }
            for (int32_t y = 0; y < Height / Rows; y += 4)
                for (int32_t x = 0; x < Width / 2; x += 4) {
                    const int32_t At = 16 * (4 * Part.y / Rows + y) + 2 * Part.x + x;
                    Chroma += Block(m_U + At, &UV[static_cast<size_t>(At)]) +
                              Block(m_V + At, &UV[static_cast<size_t>(At + 8)]);
                }
            c.Settings.AnalysisFlags = Sad;
            EXPECT_EQ(PartDistance(c.Settings, Mb(), Part, Y.data(), UV.data()), Luma);
            c.Settings.AnalysisFlags |= ENC_ANALYSE_ME_CHROMA;
            EXPECT_EQ(PartDistance(c.Settings, Mb(), Part, Y.data(), UV.data()), Luma + Chroma);
        }
}

INSTANTIATE_TEST_SUITE_P(Formats, ChromaByFormat, testing::Values(1, 2));

} // namespace
