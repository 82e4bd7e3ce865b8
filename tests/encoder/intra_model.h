// Intra decisions in full: every mode that the neighbours allow, every block to the end.
#pragma once

#include "kernels/intra/intra.h"
#include "tests/encoder/macroblock_model.h"

#include <climits>
#include <cstdlib>
#include <vector>

namespace encoder_testing {

class IntraModel : public MacroblockModel
{
protected:
    using MacroblockModel::MacroblockModel;

    // @param Inter  the cost to beat; INT_MAX in I slices, where no gate but that of detail stands
    void DecideIntra(Decision& d, int32_t Inter)
    {
        d.Type = MB_INTRA16X16;
        d.Cost = Decide16x16(d.Mode16);
        if (Inter != INT_MAX && (d.Cost > 2 * Inter || Inter < TryAdvancedIntraThreshold[static_cast<size_t>(m_Qp)]))
            return;
        if (!(m_c.Settings.AnalysisFlags & ENC_ANALYSE_I4X4) || !IsDetailed()) return;
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
    uint64_t Luma16Coded(int32_t Mode) const
    {
        const Block p = Predict16x16(Mode, Recon(0), m_Cur.m_Pitch, Available());
        alignas(16) int16_t Levels[256], Dc[16];
        const uint32_t Mask =
            kernels::ForwardQuantAc16x16_px(Source(0), m_Width, p.data(), 16, Levels, Dc, &Quant(m_Qp));
        const kernels::QuantParams& q = m_c.Settings.Quant.Intra[static_cast<size_t>(m_Qp)]; // in every slice type
        const bool HasDc = kernels::ForwardLumaDc_px(Dc, q.Factor[0], q.Rounding, q.Shift) != 0;
        return Mask | (HasDc ? static_cast<uint64_t>(kCodedLumaDc) << 32 : 0);
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
            return Mb < 0 ? -1 : int32_t{m_c.Job.IntraModes[static_cast<size_t>(16 * Mb + b)]};
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
        kernels::DequantBlocks_px(Levels, 1, 1, m_c.Settings.Quant.Scale[Qp % 6], m_Qp / 6, 0);
        kernels::AddResidual4x4_px(Levels, pOut, Step);
    }

    uint32_t m_Coded4x4 = 0; // of the last Decide4x4
};

} // namespace encoder_testing
