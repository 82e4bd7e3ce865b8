// One slice in the encoder's own syntax, in both entropy codings, from the macroblocks of the independent writer.
#pragma once

#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "tests/encoder/code/translated_macroblock.h"

#include <gtest/gtest.h>

namespace encoder_testing {

template <class LevelType>
class SyntaxSlice
{
public:
    SyntaxSlice(const test::SeqParamSet& Seq, const test::PicParamSet& Pic, const test::Slice& s,
                PictureRecords& Records, uint32_t Seed)
        : m_Seq(Seq), m_Pic(Pic), m_Slice(s), m_Records(Records), m_Translate(Seq, Pic, s, Records, Seed),
          m_CavlcBytes(1 << 18), m_Random(Seed)
    {
        m_Cavlc.Bits.Start(m_CavlcBytes.data());
        for (const uint8_t Bit : test::Header(Seq, Pic, s).Bits()) m_Cavlc.Bits.PutBit(Bit);
        test::PicParamSet CabacPic = Pic;
        CabacPic.cabac = true;
        test::BitWriter h = test::Header(Seq, CabacPic, s);
        h.Align(1); // cabac_alignment_one_bit
        m_CabacBytes = h.Data();
        m_HeaderBytes = m_CabacBytes.size();
        m_CabacBytes.resize(1 << 18);
        StoredBytes Out;
        Out.Start(m_CabacBytes.data() + m_HeaderBytes);
        m_Cabac.StartSlice(m_Syntax.slice_type, static_cast<int32_t>(s.cabac_init_idc), Pic.pic_init_qp + s.qp_delta,
                           Out);
    }

    /// @param Modes  of its blocks where it is Intra NxN, raster order; else all DC
    void Put(const test::Macroblock& m, const std::array<uint8_t, 16>& Modes, size_t Index, bool IsLast)
    {
        m_Translate.Translate(m, Modes, Index, m_Data);
        NeighbourCache Around{};
        const auto i = static_cast<int32_t>(Index), Width = static_cast<int32_t>(m_Seq.width_mbs);
        FillNeighbours(Around, Tables(), i, i % Width);
        const MacroblockSyntax<LevelType> Syntax = SyntaxOf(Index, AnyEquivalent(m.mb_qp_delta), Around);
        WriteCavlc(Syntax, Index);
        WriteCabac(Syntax, m.mb_qp_delta);
        m_Cabac.Arithmetic.EncodeTerminate(IsLast);
    }

    test::Bytes FinishCavlc()
    {
        if (m_Cavlc.skip_run > 0) m_Cavlc.PutSkipRun();
        m_Cavlc.Bits.PutBit(1);
        m_Cavlc.Bits.AlignZero();
        m_CavlcBytes.resize(static_cast<size_t>(m_Cavlc.Bits.Bits() / 8));
        return test::NalUnit(m_Slice.nal_ref_idc, m_Slice.nal_unit_type, m_CavlcBytes);
    }
    test::Bytes FinishCabac()
    {
        m_Cabac.Arithmetic.Finish();
        m_CabacBytes.resize(m_HeaderBytes + m_Cabac.Arithmetic.Out().Bytes());
        return test::NalUnit(m_Slice.nal_ref_idc, m_Slice.nal_unit_type, m_CabacBytes);
    }

private:
    NeighbourTables Tables() const
    {
        const int32_t Lists = m_Syntax.slice_type == h264::SLICE_I ? 0 : m_Syntax.slice_type == h264::SLICE_P ? 1 : 2;
        const PictureRecords& r = m_Records;
        return {.FirstMb = static_cast<int32_t>(m_Slice.first_mb),
                .MbWidth = static_cast<int32_t>(m_Seq.width_mbs),
                .ChromaFormat = m_Syntax.chroma_format_idc,
                .pGlobal = r.Global.data(),
                .pLocal = r.Local.data(),
                .pIntraModes = r.Modes.data(),
                .Lists = Lists,
                .pVectors = {r.Vectors.data(), r.Vectors.data()},
                .pReferences = {r.References[0].data(), r.References[1].data()},
                .pDifferences = {r.Differences[0].data(), r.Differences[1].data()},
                .pCounts = r.Counts.data()};
    }

    MacroblockSyntax<LevelType> SyntaxOf(size_t Index, int32_t QpDelta, const NeighbourCache& Around) const
    {
        const PictureRecords& r = m_Records;
        const size_t Blocks = Index * 16;
        return {.Slice = m_Syntax,
                .num_ref_idx = {static_cast<int32_t>(test::ActiveRefs(m_Pic, m_Slice, 0)),
                                static_cast<int32_t>(test::ActiveRefs(m_Pic, m_Slice, 1))},
                .Type = r.Global[Index].Type,
                .Flags = r.Global[Index].Flags,
                .QpDelta = QpDelta,
                .Local = r.Local[Index],
                .Around = Around,
                .pReferences = {r.References[0].data() + Blocks, r.References[1].data() + Blocks},
                .pDifferences = {r.Differences[0].data() + Blocks, r.Differences[1].data() + Blocks},
                .pIntraModes = r.Modes.data() + Blocks,
                .pLuma = m_Data.Luma,
                .pLuma8x8 = m_Data.Luma8x8,
                .LumaDc = m_Data.LumaDc,
                .pChromaDc = m_Data.ChromaDc,
                .pChromaAc = m_Data.ChromaAc,
                .pPcm = m_Data.Pcm};
    }

    // The difference itself, or the one that the range of clause 7.4.5 makes the same of it.
    int32_t AnyEquivalent(int32_t QpDelta)
    {
        const int32_t Range = 52 + 6 * (m_Syntax.BitDepthLuma - 8);
        if (QpDelta == 0 || m_Random() % 2) return QpDelta;
        return QpDelta < 0 ? QpDelta + Range : QpDelta - Range;
    }

    // With the counter beside the writer.
    void WriteCavlc(const MacroblockSyntax<LevelType>& m, size_t Index)
    {
        CavlcCounter Counter(m_Cavlc);
        const int64_t Before = m_Cavlc.Bits.Bits();
        uint8_t Counts[kCountsPerMb], *const pCounts = &m_Records.Counts[Index * kCountsPerMb];
        const bool HasDelta = WriteMacroblockSyntax(m, CavlcSyntax(Counter, m.Around, Counts));
        EXPECT_EQ(WriteMacroblockSyntax(m, CavlcSyntax(m_Cavlc, m.Around, pCounts)), HasDelta);
        EXPECT_EQ(Counter.Bits.Bits(), m_Cavlc.Bits.Bits() - Before) << "type " << int{m.Type};
        EXPECT_EQ(Counter.skip_run, m_Cavlc.skip_run);
        EXPECT_TRUE(std::equal(Counts, Counts + kCountsPerMb, pCounts));
    }
    void WriteCabac(const MacroblockSyntax<LevelType>& m, int32_t QpDelta)
    {
        CabacCounter Counter(m_Cabac);
        const int64_t Counted = Counter.Arithmetic.Bits(), Before = m_Cabac.Arithmetic.Bits();
        const bool HasDelta = WriteMacroblockSyntax(m, CabacSyntax(Counter, m.Around, IsIntra(m.Type)));
        EXPECT_EQ(WriteMacroblockSyntax(m, CabacSyntax(m_Cabac, m.Around, IsIntra(m.Type))), HasDelta);
        EXPECT_EQ(Counter.Arithmetic.Bits() - Counted, m_Cabac.Arithmetic.Bits() - Before) << "type " << int{m.Type};
        EXPECT_EQ(Counter.Contexts, m_Cabac.Contexts);
        EXPECT_EQ(m_Cabac.LastQpDelta, HasDelta ? QpDelta : 0);
    }

    const test::SeqParamSet& m_Seq;
    const test::PicParamSet& m_Pic;
    const test::Slice m_Slice;
    const SyntaxOfSlice m_Syntax{.slice_type = static_cast<int32_t>(m_Slice.slice_type % 5),
                                 .chroma_format_idc = static_cast<int32_t>(m_Seq.chroma_format_idc),
                                 .transform_8x8_mode_flag = m_Pic.transform_8x8_mode,
                                 .direct_8x8_inference_flag = m_Seq.direct_8x8_inference,
                                 .BitDepthLuma = static_cast<int32_t>(m_Seq.bit_depth),
                                 .BitDepthChroma = static_cast<int32_t>(m_Seq.bit_depth_chroma)};
    PictureRecords& m_Records;
    Translator m_Translate;
    std::vector<uint8_t> m_CavlcBytes, m_CabacBytes;
    size_t m_HeaderBytes = 0;
    CavlcCoder m_Cavlc;
    CabacCoder m_Cabac;
    MacroblockData<LevelType> m_Data{};
    std::mt19937 m_Random;
};

} // namespace encoder_testing
