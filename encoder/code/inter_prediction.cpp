#include "encoder/code/inter_prediction.h"

#include "encoder/code/compensation.h"

namespace UMC_H264_ENCODER {

namespace {

// Calls f with each part and its one reference and vector.
template <class Sample, class F>
void ForEachVector(const Candidate& c, const CurrentMacroblock<Sample>& mb, const WorkArea<Sample>& w, F&& f)
{
    const Reference<Sample>* const pList = mb.pSlice->ref_pic_lists.Pictures[0];
    if (c.Type == MB_INTER16X16) return f(MotionPart{0, 0, 4, 4}, pList[c.Ref].View, c.Vector);
    const MacroblockMotion& m = w.Motion[c.Slot];
    ForEachPart(c.Type, m.SubTypes, [&](MotionPart Part) {
        f(Part, pList[m.References[0][Part.Quadrant()]].View, m.Vectors[0][Part.Raster()]);
    });
}

} // namespace

template <class Sample>
void PredictInterLuma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Sample* pY)
{
    ForEachVector(c, mb, w, [&](MotionPart Part, const PictureView<const Sample>& Ref, MotionVector v) {
        const int x = 4 * Part.x, y = 4 * Part.y;
        CompensateLuma(w, Ref, v, mb.mb_x * 16 + x, mb.mb_y * 16 + y, 4 * Part.Width, 4 * Part.Height,
                       pY + y * w.kPredStep + x, w.kPredStep);
    });
}

template <class Sample>
void PredictInterChroma(const Candidate& c, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w, Sample* pUV)
{
    ForEachVector(c, mb, w, [&](MotionPart Part, const PictureView<const Sample>& Ref, MotionVector v) {
        const int x = 4 * Part.x, y = 4 * Part.y;
        CompensateChroma(w, Ref, v, mb.mb_x * 16 + x, mb.mb_y * 16 + y, 4 * Part.Width, 4 * Part.Height,
                         pUV + y / 2 * w.kPredStep + x / 2, w.kPredStep);
    });
}

template void PredictInterLuma(const Candidate&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&, uint8_t*);
template void PredictInterChroma(const Candidate&, const CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&, uint8_t*);

} // namespace UMC_H264_ENCODER
