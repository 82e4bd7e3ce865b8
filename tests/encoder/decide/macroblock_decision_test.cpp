// Single decisions of a macroblock at their borders: one more unit of cost, one more edge, one more quarter sample.
#include "encoder/code/macroblock_quantisers.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/dispatch/kernels.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/encoder/slice_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

constexpr int32_t kSide = 48; // three macroblocks in a row, three rows

// A core after some pictures of one grey, whose last macroblock is decided again with another source or neighbourhood.
class LastMacroblock : public testing::Test
{
protected:
    void Start(int32_t Qp, int32_t References = 1)
    {
        UMC::H264EncoderParams p = SizedParams(kSide, kSide);
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = static_cast<uint8_t>(Qp);
        p.deblocking_filter_idc = 1;
        p.num_ref_frames = References;
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        Picture Grey(kSide * kSide * 3 / 2, 100);
        UMC::VideoData Input;
        Input.Init(kSide, kSide, UMC::YUV420, 8);
        UMC::MediaData Output(1 << 20);
        for (int i = 0; i <= References; ++i) {
            Input.SetBufferPointer(Grey.data(), Grey.size());
            Output.Reset();
            ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        }
        ASSERT_EQ(Mb().mb_index, 8);
        for (int32_t y = 0; y < 16; ++y) std::fill_n(Source(0, y), 16, uint8_t{100});
    }
    SliceContext<uint8_t>& Slice() { return c.Job.Slices[0]; }
    CurrentMacroblock<uint8_t>& Mb() { return Slice().cur_mb; }
    // The picture is coded in place, so its samples are the source.
    uint8_t* Source(int32_t x, int32_t y) { return Mb().pRecY + y * Mb().pitch + x; }
    // Gives the source a distortion against grey, in samples of which each is too far off to be skipped.
    void Distort(int32_t Sum)
    {
        for (int32_t i = 0; i < 256; ++i) {
            const int32_t Part = i % 5 == 0 ? std::min(Sum, 150) : 0;
            *Source(i % 16, i / 16) = static_cast<uint8_t>(100 + Part);
            Sum -= Part;
        }
    }
    int32_t InterCost() { return DecideP(c.Settings, Slice()).Cost; }
    void Neighbour(int32_t Index, MotionVector v)
    {
        std::fill_n(c.Job.pCurrent->mb_motion[0] + 16 * Index, 16, v);
        std::fill_n(c.Job.pCurrent->mb_reference[0] + 16 * Index, 16, int8_t{0});
        FillNeighbours(Mb().Around, Slice().Facts.Neighbours, Mb().mb_index, Mb().mb_x);
    }
    // Takes neighbours away from the macroblock, and gives the others back.
    void Without(uint32_t Neighbours)
    {
        FillNeighbours(Mb().Around, Slice().Facts.Neighbours, Mb().mb_index, Mb().mb_x);
        Mb().Around.Available &= ~Neighbours;
    }
    static constexpr int32_t kLeftMb = 7, kTopMb = 5, kTopLeftMb = 4;

    // Kernels of the test's own; those of the processor come back at the end.
    kernels::KernelSlots m_Kernels = kernels::g_Kernels;
    void TearDown() override { kernels::g_Kernels = m_Kernels; }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
};

// ---- Inter and the gate to intra ---------------------------------------------------------------------------

// What the test states of intra: the distortion of every Intra 16x16 mode, the number of edges, and how often each was
// asked for. The finer blocks are made too dear to win.
struct StatedIntra {
    int32_t Distance16x16 = 0;
    int32_t Edges = 1000;
    int Tried16x16 = 0, TriedFiner = 0;
    const WorkArea<uint8_t>* pWork = nullptr;
    kernels::KernelSlots Real;
};
StatedIntra s_Intra;

int32_t SadOrStated(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    const bool bIntra = pB == s_Intra.pWork->IntraY[0] || pB == s_Intra.pWork->IntraY[1];
    if (!bIntra) return s_Intra.Real.Sad16x16(pA, StepA, pB, StepB);
    ++s_Intra.Tried16x16;
    return s_Intra.Distance16x16;
}
int32_t StatedEdges(const uint8_t*, ptrdiff_t, int) { return s_Intra.Edges; }
void DearFinerBlocks(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, unsigned, uint8_t (*pPredictions)[16],
                     int32_t* pSad)
{
    ++s_Intra.TriedFiner;
    std::fill_n(pSad, 9, 100000);
    std::fill_n(pPredictions[0], 9 * 16, uint8_t{100});
}

class IntraGates : public LastMacroblock
{
protected:
    static constexpr int32_t kQp = 20;

    void SetUp() override
    {
        Start(kQp);
        s_Intra = {};
        s_Intra.pWork = &Slice().work_area;
        s_Intra.Real = kernels::g_Kernels;
        kernels::g_Kernels.Sad16x16 = SadOrStated;
        kernels::g_Kernels.CountEdges16x16 = StatedEdges;
        kernels::g_Kernels.PredictAll4x4 = DearFinerBlocks;
    }
    // Decides the macroblock at costs of inter and, with the vertical mode as the cheapest, of Intra 16x16.
    void Decide(int32_t Inter, int32_t Intra)
    {
        // With a grey reference all vectors have the same distortion, and none is the cheapest: 2 bits, and 1 for the
        // reference.
        Distort(Inter - MVBitCost[kQp][2] - MVBitCost[kQp][1]);
        s_Intra.Distance16x16 = Intra - BitPrice(kQp, 1);
        s_Intra.Tried16x16 = s_Intra.TriedFiner = 0;
        AnalyseMacroblock(c.Settings, Slice());
        ASSERT_EQ(InterCost(), Inter);
    }
};

TEST_F(IntraGates, AtQp20IntraIsTriedFromACostOf185)
{
    for (const int32_t Inter : {183, 184, 185, 186}) {
        Decide(Inter, 100000);
        EXPECT_EQ(s_Intra.Tried16x16 > 0, Inter >= 185) << Inter;
    }
}

TEST_F(IntraGates, IntraWinsWhenItIsCheaperAndNotAtATie)
{
    Decide(300, 301);
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTER16X16);
    Decide(300, 300);
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTER16X16);
    EXPECT_EQ(Mb().Records.pLocal->Cost, 300);
    Decide(300, 299);
    EXPECT_EQ(Mb().Records.pGlobal->Type, MB_INTRA16X16);
    EXPECT_EQ(Mb().Records.pLocal->Cost, 299);
    EXPECT_EQ(Mb().Records.pLocal->Intra16Mode, INTRA16_VERTICAL);
    EXPECT_EQ(Mb().Records.pReferences[0][0], -1);
}

TEST_F(IntraGates, ATieOf16x16ModesStaysWithTheEarlier)
{
    s_Intra.Distance16x16 = 50;
    EXPECT_EQ(Intra16x16(c.Settings, Slice()).Intra16Mode, INTRA16_VERTICAL); // cheaper by two bits
    Without(kernels::kTop);
    EXPECT_EQ(Intra16x16(c.Settings, Slice()).Intra16Mode, INTRA16_DC); // horizontal takes as many bits
}

TEST_F(IntraGates, FinerTypesAreTriedUpToTwiceTheCostOfInter)
{
    for (const int32_t Intra : {1999, 2000, 2001, 2002}) {
        Decide(1000, Intra);
        EXPECT_EQ(s_Intra.TriedFiner > 0, Intra <= 2000) << Intra;
    }
}

TEST_F(IntraGates, FinerTypesAreTriedFromACostOf501AtQp20)
{
    for (const int32_t Inter : {500, 501, 502}) {
        Decide(Inter, 600);
        EXPECT_EQ(s_Intra.TriedFiner > 0, Inter >= 501) << Inter;
    }
}

TEST_F(IntraGates, FinerTypesNeedDetailAndTheirFlag)
{
    for (const int32_t Edges : {0, 1}) {
        s_Intra.Edges = Edges;
        Decide(800, 900);
        EXPECT_EQ(s_Intra.TriedFiner > 0, Edges == 1);
    }
    c.Settings.AnalysisFlags &= ~static_cast<uint32_t>(ENC_ANALYSE_I4X4);
    Decide(800, 900);
    EXPECT_EQ(s_Intra.TriedFiner, 0);
}

// ---- Where a search ends -----------------------------------------------------------------------------------

// How often a search was refined, and how often the second reference was measured.
struct SearchCount {
    int Refined = 0, Second = 0;
    const uint8_t *pSecond = nullptr, *pSecondEnd = nullptr;
    kernels::KernelSlots Real;
};
SearchCount s_Search;

void CountRefinement(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    ++s_Search.Refined;
    s_Search.Real.HalfPlaneRight(pSource, SourceStep, pDst, DstStep);
}
int32_t CountSecond(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    s_Search.Second += pB >= s_Search.pSecond && pB < s_Search.pSecondEnd;
    return s_Search.Real.Sad16x16(pA, StepA, pB, StepB);
}

class SearchGates : public LastMacroblock
{
protected:
    static constexpr int32_t kQp = 20, kThreshold = 68; // a cost of 68 is enough at QP 20

    void StartSearches(int32_t References)
    {
        Start(kQp, References);
        ASSERT_EQ(Slice().Facts.num_ref_idx_l0, References);
        const auto& Second = *Slice().Facts.ref_pic_lists.Pictures[0][References - 1].pFrame;
        s_Search = {};
        s_Search.pSecond = References > 1 ? Second.m_pY : nullptr;
        s_Search.pSecondEnd = References > 1 ? Second.m_pY + kSide * Second.m_Pitch : nullptr;
        s_Search.Real = kernels::g_Kernels;
        kernels::g_Kernels.HalfPlaneRight = CountRefinement;
        kernels::g_Kernels.Sad16x16 = CountSecond;
    }
    // Decides at a cost in the first reference.
    void Decide(int32_t Cost)
    {
        Distort(Cost - MVBitCost[kQp][2] - MVBitCost[kQp][1]);
        s_Search.Refined = s_Search.Second = 0;
        AnalyseMacroblock(c.Settings, Slice());
    }
};

TEST_F(SearchGates, ACostAtTheThresholdIsNotRefined)
{
    StartSearches(1);
    ASSERT_EQ(c.Settings.ThresholdME[kQp], kThreshold);
    for (const int32_t Cost : {67, 68, 69, 70}) {
        Decide(Cost);
        EXPECT_EQ(s_Search.Refined, Cost > kThreshold) << Cost;
        EXPECT_EQ(InterCost(), Cost);
    }
}

TEST_F(SearchGates, ACostAtTheThresholdEndsTheSearchOfReferences)
{
    StartSearches(2);
    for (const int32_t Cost : {67, 68, 69, 70}) {
        Decide(Cost);
        EXPECT_EQ(s_Search.Second > 0, Cost > kThreshold) << Cost;
    }
}

// The second of two references is named in two bits, which are 3 dearer than the one of the first.
TEST_F(SearchGates, ASecondReferenceMustBeBetterByMoreThanItsName)
{
    StartSearches(2);
    ASSERT_EQ(BitPrice(kQp, 2) - BitPrice(kQp, 1), 3);
    uint8_t& Sample =
        const_cast<uint8_t&>(s_Search.pSecond[32 * Mb().pitch + 32]); // of the macroblock, which is the last
    for (const int Better : {2, 3, 4}) {
        Sample = static_cast<uint8_t>(100 + Better);
        Decide(180);
        EXPECT_EQ(Mb().Records.pReferences[0][0], Better > 3 ? 1 : 0) << Better;
        EXPECT_EQ(InterCost(), Better > 3 ? 180 + 3 - Better : 180) << Better;
    }
}

TEST_F(SearchGates, AWorseReferenceEndsTheSearch)
{
    StartSearches(3); // what is counted is the third
    Decide(180);
    EXPECT_EQ(s_Search.Second, 0);
    c.Settings.AnalysisFlags |= ENC_ANALYSE_ALL_REFS;
    Decide(180);
    EXPECT_GT(s_Search.Second, 0);
}

// The median of the neighbours lies beside the skip vector, which is none as the left one stands still.
TEST_F(LastMacroblock, AVectorAQuarterSampleFromTheSkipVectorIsStillTested)
{
    Start(30);
    for (int16_t Off = -2; Off <= 2; ++Off)
        for (const bool bVertical : {false, true}) {
            const MotionVector v = bVertical ? MotionVector{0, Off} : MotionVector{Off, 0};
            Neighbour(kLeftMb, {0, 0});
            Neighbour(kTopMb, v);
            Neighbour(kTopLeftMb, v);
            AnalyseMacroblock(c.Settings, Slice());
            const bool bSkip = std::abs(Off) <= 1;
            EXPECT_EQ(Mb().Records.pGlobal->Type, bSkip ? MB_SKIP_P : MB_INTER16X16) << Off;
            if (bSkip) {
                EXPECT_EQ(Mb().Records.pVectors[0][0], (MotionVector{0, 0})) << Off; // not the one asked about
            }
            EXPECT_EQ(Mb().Records.pLocal->Cost == 0, bSkip) << Off;
        }
}

TEST_F(LastMacroblock, TheSliceSaysHowAnIntraMacroblockIsRounded)
{
    Start(0);
    auto& s = Slice();
    for (const int32_t Type : {h264::SLICE_I, h264::SLICE_P}) {
        s.Facts.slice_type = Type;
        s.Facts.Syntax.slice_type = Type;
        SetQuantisers(c.Settings, s.Facts.Syntax, 0, s.Quant);
        const kernels::QuantParams& Own = (Type == h264::SLICE_I ? c.Settings.Quant.Intra : c.Settings.Quant.Inter)[0];
        EXPECT_EQ(s.Quant.pLuma, &Own);
        EXPECT_EQ(s.Quant.pChroma, &Own);
        EXPECT_EQ(s.Quant.pLumaIntra, &c.Settings.Quant.Intra[0]); // the DC of Intra 16x16, in every slice
        // A block that lies two above its prediction in sum: its DC coefficient of 2 is a level in I slices alone.
        Without(~0u); // so that 128 is predicted
        for (int32_t y = 0; y < 16; ++y) std::fill_n(Source(0, y), 16, uint8_t{128});
        *Source(0, 0) = *Source(1, 1) = 129;
        Intra4x4(c.Settings, s, INT32_MAX);
        EXPECT_EQ(s.work_area.Of4x4.Coded & 1, Type == h264::SLICE_I ? 1u : 0u);
    }
}

// ---- Intra -------------------------------------------------------------------------------------------------

TEST_F(LastMacroblock, OnePairOfSamplesIsDetailBelowQp32)
{
    Start(30);
    for (int32_t Qp = 0; Qp < 52; ++Qp) {
        const auto i = static_cast<size_t>(Qp);
        Mb().Records.pLocal->Qp = static_cast<int8_t>(Qp);
        *Source(15, 3) =
            static_cast<uint8_t>(100 + EdgePelDifference[i]); // its right and lower neighbours do not count
        EXPECT_FALSE(HasDetail(Mb())) << Qp;
        *Source(15, 3) = static_cast<uint8_t>(100 + EdgePelDifference[i] + 1);
        EXPECT_EQ(HasDetail(Mb()), Qp < 32) << Qp;
        *Source(15, 3) = 100;
    }
}

// Distances by mode, whatever the samples are.
int32_t s_DistanceOfMode[9];
void StatedDistances(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, unsigned, uint8_t (*pPredictions)[16],
                     int32_t* pSad)
{
    std::copy_n(s_DistanceOfMode, 9, pSad);
    std::fill_n(pPredictions[0], 9 * 16, uint8_t{100});
}

// The modes that are tried for a block: each is taken when it alone fits.
std::set<int> ModesTried(Core8& c, size_t Raster)
{
    std::set<int> Tried;
    for (int Mode = 0; Mode < 9; ++Mode) {
        std::fill_n(s_DistanceOfMode, 9, 100000);
        s_DistanceOfMode[Mode] = 0;
        Intra4x4(c.Settings, c.Job.Slices[0], INT32_MAX);
        if (c.Job.Slices[0].work_area.Of4x4.Modes[Raster] == Mode) Tried.insert(Mode);
    }
    return Tried;
}

TEST_F(LastMacroblock, TheFirstBlockTriesTheModesThatItsNeighboursAllow)
{
    Start(30);
    kernels::g_Kernels.PredictAll4x4 = StatedDistances;
    using enum kernels::IntraAvailable;
    const std::set<int> kAll{0, 1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(ModesTried(c, 0), kAll);
    Without(kTopLeft);
    EXPECT_EQ(ModesTried(c, 0), (std::set<int>{0, 1, 2, 3, 7, 8})); // five beside DC
    EXPECT_EQ(ModesTried(c, 1), kAll); // the corner of the others lies in the macroblock above
    EXPECT_EQ(ModesTried(c, 5), kAll); // or in this one
    Without(kTopLeft | kLeft);
    EXPECT_EQ(ModesTried(c, 0), (std::set<int>{0, 2, 3, 7}));
    Without(kTopLeft | kTop);
    EXPECT_EQ(ModesTried(c, 0), (std::set<int>{1, 2, 8}));
    EXPECT_EQ(ModesTried(c, 5), kAll);
    Without(kTopLeft | kTop | kLeft);
    EXPECT_EQ(ModesTried(c, 0), (std::set<int>{2}));
}

TEST_F(LastMacroblock, ATieOfModesGoesToTheLowerNumber)
{
    Start(30);
    kernels::g_Kernels.PredictAll4x4 = StatedDistances;
    const auto Won = [this](std::initializer_list<int> Tied, int32_t Rest = 100000) {
        std::fill_n(s_DistanceOfMode, 9, Rest);
        for (const int m : Tied) s_DistanceOfMode[m] = 0;
        Intra4x4(c.Settings, Slice(), INT32_MAX);
        return int{Slice().work_area.Of4x4.Modes[0]};
    };
    EXPECT_EQ(Won({3, 7}), 3);
    EXPECT_EQ(Won({8, 4}), 4);
    EXPECT_EQ(Won({5, 6, 7, 8}), 5);
    EXPECT_EQ(Won({0, 1, 3, 4}), 0);
    // DC, which is predicted here, is cheaper by three bits; at a tie of the whole cost the lower number wins as well.
    const int32_t ThreeBits = BitPrice(30, 4) - BitPrice(30, 1);
    std::fill_n(s_DistanceOfMode, 9, 1000 - ThreeBits);
    s_DistanceOfMode[2] = 1000;
    Intra4x4(c.Settings, Slice(), INT32_MAX);
    EXPECT_EQ(Slice().work_area.Of4x4.Modes[0], 0);
    s_DistanceOfMode[0] = s_DistanceOfMode[1] = 1000;
    Intra4x4(c.Settings, Slice(), INT32_MAX);
    EXPECT_EQ(Slice().work_area.Of4x4.Modes[0], 2);
}

TEST_F(LastMacroblock, Intra4x4GivesUpAboveTheLimitOnly)
{
    Start(30);
    kernels::g_Kernels.PredictAll4x4 = StatedDistances;
    std::fill_n(s_DistanceOfMode, 9, 10);
    const int32_t Whole = Intra4x4(c.Settings, Slice(), INT32_MAX).Cost;
    const int32_t Sum = Whole - BitPrice(30, 24);
    EXPECT_EQ(Sum, 16 * (10 + BitPrice(30, 1)));
    EXPECT_EQ(Intra4x4(c.Settings, Slice(), Sum).Cost, Whole);
    EXPECT_EQ(Intra4x4(c.Settings, Slice(), Sum - 1).Cost, Sum); // without the price of the type
    EXPECT_EQ(Intra4x4(c.Settings, Slice(), 0).Cost, Sum / 16);
}

TEST_F(LastMacroblock, Intra4x4MustBeCheaperThan16x16)
{
    Start(30);
    kernels::g_Kernels.PredictAll4x4 = StatedDistances;
    std::fill_n(s_DistanceOfMode, 9, 10);
    const int32_t Cost = Intra4x4(c.Settings, Slice(), INT32_MAX).Cost;
    for (const int32_t Cost16x16 : {Cost - 1, Cost, Cost + 1}) {
        Candidate Best{.Cost = Cost16x16, .Type = MB_INTRA16X16};
        TryFinerIntra(c.Settings, Slice(), Best);
        EXPECT_EQ(Best.Cost, std::min(Cost, Cost16x16));
        EXPECT_EQ(Best.Type, Cost < Cost16x16 ? MB_INTRA4X4 : MB_INTRA16X16) << Cost16x16 - Cost;
    }
}

// ---- Whole pictures ----------------------------------------------------------------------------------------

// Types in the P pictures of a clip, and the largest cost of one in the last picture.
struct CodedClip {
    std::set<int> Types;
    int32_t LargestCost = 0;

    CodedClip(UMC::H264EncoderParams p, std::vector<Picture> Clip)
    {
        UMC::DefaultMemoryAllocator Allocator;
        Core8 c;
        EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        Input.Init(p.m_Info.m_Width, p.m_Info.m_Height, UMC::YUV420, 8);
        UMC::MediaData Output(1 << 20);
        for (size_t i = 0; i < Clip.size(); ++i) {
            Input.SetBufferPointer(Clip[i].data(), Clip[i].size());
            Output.Reset();
            EXPECT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
            LargestCost = 0;
            for (int32_t Mb = 0; i > 0 && Mb < c.Settings.Layout.MbCount; ++Mb) {
                Types.insert(c.Job.pCurrent->mb_global[Mb].Type);
                LargestCost = std::max(LargestCost, c.Job.LocalMacroblocks[static_cast<size_t>(Mb)].Cost);
            }
        }
    }
};

TEST(InterDecision, WithTheProductsSettingsNeverLeaves16x16)
{
    std::set<int> Types;
    for (const Scene s : {Scene::Pan, Scene::Mixed, Scene::Cut, Scene::Noise}) {
        UMC::H264EncoderParams p = SizedParams(96, 80);
        p.m_Info.m_Bitrate = 300000;
        Types.merge(CodedClip(p, MakeClip(s, 96, 80, 8)).Types);
    }
    EXPECT_EQ(Types, (std::set<int>{MB_INTRA4X4, MB_INTRA16X16, MB_INTER16X16, MB_SKIP_P}));
}

TEST(InterDecision, AStaticSceneIsSkippedAtNoCost)
{
    UMC::H264EncoderParams p = SizedParams(96, 80);
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = 30;
    Picture Still(96 * 80 * 3 / 2, 128);
    for (size_t i = 0; i < 96 * 80; ++i) Still[i] = static_cast<uint8_t>(60 + 8 * (i % 96 / 16) + 5 * (i / 96 / 16));
    const CodedClip Clip(p, std::vector<Picture>(5, Still));
    EXPECT_EQ(Clip.Types, (std::set<int>{MB_SKIP_P}));
    EXPECT_EQ(Clip.LargestCost, 0);
}

} // namespace
