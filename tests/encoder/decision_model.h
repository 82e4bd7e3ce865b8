// The decisions of a picture computed once more, in full and without a shortcut: every block is transformed, every
// bound and price is written out, samples beyond the picture are clamped one by one. Kernels are the plain ones.
#pragma once

#include "encoder/coefficients.h"
#include "encoder/encoder_core.h"
#include "encoder/intra_decision.h"
#include "encoder/motion_search.h"
#include "kernels/interpolation/interpolation.h"
#include "kernels/intra/intra.h"
#include "kernels/transform/transform.h"
#include "tests/encoder/encoder_testing.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <optional>

namespace encoder_testing {

using namespace UMC_H264_ENCODER;

// What the encoder leaves in its tables for a macroblock.
struct Decision {
    int32_t Type, Cost;
    MotionVector Vector; // of an inter macroblock
    int32_t Ref;
    int32_t Mode16;                // of Intra 16x16
    std::array<int32_t, 16> Modes; // of Intra 4x4, raster order; else DC
    int32_t ChromaMode;            // of an intra macroblock, else DC
    uint32_t Coded;
    friend bool operator==(const Decision&, const Decision&) = default;
};

inline void PrintTo(const Decision& d, std::ostream* pOut)
{
    *pOut << "type " << d.Type << ", cost " << d.Cost << ", vector " << d.Vector.x << ' ' << d.Vector.y << " in "
          << d.Ref << ", 16x16 mode " << d.Mode16 << ", chroma " << d.ChromaMode << ", coded " << std::hex << d.Coded
          << std::dec << ", modes";
    for (const int32_t m : d.Modes) *pOut << ' ' << m;
}

inline Decision DecisionOf(const Core8& c, int32_t Mb)
{
    const auto i = static_cast<size_t>(Mb);
    const LocalMacroblock& Local = c.local_macroblocks[i];
    Decision d{c.current->mb_global[Mb].Type, Local.Cost, {0, 0}, -1, -1, {}, Local.ChromaMode, Local.Coded};
    d.Vector = c.current->mb_motion[0][16 * Mb];
    d.Ref = c.current->mb_reference[0][16 * Mb];
    if (d.Type == MB_INTRA16X16) d.Mode16 = Local.Intra16Mode;
    for (size_t b = 0; b < 16; ++b) d.Modes[b] = c.intra_modes[16 * i + b];
    return d;
}

/// Of the picture that a core has just coded, without deblocking, at one QP.
class DecisionModel
{
public:
    /// @param Source  the picture as given, I420 of whole macroblocks
    DecisionModel(const Core8& c, const Picture& Source, int32_t Qp)
        : m_c(c), m_Cur(*c.current), m_Width(c.layout.AlignedWidth), m_Qp(Qp),
          m_QpChroma(h264::kChromaQp[static_cast<size_t>(Qp)]), m_bISlice(m_Cur.frame_type == FRAME_I),
          m_bSad((c.analysis_flags & ENC_ANALYSE_SAD) != 0), m_bChroma((c.analysis_flags & ENC_ANALYSE_ME_CHROMA) != 0)
    {
        m_pSource[0] = Source.data();
        m_pSource[1] = m_pSource[0] + m_Width * c.layout.AlignedHeight;
        m_pSource[2] = m_pSource[1] + m_Width * c.layout.AlignedHeight / 4;
    }

    Decision Decide(int32_t Mb)
    {
        Enter(Mb);
        Decision d{MB_INTRA16X16, 0, {0, 0}, -1, -1, {}, CHROMA_DC, 0};
        d.Modes.fill(kIntra4x4Dc);
        if (!m_bISlice) {
            DecideInter(d);
            if (d.Type == MB_SKIP_P) return d;
            if (d.Cost < SkipIntraThreshold[static_cast<size_t>(m_Qp)] || !IntraIsCheaper(d)) {
                d.Coded = InterLuma(d) | ChromaCoded(InterChroma(RefAt(d.Ref), d.Vector));
                return d;
            }
        } else {
            DecideIntra(d, INT_MAX);
        }
        d.Vector = {0, 0};
        d.Ref = -1;
        Prediction Chroma;
        DecideChroma(d.ChromaMode, Chroma);
        d.Coded = (d.Type == MB_INTRA16X16 ? Luma16Coded(d.Mode16) : m_Coded4x4) | ChromaCoded(Chroma);
        return d;
    }

private:
    using Block = std::array<uint8_t, 256>;
    struct Prediction {
        std::array<uint8_t, 64> Plane[2];
    };
    using Frame = Core8::Frame;

    // ---- Where the macroblock lies ---------------------------------------------------------------------------

    void Enter(int32_t Mb)
    {
        const int32_t w = m_c.layout.MbWidth;
        m_Mb = Mb;
        m_X = Mb % w;
        m_Y = Mb / w;
        const auto Near = [&](int32_t dx, int32_t dy) {
            const int32_t x = m_X + dx, y = m_Y + dy, n = y * w + x;
            if (x < 0 || y < 0 || x >= w) return -1;
            return SliceOf(n) == SliceOf(Mb) ? n : -1;
        };
        m_Left = Near(-1, 0), m_Top = Near(0, -1), m_TopRight = Near(1, -1), m_TopLeft = Near(-1, -1);
    }
    int32_t SliceOf(int32_t Mb) const { return m_c.slice_of_macroblock[static_cast<size_t>(Mb)]; }
    const uint8_t* Source(int Plane) const
    {
        return Plane ? m_pSource[Plane] + m_Y * 8 * (m_Width / 2) + m_X * 8
                     : m_pSource[0] + m_Y * 16 * m_Width + m_X * 16;
    }
    int32_t SourceStep(int Plane) const { return Plane ? m_Width / 2 : m_Width; }
    const uint8_t* Recon(int Plane) const
    {
        const uint8_t* const p = Plane == 0 ? m_Cur.m_pY : Plane == 1 ? m_Cur.m_pU : m_Cur.m_pV;
        return p + (Plane ? 8 : 16) * (m_Y * m_Cur.m_Pitch + m_X);
    }
    unsigned Available() const
    {
        return (m_Left >= 0 ? kernels::kLeft : 0u) | (m_Top >= 0 ? kernels::kTop : 0u) |
               (m_TopRight >= 0 ? kernels::kTopRight : 0u) | (m_TopLeft >= 0 ? kernels::kTopLeft : 0u);
    }
    int32_t Price(int32_t Bits) const { return BitPrice(m_Qp, Bits); }
    int32_t Distance(const uint8_t* a, ptrdiff_t StepA, const uint8_t* b, ptrdiff_t StepB, int32_t Side) const
    {
        const int32_t Code = SizeCode(Side, Side);
        return m_bSad ? SAD(a, StepA, b, StepB, Code) : SATD(a, StepA, b, StepB, Code);
    }

    // ---- Motion ----------------------------------------------------------------------------------------------

    struct Near {
        MotionVector v{0, 0};
        int32_t Ref = -1;
        bool bThere = false;
    };
    Near NearMotion(int32_t Mb, int32_t Raster) const
    {
        if (Mb < 0) return {};
        return {m_Cur.mb_motion[0][16 * Mb + Raster], m_Cur.mb_reference[0][16 * Mb + Raster], true};
    }
    // Clause 8.4.1.3.
    MotionVector Predict(int32_t Ref) const
    {
        const Near a = NearMotion(m_Left, 3), b = NearMotion(m_Top, 12),
                   n = m_TopRight >= 0 ? NearMotion(m_TopRight, 12) : NearMotion(m_TopLeft, 15);
        if (!b.bThere && !n.bThere && a.bThere) return a.v;
        const Near* pOnly = nullptr;
        int32_t Same = 0;
        for (const Near* p : {&a, &b, &n})
            if (p->Ref == Ref) {
                pOnly = p;
                ++Same;
            }
        if (Same == 1) return pOnly->v;
        const auto Middle = [](int16_t p, int16_t q, int16_t r) {
            std::array<int16_t, 3> s{p, q, r};
            std::sort(s.begin(), s.end());
            return s[1];
        };
        return {Middle(a.v.x, b.v.x, n.v.x), Middle(a.v.y, b.v.y, n.v.y)};
    }
    // Clause 8.4.1.1.
    MotionVector SkipVector() const
    {
        if (m_Left < 0 || m_Top < 0) return {0, 0};
        for (const Near& n : {NearMotion(m_Left, 3), NearMotion(m_Top, 12)})
            if (n.Ref == 0 && n.v == MotionVector{0, 0}) return {0, 0};
        return Predict(0);
    }
    const Frame& RefAt(int32_t r) const
    {
        return *m_c.slices[static_cast<size_t>(SliceOf(m_Mb))].ref_pic_lists.Pictures[0][r];
    }
    int32_t RefCount() const { return m_c.slices[static_cast<size_t>(SliceOf(m_Mb))].num_ref_idx_l0; }

    // Samples of a plane from (x, y) on, those outside the picture repeated from its edge.
    template <size_t Side>
    std::array<uint8_t, Side * Side> Clamped(const uint8_t* pPlane, int32_t Step, int32_t w, int32_t h, int32_t x,
                                             int32_t y) const
    {
        std::array<uint8_t, Side * Side> Out;
        for (size_t j = 0; j < Side; ++j)
            for (size_t i = 0; i < Side; ++i)
                Out[j * Side + i] = pPlane[std::clamp(y + static_cast<int32_t>(j), 0, h - 1) * Step +
                                           std::clamp(x + static_cast<int32_t>(i), 0, w - 1)];
        return Out;
    }
    Block InterLumaPrediction(const Frame& Ref, MotionVector v) const
    {
        const auto Around = Clamped<21>(Ref.m_pY, Ref.m_Pitch, m_Width, m_c.layout.AlignedHeight,
                                        16 * m_X + (v.x >> 2) - 2, 16 * m_Y + (v.y >> 2) - 2);
        Block Out;
        kernels::InterpolateLuma16_px(Around.data() + 2 * 21 + 2, 21, Out.data(), 16, v.x & 3, v.y & 3, 16);
        return Out;
    }
    Prediction InterChroma(const Frame& Ref, MotionVector v) const
    {
        const int32_t w = m_Width / 2, h = m_c.layout.AlignedHeight / 2, x = 8 * m_X + (v.x >> 3),
                      y = 8 * m_Y + (v.y >> 3);
        const auto u = Clamped<9>(Ref.m_pU, Ref.m_Pitch, w, h, x, y), r = Clamped<9>(Ref.m_pV, Ref.m_Pitch, w, h, x, y);
        Prediction Out;
        kernels::InterpolateChroma8_px(u.data(), r.data(), 9, Out.Plane[0].data(), Out.Plane[1].data(), 8, v.x & 7,
                                       v.y & 7, 8);
        return Out;
    }
    int32_t LumaDistance(const Frame& Ref, MotionVector v, bool bSad) const
    {
        const Block p = InterLumaPrediction(Ref, v);
        return bSad ? SAD(Source(0), m_Width, p.data(), 16, 20) : SATD(Source(0), m_Width, p.data(), 16, 20);
    }
    int32_t ChromaDistance(const Frame& Ref, MotionVector v) const
    {
        const Prediction p = InterChroma(Ref, v);
        return Distance(Source(1), m_Width / 2, p.Plane[0].data(), 8, 8) +
               Distance(Source(2), m_Width / 2, p.Plane[1].data(), 8, 8);
    }

    // ---- Skip ------------------------------------------------------------------------------------------------

    bool IsSkip(MotionVector v) const
    {
        const Block Luma = InterLumaPrediction(RefAt(0), v);
        int32_t Cost = 0;
        for (size_t b = 0; b < 16; ++b) {
            alignas(16) int16_t Levels[16];
            QuantiseBlock(Luma, b, Levels);
            Cost += CoefficientCost(Levels, 0);
        }
        if (Cost >= 6) return false;
        const Prediction Chroma = InterChroma(RefAt(0), v);
        for (int Plane = 0; Plane < 2; ++Plane) {
            const ChromaLevels l = QuantiseChroma(Chroma, Plane);
            if (l.bDc || l.Cost >= 7) return false;
        }
        return true;
    }
    const kernels::QuantParams& Quant(int32_t Qp) const
    {
        return (m_bISlice ? m_c.quant.Intra : m_c.quant.Inter)[static_cast<size_t>(Qp)];
    }
    uint32_t QuantiseBlock(const Block& p, size_t Index, int16_t* pLevels) const
    {
        const int32_t Raster = h264::kBlockRaster[Index], x = 4 * (Raster & 3), y = 4 * (Raster >> 2);
        return kernels::ForwardQuant4x4_px(Source(0) + y * m_Width + x, m_Width, p.data() + 16 * y + x, 16, pLevels,
                                           &Quant(m_Qp));
    }
    struct ChromaLevels {
        uint32_t AcMask;
        int32_t Cost; // of the AC levels
        bool bDc;
    };
    ChromaLevels QuantiseChroma(const Prediction& p, int Plane) const
    {
        alignas(16) int16_t Levels[64], Dc[4];
        const kernels::QuantParams& q = Quant(m_QpChroma);
        ChromaLevels l{};
        l.AcMask =
            kernels::ForwardQuantAc8x8_px(Source(1 + Plane), m_Width / 2, p.Plane[Plane].data(), 8, Levels, Dc, &q);
        l.bDc = kernels::ForwardChromaDc420_px(Dc, q.Factor[0], q.Rounding, q.Shift) != 0;
        for (int b = 0; b < 4; ++b) l.Cost += CoefficientCost(Levels + 16 * b, 1);
        return l;
    }

    // ---- Search ----------------------------------------------------------------------------------------------

    struct SearchState {
        const Frame& Ref;
        MotionVector Pred;
        int32_t Limit;
        MotionVector Best{0, 0}; // quarter samples
        int32_t Cost = INT_MAX;

        bool Enough() const { return Cost <= Limit; }
    };
    int32_t VectorPrice(const SearchState& s, MotionVector v) const
    {
        return Price(MVBits()[v.x - s.Pred.x] + MVBits()[v.y - s.Pred.y]);
    }
    static MotionVector Quarter(int32_t x, int32_t y)
    {
        return {static_cast<int16_t>(4 * x), static_cast<int16_t>(4 * y)};
    }

    std::vector<MotionVector> Candidates(SearchState& s) const
    {
        const int32_t w = m_c.layout.MbWidth, h = m_c.layout.MbHeight;
        std::vector<MotionVector> List;
        const auto Add = [&](MotionVector v) {
            v = {static_cast<int16_t>(v.x >> 2), static_cast<int16_t>(v.y >> 2)};
            if (std::find(List.begin(), List.end(), v) == List.end()) List.push_back(v);
        };
        const auto Current = [&](int32_t Mb, int32_t b) { Add(m_Cur.mb_motion[0][16 * Mb + b]); };
        Add(s.Pred);
        Add({0, 0});
        if (m_Top >= 0) Current(m_Top, 12);
        if (m_Left >= 0) Current(m_Left, 3);
        if (m_TopLeft >= 0) Current(m_TopLeft, 15);
        if (m_Y > 0 && m_X < w - 1) Current(m_Mb - w + 1, 12); // whatever slice it is in
        if (m_Y < h - 1) Add(s.Ref.mb_motion[0][16 * (m_Mb + w)]);
        if (m_X < w - 1) Add(s.Ref.mb_motion[0][16 * (m_Mb + 1)]);
        Add(s.Ref.mb_motion[0][16 * m_Mb]);
        if (List.size() == 9) s.Pred = List[8]; // the ninth takes the predictor's place
        return List;
    }
    struct Window {
        int32_t Left, Top, Right, Bottom;
        bool Holds(int32_t x, int32_t y) const { return x >= Left && x <= Right && y >= Top && y <= Bottom; }
    };
    Window Limits() const
    {
        const auto Reach = [](int32_t Room) { return std::min(Room + 15, 127); };
        return {-Reach(16 * m_X), -Reach(16 * m_Y), Reach(m_Width - 16 - 16 * m_X),
                Reach(m_c.layout.AlignedHeight - 16 - 16 * m_Y)};
    }
    bool TryWhole(SearchState& s, const Window& w, int32_t x, int32_t y) const
    {
        if (s.Enough() || !w.Holds(x, y)) return false;
        const int32_t Cost = VectorPrice(s, Quarter(x, y)) + LumaDistance(s.Ref, Quarter(x, y), true);
        if (Cost >= s.Cost) return false;
        s.Cost = Cost;
        s.Best = Quarter(x, y);
        return true;
    }
    void SearchWhole(SearchState& s) const
    {
        Window w = Limits();
        for (const MotionVector v : Candidates(s)) TryWhole(s, w, v.x, v.y);
        const int32_t rx = m_c.params.search_x, ry = m_c.params.search_y, bx = s.Best.x / 4, by = s.Best.y / 4;
        w = {std::max(w.Left, bx - rx), std::max(w.Top, by - ry), std::min(w.Right, bx + rx),
             std::min(w.Bottom, by + ry)};
        if (m_c.params.search_method == SEARCH_FULL) {
            for (int32_t y = w.Top; y <= w.Bottom; ++y)
                for (int32_t x = w.Left; x <= w.Right; ++x) TryWhole(s, w, x, y);
        } else {
            Log(s, w, rx, ry);
        }
        if (!m_bSad) s.Cost = LumaDistance(s.Ref, s.Best, false) + VectorPrice(s, s.Best);
        if (m_bChroma) s.Cost += ChromaDistance(s.Ref, s.Best);
    }
    void Log(SearchState& s, const Window& w, int32_t sx, int32_t sy) const
    {
        for (int32_t d = 0; sx > 0 && sy > 0 && !s.Enough();) {
            const int32_t cx = s.Best.x / 4, cy = s.Best.y / 4, From = d;
            d = 0;
            for (int32_t i = 0; i < kNextDirections[From].Count; ++i) {
                const int32_t n = kNextDirections[From].Next[i];
                if (TryWhole(s, w, cx + kDirections[n].dx * sx, cy + kDirections[n].dy * sy)) d = n;
            }
            if (d == 0) sx /= 2, sy /= 2;
        }
    }
    bool TryQuarter(SearchState& s, MotionVector Start, int32_t x, int32_t y) const
    {
        if (std::abs(x) > 3 || std::abs(y) > 3) return false;
        const MotionVector v{static_cast<int16_t>(Start.x + x), static_cast<int16_t>(Start.y + y)};
        int32_t Cost = VectorPrice(s, v) + LumaDistance(s.Ref, v, m_bSad);
        if (m_bChroma) Cost += ChromaDistance(s.Ref, v);
        if (Cost >= s.Cost) return false;
        s.Cost = Cost;
        s.Best = v;
        return true;
    }
    void SearchQuarter(SearchState& s) const
    {
        const MotionVector Start = s.Best;
        if (m_c.params.search_method == SEARCH_FULL) {
            for (int32_t y = -3; y <= 3; ++y)
                for (int32_t x = -3; x <= 3; ++x) TryQuarter(s, Start, x, y);
            return;
        }
        for (int32_t d = 0, x = 0, y = 0, Moved = 1; Moved;) {
            const DirectionRow& Row = kNextDirections[d];
            Moved = 0;
            for (int32_t i = 0; i < Row.Count; ++i)
                if (TryQuarter(s, Start, x + kDirections[Row.Next[i]].dx, y + kDirections[Row.Next[i]].dy))
                    Moved = Row.Next[i];
            d = Moved;
            x += kDirections[d].dx;
            y += kDirections[d].dy;
        }
    }
    void DecideInter(Decision& d) const
    {
        const uint32_t Flags = m_c.analysis_flags;
        const bool bEarly = (Flags & ENC_ANALYSE_ME_EARLY_EXIT) != 0;
        const int32_t Limit = bEarly ? ThresholdMETable[static_cast<size_t>(m_Qp)] : 0, n = RefCount();
        const MotionVector Skip = SkipVector();
        const auto Skips = [&](MotionVector v) {
            if (std::abs(v.x - Skip.x) > 1 || std::abs(v.y - Skip.y) > 1 || !IsSkip(Skip)) return false;
            d.Type = MB_SKIP_P, d.Cost = 0, d.Vector = Skip, d.Ref = 0;
            return true;
        };
        d.Type = MB_INTER16X16;
        d.Cost = INT_MAX;
        for (int32_t r = 0; r < n; ++r) {
            SearchState s{RefAt(r), Predict(r), Limit};
            if (r == 0 && bEarly && Skips(s.Pred)) return;
            const int32_t Naming = Price(n == 1 ? 1 : n == 2 ? 1 + r : MVBits()[r]);
            SearchWhole(s);
            if ((Flags & ENC_ANALYSE_SUBPEL) && s.Cost + Naming > Limit) SearchQuarter(s);
            if (r == 0 && !bEarly && Skips(s.Best)) return;
            if (s.Cost + Naming >= d.Cost) {
                if (!(Flags & ENC_ANALYSE_ALL_REFS)) return;
                continue;
            }
            d.Cost = s.Cost + Naming;
            d.Vector = s.Best;
            d.Ref = r;
            if (d.Cost <= Limit) return;
        }
    }
    uint32_t InterLuma(const Decision& d) const
    {
        const Block p = InterLumaPrediction(RefAt(d.Ref), d.Vector);
        uint32_t Coded = 0;
        int32_t Total = 0;
        for (size_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
            uint32_t Mask = 0;
            int32_t Cost = 0;
            for (size_t b = 4 * Quadrant; b < 4 * Quadrant + 4; ++b) {
                alignas(16) int16_t Levels[16];
                if (QuantiseBlock(p, b, Levels)) Mask |= 1u << b;
                Cost += CoefficientCost(Levels, 0);
            }
            if (Cost >= 5) Coded |= Mask;
            Total += Cost;
        }
        return Total >= 7 ? Coded : 0;
    }
    uint32_t ChromaCoded(const Prediction& p) const
    {
        uint32_t Coded = 0;
        for (int Plane = 0; Plane < 2; ++Plane) {
            const ChromaLevels l = QuantiseChroma(p, Plane);
            if (l.Cost > 7) Coded |= l.AcMask << (Plane ? kCodedCrShift : kCodedCbShift);
            if (l.bDc) Coded |= Plane ? kCodedCrDc : kCodedCbDc;
        }
        return Coded;
    }

    // ---- Intra -----------------------------------------------------------------------------------------------

    bool IntraIsCheaper(Decision& d)
    {
        Decision Intra = d;
        DecideIntra(Intra, d.Cost);
        Prediction Unused;
        int32_t Mode;
        if (m_bChroma) Intra.Cost += DecideChroma(Mode, Unused);
        if (Intra.Cost >= d.Cost) return false;
        d = Intra;
        return true;
    }
    // @param Inter  the cost to beat; INT_MAX in I slices, where no gate but that of detail stands
    void DecideIntra(Decision& d, int32_t Inter)
    {
        d.Type = MB_INTRA16X16;
        d.Cost = Decide16x16(d.Mode16);
        if (Inter != INT_MAX && (d.Cost > 2 * Inter || Inter < TryAdvancedIntraThreshold[static_cast<size_t>(m_Qp)]))
            return;
        if (!(m_c.analysis_flags & ENC_ANALYSE_I4X4) || !IsDetailed()) return;
        std::array<int32_t, 16> Modes;
        const int32_t Fine = Decide4x4(Modes);
        if (Fine >= d.Cost) return;
        d.Type = MB_INTRA4X4;
        d.Cost = Fine;
        d.Mode16 = -1;
        d.Modes = Modes;
    }
    bool IsDetailed() const
    {
        int32_t Count = 0;
        for (int32_t y = 0; y < 15; ++y)
            for (int32_t x = 0; x < 15; ++x) {
                const uint8_t* const p = Source(0) + y * m_Width + x;
                const int32_t Most = EdgePelDifference[static_cast<size_t>(m_Qp)];
                Count += std::abs(p[0] - p[1]) > Most || std::abs(p[0] - p[m_Width]) > Most;
            }
        return Count > EdgePelCount[static_cast<size_t>(m_Qp)];
    }
    static constexpr int32_t kBits[4]{3, 1, 3, 5};
    static constexpr unsigned kNeeds[4]{0, kernels::kTop, kernels::kLeft,
                                        kernels::kTop | kernels::kLeft | kernels::kTopLeft};

    static Block Predict16x16(int32_t Mode, const uint8_t* p, ptrdiff_t Step, unsigned Available)
    {
        Block Out;
        const auto pPredict = Mode == INTRA16_DC           ? kernels::Predict16x16Dc_px
                              : Mode == INTRA16_VERTICAL   ? kernels::Predict16x16Vertical_px
                              : Mode == INTRA16_HORIZONTAL ? kernels::Predict16x16Horizontal_px
                                                           : kernels::Predict16x16Plane_px;
        pPredict(p, Step, Out.data(), 16, Available);
        return Out;
    }
    int32_t Decide16x16(int32_t& Mode) const
    {
        int32_t Best = INT_MAX;
        constexpr int32_t kOrder[4]{INTRA16_DC, INTRA16_VERTICAL, INTRA16_HORIZONTAL, INTRA16_PLANE};
        for (int i = 0; i < 4; ++i) {
            if ((Available() & kNeeds[i]) != kNeeds[i]) continue;
            const Block p = Predict16x16(kOrder[i], Recon(0), m_Cur.m_Pitch, Available());
            const int32_t Cost = Price(kBits[i]) + Distance(Source(0), m_Width, p.data(), 16, 16);
            if (Cost >= Best) continue;
            Best = Cost;
            Mode = kOrder[i];
        }
        return Best;
    }
    uint32_t Luma16Coded(int32_t Mode) const
    {
        const Block p = Predict16x16(Mode, Recon(0), m_Cur.m_Pitch, Available());
        alignas(16) int16_t Levels[256], Dc[16];
        const uint32_t Mask =
            kernels::ForwardQuantAc16x16_px(Source(0), m_Width, p.data(), 16, Levels, Dc, &Quant(m_Qp));
        const kernels::QuantParams& q = m_c.quant.Intra[static_cast<size_t>(m_Qp)]; // in every slice type
        return Mask | (kernels::ForwardLumaDc_px(Dc, q.Factor[0], q.Rounding, q.Shift) ? kCodedLumaDc : 0);
    }
    int32_t DecideChroma(int32_t& Mode, Prediction& Out) const
    {
        int32_t Best = INT_MAX;
        constexpr int32_t kOrder[4]{CHROMA_DC, CHROMA_VERTICAL, CHROMA_HORIZONTAL, CHROMA_PLANE},
            kChromaBits[4]{1, 3, 3, 5};
        kernels::PredictIntraSig* const kPredict[4]{kernels::PredictChromaDc_px, kernels::PredictChromaVertical_px,
                                                    kernels::PredictChromaHorizontal_px,
                                                    kernels::PredictChromaPlane_px};
        for (int i = 0; i < 4; ++i) {
            if ((Available() & kNeeds[i]) != kNeeds[i]) continue;
            Prediction p;
            int32_t Cost = BitPrice(m_QpChroma, kChromaBits[i]);
            for (int Plane = 0; Plane < 2; ++Plane) {
                kPredict[i](Recon(1 + Plane), m_Cur.m_Pitch, p.Plane[Plane].data(), 8, Available());
                Cost += Distance(Source(1 + Plane), m_Width / 2, p.Plane[Plane].data(), 8, 8);
            }
            if (Cost >= Best) continue;
            Best = Cost;
            Mode = kOrder[i];
            Out = p;
        }
        return Best;
    }

    // The mode that is predicted for a block from those around it (clause 8.3.1.1).
    int32_t PredictedMode(const std::array<int32_t, 16>& Modes, int32_t bx, int32_t by) const
    {
        const auto Of = [&](int32_t Mb, int32_t b) {
            return Mb < 0 ? -1 : int32_t{m_c.intra_modes[static_cast<size_t>(16 * Mb + b)]};
        };
        const int32_t a = bx > 0 ? Modes[static_cast<size_t>(4 * by + bx - 1)] : Of(m_Left, 4 * by + 3);
        const int32_t b = by > 0 ? Modes[static_cast<size_t>(4 * by - 4 + bx)] : Of(m_Top, 12 + bx);
        return a < 0 || b < 0 ? 2 : std::min(a, b);
    }
    unsigned AvailableToBlock(int32_t bx, int32_t by, size_t Index) const
    {
        const auto Has = [&](int32_t x, int32_t y) { // block coordinates; one of the macroblock's is there once coded
            if (x >= 0 && y >= 0) return x < 4 && h264::kBlockRaster[4 * y + x] < Index;
            if (y >= 0) return m_Left >= 0;
            return (x < 0 ? m_TopLeft : x < 4 ? m_Top : m_TopRight) >= 0;
        };
        return (Has(bx - 1, by) ? kernels::kLeft : 0u) | (Has(bx, by - 1) ? kernels::kTop : 0u) |
               (Has(bx + 1, by - 1) ? kernels::kTopRight : 0u) | (Has(bx - 1, by - 1) ? kernels::kTopLeft : 0u);
    }
    static std::vector<int32_t> ModesToTry(unsigned Available)
    {
        const bool bLeft = Available & kernels::kLeft, bTop = Available & kernels::kTop;
        if (bLeft && bTop && !(Available & kernels::kTopLeft)) return {2, 0, 1, 3, 7, 8};
        if (bLeft && bTop) return {2, 0, 1, 3, 4, 5, 6, 7, 8};
        if (bTop) return {2, 0, 3, 7};
        if (bLeft) return {2, 1, 8};
        return {2};
    }
    int32_t Decide4x4(std::array<int32_t, 16>& Modes)
    {
        constexpr int32_t kStep = 32;
        std::array<uint8_t, kStep * 17 + 8> Local{}; // the macroblock from (8, 1) on, with what stands around it
        uint8_t* const pOrigin = Local.data() + kStep + 8;
        for (int32_t x = -1; x < 20; ++x) pOrigin[x - kStep] = Recon(0)[x - m_Cur.m_Pitch];
        for (int32_t y = 0; y < 16; ++y) pOrigin[y * kStep - 1] = Recon(0)[y * m_Cur.m_Pitch - 1];
        int32_t Sum = 0;
        m_Coded4x4 = 0;
        for (size_t Index = 0; Index < 16; ++Index) {
            const int32_t Raster = h264::kBlockRaster[Index], bx = Raster & 3, by = Raster >> 2;
            const uint8_t* const pSource = Source(0) + 4 * by * m_Width + 4 * bx;
            uint8_t* const pBlock = pOrigin + 4 * by * kStep + 4 * bx;
            const unsigned There = AvailableToBlock(bx, by, Index);
            const int32_t Predicted = PredictedMode(Modes, bx, by);
            int32_t Best = INT_MAX, BestMode = -1;
            alignas(16) uint8_t Trial[16], Won[16];
            for (const int32_t Mode : ModesToTry(There)) {
                kernels::PredictIntra4x4_px(Mode, pBlock, kStep, pBlock - kStep + 4, Trial, 4, There);
                const int32_t Cost = Price(Mode == Predicted ? 1 : 4) + Distance(pSource, m_Width, Trial, 4, 4);
                if (Cost > Best || (Cost == Best && Mode > BestMode)) continue;
                Best = Cost;
                BestMode = Mode;
                std::copy_n(Trial, 16, Won);
            }
            Modes[static_cast<size_t>(Raster)] = BestMode;
            Sum += Best;
            CodeBlock(Index, pSource, Won, pBlock, kStep);
        }
        return Sum + Price(24);
    }
    void CodeBlock(size_t Index, const uint8_t* pSource, const uint8_t* pPrediction, uint8_t* pOut, int32_t Step)
    {
        alignas(16) int16_t Levels[16];
        const auto Qp = static_cast<size_t>(m_Qp);
        for (int32_t y = 0; y < 4; ++y) std::copy_n(pPrediction + 4 * y, 4, pOut + y * Step);
        if (!kernels::ForwardQuant4x4_px(pSource, m_Width, pPrediction, 4, Levels, &Quant(m_Qp))) return;
        m_Coded4x4 |= 1u << Index;
        kernels::DequantBlocks_px(Levels, 1, 1, m_c.quant.Scale[Qp % 6], m_Qp / 6, 0);
        kernels::AddResidual4x4_px(Levels, pOut, Step);
    }

    const Core8& m_c;
    const Frame& m_Cur;
    int32_t m_Width;
    int32_t m_Qp, m_QpChroma;
    bool m_bISlice, m_bSad, m_bChroma;
    const uint8_t* m_pSource[3];
    int32_t m_Mb = 0, m_X = 0, m_Y = 0;
    int32_t m_Left = -1, m_Top = -1, m_TopRight = -1, m_TopLeft = -1; // -1: outside the picture or the slice
    uint32_t m_Coded4x4 = 0;                                          // of the last Decide4x4
};

} // namespace encoder_testing
