// What the models of the decisions share: the record to compare, where a macroblock lies, and its residual.
#pragma once

#include "encoder/code/coefficients.h"
#include "encoder/decide/intra_decision.h"
#include "encoder/decide/motion_search.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/transform/transform.h"
#include "tests/encoder/encoder_testing.h"

#include <array>
#include <ostream>

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
    uint64_t Coded;                // CodedDc from bit 32 on
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
    const LocalMacroblock& Local = c.Job.LocalMacroblocks[i];
    Decision d{c.Job.pCurrent->mb_global[Mb].Type,
               Local.Cost,
               {0, 0},
               -1,
               -1,
               {},
               Local.ChromaMode,
               Local.Coded | static_cast<uint64_t>(Local.CodedDc) << 32};
    d.Vector = c.Job.pCurrent->mb_motion[0][16 * Mb];
    d.Ref = c.Job.pCurrent->mb_reference[0][16 * Mb];
    if (d.Type == MB_INTRA16X16) d.Mode16 = Local.Intra16Mode;
    for (size_t b = 0; b < 16; ++b) d.Modes[b] = c.Job.IntraModes[16 * i + b];
    return d;
}

/// A macroblock of the picture that a core has just coded, without deblocking, at one QP.
class MacroblockModel
{
public:
    /// @param Source  the picture as given, I420 of whole macroblocks
    MacroblockModel(const Core8& c, const Picture& Source, int32_t Qp)
        : m_c(c), m_Cur(*c.Job.pCurrent), m_Width(c.Settings.Layout.AlignedWidth), m_Qp(Qp),
          m_QpChroma(h264::kChromaQp[static_cast<size_t>(Qp)]), m_bISlice(m_Cur.frame_type == FRAME_I),
          m_bSad((c.Settings.AnalysisFlags & ENC_ANALYSE_SAD) != 0),
          m_bChroma((c.Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) != 0)
    {
        m_pSource[0] = Source.data();
        m_pSource[1] = m_pSource[0] + m_Width * c.Settings.Layout.AlignedHeight;
        m_pSource[2] = m_pSource[1] + m_Width * c.Settings.Layout.AlignedHeight / 4;
    }

protected:
    using Block = std::array<uint8_t, 256>;
    struct Prediction {
        std::array<uint8_t, 64> Plane[2];
    };
    using Frame = H264EncoderFrame<uint8_t>;

    // ---- Where the macroblock lies ---------------------------------------------------------------------------

    void Enter(int32_t Mb)
    {
        const int32_t w = m_c.Settings.Layout.MbWidth;
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
    int32_t SliceOf(int32_t Mb) const { return m_Cur.mb_global[Mb].SliceId; }
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

    const kernels::QuantParams& Quant(int32_t Qp) const
    {
        return (m_bISlice ? m_c.Settings.Quant.Intra : m_c.Settings.Quant.Inter)[static_cast<size_t>(Qp)];
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
        for (int b = 0; b < 4; ++b) l.Cost += CoefficientCost(Levels + 16 * b, 1, g_Zigzag);
        return l;
    }

    uint64_t ChromaCoded(const Prediction& p) const
    {
        uint64_t Coded = 0;
        for (int Plane = 0; Plane < 2; ++Plane) {
            const ChromaLevels l = QuantiseChroma(p, Plane);
            if (l.Cost > 7) Coded |= l.AcMask << (Plane ? kCodedCrShift : kCodedCbShift);
            if (l.bDc) Coded |= static_cast<uint64_t>(Plane ? kCodedCrDc : kCodedCbDc) << 32;
        }
        return Coded;
    }

    const Core8& m_c;
    const Frame& m_Cur;
    int32_t m_Width;
    int32_t m_Qp, m_QpChroma;
    bool m_bISlice, m_bSad, m_bChroma;
    const uint8_t* m_pSource[3];
    int32_t m_Mb = 0, m_X = 0, m_Y = 0;
    int32_t m_Left = -1, m_Top = -1, m_TopRight = -1, m_TopLeft = -1; // -1: outside the picture or the slice
};

} // namespace encoder_testing
