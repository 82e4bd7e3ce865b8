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
        const NeighbourCache Around = Begin(m, Modes, Index, m_Seq.width_mbs, m_Slice.first_mb);
        Write(SyntaxOf(Index, AnyEquivalent(m.mb_qp_delta), Around), m.mb_qp_delta, Index,
              [](const MacroblockSyntax<LevelType>& s, auto Policy) { return WriteMacroblockSyntax(s, Policy); });
        m_Cabac.Arithmetic.EncodeTerminate(IsLast);
    }
    /// One of the pair that is the whole slice, in an MBAFF frame. What lies beside a frame macroblock is the one above
    /// it in the pair, beside a field macroblock nothing.
    void PutOfPair(const test::Macroblock& m, const std::array<uint8_t, 16>& Modes, size_t Index)
    {
        const bool IsBottom = Index % 2 != 0;
        const NeighbourCache Around =
            Begin(m, Modes, Index, 1, static_cast<uint32_t>(IsBottom && !m.field_decoding ? Index - 1 : Index));
        Write(SyntaxOf(Index, AnyEquivalent(m.mb_qp_delta), Around), m.mb_qp_delta, Index,
              [&](const MacroblockSyntax<LevelType>& s, auto Policy) { // clause 7.3.4
                  if (m.skip) return WriteMacroblockSyntax(s, Policy);
                  if (m_Syntax.slice_type != h264::SLICE_I) Policy.Skip(false, m_Syntax.slice_type == h264::SLICE_B);
                  if (!IsBottom) Policy.FieldFlag(m.field_decoding, 0);
                  return WriteMacroblockLayer(s, Policy);
              });
        if (IsBottom) m_Cabac.Arithmetic.EncodeTerminate(1);
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
    NeighbourCache Begin(const test::Macroblock& m, const std::array<uint8_t, 16>& Modes, size_t Index, uint32_t Width,
                         uint32_t FirstMb)
    {
        m_Translate.Translate(m, Modes, Index, m_Data);
        NeighbourCache Around{};
        FillNeighbours(Around, Tables(Width, FirstMb), static_cast<int32_t>(Index),
                       static_cast<int32_t>(Index % Width));
        return Around;
    }

    NeighbourTables Tables(uint32_t Width, uint32_t FirstMb) const
    {
        const int32_t Lists = m_Syntax.slice_type == h264::SLICE_I ? 0 : m_Syntax.slice_type == h264::SLICE_P ? 1 : 2;
        const PictureRecords& r = m_Records;
        return {.FirstMb = static_cast<int32_t>(FirstMb),
                .MbWidth = static_cast<int32_t>(Width),
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
        const bool IsFieldOfFrame = (r.Global[Index].Flags & kFlagField) && !m_Slice.field;
        return {.Slice = m_Syntax,
                .num_ref_idx = {static_cast<int32_t>(test::ActiveRefs(m_Pic, m_Slice, 0)) << IsFieldOfFrame,
                                static_cast<int32_t>(test::ActiveRefs(m_Pic, m_Slice, 1)) << IsFieldOfFrame},
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

    // Walk: writes the macroblock by a policy. With the counters beside the writers.
    template <class F>
    void Write(const MacroblockSyntax<LevelType>& m, int32_t QpDelta, size_t Index, F Walk)
    {
        WriteCavlc(m, Index, Walk);
        WriteCabac(m, QpDelta, Walk);
    }
    template <class F>
    void WriteCavlc(const MacroblockSyntax<LevelType>& m, size_t Index, F Walk)
    {
        CavlcCounter Counter(m_Cavlc);
        const int64_t Before = m_Cavlc.Bits.Bits();
        uint8_t Counts[kCountsPerMb], *const pCounts = &m_Records.Counts[Index * kCountsPerMb];
        const bool HasDelta = Walk(m, CavlcSyntax(Counter, m.Around, Counts));
        EXPECT_EQ(Walk(m, CavlcSyntax(m_Cavlc, m.Around, pCounts)), HasDelta);
        EXPECT_EQ(Counter.Bits.Bits(), m_Cavlc.Bits.Bits() - Before) << "type " << int{m.Type};
        EXPECT_EQ(Counter.skip_run, m_Cavlc.skip_run);
        EXPECT_TRUE(std::equal(Counts, Counts + kCountsPerMb, pCounts));
    }
    template <class F>
    void WriteCabac(const MacroblockSyntax<LevelType>& m, int32_t QpDelta, F Walk)
    {
        CabacCounter Counter(m_Cabac);
        const int64_t Counted = Counter.Arithmetic.Bits(), Before = m_Cabac.Arithmetic.Bits();
        const bool HasDelta = Walk(m, CabacSyntax(Counter, m.Around, IsIntra(m.Type)));
        EXPECT_EQ(Walk(m, CabacSyntax(m_Cabac, m.Around, IsIntra(m.Type))), HasDelta);
        EXPECT_EQ(Counter.Arithmetic.Bits() - Counted, m_Cabac.Arithmetic.Bits() - Before) << "type " << int{m.Type};
        EXPECT_EQ(Counter.Contexts, m_Cabac.Contexts);
        EXPECT_EQ(m_Cabac.LastQpDelta, HasDelta ? QpDelta : 0);
    }

    const test::SeqParamSet& m_Seq;
    const test::PicParamSet& m_Pic;
    const test::Slice m_Slice;
    const SyntaxOfSlice m_Syntax{.slice_type = static_cast<int32_t>(m_Slice.slice_type % 5),
                                 .chroma_format_idc = static_cast<int32_t>(m_Seq.chroma_format_idc),
                                 .entropy_coding_mode_flag = false, // the policies tell
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
