#include "encoder/picture/slice_loop.h"

#include "Common/h264/h264_tables.h"
#include "Common/h264/pic_order_cnt.h"
#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "encoder/code/macroblock_syntax.h"
#include "encoder/code/reconstruct.h"
#include "encoder/code/traced_syntax.h"
#include "encoder/decide/macroblock_decision.h"

#include <type_traits>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
SliceHeader MakeSliceHeader(const SequenceState<Sample>& Sequence, const PictureJob<Sample>& Job,
                            const SliceContext<Sample>& s)
{
    SliceHeader h{};
    h.first_mb_in_slice = s.first_mb;
    h.slice_type = s.slice_type;
    h.frame_num = Job.pCurrent->frame_num;
    h.is_idr = Job.pCurrent->is_idr;
    h.idr_pic_id = Sequence.idr_pic_id;
    h.nal_ref_idc = Job.picture_class != CLASS_DISPOSABLE;
    h.pic_order_cnt_lsb = h264::PicOrderCntLsb(Job.pCurrent->poc[0], 1 << Sequence.Sps.log2_max_pic_order_cnt_lsb);
    h.num_ref_idx_l0 = s.num_ref_idx_l0;
    h.num_ref_idx_l1 = s.num_ref_idx_l1;
    h.cabac_init_idc = s.cabac_init_idc;
    h.slice_qp_delta = s.slice_qp_delta;
    h.disable_deblocking_filter_idc = s.deblock_idc;
    h.slice_alpha_c0_offset = s.deblock_alpha;
    h.slice_beta_offset = s.deblock_beta;
    return h;
}

template <class Sample>
NeighbourTables MakeNeighbourTables(bool IsCabac, int32_t MbWidth, const PictureJob<Sample>& Job,
                                    const SliceContext<Sample>& s)
{
    const H264EncoderFrame<Sample>& Frame = *Job.pCurrent;
    return {s.first_mb,
            MbWidth,
            Frame.mb_global,
            Job.LocalMacroblocks.data(),
            Job.IntraModes.data(),
            s.slice_type == h264::SLICE_I ? nullptr : Frame.mb_motion[0],
            Frame.mb_reference[0],
            IsCabac ? Job.VectorDifferences.data() : nullptr,
            IsCabac ? nullptr : Job.CoeffCounts.data()};
}

template <class Sample>
void StartSlice(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, const PictureJob<Sample>& Job,
                SliceContext<Sample>& s)
{
    s.mb_count = s.intra_count = 0;
    s.deblock_idc = Settings.Params.deblocking_filter_idc;
    s.deblock_alpha = Settings.Params.deblocking_alpha_offset;
    s.deblock_beta = Settings.Params.deblocking_beta_offset;
    s.cabac_init_idc = Settings.Params.cabac_init_idc;
    s.slice_qp = Sequence.Pps.pic_init_qp + s.slice_qp_delta;
    s.QuantQp = -1;
    s.bitstream.WriteSliceHeader(MakeSliceHeader(Sequence, Job, s), Sequence.Sps, Sequence.Pps);
    s.Neighbours = MakeNeighbourTables(Sequence.Pps.entropy_coding_mode_flag, Settings.Layout.MbWidth, Job, s);
}

template <class Sample>
void PointAt(const MacroblockPosition& At, const PictureJob<Sample>& Job, CurrentMacroblock<Sample>& mb)
{
    const int32_t SrcPitch = Job.Source.Pitch;
    const ptrdiff_t SrcLuma = At.Y * 16 * SrcPitch + At.X * 16, SrcChroma = At.Y * 8 * SrcPitch + At.X * 8;
    mb.SrcPitch = SrcPitch;
    mb.pSrcY = Job.Source.pY + SrcLuma;
    mb.pSrcU = Job.Source.pU + SrcChroma;
    mb.pSrcV = Job.Source.pV + SrcChroma;
    mb.pitch = Job.Reconstruction.Pitch;
    mb.pRecY = Job.Reconstruction.pY + At.Luma;
    mb.pRecU = Job.Reconstruction.pU + At.Chroma;
    mb.pRecV = Job.Reconstruction.pV + At.Chroma;
}

// Points cur_mb at a macroblock's samples and tables, and clears what the decision does not always write.
template <class Sample>
void StartMacroblock(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, int32_t Index)
{
    auto& mb = s.cur_mb;
    auto& Frame = *Job.pCurrent;
    const auto i = static_cast<size_t>(Index);
    mb.mb_index = Index;
    mb.pPosition = &Settings.Positions[i];
    mb.mb_x = mb.pPosition->X;
    mb.mb_y = mb.pPosition->Y;
    h264::trace::BeginMacroblock(mb.mb_x, mb.mb_y);
    PointAt(*mb.pPosition, Job, mb);
    FillNeighbours(mb.Around, s.Neighbours, Index, mb.mb_x);
    mb.pVectors = Frame.mb_motion[0] + i * 16;
    mb.pReferences = Frame.mb_reference[0] + i * 16;
    mb.pDifferences = Job.VectorDifferences.data() + i * 16;
    mb.pIntraModes = Job.IntraModes.data() + i * 16;
    mb.pCounts = Job.CoeffCounts.data() + i * kCountsPerMb;
    mb.pGlobal = Frame.mb_global + Index;
    mb.pLocal = &Job.LocalMacroblocks[i];
    const auto Qp = static_cast<int8_t>(s.slice_qp);
    const auto QpChroma = static_cast<int8_t>(h264::kChromaQp[static_cast<size_t>(s.slice_qp)]);
    *mb.pLocal = LocalMacroblock{};
    mb.pLocal->Qp = Qp;
    mb.pLocal->QpChroma = QpChroma;
    *mb.pGlobal = {static_cast<uint16_t>(s.slice_id), MB_INTER16X16, Qp, QpChroma};
    if (s.QuantQp != Qp) SetQuantisers(Settings.Quant, s, Qp);
}

template <class Sample>
MacroblockSyntax<typename CodecTraits<Sample>::Level> SyntaxOf(const SliceContext<Sample>& s)
{
    const auto& mb = s.cur_mb;
    const auto& w = s.work_area;
    return {s.slice_type,       s.num_ref_idx_l0,
            mb.pGlobal->Type,   mb.pReferences[0],
            mb.pDifferences[0], mb.pLocal->Qp - s.slice_qp,
            *mb.pLocal,         mb.Around,
            mb.pIntraModes,     mb.pGlobal->Type == MB_INTRA4X4 ? w.Intra4x4Levels : w.LumaLevels,
            w.LumaDcLevels,     w.ChromaDcLevels,
            w.ChromaAcLevels};
}

// With a listing in developer builds.
template <class Policy>
using Listed = std::conditional_t<h264::trace::kIsBuilt, TracedSyntax<Policy>, Policy>;

// A slice in CABAC.
template <class Sample>
class CabacSlice
{
public:
    explicit CabacSlice(SliceContext<Sample>& s) : m_s(s)
    {
        s.bitstream.Align(1); // cabac_alignment_one_bit
        s.bitstream.InitContexts(s.slice_type, s.cabac_init_idc, s.slice_qp);
    }
    bool WriteMacroblock()
    {
        return WriteMacroblockSyntax(SyntaxOf(m_s),
                                     Listed<CabacSyntax<StoredBytes>>(m_s.bitstream.Cabac(), m_s.cur_mb.Around,
                                                                      IsIntra(m_s.cur_mb.pGlobal->Type)));
    }
    void EndMacroblock(bool IsLast) { m_s.bitstream.EncodeTerminate(IsLast); }
    size_t Bytes() const { return m_s.bitstream.CoderBytes(); }
    void End() { m_s.bitstream.TerminateEncode(); }

private:
    SliceContext<Sample>& m_s;
};

// A slice in variable length codes.
template <class Sample>
class CavlcSlice
{
public:
    explicit CavlcSlice(SliceContext<Sample>& s) : m_s(s) { s.bitstream.Cavlc().skip_run = 0; }
    bool WriteMacroblock()
    {
        return WriteMacroblockSyntax(SyntaxOf(m_s), Listed<CavlcSyntax<StoredBits>>(
                                                        m_s.bitstream.Cavlc(), m_s.cur_mb.Around, m_s.cur_mb.pCounts));
    }
    void EndMacroblock(bool) {}
    size_t Bytes() const { return m_s.bitstream.Bytes(); }
    void End()
    {
        if (m_s.bitstream.Cavlc().skip_run > 0) m_s.bitstream.Cavlc().PutSkipRun();
        m_s.bitstream.WriteTrailingBits();
    }

private:
    SliceContext<Sample>& m_s;
};

template <class Sample, class Entropy>
void CodeMacroblocks(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, Entropy Writer)
{
    const int32_t End = s.first_mb + s.MbLimit;
    for (int32_t Index = s.first_mb; Index < End; ++Index) {
        StartMacroblock(Settings, Job, s, Index);
        AnalyseMacroblock(Settings, s);
        Reconstruct(Settings.Layout, s);
        if (Writer.WriteMacroblock()) s.slice_qp = s.cur_mb.pLocal->Qp;
        ++s.mb_count;
        Writer.EndMacroblock(Index + 1 == End);
        // The writer does not look at the end of its buffer; there is room behind it for one macroblock more.
        if (Writer.Bytes() > s.bitstream.BufferSize()) break;
    }
    Writer.End();
}

} // namespace

template <class Sample>
void CompressSlice(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                   SliceContext<Sample>& s)
{
    StartSlice(Settings, Sequence, Job, s);
    if (Sequence.Pps.entropy_coding_mode_flag)
        CodeMacroblocks(Settings, Job, s, CabacSlice<Sample>(s));
    else
        CodeMacroblocks(Settings, Job, s, CavlcSlice<Sample>(s));
}

template void CompressSlice(const EncoderSettings&, const SequenceState<uint8_t>&, PictureJob<uint8_t>&,
                            SliceContext<uint8_t>&);

} // namespace UMC_H264_ENCODER
