// The inter forms of a macroblock in parts.
#pragma once

#include "encoder/decide/part_choice.h"
#include "encoder/decide/trial_coding.h"

namespace UMC_H264_ENCODER {

// Motion that costs nothing to write, which a quadrant of a B macroblock may take.
struct DirectOffer {
    const MacroblockMotion* pMotion = nullptr; // null for none
    int32_t Distance[4];                       // of its quadrants
};

/// The best of the macroblock as it is so far and of its divisions, which are searched as long as they have a chance.
/// The motion of a division that wins goes to Motion[Slot] of the candidate.
/// @param Whole   the macroblock in one part, or direct
/// @param pTrials  with ENC_ANALYSE_RD_OPT, what compares those that were searched
/// @param pLists  the lists of the slice, searched for the whole macroblock up to the last reference of interest
template <class Sample>
Candidate DecideDivided(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Candidate& Whole,
                        ListSearch<Sample>* pLists, const DirectOffer& Direct, WorkArea<Sample>& w,
                        TrialCoder<Sample>* pTrials);

} // namespace UMC_H264_ENCODER
