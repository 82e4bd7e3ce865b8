// The loop over the macroblocks of a slice.
#include "encoder/code/cabac_macroblock.h"
#include "encoder/decide/intra_decision.h"
#include "encoder/state/motion_neighbours.h"

#include <algorithm>
#include <cmath>

namespace UMC_H264_ENCODER {

namespace {

int32_t Lambda(int32_t Qp) { return static_cast<int32_t>(std::pow(2.0, std::max(Qp - 12, 0) / 3.0)); }

template <class Core>
SliceHeader MakeSliceHeader(const Core& c, const typename Core::Slice& s)
{
    SliceHeader h{};
    h.first_mb_in_slice = s.first_mb;
    h.slice_type = s.slice_type;
    h.frame_num = c.current->frame_num;
    h.idr = c.current->is_idr;
    h.idr_pic_id = c.idr_pic_id;
    h.nal_ref_idc = c.picture_class != CLASS_DISPOSABLE;
    h.pic_order_cnt_lsb = c.current->poc[0] & ((1 << c.sps.log2_max_pic_order_cnt_lsb) - 1);
    h.num_ref_idx_l0 = s.num_ref_idx_l0;
    h.num_ref_idx_l1 = s.num_ref_idx_l1;
    h.cabac_init_idc = s.cabac_init_idc;
    h.slice_qp_delta = s.slice_qp_delta;
    h.disable_deblocking_filter_idc = s.deblock_idc;
    h.alpha_c0_offset = s.deblock_alpha;
    h.beta_offset = s.deblock_beta;
    return h;
}

template <class Core>
void StartSlice(Core& c, typename Core::Slice& s)
{
    s.mb_count = s.intra_count = 0;
    s.status = UMC::StatusOk;
    s.deblock_idc = c.params.deblocking_filter_idc;
    s.deblock_alpha = c.params.deblocking_alpha_offset;
    s.deblock_beta = c.params.deblocking_beta_offset;
    s.cabac_init_idc = c.params.cabac_init_idc;
    s.use_transform_for_intra = true;
    s.slice_qp = c.pps.pic_init_qp + s.slice_qp_delta;
    s.last_qp_delta = 0;
    s.skip_run = 0;
    s.quant_qp = -1;
    s.bitstream.WriteSliceHeader(MakeSliceHeader(c, s), c.sps, c.pps);
    s.bitstream.Align(1); // cabac_alignment_one_bit
    s.bitstream.InitContexts(s.slice_type, s.cabac_init_idc, s.slice_qp);
}

// A macroblock of the same slice lies at or behind the slice's first one.
inline int32_t InSlice(int32_t Index, int32_t FirstMb) { return Index >= FirstMb ? Index : -1; }

template <class Core>
void SetNeighbours(const Core& c, typename Core::Slice& s)
{
    auto& mb = s.cur_mb;
    const int32_t i = mb.mb_index, w = c.layout.MbWidth;
    const bool bLeft = mb.mb_x > 0, bTop = mb.mb_y > 0, bRight = mb.mb_x + 1 < w;
    mb.left = bLeft ? InSlice(i - 1, s.first_mb) : -1;
    mb.top = bTop ? InSlice(i - w, s.first_mb) : -1;
    mb.top_right = bTop && bRight ? InSlice(i - w + 1, s.first_mb) : -1;
    mb.top_left = bTop && bLeft ? InSlice(i - w - 1, s.first_mb) : -1;
}

// Points cur_mb at a macroblock's samples and tables, and clears what the decision does not always write.
template <class Core>
void StartMacroblock(Core& c, typename Core::Slice& s, int32_t Index)
{
    auto& mb = s.cur_mb;
    auto& Frame = *c.current;
    const auto i = static_cast<size_t>(Index);
    mb.mb_index = Index;
    mb.position = &c.positions[i];
    mb.mb_x = mb.position->X;
    mb.mb_y = mb.position->Y;
    mb.pitch = Frame.m_Pitch;
    mb.src_y = Frame.m_pY + mb.position->LumaFrame;
    mb.src_u = Frame.m_pU + mb.position->ChromaFrame;
    mb.src_v = Frame.m_pV + mb.position->ChromaFrame;
    SetNeighbours(c, s);
    for (size_t List = 0; List < 2; ++List) {
        mb.mv[List] = Frame.mb_motion[List] + i * 16;
        mb.ref[List] = Frame.mb_reference[List] + i * 16;
        mb.mvd[List] = c.vector_differences[List].data() + i * 16;
    }
    std::fill_n(mb.mvd[0], 16, MotionVector{0, 0});
    mb.intra_modes = c.intra_modes.data() + i * 16;
    std::fill_n(mb.intra_modes, 16, kIntra4x4Dc);
    mb.coeff_counts = c.coeff_counts.data() + i * 24;
    mb.global = Frame.mb_global + Index;
    mb.local = &c.local_macroblocks[i];
    const auto Qp = static_cast<int8_t>(s.slice_qp);
    const auto QpChroma = static_cast<int8_t>(h264::kChromaQp[static_cast<size_t>(s.slice_qp)]);
    *mb.local = LocalMacroblock{};
    mb.local->Qp = Qp;
    mb.local->QpChroma = QpChroma;
    *mb.global = {c.slice_of_macroblock[i], MB_INTER16X16, 0, Qp, QpChroma, 0};
    SetQuantisers(c, s, Qp);
}

// The vector differences that the writer codes and that later macroblocks choose contexts by.
template <class Core>
void SetVectorDifference(const Core& c, typename Core::Slice& s)
{
    auto& mb = s.cur_mb;
    const MotionVector Predicted = h264::PredictMedian(NeighboursOf16x16(c, s, 0), mb.ref[0][0]);
    std::fill_n(mb.mvd[0], 16, mb.mv[0][0] - Predicted);
}

} // namespace

template <class Core>
void WriteMacroblock(Core& c, typename Core::Slice& s)
{
    WriteMacroblockCabac(c, s, s.bitstream.Coder(), s.bitstream.Contexts());
}

template <class Core>
void CompressSlice(Core& c, typename Core::Slice& s)
{
    StartSlice(c, s);
    s.cur_mb.lambda = Lambda(s.slice_qp);
    const int32_t End = s.first_mb + s.mb_limit;
    for (int32_t Index = s.first_mb; Index < End; ++Index) {
        StartMacroblock(c, s, Index);
        AnalyseMacroblock(c, s);
        Reconstruct(c, s);
        if (s.cur_mb.global->Type == MB_INTER16X16) SetVectorDifference(c, s);
        WriteMacroblock(c, s);
        ++s.mb_count;
        s.bitstream.EncodeTerminate(Index + 1 == End);
        // The writer does not look at the end of its buffer; there is room behind it for one macroblock more.
        if (s.bitstream.CoderBytes() > s.bitstream.BufferSize()) break;
    }
    s.bitstream.TerminateEncode();
}

template void WriteMacroblock(Core8&, Core8::Slice&);
template void CompressSlice(Core8&, Core8::Slice&);

} // namespace UMC_H264_ENCODER
