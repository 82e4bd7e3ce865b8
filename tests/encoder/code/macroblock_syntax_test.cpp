// The walk over a macroblock's syntax on random macroblocks: what a counter counts is what the coder writes.
#include "encoder/code/macroblock_syntax.h"

#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

constexpr int32_t kMbWidth = 3, kMbs = 9;

// Tables of a picture of nine macroblocks, and the parts of one more that is being coded.
class RandomMacroblock
{
public:
    explicit RandomMacroblock(uint32_t Seed) : m_Rng(Seed)
    {
        for (size_t i = 0; i < kMbs; ++i) FillRecord(m_Global[i], m_Local[i]);
        for (uint8_t& m : m_Modes) m = static_cast<uint8_t>(Below(9));
        for (MotionVector& d : m_Differences) d = {Component(), Component()};
        for (int8_t& r : m_References) r = static_cast<int8_t>(Below(5)) - 1;
        for (uint8_t& n : m_Counts) n = static_cast<uint8_t>(Below(17));
        for (BlockLevels<int16_t>& b : m_Luma) FillLevels(b, 16);
        for (auto& Plane : m_ChromaAc)
            for (BlockLevels<int16_t>& b : Plane) FillLevels(b, 15);
        for (BlockLevels<int16_t>& b : m_ChromaDc) FillLevels(b, 4);
        FillLevels(m_LumaDc, 16);
    }

    MacroblockSyntax<int16_t> Syntax(int32_t Index, int32_t SliceType)
    {
        m_Slice.slice_type = SliceType;
        const NeighbourTables t{.FirstMb = static_cast<int32_t>(Below(2)),
                                .MbWidth = kMbWidth,
                                .ChromaFormat = h264::CHROMA_420,
                                .pGlobal = m_Global,
                                .pLocal = m_Local,
                                .pIntraModes = m_Modes,
                                .Lists = SliceType == h264::SLICE_I ? 0 : 1,
                                .pVectors = {m_Differences},
                                .pReferences = {m_References},
                                .pDifferences = {m_Differences},
                                .pCounts = m_Counts};
        FillNeighbours(m_Around, t, Index, Index % kMbWidth);
        const auto i = static_cast<size_t>(Index);
        if (SliceType == h264::SLICE_I && !IsIntra(m_Global[i].Type)) {
            m_Global[i].Type = MB_INTRA4X4;
            if ((m_Local[i].Coded & 0xFFFF) != 0) m_Local[i].Pattern |= 15;
        }
        if (m_Global[i].Type == MB_INTRA16X16)
            for (BlockLevels<int16_t>& b : m_Luma) FillLevels(b, 15);
        m_References[16 * i] = 0;
        return {.Slice = m_Slice,
                .num_ref_idx = {1 + static_cast<int32_t>(Below(4)), 0},
                .Type = m_Global[i].Type,
                .Flags = 0,
                .QpDelta = static_cast<int32_t>(Below(9)) - 4,
                .Local = m_Local[i],
                .Around = m_Around,
                .pReferences = {m_References + 16 * i},
                .pDifferences = {m_Differences + 16 * i},
                .pIntraModes = m_Modes + 16 * i,
                .pLuma = m_Luma,
                .pLuma8x8 = nullptr,
                .LumaDc = m_LumaDc,
                .pChromaDc = m_ChromaDc,
                .pChromaAc = m_ChromaAc,
                .pPcm = nullptr};
    }
    const NeighbourCache& Around() const { return m_Around; }
    void SetDepth(int32_t Depth) { m_Slice.BitDepthLuma = Depth; }

private:
    uint32_t Below(uint32_t n) { return static_cast<uint32_t>(m_Rng() % n); }
    int16_t Component() { return static_cast<int16_t>(static_cast<int32_t>(Below(200)) - 100); }
    void FillLevels(BlockLevels<int16_t>& b, uint32_t Positions)
    {
        b = {};
        for (uint32_t i = 0; i < Positions; ++i) {
            if (Below(3) && (i + 1 < Positions || b.Count)) continue;
            b.Position[b.Count] = static_cast<uint8_t>(i);
            const auto Magnitude = static_cast<int16_t>(1 + Below(Below(5) ? 3 : 2500));
            b.Level[b.Count++] = Below(2) ? Magnitude : static_cast<int16_t>(-Magnitude);
        }
    }
    void FillRecord(GlobalMacroblock& g, LocalMacroblock& l)
    {
        static constexpr uint8_t kTypes[]{MB_INTRA4X4, MB_INTRA16X16, MB_INTER16X16, MB_SKIP_P};
        g = {};
        l = {};
        g.Type = kTypes[Below(4)];
        if (g.Type == MB_SKIP_P) return;
        const uint32_t Luma = g.Type == MB_INTRA16X16 ? 15 * Below(2) : Below(16), Chroma = Below(3);
        l.Pattern = static_cast<uint8_t>(Luma | Chroma << 4);
        for (uint32_t b = 0; b < 16; ++b) l.Coded |= (Luma >> (b / 4) & Below(2)) << b;
        if (g.Type == MB_INTRA16X16 && Below(2)) l.CodedDc |= kCodedLumaDc;
        if (Chroma > 0) l.CodedDc = static_cast<uint8_t>(l.CodedDc | Below(4) * kCodedCbDc);
        if (Chroma > 1) l.Coded |= Below(16) << kCodedCbShift | Below(16) << kCodedCrShift;
        l.Intra16Mode = static_cast<uint8_t>(Below(4));
        if (IsIntra(g.Type)) l.ChromaMode = static_cast<uint8_t>(Below(4));
    }

    std::mt19937 m_Rng;
    GlobalMacroblock m_Global[kMbs];
    LocalMacroblock m_Local[kMbs];
    uint8_t m_Modes[kMbs * 16];
    MotionVector m_Differences[kMbs * 16];
    int8_t m_References[kMbs * 16];
    uint8_t m_Counts[kMbs * kCountsPerMb];
    BlockLevels<int16_t> m_Luma[16], m_LumaDc, m_ChromaDc[2], m_ChromaAc[2][kMaxChromaBlocks];
    NeighbourCache m_Around;
    SyntaxOfSlice m_Slice{.slice_type = h264::SLICE_I,
                          .chroma_format_idc = h264::CHROMA_420,
                          .entropy_coding_mode_flag = false, // the policies tell
                          .transform_8x8_mode_flag = false,
                          .direct_8x8_inference_flag = true,
                          .BitDepthLuma = 8,
                          .BitDepthChroma = 8};
};

constexpr uint32_t kRounds = 3000;

TEST(MacroblockSyntax, ACabacCounterCountsWhatIsWritten)
{
    std::vector<uint8_t> Bytes(4 << 20);
    StoredBytes Out;
    Out.Start(Bytes.data());
    CabacCoder Real;
    Real.StartSlice(h264::SLICE_P, 0, 30, Out);
    for (uint32_t Seed = 0; Seed < kRounds; ++Seed) {
        RandomMacroblock r(Seed);
        const MacroblockSyntax<int16_t> m =
            r.Syntax(static_cast<int32_t>(Seed % kMbs), Seed % 3 ? h264::SLICE_P : h264::SLICE_I);
        CabacCounter Counter(Real);
        const int64_t Counted = Counter.Arithmetic.Bits(), Written = Real.Arithmetic.Bits();
        const bool bDelta = WriteMacroblockSyntax(m, CabacSyntax(Counter, m.Around, IsIntra(m.Type)));
        ASSERT_EQ(WriteMacroblockSyntax(m, CabacSyntax(Real, m.Around, IsIntra(m.Type))), bDelta);
        ASSERT_EQ(Counter.Arithmetic.Bits() - Counted, Real.Arithmetic.Bits() - Written) << Seed;
        ASSERT_EQ(Counter.Contexts, Real.Contexts);
        ASSERT_EQ(Counter.LastQpDelta, Real.LastQpDelta);
        ASSERT_EQ(Real.LastQpDelta, bDelta ? m.QpDelta : 0); // what the next mb_qp_delta's context asks for
    }
}

TEST(MacroblockSyntax, ACavlcCounterCountsWhatIsWritten)
{
    std::vector<uint8_t> Bytes(4 << 20);
    CavlcCoder Real;
    Real.Bits.Start(Bytes.data());
    for (uint32_t Seed = 0; Seed < kRounds; ++Seed) {
        RandomMacroblock r(Seed);
        const MacroblockSyntax<int16_t> m =
            r.Syntax(static_cast<int32_t>(Seed % kMbs), Seed % 3 ? h264::SLICE_P : h264::SLICE_I);
        if (m.Slice.slice_type == h264::SLICE_I) Real.skip_run = 0; // as at the slice's start
        CavlcCounter Counter(Real);
        const int64_t Before = Real.Bits.Bits();
        const uint32_t Skipped = Real.skip_run;
        uint8_t Counts[2][kCountsPerMb];
        WriteMacroblockSyntax(m, CavlcSyntax(Counter, m.Around, Counts[0]));
        WriteMacroblockSyntax(m, CavlcSyntax(Real, m.Around, Counts[1]));
        ASSERT_EQ(Counter.Bits.Bits(), Real.Bits.Bits() - Before) << Seed;
        ASSERT_EQ(Counter.skip_run, Real.skip_run);
        if (m.Type == MB_SKIP_P) {
            ASSERT_EQ(Real.skip_run, Skipped + 1); // and nothing is written yet
            ASSERT_EQ(Counter.Bits.Bits(), 0);
        }
        for (int32_t i = 0; i < kCountsPerMb; ++i) ASSERT_EQ(Counts[0][i], Counts[1][i]);
    }
}

// mb_qp_delta of clause 7.4.5 for every step from one QPY to another.
TEST(MacroblockSyntax, AStepOfQpIsWrittenWithinItsRange)
{
    for (const int32_t Depth : {8, 10, 14}) {
        const int32_t Offset = 6 * (Depth - 8), Range = 52 + Offset;
        RandomMacroblock r(0);
        r.SetDepth(Depth);
        MacroblockSyntax<int16_t> m = r.Syntax(4, h264::SLICE_P);
        LocalMacroblock Local = m.Local;
        Local.Pattern = 1; // so that there is one
        for (m.QpDelta = -51 - Offset; m.QpDelta <= 51 + Offset; ++m.QpDelta) {
            CabacCounter Coder;
            const MacroblockSyntax<int16_t> WithDelta{m.Slice,
                                                      {1, 0},
                                                      MB_INTER16X16,
                                                      0,
                                                      m.QpDelta,
                                                      Local,
                                                      m.Around,
                                                      {m.pReferences[0]},
                                                      {m.pDifferences[0]},
                                                      m.pIntraModes,
                                                      m.pLuma,
                                                      nullptr,
                                                      m.LumaDc,
                                                      m.pChromaDc,
                                                      m.pChromaAc,
                                                      nullptr};
            ASSERT_TRUE(WriteMacroblockSyntax(WithDelta, CabacSyntax(Coder, m.Around, false)));
            EXPECT_GE(Coder.LastQpDelta, -(26 + Offset / 2));
            EXPECT_LE(Coder.LastQpDelta, 25 + Offset / 2);
            EXPECT_EQ((Coder.LastQpDelta - m.QpDelta) % Range, 0) << m.QpDelta << " of " << Depth << " bits";
        }
    }
}

// total_coeff by block, which later blocks choose their codes by: none where nothing was written, whatever lay there.
TEST(MacroblockSyntax, CountsOfLevelsStandWhereLaterBlocksLook)
{
    for (uint32_t Seed = 0; Seed < kRounds; ++Seed) {
        RandomMacroblock r(Seed);
        const MacroblockSyntax<int16_t> m = r.Syntax(4, h264::SLICE_P);
        CavlcCounter Counter;
        uint8_t Counts[kCountsPerMb];
        std::fill_n(Counts, kCountsPerMb, uint8_t{99});
        WriteMacroblockSyntax(m, CavlcSyntax(Counter, m.Around, Counts));
        const auto Expected = [&](uint32_t Bit, const BlockLevels<int16_t>& b) {
            return m.Local.Coded >> Bit & 1 ? b.Count : 0;
        };
        for (uint32_t b = 0; b < 16; ++b) ASSERT_EQ(Counts[h264::kBlockRaster[b]], Expected(b, m.pLuma[b])) << b;
        for (uint32_t p = 0; p < 2; ++p)
            for (uint32_t b = 0; b < 4; ++b)
                ASSERT_EQ(Counts[16 + 8 * p + b], Expected(16 + 8 * p + b, m.pChromaAc[p][b])) << p << b;
    }
}

} // namespace
