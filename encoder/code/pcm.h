// A macroblock's source samples as they are.
#pragma once

#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

/// I_PCM: the source into the picture and into Pcm for the writer; to what lies around it counts as coded throughout.
template <class Sample>
void ReconstructPcm(CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

/// Copies the source to where a reconstruction in the same picture does not overwrite it, and goes on from there.
template <class Sample>
void KeepSource(CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w);

} // namespace UMC_H264_ENCODER
