// What a sequence parameter set says about pictures and buffers.
#pragma once

#include "Common/h264/pic_order_cnt.h"
#include "decoder/stream/headers.h"
#include "media/umc_video_stream_info.h"

#include <cstdint>

namespace UMC {

// CropUnitX and CropUnitY of clause 7.4.2.1.1; 4:4:4 pictures and grey ones crop by single samples.
uint32_t CropUnitX(const H264SeqParamSet& Seq);
uint32_t CropUnitY(const H264SeqParamSet& Seq); // of frames: doubled where they may hold fields

// MaxDpbSize of clause A.3.1 in frames, at most 16; 0 for a picture that the level has no room for.
int32_t DpbFrames(const H264SeqParamSet& Seq);

inline int32_t MaxFrameNum(const H264SeqParamSet& Seq) { return 1 << Seq.log2_max_frame_num; }
// What picture order counts depend on; valid as long as the set.
h264::PicOrderSequence PicOrderOf(const H264SeqParamSet& Seq);

// Everything of the description that the set tells: sizes, format, profile, level, aspect ratio, bit rate, interlacing.
void FillStreamInfo(const H264SeqParamSet& Seq, VideoStreamInfo& Info);

} // namespace UMC
