// The walk over macroblocks of 4:2:2, read by a decoder that we did not write: nothing codes them yet.
#include "encoder/code/macroblock_syntax.h"

#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "encoder/picture/make_parameter_sets.h"
#include "encoder/session/params_check.h"
#include "encoder/write/pbs.h"
#include "tests/support/ffmpeg_oracle.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

constexpr int32_t kMbWidth = 6, kMbHeight = 5, kMbs = kMbWidth * kMbHeight;

// An IDR picture of Intra 16x16 macroblocks with random levels everywhere.
class Picture422
{
public:
    explicit Picture422(bool IsCabac) : m_IsCabac(IsCabac), m_Rng(7), m_Buffer(1 << 20)
    {
        UMC::H264EncoderParams p;
        p.m_Info.m_Width = 16 * kMbWidth;
        p.m_Info.m_Height = 16 * kMbHeight;
        p.chroma_format_idc = h264::CHROMA_422;
        p.entropy_coding_mode = IsCabac;
        EXPECT_EQ(CheckParams(p), UMC::StatusOk);
        m_Sps = MakeSeqParams(p);
        m_Pps = MakePicParams(p, 26);
        m_Bits.SetBuffer(m_Buffer.data(), m_Buffer.size());
    }

    std::vector<uint8_t> Write()
    {
        m_Bits.WriteSeqParams(m_Sps);
        Frame(h264::NAL_SEQ_PARAM_SET);
        m_Bits.WritePicParams(m_Pps, m_Sps);
        Frame(h264::NAL_PIC_PARAM_SET);
        SliceHeader h{};
        h.slice_type = h264::SLICE_I;
        h.is_idr = true;
        h.nal_ref_idc = 1;
        h.num_ref_idx_l0 = h.num_ref_idx_l1 = 1;
        m_Bits.WriteSliceHeader(h, m_Sps, m_Pps);
        WriteMacroblocks();
        Frame(h264::NAL_IDR_SLICE);
        return m_Stream;
    }

private:
    uint32_t Below(uint32_t n) { return static_cast<uint32_t>(m_Rng() % n); }

    void FillLevels(BlockLevels<int16_t>& b, uint32_t Positions)
    {
        b = {};
        for (uint32_t i = 0; i < Positions; ++i) {
            if (Below(3) && (i + 1 < Positions || b.Count)) continue;
            b.Position[b.Count] = static_cast<uint8_t>(i);
            const auto Magnitude = static_cast<int16_t>(1 + Below(Below(5) ? 3 : 40));
            b.Level[b.Count++] = Below(2) ? Magnitude : static_cast<int16_t>(-Magnitude);
        }
    }

    void FillMacroblock(LocalMacroblock& l)
    {
        const uint32_t Luma = 15 * Below(2), Chroma = Below(3);
        l.Pattern = static_cast<uint8_t>(Luma | Chroma << 4);
        l.Intra16Mode = INTRA16_DC;
        l.Coded = Luma ? Below(1u << 16) : 0;
        l.CodedDc = static_cast<uint8_t>(Below(2) | (Chroma ? Below(4) << 1 : 0));
        if (Chroma == 2) l.Coded |= Below(256) << kCodedCbShift | Below(256) << kCodedCrShift;
        for (BlockLevels<int16_t>& b : m_Luma) FillLevels(b, 15);
        FillLevels(m_LumaDc, 16);
        for (BlockLevels<int16_t>& b : m_ChromaDc) FillLevels(b, 8);
        for (auto& Plane : m_ChromaAc)
            for (BlockLevels<int16_t>& b : Plane) FillLevels(b, 15);
    }

    void WriteMacroblocks()
    {
        if (m_IsCabac) {
            m_Bits.Align(1);
            m_Bits.InitContexts(h264::SLICE_I, 0, m_Pps.pic_init_qp);
        }
        const NeighbourTables t{0,       kMbWidth, h264::CHROMA_422, m_Global, m_Local,
                                m_Modes, nullptr,  nullptr,          nullptr,  m_IsCabac ? nullptr : m_Counts};
        for (int32_t i = 0; i < kMbs; ++i) {
            NeighbourCache Around{};
            FillNeighbours(Around, t, i, i % kMbWidth);
            LocalMacroblock& Local = m_Local[i];
            m_Global[i].Type = MB_INTRA16X16;
            FillMacroblock(Local);
            const MacroblockSyntax<int16_t> m{
                h264::SLICE_I, 1,      h264::CHROMA_422, MB_INTRA16X16, -1,       {},         0,
                Local,         Around, nullptr,          m_Luma,        m_LumaDc, m_ChromaDc, m_ChromaAc};
            if (m_IsCabac) {
                WriteMacroblockSyntax(m, CabacSyntax(m_Bits.Cabac(), Around, true));
                m_Bits.EncodeTerminate(i + 1 == kMbs);
            } else {
                WriteMacroblockSyntax(m, CavlcSyntax(m_Bits.Cavlc(), Around, m_Counts + i * kCountsPerMb));
            }
        }
        if (m_IsCabac)
            m_Bits.TerminateEncode();
        else
            m_Bits.WriteTrailingBits();
    }

    void Frame(h264::NalUnitType Type)
    {
        const size_t Before = m_Stream.size();
        m_Stream.resize(Before + m_Bits.FramedPending(Type, m_IsFirst));
        m_Bits.WriteNAL(m_Stream.data() + Before, 1, Type, m_IsFirst);
    }

    bool m_IsCabac, m_IsFirst = true;
    std::mt19937 m_Rng;
    std::vector<uint8_t> m_Buffer, m_Stream;
    SeqParamSet m_Sps;
    PicParamSet m_Pps;
    CH264pBs<uint8_t, int16_t> m_Bits;
    GlobalMacroblock m_Global[kMbs] = {};
    LocalMacroblock m_Local[kMbs] = {};
    uint8_t m_Modes[kMbs * 16] = {}, m_Counts[kMbs * kCountsPerMb] = {};
    BlockLevels<int16_t> m_Luma[16], m_LumaDc, m_ChromaDc[2], m_ChromaAc[2][kMaxChromaBlocks];
};

class MacroblockSyntaxOf422 : public testing::TestWithParam<bool>
{
};
TEST_P(MacroblockSyntaxOf422, IsReadToTheEnd)
{
    if (!ffmpeg_oracle::IsInstalled()) GTEST_SKIP() << "no ffmpeg here";
    const std::vector<uint8_t> Stream = Picture422(GetParam()).Write();
    const ffmpeg_oracle::Decoded d = ffmpeg_oracle::Decode(Stream, "yuv422p");
    EXPECT_EQ(d.Messages, "");
    EXPECT_EQ(d.Pictures.size(), size_t{2 * 256 * kMbs});
}
INSTANTIATE_TEST_SUITE_P(CavlcAndCabac, MacroblockSyntaxOf422, testing::Bool());

} // namespace
