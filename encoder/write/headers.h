// The syntax of parameter sets, access unit delimiters and slice headers (clauses 7.3.2 and 7.3.3).
#pragma once

#include "Common/h264/slice_type.h"
#include "encoder/write/base_bitstream.h"
#include "encoder/write/parameter_sets.h"

namespace UMC_H264_ENCODER {

// The elements of clause 7.3.3 that vary.
struct SliceHeader {
    int32_t first_mb_in_slice;
    int32_t slice_type;
    int32_t frame_num; // already modulo kFrameNumMax
    bool is_idr;
    int32_t idr_pic_id;
    int32_t nal_ref_idc;
    bool field_pic_flag, bottom_field_flag;
    int32_t pic_order_cnt_lsb;
    int32_t delta_pic_order_cnt_bottom;
    bool direct_spatial_mv_pred;
    int32_t num_ref_idx_l0, num_ref_idx_l1; // active, at least 1
    int32_t cabac_init_idc;
    int32_t slice_qp_delta;
    int32_t disable_deblocking_filter_idc;
    int32_t slice_alpha_c0_offset, slice_beta_offset; // not yet halved
};

void WriteSeqParams(CBaseBitstream& Out, const SeqParamSet& Sps);
void WriteSeqExtension(CBaseBitstream& Out, const SeqParamSet& Sps);
void WritePicParams(CBaseBitstream& Out, const PicParamSet& Pps, const SeqParamSet& Sps);
/// @param PrimaryPicType  primary_pic_type of Table 7-5: 0 I, 1 I and P, 2 all
void WriteAccessUnitDelimiter(CBaseBitstream& Out, uint32_t PrimaryPicType);
void WriteSliceHeader(CBaseBitstream& Out, const SliceHeader& h, const SeqParamSet& Sps, const PicParamSet& Pps);

} // namespace UMC_H264_ENCODER
