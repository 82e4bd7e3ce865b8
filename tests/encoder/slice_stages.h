// The stages of a macroblock on the parts of one slice, as the slice's loop calls them.
#pragma once

#include "encoder/code/reconstruct.h"
#include "encoder/decide/inter_decision.h"
#include "encoder/decide/intra_blocks.h"
#include "encoder/decide/intra_decision.h"
#include "encoder/decide/macroblock_decision.h"
#include "encoder/state/slice_context.h"

namespace encoder_testing {

using Slice8 = UMC_H264_ENCODER::SliceContext<uint8_t>;
using UMC_H264_ENCODER::Candidate;
using UMC_H264_ENCODER::EncoderSettings;

inline Candidate DecideP(const EncoderSettings& Settings, Slice8& s, uint8_t Slot = 0)
{
    return UMC_H264_ENCODER::DecideP<uint8_t>(Settings, s.cur_mb, Slot, s.work_area, nullptr);
}
inline Candidate Intra16x16(const EncoderSettings& Settings, Slice8& s)
{
    return UMC_H264_ENCODER::Intra16x16(Settings, s.cur_mb, s.work_area);
}
inline Candidate Intra4x4(const EncoderSettings& Settings, Slice8& s, int32_t Limit)
{
    return UMC_H264_ENCODER::Intra4x4(Settings, s.cur_mb, s.work_area, Limit);
}
inline void TryFinerIntra(const EncoderSettings& Settings, Slice8& s, Candidate& Best)
{
    UMC_H264_ENCODER::TryFinerIntra(Settings, s.cur_mb, s.work_area, Best);
}
inline void Commit(const Candidate& Won, Slice8& s) { UMC_H264_ENCODER::Commit(Won, s.work_area, s.cur_mb); }
/// Decides the macroblock in hand and commits what won.
inline Candidate AnalyseMacroblock(const EncoderSettings& Settings, Slice8& s)
{
    const Candidate Won = UMC_H264_ENCODER::AnalyseMacroblock<uint8_t>(Settings, s.cur_mb, s.work_area, nullptr);
    Commit(Won, s);
    return Won;
}

} // namespace encoder_testing
