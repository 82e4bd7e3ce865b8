// What a sequence parameter set says about pictures and buffers.
#pragma once

#include "decoder/stream/headers.h"
#include "media/umc_video_stream_info.h"

#include <cstdint>

namespace UMC {

// CropUnitX and CropUnitY of clause 7.4.2.1.1; 4:4:4 pictures and grey ones crop by single samples.
uint32_t CropUnitX(const H264SeqParamSet& Seq);
uint32_t CropUnitY(const H264SeqParamSet& Seq); // of frames: doubled where they may hold fields

// MaxDpbSize of clause A.3.1 in frames, at most 16; 0 for a picture that the level has no room for.
int32_t DpbFrames(const H264SeqParamSet& Seq);

// Everything of the description that the set tells: sizes, format, profile, level, aspect ratio, bit rate, interlacing.
void FillStreamInfo(const H264SeqParamSet& Seq, VideoStreamInfo& Info);

} // namespace UMC
