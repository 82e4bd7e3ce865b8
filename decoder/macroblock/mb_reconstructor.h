// From the records and coefficients of a macroblock to its samples: prediction (clauses 8.3, 8.4.2) and residual (8.5),
// for 8-bit samples and formats without chroma or 4:2:0.
#pragma once

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
    static void ReconstructInter(const SliceView& s, const MbState& Mb, MbResidual& Coefficients,
                                 PredictionScratch& Scratch)
    {
        if (IsIntra(*Mb.pGlobal)) return ReconstructIntra(s, Mb, Coefficients);
        PredictInter<kHasChroma>(s, Mb, Scratch);
        AddLuma(s.Picture, Mb, Coefficients);
        if constexpr (kHasChroma) AddChroma(s.Picture, Mb, Coefficients);
    }

    // Of an I slice, or an intra macroblock of another.
    static void ReconstructIntra(const SliceView& s, const MbState& Mb, MbResidual& Coefficients)
    {
        switch (Mb.pGlobal->MbType) {
        case MBTYPE_PCM: return CopyPcm(s.Picture, Mb, Coefficients);
        case MBTYPE_INTRA16x16:
            PredictIntra16x16(s, Mb);
            AddLuma(s.Picture, Mb, Coefficients);
            break;
        default:
            if (is_high_profile && (Mb.pGlobal->MbFlags & MBFLAG_TRANSFORM8x8))
                ReconstructIntra8x8(s, Mb, Coefficients);
            else
                ReconstructIntra4x4(s, Mb, Coefficients);
        }
        if constexpr (kHasChroma) {
            PredictIntraChroma(s, Mb);
            AddChroma(s.Picture, Mb, Coefficients);
        }
    }

private:
    static constexpr bool kHasChroma = color_format != 0;

    static uint8_t* LumaOf(const PictureView& Picture, const MbState& Mb)
    {
        return Picture.pPlane[0] + Mb.Y * 16 * Picture.PitchLuma + Mb.X * 16;
    }

    static void AddLuma(const PictureView& Picture, const MbState& Mb, MbResidual& r)
    {
        if (r.Bits[0] == 0) return;
        if (is_high_profile && (Mb.pGlobal->MbFlags & MBFLAG_TRANSFORM8x8))
            kernels::g_Kernels.AddResidualLuma8x8(r.As<Coeffs>(), LumaOf(Picture, Mb), Picture.PitchLuma, r.Bits[0]);
        else
            kernels::g_Kernels.AddResidualLuma4x4(r.As<Coeffs>(), LumaOf(Picture, Mb), Picture.PitchLuma, r.Bits[0]);
    }

    static void AddChroma(const PictureView& Picture, const MbState& Mb, MbResidual& r)
    {
        const ptrdiff_t Offset = Mb.Y * 8 * Picture.PitchChroma + Mb.X * 8;
        for (int Plane = 1; Plane < 3; ++Plane)
            if (r.Bits[Plane])
                kernels::g_Kernels.AddResidualChroma(r.As<Coeffs>() + 256 + (Plane - 1) * 64,
                                                     Picture.pPlane[Plane] + Offset, Picture.PitchChroma,
                                                     r.Bits[Plane]);
    }

    static void CopyPcm(const PictureView& Picture, const MbState& Mb, MbResidual& r)
    {
        const PlaneY* pSamples = r.As<PlaneY>();
        uint8_t* pDst = LumaOf(Picture, Mb);
        for (int y = 0; y < 16; ++y, pSamples += 16, pDst += Picture.PitchLuma) std::memcpy(pDst, pSamples, 16);
        if constexpr (kHasChroma)
            for (int Plane = 1; Plane < 3; ++Plane) {
                pDst = Picture.pPlane[Plane] + Mb.Y * 8 * Picture.PitchChroma + Mb.X * 8;
                for (int y = 0; y < 8; ++y, pSamples += 8, pDst += Picture.PitchChroma) std::memcpy(pDst, pSamples, 8);
            }
        std::memset(r.Coefficients, 0, 256 + (kHasChroma ? 128 : 0)); // the next macroblock expects no coefficients
    }
};

} // namespace UMC
