// The parameter sets that checked settings ask for.
#pragma once

#include "encoder/state/encoder_params.h"
#include "encoder/write/parameter_sets.h"

namespace UMC_H264_ENCODER {

SeqParamSet MakeSeqParams(const UMC::H264EncoderParams& Params);
PicParamSet MakePicParams(const UMC::H264EncoderParams& Params, int32_t PicInitQp);

/// log2_max_pic_order_cnt_lsb for a depth of reordering, 4..16.
int32_t PocLsbBits(int32_t NumBFrames, int32_t BRefMode, int32_t NumRefFrames);

} // namespace UMC_H264_ENCODER
