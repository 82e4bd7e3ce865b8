// The encoder behind H264VideoEncoder: a plain structure that owns what the stages work on.
//
// A picture goes through FrameStep (reordering and type), EncodePicture (slices, NAL units, marking) and, macroblock by
// macroblock, CompressSlice. Each stage is given the parts that it reads or writes, never the whole.
#pragma once

#include "encoder/picture/sequence_state.h"
#include "encoder/session/look_ahead.h"
#include "encoder/session/noise_filter.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"
#include "process/video_processing.h"

namespace UMC_H264_ENCODER {

// Request and State words of the frame call.
enum RequestFlag : uint32_t { REQUEST_FLUSH = 1 << 2 };
enum StateFlag : uint32_t { STATE_NEED_INPUT = 1 << 8 };

template <class Sample>
struct EncoderCore {
    EncoderSettings Settings;
    SequenceState<Sample> Sequence;
    PictureJob<Sample> Job;

    uint32_t Request = 0, State = 0;
    UMC::VideoProcessing Converter;                     // from the client's picture into a frame
    CNoiseReductionFilter<Sample> NoiseFilter{1, 1, 0}; // off, unless who holds the core turns it on
    UMC::MemoryAllocator* pAllocator = nullptr;         // not owned; outlives the frames
    std::unique_ptr<LookAhead<Sample>> pLookAhead;      // with ENC_ANALYSE_FRAME_TYPE
};

using Core8 = EncoderCore<uint8_t>;
using Core16 = EncoderCore<uint16_t>;

} // namespace UMC_H264_ENCODER
