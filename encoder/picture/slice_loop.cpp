#include "encoder/picture/slice_loop.h"

#include "Common/h264/h264_tables.h"
#include "encoder/code/cabac_macroblock.h"
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
void StartSlice(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, const PictureJob<Sample>& Job,
                SliceContext<Sample>& s)
{
    s.mb_count = s.intra_count = 0;
    s.status = UMC::StatusOk;
    s.deblock_idc = Settings.params.deblocking_filter_idc;
    s.deblock_alpha = Settings.params.deblocking_alpha_offset;
    s.deblock_beta = Settings.params.deblocking_beta_offset;
    s.cabac_init_idc = Settings.params.cabac_init_idc;
    s.slice_qp = Sequence.pps.pic_init_qp + s.slice_qp_delta;
    s.last_qp_delta = 0;
    s.skip_run = 0;
    s.quant_qp = -1;
    s.bitstream.WriteSliceHeader(MakeSliceHeader(Sequence, Job, s), Sequence.sps, Sequence.pps);
    s.bitstream.Align(1); // cabac_alignment_one_bit
    s.bitstream.InitContexts(s.slice_type, s.cabac_init_idc, s.slice_qp);
}

// A macroblock of the same slice lies at or behind the slice's first one.
inline int32_t InSlice(int32_t Index, int32_t FirstMb) { return Index >= FirstMb ? Index : -1; }

template <class Sample>
void SetNeighbours(int32_t w, SliceContext<Sample>& s)
{
    auto& mb = s.cur_mb;
    const int32_t i = mb.mb_index;
    const bool bLeft = mb.mb_x > 0, bTop = mb.mb_y > 0, bRight = mb.mb_x + 1 < w;
    mb.left = bLeft ? InSlice(i - 1, s.first_mb) : -1;
    mb.top = bTop ? InSlice(i - w, s.first_mb) : -1;
    mb.top_right = bTop && bRight ? InSlice(i - w + 1, s.first_mb) : -1;
    mb.top_left = bTop && bLeft ? InSlice(i - w - 1, s.first_mb) : -1;
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
    PointAt(mb.position->LumaFrame, mb.position->ChromaFrame, Job, mb);
    SetNeighbours(Settings.layout.MbWidth, s);
    for (size_t List = 0; List < 2; ++List) {
        mb.mv[List] = Frame.mb_motion[List] + i * 16;
        mb.ref[List] = Frame.mb_reference[List] + i * 16;
        mb.mvd[List] = Job.vector_differences[List].data() + i * 16;
    }
    mb.intra_modes = Job.intra_modes.data() + i * 16;
    mb.coeff_counts = Job.coeff_counts.data() + i * 24;
    mb.global = Frame.mb_global + Index;
    mb.local = &Job.local_macroblocks[i];
    const auto Qp = static_cast<int8_t>(s.slice_qp);
    const auto QpChroma = static_cast<int8_t>(h264::kChromaQp[static_cast<size_t>(s.slice_qp)]);
    *mb.local = LocalMacroblock{};
    mb.local->Qp = Qp;
    mb.local->QpChroma = QpChroma;
    *mb.global = {Settings.slice_of_macroblock[i], MB_INTER16X16, 0, Qp, QpChroma, 0};
    if (s.quant_qp != Qp) SetQuantisers(Settings.quant, s, Qp);
}

} // namespace

template <class Sample>
void CompressSlice(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                   SliceContext<Sample>& s)
{
    StartSlice(Settings, Sequence, Job, s);
    const int32_t End = s.first_mb + s.mb_limit;
    for (int32_t Index = s.first_mb; Index < End; ++Index) {
        StartMacroblock(Settings, Job, s, Index);
        AnalyseMacroblock(Settings, Job, s);
        Reconstruct(Settings.layout, s);
        WriteMacroblockCabac(Job, s, s.bitstream.Coder(), s.bitstream.Contexts());
        ++s.mb_count;
        s.bitstream.EncodeTerminate(Index + 1 == End);
        // The writer does not look at the end of its buffer; there is room behind it for one macroblock more.
        if (s.bitstream.CoderBytes() > s.bitstream.BufferSize()) break;
    }
    s.bitstream.TerminateEncode();
}

template void CompressSlice(const EncoderSettings&, const SequenceState<uint8_t>&, PictureJob<uint8_t>&,
                            SliceContext<uint8_t>&);

} // namespace UMC_H264_ENCODER
