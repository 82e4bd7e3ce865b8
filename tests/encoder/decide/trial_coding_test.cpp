// What trials at coding cost, and which decisions are made of them.
#include "encoder/decide/trial_coding.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/dispatch/kernels.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/encoder/slice_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

constexpr int32_t kSide = 48;

// The last macroblock of a picture, decided again with a source of its own.
class Trials : public testing::Test
{
protected:
    using Set = std::function<void(UMC::H264EncoderParams&)>;

    // @param Pictures  given, of one texture that stands still; the last is the one of the macroblock
    void Start(
        int32_t Qp, int Pictures, const Set& More = [](auto&) {})
    {
        UMC::H264EncoderParams p = SizedParams(kSide, kSide);
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = p.quant_b = static_cast<uint8_t>(Qp);
        p.deblocking_filter_idc = 1;
        More(p);
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        InitInput(p, Input);
        UMC::MediaData Output(1 << 20);
        for (Picture& Source : MakeClip(Scene::Still, kSide, kSide, Pictures)) {
            Input.SetBufferPointer(Source.data(), Source.size());
            Output.Reset();
            FrameStep(c, &Input, &Output);
        }
        TakeLastMacroblock();
        m_pTrials = std::make_unique<TrialCoder<uint8_t>>(Mb(), Slice().bitstream);
    }
    // The B picture that waits behind its anchor.
    void CodeLast()
    {
        UMC::MediaData Output(1 << 20);
        ASSERT_EQ(FrameStep(c, nullptr, &Output), UMC::StatusOk);
        ASSERT_EQ(Slice().Facts.slice_type, h264::SLICE_B);
        TakeLastMacroblock();
    }
    void TakeLastMacroblock()
    {
        ASSERT_EQ(Mb().mb_index, 8);
        Mb().pSrcY = m_Y;
        Mb().pSrcU = m_U;
        Mb().pSrcV = m_V;
        Mb().SrcPitch = 16;
    }
    Slice8& Slice() { return c.Job.Slices[0]; }
    CurrentMacroblock<uint8_t>& Mb() { return Slice().cur_mb; }
    int32_t CostOf(const Candidate& Tried) { return m_pTrials->Cost(Tried, Slice().work_area); }
    Candidate Analyse()
    {
        return UMC_H264_ENCODER::AnalyseMacroblock(c.Settings, Mb(), Slice().work_area, &*m_pTrials);
    }

    // The source as the reference has it, Off further in each sample by turns.
    void FollowReference(int Off = 0)
    {
        const PictureView<const uint8_t> v = Slice().Facts.ref_pic_lists.Pictures[0][0].View;
        const auto Copy = [Off](const uint8_t* pFrom, ptrdiff_t Step, int Width, uint8_t* pTo) {
            for (int y = 0; y < Width; ++y)
                for (int x = 0; x < Width; ++x)
                    pTo[16 * y + x] = static_cast<uint8_t>(pFrom[y * Step + x] + ((x + y) & 1 ? Off : 0));
        };
        Copy(v.pY + Mb().pPosition->Luma, v.Pitch, 16, m_Y);
        Copy(v.pU + Mb().pPosition->Chroma, v.Pitch, 8, m_U);
        Copy(v.pV + Mb().pPosition->Chroma, v.Pitch, 8, m_V);
    }
    // Luma with what lies around it; chroma is all alike.
    static void FillPlanes(uint8_t* pY, uint8_t* pU, uint8_t* pV, int32_t Around, uint8_t Luma, int32_t Pitch)
    {
        for (int32_t y = -Around; y < kSide + Around; ++y)
            std::fill_n(pY + y * Pitch - Around, kSide + 2 * Around, Luma);
        for (int32_t y = -Around / 2; y < (kSide + Around) / 2; ++y)
            for (uint8_t* const p : {pU, pV}) std::fill_n(p + y * Pitch - Around / 2, kSide / 2 + Around, uint8_t{100});
    }
    // What the cheapest 16x16 mode costs by trial beyond the best of inter.
    int32_t IntraLessInter()
    {
        Slice8& s = Slice();
        Candidate Inter = s.Facts.slice_type == h264::SLICE_B
                              ? DecideB<uint8_t>(c.Settings, Mb(), 0, s.work_area, nullptr)
                              : encoder_testing::DecideP(c.Settings, s);
        Inter.AtHand = BLOCKS_NONE;
        const int32_t OfInter = CostOf(Inter);
        Candidate Intra = encoder_testing::Intra16x16(c.Settings, s);
        IntraChroma(c.Settings, Mb(), s.work_area, Intra.ChromaMode);
        return CostOf(Intra) - OfInter;
    }
    void MakeNoise(uint32_t Seed, int Range)
    {
        std::mt19937 Rng(Seed);
        for (uint8_t* const p : {m_Y, m_U, m_V})
            for (int i = 0; i < 256; ++i) p[i] = static_cast<uint8_t>(100 + Rng() % static_cast<uint32_t>(Range));
    }

    static constexpr Candidate kInter{.Cost = 0, .Type = MB_INTER16X16, .Ref = 0, .Difference = {300, -70}};

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    std::unique_ptr<TrialCoder<uint8_t>> m_pTrials;
    uint8_t m_Y[256]{}, m_U[256]{}, m_V[256]{};
};

// 2^((QP - 12) / 3), rounded down, and 1 up to QP 12.
TEST_F(Trials, PriceBitsByTheQp)
{
    Start(30, 2);
    FollowReference();
    Mb().Records.pLocal->Qp = 0;
    const int32_t Bits = CostOf(kInter);
    EXPECT_GT(Bits, 20);
    for (int Qp = 0; Qp < 52; ++Qp) {
        Mb().Records.pLocal->Qp = static_cast<int8_t>(Qp);
        const double Lambda = std::floor(std::pow(2.0, std::max(0, Qp - 12) / 3.0) + 1e-9);
        EXPECT_EQ(CostOf(kInter), Bits * static_cast<int32_t>(Lambda)) << Qp;
    }
}

TEST_F(Trials, AddTheSquaredDifferencesOfAllPlanes)
{
    Start(51, 2);
    FollowReference();
    const int32_t Bits = CostOf(kInter);
    m_Y[200] = static_cast<uint8_t>(m_Y[200] + 3); // too small for a level
    EXPECT_EQ(CostOf(kInter) - Bits, 9);
    m_U[17] = static_cast<uint8_t>(m_U[17] - 5);
    EXPECT_EQ(CostOf(kInter) - Bits, 9 + 25);
    m_V[16 * 7 + 7] = static_cast<uint8_t>(m_V[16 * 7 + 7] + 7);
    EXPECT_EQ(CostOf(kInter) - Bits, 9 + 25 + 49);
}

TEST_F(Trials, LeaveWriterRecordsAndReconstructionAlone)
{
    Start(24, 2);
    MakeNoise(3, 100);
    const auto& Writer = Slice().bitstream;
    const h264::CabacContexts Contexts = Writer.Cabac().Contexts;
    const int64_t Bits = Writer.Cabac().Arithmetic.Bits();
    const GlobalMacroblock Global = *Mb().Records.pGlobal;
    const MotionVector Vector = Mb().Records.pVectors[0][0];
    const uint8_t Sample = *Mb().pRecY;
    EXPECT_GT(CostOf({.Cost = 0, .Type = MB_INTER16X16, .Ref = 0, .Vector = {4, 4}, .Difference = {4, 4}}), 0);
    EXPECT_EQ(Writer.Cabac().Contexts, Contexts);
    EXPECT_EQ(Writer.Cabac().Arithmetic.Bits(), Bits);
    EXPECT_EQ(Mb().Records.pGlobal->Type, Global.Type);
    EXPECT_EQ(Mb().Records.pVectors[0][0], Vector);
    EXPECT_EQ(*Mb().pRecY, Sample);
}

// Trials of the winners serve I slices too; with trials of every candidate those are decided by plain costs.
TEST_F(Trials, OfISlicesAreThoseOfTheWinnersAlone)
{
    Start(26, 1);
    ASSERT_EQ(Slice().Facts.slice_type, h264::SLICE_I);
    MakeNoise(5, 60);
    const int32_t Plain = AnalyseIntra(c.Settings, Mb(), Slice().work_area).Cost;
    c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_MODE;
    const Candidate ByTrial = Analyse();
    EXPECT_EQ(ByTrial.Cost, CostOf(ByTrial));
    EXPECT_NE(ByTrial.Cost, Plain);
    c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_OPT;
    EXPECT_EQ(Analyse().Cost, Plain);
}

// Neither the threshold below which intra is not tried nor the price of intra in B slices has a part in trials.
TEST_F(Trials, TryIntraWhateverInterCosts)
{
    for (const bool IsB : {false, true}) {
        Start(26, IsB ? 3 : 2, [IsB](auto& p) { p.num_b_frames = IsB ? 1 : 0; });
        if (IsB) CodeLast();
        ASSERT_EQ(Slice().Facts.slice_type, IsB ? h264::SLICE_B : h264::SLICE_P);
        c.Settings.SkipIntraThreshold[26] = INT32_MAX;
        for (uint8_t* const p : {m_Y, m_U, m_V}) std::fill_n(p, 256, uint8_t{20}); // unlike any reference
        for (const uint32_t Flags :
             {uint32_t{ENC_ANALYSE_RD_MODE}, uint32_t{ENC_ANALYSE_RD_MODE | ENC_ANALYSE_RD_OPT}}) {
            c.Settings.AnalysisFlags |= Flags;
            const Candidate Won = Analyse();
            ASSERT_TRUE(IsIntra(Won.Type)) << IsB;
            EXPECT_EQ(Won.Cost, CostOf(Won)) << IsB;
        }
    }
}

// Grey beside references that are brighter, and a source that goes from the one to the other sample by sample, too
// little for levels: near the tie the costs alone decide.
TEST_F(Trials, TakeIntraWhereItsTrialIsCheaper)
{
    for (const bool IsB : {false, true}) {
        Start(51, IsB ? 3 : 2, [IsB](auto& p) { p.num_b_frames = IsB ? 1 : 0; });
        if (IsB) CodeLast();
        c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_MODE;
        c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_I4X4 | ENC_ANALYSE_I8X8);
        int Taken[2]{};
        for (const int Brighter : {20, 22, 24, 26, 28, 30}) {
            FillPlanes(Mb().pRecY - 32 * (Mb().pitch + 1), Mb().pRecU - 16 * (Mb().pitch + 1),
                       Mb().pRecV - 16 * (Mb().pitch + 1), 0, 100, Mb().pitch);
            for (int List = 0; List <= IsB; ++List) {
                const auto& f = *Slice().Facts.ref_pic_lists.Pictures[List][0].pFrame;
                FillPlanes(f.m_pY, f.m_pU, f.m_pV, kLumaPadding, static_cast<uint8_t>(100 + Brighter), f.m_Pitch);
            }
            for (uint8_t* const p : {m_Y, m_U, m_V}) std::fill_n(p, 256, uint8_t{100});
            for (int i = 0; i < 256 * 12; ++i) {
                const int32_t Dearer = IntraLessInter();
                if (std::abs(Dearer) < 400) {
                    EXPECT_EQ(IsIntra(Analyse().Type), Dearer < 0) << IsB << ' ' << Brighter << ' ' << i;
                    ++Taken[Dearer < 0];
                }
                ++m_Y[i % 256];
            }
        }
        EXPECT_GT(Taken[0], 0) << IsB;
        EXPECT_GT(Taken[1], 0) << IsB;
    }
}

// The 8x8 transform of an inter macroblock is taken where its trial is cheaper.
TEST_F(Trials, ChooseTheTransformOfInter)
{
    Start(24, 2, [](auto& p) { p.transform_8x8_mode = 1; });
    c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_MODE;
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_I4X4 | ENC_ANALYSE_I8X8);
    int Taken[2]{};
    for (int Wave = 1; Wave <= 40; ++Wave) {
        FollowReference();
        for (int i = 0; i < 256; ++i)
            m_Y[i] = Clip8(m_Y[i] + Wave * std::cos((2 * (i % 8) + 1) * (Wave % 8) * 0.19635));
        if (Wave % 2) // a corner of one block alone
            FollowReference(), m_Y[0] = static_cast<uint8_t>(m_Y[0] + 2 * Wave);
        const Candidate Won = Analyse();
        if (Won.Type != MB_INTER16X16) continue;
        Candidate Of4x4 = Won, Of8x8 = Won;
        Of4x4.Transform8x8 = false;
        Of8x8.Transform8x8 = true;
        const int32_t Cost4x4 = CostOf(Of4x4), Cost8x8 = CostOf(Of8x8);
        EXPECT_EQ(Won.Transform8x8, Cost8x8 < Cost4x4) << Wave;
        EXPECT_EQ(Won.Cost, std::min(Cost8x8, Cost4x4)) << Wave;
        ++Taken[Won.Transform8x8];
    }
    EXPECT_GT(Taken[0], 0);
    EXPECT_GT(Taken[1], 0);
}

// Of the shapes of an inter macroblock, only with trials of every candidate.
TEST_F(Trials, OfShapesNeedTheFlagForEveryCandidate)
{
    Start(22, 2, [](auto& p) { p.partition_level = 1; });
    MakeNoise(7, 80);
    const auto Decide = [this](TrialCoder<uint8_t>* pTrials) {
        return UMC_H264_ENCODER::DecideP<uint8_t>(c.Settings, Mb(), 0, Slice().work_area, pTrials);
    };
    const Candidate Plain = Decide(nullptr);
    c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_MODE;
    EXPECT_EQ(Decide(&*m_pTrials).Cost, Plain.Cost);
    c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_OPT;
    const Candidate ByTrial = Decide(&*m_pTrials);
    EXPECT_EQ(ByTrial.Cost, CostOf(ByTrial));
    EXPECT_NE(ByTrial.Cost, Plain.Cost);
}

// ---- Finer intra types by trial --------------------------------------------------------------------------------

// 4x4 blocks that are predicted as they are, at a distance that the test states, and how often one was.
int32_t s_Distance;
int s_Blocks;
void PerfectBlocks(const uint8_t* pSrc, ptrdiff_t Step, const uint8_t*, ptrdiff_t, unsigned,
                   uint8_t (*pPredictions)[16], int32_t* pSad)
{
    ++s_Blocks;
    std::fill_n(pSad, 9, s_Distance);
    for (int Mode = 0; Mode < 9; ++Mode)
        for (int y = 0; y < 4; ++y) std::copy_n(pSrc + y * Step, 4, pPredictions[Mode] + 4 * y);
}

class FinerTrials : public Trials
{
protected:
    void StartWith(int Pictures)
    {
        Start(26, Pictures);
        c.Settings.AnalysisFlags |= ENC_ANALYSE_RD_MODE;
        kernels::g_Kernels.PredictAll4x4 = PerfectBlocks;
        s_Distance = 0;
    }
    void TearDown() override { kernels::g_Kernels = m_Kernels; }
    int BlocksTried()
    {
        s_Blocks = 0;
        Analyse();
        return s_Blocks;
    }
    kernels::KernelSlots m_Kernels = kernels::g_Kernels;
};

// Blocks that were given up at the plain cost of 16x16 are not tried: what is at hand of them is not whole.
TEST_F(FinerTrials, AreMadeBelowThePlainCostOf16x16)
{
    StartWith(1);
    MakeNoise(9, 120);
    EXPECT_EQ(Analyse().Type, MB_INTRA4X4);
    s_Distance = 100000;
    EXPECT_EQ(Analyse().Type, MB_INTRA16X16);
}

TEST_F(FinerTrials, HaveTheChromaOf16x16)
{
    StartWith(1);
    MakeNoise(9, 120);
    for (int i = 0; i < 256; ++i) { // as the rows above
        m_U[i] = *(Mb().pRecU - Mb().pitch + i % 16);
        m_V[i] = *(Mb().pRecV - Mb().pitch + i % 16);
    }
    const Candidate Won = Analyse();
    EXPECT_EQ(Won.Type, MB_INTRA4X4);
    EXPECT_EQ(Won.ChromaMode, CHROMA_VERTICAL);
}

TEST_F(FinerTrials, NeedDetail)
{
    StartWith(1);
    MakeNoise(9, 120);
    EXPECT_EQ(BlocksTried(), 16);
    std::fill_n(m_Y, 256, uint8_t{90});
    EXPECT_EQ(BlocksTried(), 0);
}

TEST_F(FinerTrials, AreMadeUpToTwiceTheCostOfInter)
{
    StartWith(2);
    MakeNoise(9, 120);
    EXPECT_EQ(BlocksTried(), 16);
    FollowReference();
    EXPECT_EQ(BlocksTried(), 0);
}

} // namespace
