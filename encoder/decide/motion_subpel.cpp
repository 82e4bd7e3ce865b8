// The quarter-sample refinement.
#include "encoder/decide/motion_search.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/code/compensation.h"

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kReach = 3; // quarter samples from the start

enum Plane : uint8_t { FULL, RIGHT, DOWN, BOTH, NONE };
struct PlanePoint {
    Plane Which;
    uint8_t dx, dy; // whole samples
};
// The samples whose rounded mean is the one at quarter offset y * 4 + x (clause 8.4.2.2.1).
constexpr PlanePoint kQuarterPoints[16][2]{
    {{FULL, 0, 0}, {NONE, 0, 0}},  {{FULL, 0, 0}, {RIGHT, 0, 0}}, {{RIGHT, 0, 0}, {NONE, 0, 0}},
    {{RIGHT, 0, 0}, {FULL, 1, 0}}, {{FULL, 0, 0}, {DOWN, 0, 0}},  {{RIGHT, 0, 0}, {DOWN, 0, 0}},
    {{RIGHT, 0, 0}, {BOTH, 0, 0}}, {{RIGHT, 0, 0}, {DOWN, 1, 0}}, {{DOWN, 0, 0}, {NONE, 0, 0}},
    {{DOWN, 0, 0}, {BOTH, 0, 0}},  {{BOTH, 0, 0}, {NONE, 0, 0}},  {{BOTH, 0, 0}, {DOWN, 1, 0}},
    {{DOWN, 0, 0}, {FULL, 0, 1}},  {{DOWN, 0, 0}, {RIGHT, 0, 1}}, {{BOTH, 0, 0}, {RIGHT, 0, 1}},
    {{RIGHT, 0, 1}, {DOWN, 1, 0}}};

// The walk over quarter samples around a whole one. Offsets are quarter samples from the start, -3..3.
template <class Sample>
class SubpelSearch
{
public:
    explicit SubpelSearch(MEParams<Sample>& Params)
        : m_p(Params), m_Start(Params.best_mv), m_pBitsX(MVBits() + (m_Start.x - Params.pred_mv.x)),
          m_pBitsY(MVBits() + (m_Start.y - Params.pred_mv.y)), m_pPrices(Params.mv_cost_table->data())
    {
        const int32_t Code = SizeCode(m_p.block_width, m_p.block_height);
        m_pDistance = m_p.flags & ENC_ANALYSE_SAD ? SadFunction<Sample>(Code) : SatdFunction<Sample>(Code);
        m_pOrigin = m_p.ref_y + (m_Start.y >> 2) * m_p.pitch + (m_Start.x >> 2);
        m_Is16x16 = m_p.block_width == 16 && m_p.block_height == 16;
        if (m_Is16x16) LookAtPlanes();
    }

    void Full()
    {
        for (int32_t y = -kReach; y <= kReach; ++y)
            for (int32_t x = -kReach; x <= kReach; ++x) Try(x, y);
    }

    void Walk()
    {
        ptrdiff_t x = 0, y = 0;
        for (int32_t Towards = 0, Moved = 0; Moved >= 0;) {
            const DirectionRow& Row = kNextDirections[Towards];
            Moved = -1;
            for (int32_t i = 0; i < Row.Count; ++i) {
                const Direction d = kDirections[Row.Next[i]];
                if (Try(x + d.dx, y + d.dy)) Moved = Row.Next[i];
            }
            if (Moved < 0) break;
            Towards = Moved;
            x += kDirections[Moved].dx;
            y += kDirections[Moved].dy;
        }
    }

private:
    bool Try(ptrdiff_t dx, ptrdiff_t dy)
    {
        if (dx < -kReach || dx > kReach || dy < -kReach || dy > kReach) return false;
        int32_t Cost = m_pPrices[m_pBitsX[dx] + m_pBitsY[dy]];
        if (Cost >= m_p.best_cost) return false;
        Cost += m_Is16x16 ? Distance16x16(dx, dy) : DistanceOther(dx, dy);
        if (Cost >= m_p.best_cost) return false;
        const MotionVector v{static_cast<int16_t>(m_Start.x + dx), static_cast<int16_t>(m_Start.y + dy)};
        if (m_p.flags & ENC_ANALYSE_ME_CHROMA) Cost += ChromaDistortion(m_p, v.x, v.y);
        if (Cost >= m_p.best_cost) return false;
        m_p.best_cost = Cost;
        m_p.best_mv = v;
        return true;
    }

    // The sample of m_Start in a plane, and the plane's step.
    struct View {
        const Sample* pOrigin;
        ptrdiff_t Step;
    };

    void LookAtPlanes()
    {
        HalfPlanes<Sample>& h = *m_p.pHalves;
        constexpr ptrdiff_t kStep = HalfPlanes<Sample>::kStep, kOrigin = kStep + 1;
        Kernels<Sample>.HalfPlaneRight(m_pOrigin, m_p.pitch, h.Right, kStep, m_p.bit_depth);
        Kernels<Sample>.HalfPlaneDown(m_pOrigin, m_p.pitch, h.Down, kStep, m_p.bit_depth);
        m_Views[FULL] = {m_pOrigin, m_p.pitch};
        m_Views[RIGHT] = {h.Right + kOrigin, kStep};
        m_Views[DOWN] = {h.Down + kOrigin, kStep};
        m_Views[BOTH] = {h.Both + kOrigin, kStep};
    }

    [[gnu::noinline]] void MakeBoth()
    {
        constexpr ptrdiff_t kStep = HalfPlanes<Sample>::kStep;
        Kernels<Sample>.HalfPlaneBoth(m_pOrigin, m_p.pitch, m_p.pHalves->Both, kStep, m_p.bit_depth);
        m_HasBoth = true;
    }

    const Sample* At(PlanePoint p, ptrdiff_t x, ptrdiff_t y, ptrdiff_t& Step)
    {
        if (p.Which == BOTH && !m_HasBoth) MakeBoth();
        const View& v = m_Views[p.Which];
        Step = v.Step;
        return v.pOrigin + (y + p.dy) * Step + x + p.dx;
    }

    int32_t Distance16x16(ptrdiff_t dx, ptrdiff_t dy)
    {
        const PlanePoint* const pPoints = kQuarterPoints[(dy & 3) * 4 + (dx & 3)];
        ptrdiff_t StepA, StepB;
        const Sample* const pA = At(pPoints[0], dx >> 2, dy >> 2, StepA);
        if (pPoints[1].Which == NONE) return m_pDistance(m_p.src_y, m_p.SrcPitch, pA, StepA);
        const Sample* const pB = At(pPoints[1], dx >> 2, dy >> 2, StepB);
        if (m_p.flags & ENC_ANALYSE_SAD)
            return Kernels<Sample>.SadAverage16x16(m_p.src_y, m_p.SrcPitch, pA, StepA, pB, StepB);
        Kernels<Sample>.CopyBlock16(pA, StepA, m_p.pTrial, 16, 16);
        Kernels<Sample>.AverageBlock(pB, StepB, m_p.pTrial, 16, 16, 16);
        return m_pDistance(m_p.src_y, m_p.SrcPitch, m_p.pTrial, 16);
    }

    int32_t DistanceOther(ptrdiff_t dx, ptrdiff_t dy)
    {
        const Sample* const pSrc = m_pOrigin + (dy >> 2) * m_p.pitch + (dx >> 2);
        Kernels<Sample>.InterpolateLuma(pSrc, m_p.pitch, m_p.pTrial, 16, static_cast<int32_t>(dx & 3),
                                        static_cast<int32_t>(dy & 3), m_p.block_width, m_p.block_height, m_p.bit_depth);
        return m_pDistance(m_p.src_y, m_p.SrcPitch, m_p.pTrial, 16);
    }

    MEParams<Sample>& m_p;
    MotionVector m_Start;               // a whole sample
    const uint8_t *m_pBitsX, *m_pBitsY; // bits of a component by its offset
    const int16_t* m_pPrices;
    DistanceFunction<Sample>* m_pDistance;
    const Sample* m_pOrigin; // the sample of m_Start in the reference picture
    bool m_Is16x16;
    bool m_HasBoth = false; // the plane BOTH is made when the walk first needs it
    View m_Views[NONE];
};

} // namespace

template <class Sample>
void SearchSubpel(MEParams<Sample>& p)
{
    SubpelSearch<Sample> Search(p);
    if (p.method >> 5)
        Search.Walk();
    else
        Search.Full();
}

template <class Sample>
int32_t ChromaDistortion(const MEParams<Sample>& p, int32_t x, int32_t y)
{
    const int32_t ShiftY = h264::kChromaGeometry[p.chroma_format].ShiftY;
    const int32_t Width = p.block_width / 2, Height = p.block_height >> ShiftY;
    const ChromaRow Row = ChromaRowOf(y + p.chroma_mv_offset, ShiftY);
    const ptrdiff_t Offset = Row.Whole * p.pitch + (x >> 3);
    Kernels<Sample>.InterpolateChroma(p.ref_u + Offset, p.ref_v + Offset, p.pitch, p.pTrialUV, p.pTrialUV + 8, 16,
                                      x & 7, Row.Frac, Width, Height);
    const bool IsSad = (p.flags & ENC_ANALYSE_SAD) != 0;
    return ChromaBlockDistance(IsSad, p.src_u, p.SrcPitch, p.pTrialUV, Width, Height) +
           ChromaBlockDistance(IsSad, p.src_v, p.SrcPitch, p.pTrialUV + 8, Width, Height);
}

template void SearchSubpel(MEParams<uint8_t>&);
template int32_t ChromaDistortion(const MEParams<uint8_t>&, int32_t, int32_t);
template void SearchSubpel(MEParams<uint16_t>&);
template int32_t ChromaDistortion(const MEParams<uint16_t>&, int32_t, int32_t);

} // namespace UMC_H264_ENCODER
