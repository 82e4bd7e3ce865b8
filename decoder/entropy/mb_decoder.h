// Entropy decoding of one macroblock: from the bits to the records that reconstruction, deblocking, neighbours and
// later pictures read (clause 7.3.5). Residuals are scaled on the way.
#pragma once

#include "Common/h264/block_order.h"
#include "decoder/entropy/mb_layer.h"
#include "decoder/entropy/mb_syntax.h"
#include "decoder/entropy/residual_cabac.h"
#include "decoder/entropy/residual_cavlc.h"
#include "decoder/entropy/residual_pcm.h"
#include "kernels/dispatch/kernels.h"

#include <cstdint>

namespace UMC {

template <class Coeffs, class PlaneY, class PlaneUV, int color_format, bool is_field, bool is_high_profile>
class MBDecoder : protected ResidualDecoderCABAC<Coeffs, color_format, is_field>,
                  protected ResidualDecoderCAVLC<Coeffs, color_format, is_field>,
                  protected ResidualDecoderPCM<Coeffs, PlaneY, PlaneUV, color_format, is_field>
{
protected:
    // One macroblock, which BeginMacroblock has set up, of an I, P or B slice.
    template <SliceType kSlice>
    static void DecodeMbCAVLC(H264SegmentDecoder& d)
    {
        if (kSlice != I_SLICE && TakeSkipRun(d))
            SkipMacroblock<CavlcSyntax, kSlice>(d);
        else
            CodedMacroblock<CavlcSyntax, kSlice>(d);
        if (d.m_pBitstream->Overrun()) throw h264_exception(StatusInvalidParams);
    }
    template <SliceType kSlice>
    static void DecodeMbCABAC(H264SegmentDecoder& d)
    {
        if (kSlice != I_SLICE && CabacSyntax::SkipFlag(d))
            SkipMacroblock<CabacSyntax, kSlice>(d);
        else
            CodedMacroblock<CabacSyntax, kSlice>(d);
        if (d.m_Cabac.Overrun()) throw h264_exception(StatusInvalidParams);
    }

private:
    using Cabac = ResidualDecoderCABAC<Coeffs, color_format, is_field>;
    using Cavlc = ResidualDecoderCAVLC<Coeffs, color_format, is_field>;
    template <class Syntax>
    using Residual = std::conditional_t<Syntax::kCabac, typename Cabac::CabacResidual, typename Cavlc::CavlcResidual>;

    static constexpr int kChromaBlocks = color_format == 0 ? 0 : color_format == 1 ? 4 : 8; // of one plane
    static constexpr int kChromaCoeffs = kChromaBlocks * 16;

    // A run of 1 or more makes this macroblock a skipped one. When the last of the run was taken the next macroblock is
    // coded and reads no run of its own.
    static bool TakeSkipRun(H264SegmentDecoder& d)
    {
        if (d.m_MbSkipRun == 0)
            d.m_MbSkipRun = static_cast<int32_t>(std::min(d.m_pBitstream->GetUE(), 0x7FFFFFFFu));
        else
            --d.m_MbSkipRun;
        return d.m_MbSkipRun > 0;
    }

    template <class Syntax, SliceType kSlice>
    static void SkipMacroblock(H264SegmentDecoder& d)
    {
        if constexpr (kSlice == B_SLICE)
            SkipMotionB(d);
        else
            SkipMotionP(d);
        if constexpr (Syntax::kCabac) ClearMvd<kSlice>(d);
        Residual<Syntax>::StoreCounts(d, false, false);
        d.m_PrevDeltaQp = 0;
    }

    template <class Syntax, SliceType kSlice>
    static void CodedMacroblock(H264SegmentDecoder& d)
    {
        uint32_t Type;
        if constexpr (kSlice == I_SLICE) {
            Type = Syntax::MbTypeI(d);
        } else if constexpr (kSlice == P_SLICE) {
            Type = Syntax::MbTypeP(d);
            if (Type < kFirstIntraTypeP) return InterMacroblock<Syntax, kSlice>(d, Type);
            Type -= kFirstIntraTypeP;
        } else {
            Type = Syntax::MbTypeB(d);
            if (Type < kFirstIntraTypeB) return InterMacroblock<Syntax, kSlice>(d, Type);
            Type -= kFirstIntraTypeB;
        }
        if constexpr (kSlice != I_SLICE) {
            ClearMotion(d, kSlice == B_SLICE);
            if constexpr (Syntax::kCabac) ClearMvd<kSlice>(d);
        }
        IntraMacroblock<Syntax>(d, Type);
    }

    template <SliceType kSlice>
    static void ClearMvd(H264SegmentDecoder& d)
    {
        d.m_Local.m_pMvd[0][d.m_Mb.m_Mb] = MbMvd{};
        if (kSlice == B_SLICE) d.m_Local.m_pMvd[1][d.m_Mb.m_Mb] = MbMvd{};
    }

    template <class Syntax, SliceType kSlice>
    static void InterMacroblock(H264SegmentDecoder& d, uint32_t Type)
    {
        const bool Allows8x8 = ReadMotion<Syntax, kSlice>(d, Type);
        MbGlobalInfo& Global = *d.m_Mb.m_pGlobal;
        MbLocalInfo& Local = *d.m_Mb.m_pLocal;
        Local.CodedBlockPattern = Syntax::CodedBlockPattern(d, false);
        if constexpr (is_high_profile)
            if (Allows8x8 && (Local.CodedBlockPattern & 15) && d.m_pPicParamSet->transform_8x8_mode_flag &&
                Syntax::TransformSize8x8Flag(d))
                Global.MbFlags |= MBFLAG_TRANSFORM8x8;
        if (Local.CodedBlockPattern) {
            ReadQp<Syntax>(d);
            ReadResidual<Syntax>(d, false);
        } else {
            d.m_PrevDeltaQp = 0;
            Residual<Syntax>::StoreCounts(d, false, false);
        }
    }

    template <class Syntax>
    static void IntraMacroblock(H264SegmentDecoder& d, uint32_t Type)
    {
        MbGlobalInfo& Global = *d.m_Mb.m_pGlobal;
        MbLocalInfo& Local = *d.m_Mb.m_pLocal;
        if (Type == kIntraPcmType) return PcmMacroblock<Syntax>(d);
        if (Type == 0) {
            Global.MbType = MBTYPE_INTRA4x4;
            if constexpr (is_high_profile)
                if (d.m_pPicParamSet->transform_8x8_mode_flag && Syntax::TransformSize8x8Flag(d))
                    Global.MbFlags |= MBFLAG_TRANSFORM8x8;
            ReadIntraModes<Syntax>(d);
        } else {
            Global.MbType = MBTYPE_INTRA16x16;
            Local.SubBlockDirection[0] = static_cast<uint8_t>((Type - 1) & 3);
        }
        if constexpr (color_format == 1 || color_format == 2) Local.SubBlockDirection[2] = Syntax::IntraChromaMode(d);
        if (Type == 0)
            Local.CodedBlockPattern = Syntax::CodedBlockPattern(d, true);
        else
            Local.CodedBlockPattern = static_cast<uint8_t>((Type > 12 ? 15 : 0) | ((Type - 1) / 4 % 3) << 4);
        if (Type != 0 || Local.CodedBlockPattern) {
            ReadQp<Syntax>(d);
            ReadResidual<Syntax>(d, Type != 0);
        } else {
            d.m_PrevDeltaQp = 0;
            Residual<Syntax>::StoreCounts(d, false, false);
        }
    }

    template <class Syntax>
    static void PcmMacroblock(H264SegmentDecoder& d)
    {
        if constexpr (Syntax::kCabac) d.m_pBitstream->SetBitPosition(d.m_Cabac.BitsDecoded());
        ResidualDecoderPCM<Coeffs, PlaneY, PlaneUV, color_format, is_field>::ReadPcm(d);
        if constexpr (Syntax::kCabac) d.m_Cabac.Start(*d.m_pBitstream);
        MbLocalInfo& Local = *d.m_Mb.m_pLocal;
        d.m_Mb.m_pGlobal->MbType = MBTYPE_PCM;
        Local.CodedBlockBits = 0x1FFFF;
        Local.CodedBlockBitsChroma[0] = Local.CodedBlockBitsChroma[1] = 0x1FFFF;
        Local.CodedBlockPattern = 0x2F;
        Local.Qp = 0; // what deblocking takes for it (clause 8.7.2.2); the QP carried on stays
        std::memset(d.m_Local.m_pCoeffCounts + d.m_Mb.m_Mb * kCountsPerMb, 16, kCountsPerMb);
        d.m_PrevDeltaQp = 0;
    }

    template <class Syntax>
    static void ReadQp(H264SegmentDecoder& d)
    {
        SetQp(d, Syntax::DeltaQp(d));
    }

    template <class Syntax>
    static void ReadResidual(H264SegmentDecoder& d, bool Is16x16)
    {
        const uint32_t Pattern = d.m_Mb.m_pLocal->CodedBlockPattern;
        if (Is16x16)
            ReadLuma16x16<Syntax>(d, Pattern & 15);
        else if (Pattern & 15)
            ReadLuma<Syntax>(d, Pattern & 15);
        if constexpr (kChromaBlocks > 0)
            if (Pattern >> 4) ReadChroma<Syntax>(d, Pattern >> 4 == 2);
        Residual<Syntax>::StoreCounts(d, (Pattern & 15) != 0, Pattern >> 4 == 2);
    }

    static Coeffs* CoefficientsOf(H264SegmentDecoder& d) { return reinterpret_cast<Coeffs*>(d.m_Coefficients); }

    static Dequant LumaScale(const H264SegmentDecoder& d, bool Intra)
    {
        const auto Qp = static_cast<uint32_t>(d.m_QpLuma + 6 * (d.m_BitDepthLuma - 8));
        return {d.m_pPicParamSet->level_scale.Scale4x4[Intra ? 0 : 3][Qp % 6], Qp / 6};
    }

    template <class Syntax>
    static void ReadLuma16x16(H264SegmentDecoder& d, bool HasAc)
    {
        alignas(16) Coeffs Levels[16] = {};
        Coeffs* const pCoeffs = CoefficientsOf(d);
        const Dequant Scale = LumaScale(d, true);
        uint32_t Bits = 0, DcFlag = 0;
        Residual<Syntax>::LoadLuma(d);
        const bool HasDc = Residual<Syntax>::LumaDc(d, Levels);
        if (HasAc)
            for (int i = 0; i < 16; ++i) Bits |= uint32_t{Residual<Syntax>::LumaAc(d, i, Scale, pCoeffs + i * 16)} << i;
        d.m_Mb.m_pLocal->CodedBlockBits = h264::SwapBlockOrder(Bits);
        if (HasDc) {
            DcFlag = 1u << 16;
            kernels::g_Kernels.InverseLumaDc(Levels, Scale.pScale[0], static_cast<int>(Scale.Per), pCoeffs);
            for (int i = 0; i < 16; ++i) Bits |= uint32_t{pCoeffs[i * 16] != 0} << i;
        }
        d.m_Mb.m_pLocal->CodedBlockBits |= DcFlag;
        d.m_ResidualBits[0] = Bits;
    }

    template <class Syntax>
    static void ReadLuma(H264SegmentDecoder& d, uint32_t Pattern)
    {
        const bool Intra = IsIntra(*d.m_Mb.m_pGlobal);
        Coeffs* const pCoeffs = CoefficientsOf(d);
        Dequant Scale = LumaScale(d, Intra);
        uint32_t Bits = 0;
        Residual<Syntax>::LoadLuma(d);
        if (is_high_profile && (d.m_Mb.m_pGlobal->MbFlags & MBFLAG_TRANSFORM8x8)) {
            const auto Qp = static_cast<uint32_t>(d.m_QpLuma + 6 * (d.m_BitDepthLuma - 8));
            Scale.pScale = d.m_pPicParamSet->level_scale.Scale8x8[Intra ? 0 : 1][Qp % 6];
            for (int q = 0; q < 4; ++q)
                if (Pattern >> q & 1)
                    Bits |= (Residual<Syntax>::Luma8x8(d, q, Scale, pCoeffs + q * 64) ? 15u : 0u) << (q * 4);
        } else {
            for (int q = 0; q < 4; ++q) {
                if (!(Pattern >> q & 1)) continue;
                for (int i = q * 4; i < q * 4 + 4; ++i)
                    Bits |= uint32_t{Residual<Syntax>::Luma4x4(d, i, Scale, pCoeffs + i * 16)} << i;
            }
        }
        d.m_ResidualBits[0] = Bits;
        d.m_Mb.m_pLocal->CodedBlockBits = h264::SwapBlockOrder(Bits);
    }

    template <class Syntax>
    static void ReadChroma(H264SegmentDecoder& d, bool HasAc)
    {
        MbLocalInfo& Local = *d.m_Mb.m_pLocal;
        const int List = IsIntra(*d.m_Mb.m_pGlobal) ? 1 : 4;
        Dequant Scale[2];
        Coeffs* const pCoeffs = CoefficientsOf(d) + 256;
        for (int Plane = 0; Plane < 2; ++Plane) {
            const uint32_t Qp = d.m_ChromaQp[Plane][d.m_QpLuma + kQpBias];
            Scale[Plane] = {d.m_pPicParamSet->level_scale.Scale4x4[List + Plane][Qp % 6], Qp / 6};
            alignas(16) Coeffs Levels[8] = {};
            if (!Residual<Syntax>::ChromaDc(d, Plane, Levels)) continue;
            Local.CodedBlockBitsChroma[Plane] = 1;
            kernels::g_Kernels.InverseChromaDc420(Levels, Scale[Plane].pScale[0], static_cast<int>(Scale[Plane].Per),
                                                  pCoeffs + Plane * kChromaCoeffs);
        }
        if (HasAc) Residual<Syntax>::LoadChroma(d);
        for (int Plane = 0; Plane < 2; ++Plane) {
            Coeffs* const pPlane = pCoeffs + Plane * kChromaCoeffs;
            uint32_t Bits = 0;
            if (HasAc)
                for (int i = 0; i < kChromaBlocks; ++i)
                    Bits |= uint32_t{Residual<Syntax>::ChromaAc(d, Plane, i, Scale[Plane], pPlane + i * 16)} << i;
            Local.CodedBlockBitsChroma[Plane] |= Bits << 1;
            if (Local.CodedBlockBitsChroma[Plane] & 1)
                for (int i = 0; i < kChromaBlocks; ++i) Bits |= uint32_t{pPlane[i * 16] != 0} << i;
            d.m_ResidualBits[1 + Plane] = Bits;
        }
    }
};

} // namespace UMC
