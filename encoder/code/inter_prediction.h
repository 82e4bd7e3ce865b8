// Inter prediction of macroblocks and their parts from one or two references (clause 8.4.2).
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "encoder/code/compensation.h"
#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

// References and vectors of a part; kRefNone where a list is not used.
struct PartMotion {
    int32_t Ref[2];
    MotionVector Vector[2];
};
inline PartMotion MotionOf(const MacroblockMotion& m, MotionPart Part)
{
    const int q = Part.Quadrant(), r = Part.Raster();
    return {{m.References[0][q], m.References[1][q]}, {m.Vectors[0][r], m.Vectors[1][r]}};
}

/// A part of the macroblock whose prediction is at pY, rows of kPredStep samples.
template <class Sample>
void PredictPartLuma(const PartMotion& m, MotionPart Part, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                     Sample* pY);
/// Cb in columns 0..7 of the macroblock's rows, Cr in 8..15. Nothing in monochrome.
template <class Sample>
void PredictPartChroma(const PartMotion& m, MotionPart Part, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                       Sample* pUV);

/// The whole macroblock from one reference: inlined, as it is what the product does.
template <class Sample>
[[gnu::always_inline]] inline void PredictWholeLuma(const Reference<Sample>& Ref, MotionVector v,
                                                    const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                                                    Sample* pY)
{
    CompensateLuma(w, Ref.View, v, mb.mb_x * 16, mb.mb_y * 16, 16, 16, pY, w.kPredStep, mb.pSlice->Syntax.BitDepthLuma);
}
template <class Sample>
[[gnu::always_inline]] inline void PredictWholeChroma(const Reference<Sample>& Ref, MotionVector v,
                                                      const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                                                      Sample* pUV)
{
    const int32_t Format = mb.pSlice->Syntax.chroma_format_idc;
    if (Format == h264::CHROMA_420) [[likely]] {
        v.y = static_cast<int16_t>(v.y + Ref.ChromaMvOffset);
        CompensateChroma(w, Ref.View, v, mb.mb_x * 16, mb.mb_y * 16, 16, 16, 1, pUV, w.kPredStep);
    } else if (Format == h264::CHROMA_422) {
        CompensateChroma(w, Ref.View, v, mb.mb_x * 16, mb.mb_y * 16, 16, 16, 0, pUV, w.kPredStep);
    }
}

/// All parts of a candidate in several.
template <class Sample>
[[gnu::noinline]] void PredictPartsLuma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                                        Sample* pY)
{
    const MacroblockMotion& m = w.Motion[c.Slot];
    ForEachPart(c.Type, m.SubTypes, [&](MotionPart Part) { PredictPartLuma(MotionOf(m, Part), Part, mb, w, pY); });
}
template <class Sample>
[[gnu::noinline]] void PredictPartsChroma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                                          Sample* pUV)
{
    const MacroblockMotion& m = w.Motion[c.Slot];
    ForEachPart(c.Type, m.SubTypes, [&](MotionPart Part) { PredictPartChroma(MotionOf(m, Part), Part, mb, w, pUV); });
}

/// All parts of a candidate.
template <class Sample>
[[gnu::always_inline]] inline void PredictInterLuma(const Candidate& c, const CurrentMacroblock<Sample>& mb,
                                                    WorkArea<Sample>& w, Sample* pY)
{
    if (c.Ref < 0) return PredictPartsLuma(c, mb, w, pY);
    PredictWholeLuma(mb.pSlice->ref_pic_lists.Pictures[0][c.Ref], c.Vector, mb, w, pY);
}
template <class Sample>
[[gnu::always_inline]] inline void PredictInterChroma(const Candidate& c, const CurrentMacroblock<Sample>& mb,
                                                      WorkArea<Sample>& w, Sample* pUV)
{
    if (c.Ref < 0) return PredictPartsChroma(c, mb, w, pUV);
    PredictWholeChroma(mb.pSlice->ref_pic_lists.Pictures[0][c.Ref], c.Vector, mb, w, pUV);
}

} // namespace UMC_H264_ENCODER
