// From the records and coefficients of a macroblock to its samples: prediction (clauses 8.3, 8.4.2) and residual (8.5),
// for 8-bit samples and formats without chroma or 4:2:0.
#pragma once

#include "decoder/jobs/segment_decoder.h"
#include "decoder/macroblock/inter_prediction.h"
#include "decoder/macroblock/intra_prediction.h"
#include "kernels/dispatch/kernels.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace UMC {

template <class Coeffs, class PlaneY, class PlaneUV, int color_format, bool is_field, bool is_high_profile>
class MBReconstructor
{
    static_assert(std::is_same_v<PlaneY, uint8_t> && std::is_same_v<Coeffs, int16_t> && color_format <= 1);

protected:
    // The macroblock in hand, of a P or B slice. Throws h264_exception for an intra mode whose neighbours are missing.
    static void ReconstructInter(H264SegmentDecoder& d)
    {
        if (IsIntra(*d.m_Mb.m_pGlobal)) return ReconstructIntra(d);
        PredictInter<kHasChroma>(d);
        AddLuma(d);
        if constexpr (kHasChroma) AddChroma(d);
    }

    // Of an I slice, or an intra macroblock of another.
    static void ReconstructIntra(H264SegmentDecoder& d)
    {
        switch (d.m_Mb.m_pGlobal->MbType) {
        case MBTYPE_PCM: return CopyPcm(d);
        case MBTYPE_INTRA16x16:
            PredictIntra16x16(d);
            AddLuma(d);
            break;
        default:
            if (is_high_profile && (d.m_Mb.m_pGlobal->MbFlags & MBFLAG_TRANSFORM8x8))
                ReconstructIntra8x8(d, CoefficientsOf(d));
            else
                ReconstructIntra4x4(d, CoefficientsOf(d));
        }
        if constexpr (kHasChroma) {
            PredictIntraChroma(d);
            AddChroma(d);
        }
    }

private:
    static constexpr bool kHasChroma = color_format != 0;

    static Coeffs* CoefficientsOf(H264SegmentDecoder& d) { return reinterpret_cast<Coeffs*>(d.m_Coefficients); }
    static uint8_t* LumaOf(H264SegmentDecoder& d)
    {
        return d.m_pPlane[0] + d.m_Mb.m_Y * 16 * d.m_PitchLuma + d.m_Mb.m_X * 16;
    }

    static void AddLuma(H264SegmentDecoder& d)
    {
        if (d.m_ResidualBits[0] == 0) return;
        if (is_high_profile && (d.m_Mb.m_pGlobal->MbFlags & MBFLAG_TRANSFORM8x8))
            kernels::g_Kernels.AddResidualLuma8x8(CoefficientsOf(d), LumaOf(d), d.m_PitchLuma, d.m_ResidualBits[0]);
        else
            kernels::g_Kernels.AddResidualLuma4x4(CoefficientsOf(d), LumaOf(d), d.m_PitchLuma, d.m_ResidualBits[0]);
    }

    static void AddChroma(H264SegmentDecoder& d)
    {
        const ptrdiff_t Offset = d.m_Mb.m_Y * 8 * d.m_PitchChroma + d.m_Mb.m_X * 8;
        for (int Plane = 1; Plane < 3; ++Plane)
            if (d.m_ResidualBits[Plane])
                kernels::g_Kernels.AddResidualChroma(CoefficientsOf(d) + 256 + (Plane - 1) * 64,
                                                     d.m_pPlane[Plane] + Offset, d.m_PitchChroma,
                                                     d.m_ResidualBits[Plane]);
    }

    static void CopyPcm(H264SegmentDecoder& d)
    {
        const auto* pSamples = reinterpret_cast<const PlaneY*>(d.m_Coefficients);
        uint8_t* pDst = LumaOf(d);
        for (int y = 0; y < 16; ++y, pSamples += 16, pDst += d.m_PitchLuma) std::memcpy(pDst, pSamples, 16);
        if constexpr (kHasChroma)
            for (int Plane = 1; Plane < 3; ++Plane) {
                pDst = d.m_pPlane[Plane] + d.m_Mb.m_Y * 8 * d.m_PitchChroma + d.m_Mb.m_X * 8;
                for (int y = 0; y < 8; ++y, pSamples += 8, pDst += d.m_PitchChroma) std::memcpy(pDst, pSamples, 8);
            }
        std::memset(d.m_Coefficients, 0, 256 + (kHasChroma ? 128 : 0)); // the next macroblock expects no coefficients
    }
};

} // namespace UMC
