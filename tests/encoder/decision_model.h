// The decisions of a picture computed once more, in full and without a shortcut: every block is transformed, every
// bound and price is written out, samples beyond the picture are clamped one by one. Kernels are the plain ones.
#pragma once

#include "Common/h264/intra_modes.h"
#include "kernels/interpolation/interpolation.h"
#include "tests/encoder/intra_model.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>

namespace encoder_testing {

class DecisionModel : public IntraModel
{
public:
    using IntraModel::IntraModel;

    Decision Decide(int32_t Mb)
    {
        Enter(Mb);
        Decision d{MB_INTRA16X16, 0, {0, 0}, -1, -1, {}, CHROMA_DC, 0};
        d.Modes.fill(h264::kIntraDcMode);
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
        return *m_c.Job.Slices[static_cast<size_t>(SliceOf(m_Mb))].Facts.ref_pic_lists.Pictures[0][r].pFrame;
    }
    int32_t RefCount() const { return m_c.Job.Slices[static_cast<size_t>(SliceOf(m_Mb))].Facts.num_ref_idx_l0; }

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
        const auto Around = Clamped<21>(Ref.m_pY, Ref.m_Pitch, m_Width, m_c.Settings.Layout.AlignedHeight,
                                        16 * m_X + (v.x >> 2) - 2, 16 * m_Y + (v.y >> 2) - 2);
        Block Out;
        kernels::InterpolateLuma16_px(Around.data() + 2 * 21 + 2, 21, Out.data(), 16, v.x & 3, v.y & 3, 16);
        return Out;
    }
    Prediction InterChroma(const Frame& Ref, MotionVector v) const
    {
        const int32_t w = m_Width / 2, h = m_c.Settings.Layout.AlignedHeight / 2, x = 8 * m_X + (v.x >> 3),
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
            Cost += CoefficientCost(Levels, 0, g_Zigzag);
        }
        if (Cost >= 6) return false;
        const Prediction Chroma = InterChroma(RefAt(0), v);
        for (int Plane = 0; Plane < 2; ++Plane) {
            const ChromaLevels l = QuantiseChroma(Chroma, Plane);
            if (l.bDc || l.Cost >= 7) return false;
        }
        return true;
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
        const int32_t w = m_c.Settings.Layout.MbWidth, h = m_c.Settings.Layout.MbHeight;
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
                Reach(m_c.Settings.Layout.AlignedHeight - 16 - 16 * m_Y)};
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
        const int32_t rx = m_c.Settings.Params.search_x, ry = m_c.Settings.Params.search_y, bx = s.Best.x / 4,
                      by = s.Best.y / 4;
        w = {std::max(w.Left, bx - rx), std::max(w.Top, by - ry), std::min(w.Right, bx + rx),
             std::min(w.Bottom, by + ry)};
        if (m_c.Settings.Params.search_method == SEARCH_FULL) {
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
        if (m_c.Settings.Params.search_method == SEARCH_FULL) {
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
        const uint32_t Flags = m_c.Settings.AnalysisFlags;
        const bool bEarly = (Flags & ENC_ANALYSE_ME_EARLY_EXIT) != 0;
        const int32_t Limit = bEarly ? ThresholdME[static_cast<size_t>(m_Qp)] : 0, n = RefCount();
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
                Cost += CoefficientCost(Levels, 0, g_Zigzag);
            }
            if (Cost >= 5) Coded |= Mask;
            Total += Cost;
        }
        return Total >= 7 ? Coded : 0;
    }
};

} // namespace encoder_testing
