// Inter prediction of macroblocks and their parts from one or two references (clause 8.4.2).
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

// References and vectors of a part; kRefNone where a list is not used.
struct PartMotion {
    int32_t Ref[2];
    MotionVector Vector[2];
};

/// What a candidate's motion is, part by part: f(MotionPart, PartMotion).
template <class Sample, class F>
void ForEachPartMotion(const Candidate& c, const WorkArea<Sample>& w, F&& f)
{
    if (c.Ref >= 0) return f(MotionPart{0, 0, 4, 4}, PartMotion{{c.Ref, h264::kRefNone}, {c.Vector, {0, 0}}});
    const MacroblockMotion& m = w.Motion[c.Slot];
    ForEachPart(c.Type, m.SubTypes, [&](MotionPart Part) {
        const int q = Part.Quadrant(), r = Part.Raster();
        f(Part, PartMotion{{m.References[0][q], m.References[1][q]}, {m.Vectors[0][r], m.Vectors[1][r]}});
    });
}

/// A part of the macroblock whose prediction is at pY, rows of kPredStep samples.
template <class Sample>
void PredictPartLuma(const PartMotion& m, MotionPart Part, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                     Sample* pY);
/// Cb in columns 0..7 of the macroblock's rows, Cr in 8..15.
template <class Sample>
void PredictPartChroma(const PartMotion& m, MotionPart Part, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                       Sample* pUV);

/// The same of all parts of a candidate.
template <class Sample>
void PredictInterLuma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Sample* pY)
{
    ForEachPartMotion(c, w, [&](MotionPart Part, const PartMotion& m) { PredictPartLuma(m, Part, mb, w, pY); });
}
template <class Sample>
void PredictInterChroma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Sample* pUV)
{
    ForEachPartMotion(c, w, [&](MotionPart Part, const PartMotion& m) { PredictPartChroma(m, Part, mb, w, pUV); });
}

} // namespace UMC_H264_ENCODER
