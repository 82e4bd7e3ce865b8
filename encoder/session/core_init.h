// Building an encoder from its settings.
#pragma once

#include "encoder/session/encoder_core.h"

namespace UMC_H264_ENCODER {

/// Checks a copy of the settings and builds everything; see H264VideoEncoder::Init for the results.
/// Throws std::bad_alloc; the core is then of no use.
template <class Sample>
UMC::Status InitCore(EncoderCore<Sample>& c, const UMC::VideoEncoderParams& Params, UMC::MemoryAllocator* pAllocator);
/// The same with settings that are made already.
template <class Sample>
UMC::Status BuildCore(EncoderCore<Sample>& c, UMC::MemoryAllocator* pAllocator);
/// A new bit rate or frame rate for a running encoder; see H264VideoEncoder::SetParams for the results.
template <class Sample>
UMC::Status SetCoreRate(const EncoderSettings& Settings, SequenceState<Sample>& Sequence,
                        const UMC::VideoEncoderParams& Params);

} // namespace UMC_H264_ENCODER
