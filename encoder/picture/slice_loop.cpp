#include "encoder/picture/slice_loop.h"

#include "Common/h264/h264_tables.h"
#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "encoder/code/macroblock_syntax.h"
#include "encoder/code/reconstruct.h"
#include "encoder/decide/macroblock_decision.h"

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
SliceHeader MakeSliceHeader(const SequenceState<Sample>& Sequence, const PictureJob<Sample>& Job,
                            const SliceContext<Sample>& s)
{
    SliceHeader h{};
    h.first_mb_in_slice = s.first_mb;
    h.slice_type = s.slice_type;
    h.frame_num = Job.current->frame_num;
    h.idr = Job.current->is_idr;
    h.idr_pic_id = Sequence.idr_pic_id;
    h.nal_ref_idc = Job.picture_class != CLASS_DISPOSABLE;
    h.pic_order_cnt_lsb = Job.current->poc[0] & ((1 << Sequence.sps.log2_max_pic_order_cnt_lsb) - 1);
    h.num_ref_idx_l0 = s.num_ref_idx_l0;
    h.num_ref_idx_l1 = s.num_ref_idx_l1;
    h.cabac_init_idc = s.cabac_init_idc;
    h.slice_qp_delta = s.slice_qp_delta;
    h.disable_deblocking_filter_idc = s.deblock_idc;
    h.alpha_c0_offset = s.deblock_alpha;
    h.beta_offset = s.deblock_beta;
    return h;
}

template <class Sample>
NeighbourTables MakeNeighbourTables(bool bCabac, int32_t MbWidth, const PictureJob<Sample>& Job,
                                    const SliceContext<Sample>& s)
{
    const H264EncoderFrame<Sample>& Frame = *Job.current;
    return {s.first_mb,
            MbWidth,
            Frame.mb_global,
            Job.local_macroblocks.data(),
            Job.intra_modes.data(),
            s.slice_type == SLICE_I ? nullptr : Frame.mb_motion[0],
            Frame.mb_reference[0],
            bCabac ? Job.vector_differences.data() : nullptr,
            bCabac ? nullptr : Job.coeff_counts.data()};
}

template <class Sample>
void StartSlice(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, const PictureJob<Sample>& Job,
                SliceContext<Sample>& s)
{
    s.mb_count = s.intra_count = 0;
    s.deblock_idc = Settings.params.deblocking_filter_idc;
    s.deblock_alpha = Settings.params.deblocking_alpha_offset;
    s.deblock_beta = Settings.params.deblocking_beta_offset;
    s.cabac_init_idc = Settings.params.cabac_init_idc;
    s.slice_qp = Sequence.pps.pic_init_qp + s.slice_qp_delta;
    s.quant_qp = -1;
    s.bitstream.WriteSliceHeader(MakeSliceHeader(Sequence, Job, s), Sequence.sps, Sequence.pps);
    s.neighbour_tables = MakeNeighbourTables(Sequence.pps.entropy_coding_mode, Settings.layout.MbWidth, Job, s);
}

template <class Sample>
void PointAt(int32_t Luma, int32_t Chroma, const PictureJob<Sample>& Job, CurrentMacroblock<Sample>& mb)
{
    mb.pitch = Job.reconstruction.Pitch;
    mb.src_y = Job.source.pY + Luma;
    mb.src_u = Job.source.pU + Chroma;
    mb.src_v = Job.source.pV + Chroma;
    mb.rec_y = Job.reconstruction.pY + Luma;
    mb.rec_u = Job.reconstruction.pU + Chroma;
    mb.rec_v = Job.reconstruction.pV + Chroma;
}

// Points cur_mb at a macroblock's samples and tables, and clears what the decision does not always write.
template <class Sample>
void StartMacroblock(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, int32_t Index)
{
    auto& mb = s.cur_mb;
    auto& Frame = *Job.current;
    const auto i = static_cast<size_t>(Index);
    mb.mb_index = Index;
    mb.position = &Settings.positions[i];
    mb.mb_x = mb.position->X;
    mb.mb_y = mb.position->Y;
    PointAt(mb.position->Luma, mb.position->Chroma, Job, mb);
    FillNeighbours(mb.around, s.neighbour_tables, Index, mb.mb_x);
    mb.mv = Frame.mb_motion[0] + i * 16;
    mb.ref = Frame.mb_reference[0] + i * 16;
    mb.mvd = Job.vector_differences.data() + i * 16;
    mb.intra_modes = Job.intra_modes.data() + i * 16;
    mb.coeff_counts = Job.coeff_counts.data() + i * kCountsPerMb;
    mb.global = Frame.mb_global + Index;
    mb.local = &Job.local_macroblocks[i];
    const auto Qp = static_cast<int8_t>(s.slice_qp);
    const auto QpChroma = static_cast<int8_t>(h264::kChromaQp[static_cast<size_t>(s.slice_qp)]);
    *mb.local = LocalMacroblock{};
    mb.local->Qp = Qp;
    mb.local->QpChroma = QpChroma;
    *mb.global = {static_cast<uint16_t>(s.slice_id), MB_INTER16X16, Qp, QpChroma};
    if (s.quant_qp != Qp) SetQuantisers(Settings.quant, s, Qp);
}

template <class Sample>
MacroblockSyntax<typename CodecTraits<Sample>::Level> SyntaxOf(const SliceContext<Sample>& s)
{
    const auto& mb = s.cur_mb;
    const auto& w = s.work_area;
    return {s.slice_type,    s.num_ref_idx_l0,
            mb.global->Type, mb.ref[0],
            mb.mvd[0],       mb.local->Qp - s.slice_qp,
            *mb.local,       mb.around,
            mb.intra_modes,  mb.global->Type == MB_INTRA4X4 ? w.Intra4x4Levels : w.LumaLevels,
            w.LumaDcLevels,  w.ChromaDcLevels,
            w.ChromaAcLevels};
}

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
        return WriteMacroblockSyntax(
            SyntaxOf(m_s), CabacSyntax(m_s.bitstream.Cabac(), m_s.cur_mb.around, IsIntra(m_s.cur_mb.global->Type)));
    }
    void EndMacroblock(bool bLast) { m_s.bitstream.EncodeTerminate(bLast); }
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
        return WriteMacroblockSyntax(SyntaxOf(m_s),
                                     CavlcSyntax(m_s.bitstream.Cavlc(), m_s.cur_mb.around, m_s.cur_mb.coeff_counts));
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
    const int32_t End = s.first_mb + s.mb_limit;
    for (int32_t Index = s.first_mb; Index < End; ++Index) {
        StartMacroblock(Settings, Job, s, Index);
        AnalyseMacroblock(Settings, s);
        Reconstruct(Settings.layout, s);
        if (Writer.WriteMacroblock()) s.slice_qp = s.cur_mb.local->Qp;
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
    if (Sequence.pps.entropy_coding_mode)
        CodeMacroblocks(Settings, Job, s, CabacSlice<Sample>(s));
    else
        CodeMacroblocks(Settings, Job, s, CavlcSlice<Sample>(s));
}

template void CompressSlice(const EncoderSettings&, const SequenceState<uint8_t>&, PictureJob<uint8_t>&,
                            SliceContext<uint8_t>&);

} // namespace UMC_H264_ENCODER
