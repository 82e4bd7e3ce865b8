// Whether a macroblock is as good as its prediction at the motion that a skip would give it.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

// How far the skip test came: what it leaves in the trial are the blocks at the skip's motion.
struct SkipTest {
    bool IsSkip;
    BlocksAtHand AtHand;
};

/// Of a P macroblock. The test is only made for a vector within a quarter sample of the skip vector.
template <class Sample>
SkipTest CheckSkipP(const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, InterTrial<Sample>& t,
                    MotionVector Vector, MotionVector Skip);

/// Of a B macroblock, at its direct motion.
/// @param Direct  a candidate of that motion
template <class Sample>
SkipTest CheckSkipB(const Candidate& Direct, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                    InterTrial<Sample>& t);

/// Makes a skipped macroblock one that says its motion, and no more than levels that are worth their bits.
template <class Sample>
void Unskip(const CurrentMacroblock<Sample>& mb, Candidate& c);

} // namespace UMC_H264_ENCODER
