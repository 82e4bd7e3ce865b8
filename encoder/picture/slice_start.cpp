#include "encoder/picture/slice_start.h"

#include "Common/h264/pic_order_cnt.h"
#include "encoder/code/macroblock_quantisers.h"
#include "encoder/picture/b_slice_facts.h"
#include "encoder/picture/reference_lists.h"

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
SliceHeader MakeSliceHeader(const PictureSets& Sets, const PictureJob<Sample>& Job, const SliceFacts<Sample>& s)
{
    SliceHeader h{};
    h.first_mb_in_slice = Sets.Sps.mb_adaptive_frame_field_flag ? s.first_mb / 2 : s.first_mb; // a pair is one there
    h.slice_type = s.slice_type;
    h.frame_num = Job.pCurrent->frame_num;
    h.is_idr = Job.picture_class == CLASS_IDR && !Job.IsAuxiliary; // by the type of the NAL unit, which is its own
    h.idr_pic_id = Sets.idr_pic_id;
    h.nal_ref_idc = Job.picture_class != CLASS_DISPOSABLE;
    h.pic_order_cnt_lsb = h264::PicOrderCntLsb(Job.pCurrent->poc[s.IsBottom], 1 << Sets.Sps.log2_max_pic_order_cnt_lsb);
    h.field_pic_flag = s.IsField;
    h.bottom_field_flag = s.IsBottom;
    h.delta_pic_order_cnt_bottom = Job.pCurrent->poc[1] - Job.pCurrent->poc[0];
    h.direct_spatial_mv_pred = s.B.direct_spatial_mv_pred;
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
NeighbourTables MakeNeighbourTables(bool IsCabac, const FrameLayout& Layout, const PictureJob<Sample>& Job,
                                    const SliceFacts<Sample>& s)
{
    const H264EncoderFrame<Sample>& Frame = *Job.pCurrent;
    const auto i = static_cast<size_t>(Job.FirstMb);
    NeighbourTables t{};
    t.FirstMb = s.first_mb;
    t.MbWidth = Layout.MbWidth;
    t.ChromaFormat = s.Syntax.chroma_format_idc;
    t.pGlobal = Frame.mb_global + i;
    t.pLocal = Job.LocalMacroblocks.data() + i;
    t.pIntraModes = Job.IntraModes.data() + 16 * i;
    t.Lists = h264::ListsOf(s.slice_type);
    for (int32_t List = 0; List < t.Lists; ++List) {
        t.pVectors[List] = Frame.mb_motion[List] + 16 * i;
        t.pReferences[List] = Frame.mb_reference[List] + 16 * i;
        t.pDifferences[List] = IsCabac ? Job.VectorDifferences[List].data() + 16 * i : nullptr;
    }
    t.pCounts = IsCabac ? nullptr : Job.CoeffCounts.data() + kCountsPerMb * i;
    return t;
}

// What of a frame of pairs is told of the field macroblocks of a parity.
template <class Sample>
void MakeFieldFacts(const PictureJob<Sample>& Job, const SliceFacts<Sample>& Frame, PictureStructure Parity,
                    SliceFacts<Sample>& Field)
{
    Field = Frame;
    Field.MbFlags = kFlagField;
    Field.IsField = true;
    Field.IsBottom = Parity == STRUCTURE_BOTTOM;
    BuildFieldLists(Frame, Parity, Field);
    if (Frame.slice_type == h264::SLICE_B) DeriveDistances(Job.pCurrent->poc[Parity], Field);
}

} // namespace

template <class Sample>
void CompleteFacts(const EncoderSettings& Settings, const PictureSets& Sets, const PictureJob<Sample>& Job,
                   SliceFacts<Sample>& s)
{
    s.IsField = Job.IsField();
    s.IsBottom = Job.Structure == STRUCTURE_BOTTOM;
    s.IsAdaptive = Sets.Sps.mb_adaptive_frame_field_flag;
    s.MbFlags = s.IsField ? kFlagField : 0;
    s.deblock_idc = Settings.Params.deblocking_filter_idc;
    s.deblock_alpha = Settings.Params.deblocking_alpha_offset;
    s.deblock_beta = Settings.Params.deblocking_beta_offset;
    s.cabac_init_idc = Settings.Params.cabac_init_idc;
    s.Syntax = {.slice_type = s.slice_type,
                .chroma_format_idc = Job.IsAuxiliary ? int32_t{h264::CHROMA_400} : Settings.Layout.ChromaFormat,
                .entropy_coding_mode_flag = Sets.Pps.entropy_coding_mode_flag,
                .transform_8x8_mode_flag = Sets.Pps.transform_8x8_mode_flag,
                .direct_8x8_inference_flag = Sets.Sps.direct_8x8_inference_flag,
                .BitDepthLuma = Job.IsAuxiliary ? Settings.Params.bit_depth_aux : Settings.Params.bit_depth_luma,
                .BitDepthChroma = Settings.Params.bit_depth_chroma};
    s.Neighbours = MakeNeighbourTables(Sets.Pps.entropy_coding_mode_flag, Settings.Layout, Job, s);
}

template <class Sample>
void StartSlice(const EncoderSettings& Settings, const PictureSets& Sets, const PictureJob<Sample>& Job,
                SliceContext<Sample>& s)
{
    CompleteFacts(Settings, Sets, Job, s.Facts);
    if (s.Facts.IsAdaptive)
        for (const auto Parity : {STRUCTURE_TOP, STRUCTURE_BOTTOM})
            MakeFieldFacts(Job, s.Facts, Parity, s.pFieldFacts[Parity]);
    s.Progress = {.slice_qp = Sets.Pps.pic_init_qp + s.Facts.slice_qp_delta, .mb_count = 0, .intra_count = 0};
    s.Quant.Qp = kNoQp;
    s.bitstream.WriteSliceHeader(MakeSliceHeader(Sets, Job, s.Facts), Sets.Sps, Sets.Pps);
}

#define INSTANTIATE(Sample)                                                                                            \
    template void CompleteFacts(const EncoderSettings&, const PictureSets&, const PictureJob<Sample>&,                 \
                                SliceFacts<Sample>&);                                                                  \
    template void StartSlice(const EncoderSettings&, const PictureSets&, const PictureJob<Sample>&,                    \
                             SliceContext<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
