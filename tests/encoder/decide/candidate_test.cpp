// A decision is a value: nothing but its commit writes the records of the macroblock.
#include "Common/h264/intra_modes.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/encoder/slice_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

using Frame8 = H264EncoderFrame<uint8_t>;

constexpr int32_t kSide = 48;

// A core behind the last macroblock of a P picture.
class MacroblockCandidate : public testing::Test
{
protected:
    void SetUp() override
    {
        UMC::H264EncoderParams p = SizedParams(kSide, kSide);
        p.analysis_level = 1;
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        Input.Init(kSide, kSide, UMC::YUV420, 8);
        UMC::MediaData Output(1 << 20);
        for (Picture& Source : MakeClip(Scene::Mixed, kSide, kSide, 2)) {
            Input.SetBufferPointer(Source.data(), Source.size());
            Output.Reset();
            ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        }
        ASSERT_EQ(Slice().Facts.slice_type, h264::SLICE_P);
    }
    SliceContext<uint8_t>& Slice() { return c.Job.Slices[0]; }
    CurrentMacroblock<uint8_t>& Mb() { return Slice().cur_mb; }

    // Everything that a decision can reach and that is no scratch, byte by byte.
    std::vector<uint8_t> Records() const
    {
        std::vector<uint8_t> All;
        const auto Add = [&All](const void* p, size_t Bytes) {
            const auto* const pBytes = static_cast<const uint8_t*>(p);
            All.insert(All.end(), pBytes, pBytes + Bytes);
        };
        const auto& f = *c.Job.pCurrent;
        const auto Count = static_cast<size_t>(c.Settings.Layout.MbCount);
        Add(f.mb_global, Count * sizeof(GlobalMacroblock));
        Add(f.mb_motion[0], Count * 16 * sizeof(MotionVector));
        Add(f.mb_reference[0], Count * 16);
        Add(c.Job.LocalMacroblocks.data(), Count * sizeof(LocalMacroblock));
        for (const auto& Differences : c.Job.VectorDifferences)
            Add(Differences.data(), Differences.size() * sizeof(MotionVector));
        Add(c.Job.IntraModes.data(), Count * 16);
        for (int32_t y = 0; y < kSide; ++y) Add(f.m_pY + y * f.m_Pitch, kSide);
        for (int32_t y = 0; y < kSide / 2; ++y) {
            Add(f.m_pU + y * f.m_Pitch, kSide / 2);
            Add(f.m_pV + y * f.m_Pitch, kSide / 2);
        }
        return All;
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
};

TEST_F(MacroblockCandidate, LeavesRecordsAndSamplesAlone)
{
    const std::vector<uint8_t> Before = Records();
    uint8_t ChromaMode = 0;
    DecideP(c.Settings, Slice());
    EXPECT_EQ(Records(), Before);
    Candidate Best = Intra16x16(c.Settings, Slice());
    TryFinerIntra(c.Settings, Slice(), Best);
    Intra4x4(c.Settings, Slice(), INT32_MAX);
    IntraChroma(c.Settings, Mb(), Slice().work_area, ChromaMode);
    AnalyseIntra(c.Settings, Mb(), Slice().work_area);
    EXPECT_EQ(Records(), Before);
}

// The slice's loop counts what was committed.
TEST_F(MacroblockCandidate, IsCountedOnceItIsCommitted)
{
    const auto* const pGlobal = c.Job.pCurrent->mb_global;
    const auto Intra = std::count_if(pGlobal, pGlobal + c.Settings.Layout.MbCount,
                                     [](const GlobalMacroblock& g) { return IsIntra(g.Type); });
    EXPECT_GT(Intra, 0);
    EXPECT_LT(Intra, c.Settings.Layout.MbCount);
    EXPECT_EQ(Slice().Progress.intra_count, Intra);
    EXPECT_EQ(Slice().Progress.mb_count, c.Settings.Layout.MbCount);
}

// A skip is made of its prediction when it is reconstructed, not when it is decided.
TEST_F(MacroblockCandidate, LeavesASkipsSamplesAlone)
{
    auto& mb = Mb();
    const auto& Ref = *Slice().Facts.ref_pic_lists.Pictures[0][0].pFrame;
    for (int32_t y = 0; y < 16; ++y)
        std::copy_n(Ref.m_pY + mb.pPosition->Luma + y * mb.pitch, 16, mb.pRecY + y * mb.pitch);
    for (int32_t y = 0; y < 8; ++y) {
        std::copy_n(Ref.m_pU + mb.pPosition->Chroma + y * mb.pitch, 8, mb.pRecU + y * mb.pitch);
        std::copy_n(Ref.m_pV + mb.pPosition->Chroma + y * mb.pitch, 8, mb.pRecV + y * mb.pitch);
    }
    NeighbourMotion& Around = mb.Around.Motion[0]; // without neighbours, so that the skip stands still
    for (auto* const pRefs : {Around.LeftRefs, Around.TopRefs}) std::fill_n(pRefs, 4, h264::kRefUnavailable);
    for (auto* const pVectors : {Around.LeftVectors, Around.TopVectors}) std::fill_n(pVectors, 4, MotionVector{0, 0});
    *mb.pRecY = static_cast<uint8_t>(*mb.pRecY + 1);
    const std::vector<uint8_t> Before = Records();
    const Candidate Skip = DecideP(c.Settings, Slice());
    EXPECT_EQ(Skip.Type, MB_SKIP_P);
    EXPECT_EQ(Skip.Cost, 0);
    EXPECT_EQ(Skip.Ref, 0);
    EXPECT_EQ(Skip.Vector, (MotionVector{0, 0}));
    EXPECT_EQ(Records(), Before);
}

TEST_F(MacroblockCandidate, IsCommittedWhole)
{
    const auto Filled = [this](MotionVector v, MotionVector Difference, int8_t Ref) {
        const MacroblockRecords& mb = Mb().Records;
        return std::count(&mb.pVectors[0][0], &mb.pVectors[0][16], v) == 16 &&
               std::count(&mb.pDifferences[0][0], &mb.pDifferences[0][16], Difference) == 16 &&
               std::count(&mb.pReferences[0][0], &mb.pReferences[0][16], Ref) == 16;
    };
    auto& Trial = Slice().work_area.Of4x4.Modes;
    for (size_t i = 0; i < 16; ++i) Trial[i] = static_cast<uint8_t>(i % 9);

    Commit({.Cost = 77, .Type = MB_INTER16X16, .Ref = 1, .Vector = {5, -6}, .Difference = {-300, 2}}, Slice());
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTER16X16);
    EXPECT_EQ(Mb().Records.pLocal->Cost, 77);
    EXPECT_EQ(Mb().Records.pLocal->ChromaMode, CHROMA_DC);
    EXPECT_TRUE(Filled({5, -6}, {-300, 2}, 1));
    EXPECT_EQ(std::count(&Mb().Records.pIntraModes[0], &Mb().Records.pIntraModes[16], h264::kIntraDcMode), 16);

    Commit({.Cost = 78, .Type = MB_INTRA4X4, .ChromaMode = CHROMA_PLANE}, Slice());
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTRA4X4);
    EXPECT_EQ(Mb().Records.pLocal->ChromaMode, CHROMA_PLANE);
    EXPECT_TRUE(Filled({0, 0}, {0, 0}, -1));
    EXPECT_TRUE(std::equal(Trial, Trial + 16, &Mb().Records.pIntraModes[0]));

    Commit({.Cost = 79, .Type = MB_INTRA16X16, .Intra16Mode = INTRA16_PLANE, .ChromaMode = CHROMA_VERTICAL}, Slice());
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTRA16X16);
    EXPECT_EQ(Mb().Records.pLocal->Intra16Mode, INTRA16_PLANE);
    EXPECT_EQ(Mb().Records.pLocal->ChromaMode, CHROMA_VERTICAL);
    EXPECT_EQ(std::count(&Mb().Records.pIntraModes[0], &Mb().Records.pIntraModes[16], h264::kIntraDcMode), 16);
}

// Two inter candidates, each with its luma at hand: the macroblock's texture stands in two references, with an error of
// its own in either.
class TwoCandidates : public MacroblockCandidate
{
protected:
    void SetUp() override
    {
        MacroblockCandidate::SetUp();
        auto& mb = Mb();
        ASSERT_EQ(m_Other.Allocate(c.Settings.Layout), UMC::StatusOk);
        auto& Lists = Slice().Facts.ref_pic_lists;
        Lists.Pictures[0][1] = {&m_Other, ReadOnly(m_Other.View()), m_Other.mb_motion[0]};
        std::mt19937 Rng(3);
        for (uint8_t& Sample : m_Source) Sample = static_cast<uint8_t>(80 + Rng() % 60);
        for (int32_t r : {0, 1}) {
            auto& Ref = *Lists.Pictures[0][r].pFrame;
            const MacroblockPosition& At = *mb.pPosition;
            for (int32_t y = 0; y < 16; ++y) std::copy_n(&m_Source[16 * y], 16, Ref.m_pY + At.Luma + y * Ref.m_Pitch);
            for (int32_t y = 0; y < 8; ++y) {
                std::fill_n(Ref.m_pU + At.Chroma + y * Ref.m_Pitch, 8, uint8_t{90});
                std::fill_n(Ref.m_pV + At.Chroma + y * Ref.m_Pitch, 8, uint8_t{100});
            }
            Ref.m_pY[At.Luma + (4 * r + 1) * Ref.m_Pitch + 9] ^= 0x7F;
        }
        mb.pSrcY = m_Source;
        mb.pSrcU = mb.pSrcV = m_SourceUv;
        mb.SrcPitch = 16;
        std::fill_n(m_SourceUv, 16 * 8, uint8_t{110});
        NeighbourMotion& Around = mb.Around.Motion[0]; // without neighbours, so that nothing moves
        for (auto* const pRefs : {Around.LeftRefs, Around.TopRefs}) std::fill_n(pRefs, 4, h264::kRefUnavailable);
        for (auto* const pVectors : {Around.LeftVectors, Around.TopVectors})
            std::fill_n(pVectors, 4, MotionVector{0, 0});
        Around.TopRight = Around.TopLeft = {{0, 0}, h264::kRefUnavailable};
    }
    // The candidate in one of the two references.
    Candidate Decide(int8_t Ref, uint8_t Slot)
    {
        auto& Lists = Slice().Facts.ref_pic_lists;
        if (Ref == 1) std::swap(Lists.Pictures[0][0], Lists.Pictures[0][1]);
        Candidate Found = DecideP(c.Settings, Slice(), Slot);
        if (Ref == 1) std::swap(Lists.Pictures[0][0], Lists.Pictures[0][1]);
        EXPECT_EQ(Found.Type, MB_INTER16X16);
        EXPECT_EQ(Found.Vector, (MotionVector{0, 0}));
        EXPECT_EQ(Found.AtHand, BLOCKS_LUMA);
        EXPECT_EQ(Found.Slot, Slot);
        Found.Ref = Ref;
        return Found;
    }
    // All that it leaves when it is the one that is committed.
    std::vector<uint8_t> Outcome(const Candidate& Won)
    {
        Commit(Won, Slice());
        Reconstruct(Won, Mb(), Slice().work_area);
        return Records();
    }

    Frame8 m_Other{&m_Allocator};
    uint8_t m_Source[16 * 16], m_SourceUv[16 * 8];
};

TEST_F(TwoCandidates, LiveSideBySideAndEitherIsCommitted)
{
    const std::vector<uint8_t> First = Outcome(Decide(0, 0)), Second = Outcome(Decide(1, 0));
    ASSERT_NE(First, Second);
    for (const bool TakesSecond : {false, true}) {
        const Candidate a = Decide(0, 0), b = Decide(1, 1);
        EXPECT_EQ(Outcome(TakesSecond ? b : a) == First, !TakesSecond);
        EXPECT_EQ(Records() == Second, TakesSecond);
        EXPECT_EQ(Outcome(TakesSecond ? a : b) == Second, !TakesSecond); // the other is still whole
        EXPECT_EQ(Records() == First, TakesSecond);
    }
}

} // namespace
