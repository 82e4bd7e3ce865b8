// From the records and coefficients of a macroblock to its samples: prediction (clauses 8.3, 8.4.2) and residual (8.5),
// for samples of either type and every chroma format.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "decoder/macroblock/inter_prediction.h"
#include "decoder/macroblock/intra_prediction.h"
#include "decoder/picture/codec_traits.h"

#include <cstdint>
#include <cstring>

namespace UMC {

// may_bypass: of sequences whose macroblocks of QP'Y 0 bypass the transform.
template <class PlaneY, int color_format, bool is_high_profile, bool may_bypass = false>
class MBReconstructor
{
protected:
    // The macroblock in hand, of a P or B slice. Throws h264_exception for an intra mode whose neighbours are missing.
    template <bool kMbaff = false>
    static void ReconstructInter(const SliceView& s, const MbState& Mb, MbResidual& Coefficients,
                                 PredictionScratch& Scratch)
    {
        if (IsIntra(*Mb.pGlobal)) return ReconstructIntra<kMbaff>(s, Mb, Coefficients);
        PredictInter<PlaneY, color_format, kMbaff>(s, Mb, Scratch);
        if constexpr (may_bypass)
            if (s.BypassesTransform(Mb.pLocal->Qp)) return AddAll<kMbaff, BypassTraits<PlaneY>>(s, Mb, Coefficients);
        AddAll<kMbaff, CodecTraits<PlaneY>>(s, Mb, Coefficients);
    }

    // Of an I slice, or an intra macroblock of another.
    template <bool kMbaff = false>
    static void ReconstructIntra(const SliceView& s, const MbState& Mb, MbResidual& Coefficients)
    {
        if constexpr (may_bypass)
            if (s.BypassesTransform(Mb.pLocal->Qp)) return IntraBy<kMbaff, BypassTraits<PlaneY>>(s, Mb, Coefficients);
        IntraBy<kMbaff, CodecTraits<PlaneY>>(s, Mb, Coefficients);
    }

private:
    using Coeffs = typename CodecTraits<PlaneY>::Coeffs;
    static constexpr h264::ChromaGeometry kChroma = h264::kChromaGeometry[color_format];
    static constexpr bool kHasChroma = kChroma.Blocks > 0;

    template <bool kMbaff, class Traits>
    static void IntraBy(const SliceView& s, const MbState& Mb, MbResidual& Coefficients)
    {
        switch (Mb.pGlobal->MbType) {
        case MBTYPE_PCM: return CopyPcm<kMbaff>(s, Mb, Coefficients);
        case MBTYPE_INTRA16x16:
            PredictIntra16x16<PlaneY, kMbaff>(s, Mb);
            AddLuma<kMbaff, Traits>(s, Mb, Coefficients);
            break;
        default:
            if (is_high_profile && (Mb.pGlobal->MbFlags & MBFLAG_TRANSFORM8x8))
                ReconstructIntra8x8<PlaneY, kMbaff, Traits>(s, Mb, Coefficients);
            else
                ReconstructIntra4x4<PlaneY, kMbaff, Traits>(s, Mb, Coefficients);
        }
        if constexpr (kHasChroma) {
            PredictIntraChroma<PlaneY, color_format, kMbaff>(s, Mb);
            AddChroma<kMbaff, Traits>(s, Mb, Coefficients);
        }
    }

    // Of the lower area of 8x8 samples too, where there is one.
    template <bool kMbaff>
    static PlaneY* ChromaOf(const PictureView& Picture, const MbState& Mb, int Plane, int Area = 0)
    {
        return SampleAt<PlaneY>(Picture.pPlane[Plane], Picture.PitchChroma, Mb.X * kChroma.MbWidth,
                                RowOf<kMbaff>(Mb) * kChroma.MbHeight + Area * 8);
    }

    template <bool kMbaff, class Traits>
    static void AddAll(const SliceView& s, const MbState& Mb, MbResidual& r)
    {
        AddLuma<kMbaff, Traits>(s, Mb, r);
        if constexpr (kHasChroma) AddChroma<kMbaff, Traits>(s, Mb, r);
    }

    template <bool kMbaff, class Traits>
    static void AddLuma(const SliceView& s, const MbState& Mb, MbResidual& r)
    {
        if (r.Bits[0] == 0) return;
        const PictureView& Picture = PictureOf<kMbaff>(s, Mb);
        PlaneY* const pLuma = Picture.LumaOf<PlaneY>(Mb.X, RowOf<kMbaff>(Mb));
        if (is_high_profile && (Mb.pGlobal->MbFlags & MBFLAG_TRANSFORM8x8))
            Traits::AddLuma8x8(r.As<Coeffs>(), pLuma, Picture.PitchLuma, r.Bits[0], s.LumaDepth<PlaneY>());
        else
            Traits::AddLuma4x4(r.As<Coeffs>(), pLuma, Picture.PitchLuma, r.Bits[0], s.LumaDepth<PlaneY>());
    }

    template <bool kMbaff, class Traits>
    static void AddChroma(const SliceView& s, const MbState& Mb, MbResidual& r)
    {
        const PictureView& Picture = PictureOf<kMbaff>(s, Mb);
        if constexpr (color_format == h264::CHROMA_444) {
            for (int Plane = 1; Plane < 3; ++Plane)
                if (r.Bits[Plane] != 0)
                    Traits::AddLuma4x4(r.As<Coeffs>() + Plane * 256, ChromaOf<kMbaff>(Picture, Mb, Plane),
                                       Picture.PitchChroma, r.Bits[Plane], s.ChromaDepth<PlaneY>());
            return;
        }
        for (int Plane = 1; Plane < 3; ++Plane)
            for (int Area = 0; Area < kChroma.Blocks / 4; ++Area)
                if (const uint32_t Bits = kChroma.Blocks == 4 ? r.Bits[Plane] : r.Bits[Plane] >> (Area * 4) & 15)
                    Traits::AddChroma(r.As<Coeffs>() + 256 + ((Plane - 1) * kChroma.Blocks + Area * 4) * 16,
                                      ChromaOf<kMbaff>(Picture, Mb, Plane, Area), Picture.PitchChroma, Bits,
                                      s.ChromaDepth<PlaneY>());
    }

    // Copies Width x Height samples and returns what follows them.
    static const PlaneY* CopyRows(const PlaneY* pSamples, int Width, int Height, PlaneY* p, ptrdiff_t Step)
    {
        auto* pDst = reinterpret_cast<uint8_t*>(p);
        for (int y = 0; y < Height; ++y, pSamples += Width, pDst += Step)
            std::memcpy(pDst, pSamples, static_cast<size_t>(Width) * sizeof(PlaneY));
        return pSamples;
    }

    template <bool kMbaff>
    static void CopyPcm(const SliceView& s, const MbState& Mb, MbResidual& r)
    {
        const PictureView& Picture = PictureOf<kMbaff>(s, Mb);
        const PlaneY* pSamples =
            CopyRows(r.As<PlaneY>(), 16, 16, Picture.LumaOf<PlaneY>(Mb.X, RowOf<kMbaff>(Mb)), Picture.PitchLuma);
        if constexpr (kHasChroma)
            for (int Plane = 1; Plane < 3; ++Plane)
                pSamples = CopyRows(pSamples, kChroma.MbWidth, kChroma.MbHeight, ChromaOf<kMbaff>(Picture, Mb, Plane),
                                    Picture.PitchChroma);
        // The next macroblock expects no coefficients.
        std::memset(r.Coefficients, 0, static_cast<size_t>(256 + 32 * kChroma.Blocks) * sizeof(PlaneY));
    }
};

} // namespace UMC
