// Reference numbers, lists and marking (clauses 8.2.4 and 8.2.5) of frame pictures.
#pragma once

#include "encoder/picture/sequence_state.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// A frame, or the part of it that is a field, as a reference of the job's picture.
template <class Sample>
Reference<Sample> Refer(const H264EncoderFrame<Sample>& Frame, PictureStructure Part, const PictureJob<Sample>& Job);
/// frame_num_wrap and pic_num of all references before a picture, whatever its type: the sliding window behind it goes
/// by these numbers (clause 8.2.4.1).
template <class Sample>
void UpdateRefLists(SequenceState<Sample>& Sequence, const H264EncoderFrame<Sample>& Current);
/// The lists of one slice.
template <class Sample>
void BuildRefLists(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence,
                   const PictureJob<Sample>& Job, SliceFacts<Sample>& s);
/// The lists of a field macroblock in a frame of pairs: of each frame first the field of its parity, then the other
/// (clause 8.4.2.1).
template <class Sample>
void BuildFieldLists(const SliceFacts<Sample>& Frame, PictureStructure Parity, SliceFacts<Sample>& Field);
/// Leaves in the current picture what its slices refer to.
template <class Sample>
void RecordReferences(const PictureJob<Sample>& Job, const SliceFacts<Sample>& s);
/// Sliding window marking after a reference picture (clause 8.2.5.3), which a second field leaves as it is.
template <class Sample>
void UpdateMarking(const EncoderSettings& Settings, const PictureJob<Sample>& Job, SequenceState<Sample>& Sequence);

} // namespace UMC_H264_ENCODER
