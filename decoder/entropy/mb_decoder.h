// Entropy decoding of one macroblock: from the bits to the records that reconstruction, deblocking, neighbours and
// later pictures read (clause 7.3.5). Residuals are scaled on the way.
#pragma once

#include "Common/h264/block_order.h"
#include "decoder/entropy/mb_layer.h"
#include "decoder/entropy/mb_syntax.h"
#include "decoder/entropy/residual_cabac.h"
#include "decoder/entropy/residual_cavlc.h"
#include "decoder/entropy/residual_pcm.h"
#include "decoder/entropy/traced_syntax.h"
#include "decoder/picture/codec_traits.h"

#include <cstdint>
#include <type_traits>

namespace UMC {

// may_bypass: of sequences whose macroblocks of QP'Y 0 bypass the transform.
template <class Coeffs, class PlaneY, class PlaneUV, int color_format, bool is_field, bool is_high_profile,
          bool may_bypass = false>
class MBDecoder : protected ResidualDecoderCABAC<Coeffs, color_format, is_field>,
                  protected ResidualDecoderCAVLC<Coeffs, color_format, is_field>,
                  protected ResidualDecoderPCM<PlaneY, PlaneUV, color_format>
{
protected:
    // A pair of macroblocks of an MBAFF frame while it is decoded.
    struct PairState {
        bool IsField = false;
        bool IsSkipped = false;                            // the macroblock in hand
        bool LowerIsKnown = false, LowerIsSkipped = false; // read ahead
    };

    // One macroblock, which the cursor has gone to, of an I, P or B slice.
    //
    // These and the functions below that take EntropyParts are one conductor: they choose what comes next and hand the
    // parts on, nearly all of them, to functions that get what they read and write. Parts by themselves would be copied
    // to the next call for every macroblock. What the conductor writes is Entropy and the macroblock's records.
    template <SliceType kSlice>
    static void DecodeMbCAVLC(EntropyParts& c)
    {
        using Syntax = SyntaxOf<CavlcSyntax, false>;
        DecodeMb<Syntax, kSlice>(c, kSlice != SLICE_I && TakeSkipRun(c.Entropy));
    }
    template <SliceType kSlice>
    static void DecodeMbCABAC(EntropyParts& c)
    {
        using Syntax = SyntaxOf<CabacSyntax, false>;
        DecodeMb<Syntax, kSlice>(c, kSlice != SLICE_I && Syntax::SkipFlag(c.Entropy, c.Mb, kSlice == SLICE_B));
    }

    // Goes to the upper macroblock of the pair that CurrentMb and Place name. The pair's kind is read by then: its flag
    // stands in front of the first macroblock that is not skipped, which may be the lower one (clause 7.3.4).
    template <bool kCabac, SliceType kSlice>
    static PairState BeginPair(SliceCursor& c, MbPlace Place)
    {
        using Syntax = PairSyntax<kCabac>;
        const int32_t Upper = c.CurrentMb;
        c.FindPair(Upper, Place.X, Place.Y);
        const bool InfersField = c.Mb.Pairs.InfersField();
        PairState Pair{.IsField = InfersField};
        if constexpr (kSlice != SLICE_I) {
            if constexpr (kCabac) c.BeginMacroblock<true>(Upper, Place.X, Place.Y, Pair.IsField);
            Pair.IsSkipped = ReadSkip<Syntax, kSlice>(c);
        }
        if (!Pair.IsSkipped) {
            Pair.IsField = Syntax::FieldDecodingFlag(c.Entropy, c.Mb);
        } else if constexpr (kCabac) {
            c.Mb.pGlobal->MbFlags |= MBFLAG_SKIPPED; // the lower one's context may ask
            c.BeginMacroblock<true>(Upper + 1, Place.X, Place.Y + 1, Pair.IsField);
            Pair.LowerIsKnown = true;
            Pair.LowerIsSkipped = ReadSkip<Syntax, kSlice>(c);
            if (!Pair.LowerIsSkipped) Pair.IsField = Syntax::FieldDecodingFlag(c.Entropy, c.Mb);
        } else if (c.Entropy.MbSkipRun == 1) { // the run ends here
            Pair.IsField = Syntax::FieldDecodingFlag(c.Entropy, c.Mb);
        }
        const bool IsThere = kCabac && kSlice != SLICE_I && !Pair.IsSkipped && Pair.IsField == InfersField;
        if (!IsThere) c.BeginMacroblock<true>(Upper, Place.X, Place.Y, Pair.IsField);
        return Pair;
    }

    // Goes on to the lower macroblock, in Place.
    template <bool kCabac, SliceType kSlice>
    static void GoToLower(SliceCursor& c, MbPlace Place, PairState& Pair)
    {
        c.BeginMacroblock<true>(c.CurrentMb, Place.X, Place.Y, Pair.IsField);
        if constexpr (kSlice != SLICE_I)
            Pair.IsSkipped = Pair.LowerIsKnown ? Pair.LowerIsSkipped : ReadSkip<PairSyntax<kCabac>, kSlice>(c);
    }

    // The macroblock that one of these has gone to.
    template <bool kCabac, SliceType kSlice>
    static void DecodeInPair(EntropyParts& c, const PairState& Pair)
    {
        DecodeMb<PairSyntax<kCabac>, kSlice>(c, Pair.IsSkipped);
    }

private:
    template <bool kCabac>
    using PairSyntax = SyntaxOf<std::conditional_t<kCabac, CabacSyntax, CavlcSyntax>, true>;

    template <class Syntax, SliceType kSlice>
    static bool ReadSkip(EntropyParts& c)
    {
        if constexpr (Syntax::kCabac) return Syntax::SkipFlag(c.Entropy, c.Mb, kSlice == SLICE_B);
        return TakeSkipRun(c.Entropy);
    }

    template <class Syntax, SliceType kSlice>
    [[gnu::always_inline]] static void DecodeMb(EntropyParts& c, bool IsSkipped)
    {
        if (kSlice != SLICE_I && IsSkipped)
            SkipMacroblock<Syntax, kSlice>(c.Slice, c.Mb, c.Entropy, c.Motion, c.Counts);
        else
            CodedMacroblock<Syntax, kSlice>(c);
        if constexpr (Syntax::kCabac) {
            if (c.Entropy.Cabac.Overrun()) throw h264_exception(StatusInvalidParams);
        } else {
            if (c.Entropy.Bits.Overrun()) throw h264_exception(StatusInvalidParams);
        }
    }

    using Cabac = ResidualDecoderCABAC<Coeffs, color_format, is_field>;
    using Cavlc = ResidualDecoderCAVLC<Coeffs, color_format, is_field>;
    template <class Syntax>
    using PlainResidual = std::conditional_t<Syntax::kCabac, typename Cabac::template CabacResidual<Syntax::kMbaff>,
                                             typename Cavlc::template CavlcResidual<Syntax::kMbaff>>;
    template <class Syntax>
    using Residual =
        std::conditional_t<h264::trace::kIsBuilt, TracedResidual<PlainResidual<Syntax>>, PlainResidual<Syntax>>;

    using Traits = CodecTraits<PlaneY>;
    static_assert(std::is_same_v<Coeffs, typename Traits::Coeffs>);
    static constexpr int kChromaBlocks = h264::kChromaGeometry[color_format].Blocks; // of one plane
    static constexpr bool kHasChroma = kChromaBlocks > 0;
    static constexpr int kChromaCoeffs = kChromaBlocks * 16;

    // A run of 1 or more makes this macroblock a skipped one. When the last of the run was taken the next macroblock is
    // coded and reads no run of its own.
    static bool TakeSkipRun(EntropyState& e)
    {
        if (e.MbSkipRun == 0)
            e.MbSkipRun = static_cast<int32_t>(std::min(e.Bits.GetUE(), 0x7FFFFFFFu));
        else
            --e.MbSkipRun;
        h264::trace::Element("mb_skip_flag", e.MbSkipRun > 0); // as the other coding has it
        return e.MbSkipRun > 0;
    }

    template <class Syntax, SliceType kSlice>
    static void SkipMacroblock(const SliceView& s, const MbState& Mb, EntropyState& e, MotionState& Motion,
                               const CountCache& Counts)
    {
        if constexpr (kSlice == SLICE_B)
            SkipMotionB<Syntax::kMbaff>(s, Mb, Motion);
        else
            SkipMotionP<Syntax::kMbaff>(s, Mb, Motion);
        if constexpr (Syntax::kCabac) ClearMvd<kSlice>(s, Mb);
        Residual<Syntax>::StoreCounts(s, Mb, Counts, false, false);
        e.PrevDeltaQp = 0;
    }

    template <class Syntax, SliceType kSlice>
    static void CodedMacroblock(EntropyParts& c)
    {
        uint32_t Type;
        if constexpr (kSlice == SLICE_I) {
            Type = Syntax::MbTypeI(c.Entropy, c.Mb);
        } else if constexpr (kSlice == SLICE_P) {
            Type = Syntax::MbTypeP(c.Entropy);
            if (Type < h264::kFirstIntraTypeP) return InterMacroblock<Syntax, kSlice>(c, Type);
            Type -= h264::kFirstIntraTypeP;
        } else {
            Type = Syntax::MbTypeB(c.Entropy, c.Mb);
            if (Type < h264::kFirstIntraTypeB) return InterMacroblock<Syntax, kSlice>(c, Type);
            Type -= h264::kFirstIntraTypeB;
        }
        if constexpr (kSlice != SLICE_I) {
            ClearMotion(c.Slice.Records, c.Mb.Number, kSlice == SLICE_B);
            if constexpr (Syntax::kCabac) ClearMvd<kSlice>(c.Slice, c.Mb);
        }
        IntraMacroblock<Syntax>(c, Type);
    }

    template <SliceType kSlice>
    static void ClearMvd(const SliceView& s, const MbState& Mb)
    {
        s.Local.pMvd[0][Mb.Number] = MbMvd{};
        if (kSlice == SLICE_B) s.Local.pMvd[1][Mb.Number] = MbMvd{};
    }

    template <class Syntax, SliceType kSlice>
    static void InterMacroblock(EntropyParts& c, uint32_t Type)
    {
        const bool Allows8x8 = ReadMotion<Syntax, kSlice>(c.Slice, c.Mb, c.Entropy, c.Motion, Type);
        MbGlobalInfo& Global = *c.Mb.pGlobal;
        MbLocalInfo& Local = *c.Mb.pLocal;
        Local.CodedBlockPattern = Syntax::CodedBlockPattern(c.Entropy, c.Mb, kHasChroma, false);
        if constexpr (is_high_profile)
            if (Allows8x8 && (Local.CodedBlockPattern & 15) && c.Slice.pPictureSet->transform_8x8_mode_flag &&
                Syntax::TransformSize8x8Flag(c.Entropy, c.Mb))
                Global.MbFlags |= MBFLAG_TRANSFORM8x8;
        if (Local.CodedBlockPattern) {
            ReadQp<Syntax>(c.Slice, c.Mb, c.Entropy);
            ReadResidual<Syntax>(c, false);
        } else {
            c.Entropy.PrevDeltaQp = 0;
            Residual<Syntax>::StoreCounts(c.Slice, c.Mb, c.Counts, false, false);
        }
    }

    template <class Syntax>
    static void IntraMacroblock(EntropyParts& c, uint32_t Type)
    {
        MbGlobalInfo& Global = *c.Mb.pGlobal;
        MbLocalInfo& Local = *c.Mb.pLocal;
        if (Type == h264::kIntraPcmType) return PcmMacroblock<Syntax>(c.Slice, c.Mb, c.Entropy, c.Coeffs);
        if (Type == h264::kIntraNxNType) {
            Global.MbType = MBTYPE_INTRA4x4;
            if constexpr (is_high_profile)
                if (c.Slice.pPictureSet->transform_8x8_mode_flag && Syntax::TransformSize8x8Flag(c.Entropy, c.Mb))
                    Global.MbFlags |= MBFLAG_TRANSFORM8x8;
            ReadIntraModes<Syntax>(c.Slice, c.Mb, c.Entropy);
        } else {
            Global.MbType = MBTYPE_INTRA16x16;
            Local.SubBlockDirection[0] = static_cast<uint8_t>((Type - 1) & 3);
        }
        if constexpr (kHasChroma) Local.SubBlockDirection[2] = Syntax::IntraChromaMode(c.Entropy, c.Mb);
        if (Type == 0)
            Local.CodedBlockPattern = Syntax::CodedBlockPattern(c.Entropy, c.Mb, kHasChroma, true);
        else
            Local.CodedBlockPattern = static_cast<uint8_t>((Type > 12 ? 15 : 0) | ((Type - 1) / 4 % 3) << 4);
        if (Type != 0 || Local.CodedBlockPattern) {
            ReadQp<Syntax>(c.Slice, c.Mb, c.Entropy);
            ReadResidual<Syntax>(c, Type != 0);
        } else {
            c.Entropy.PrevDeltaQp = 0;
            Residual<Syntax>::StoreCounts(c.Slice, c.Mb, c.Counts, false, false);
        }
    }

    template <class Syntax>
    static void PcmMacroblock(const SliceView& s, const MbState& Mb, EntropyState& e, MbResidual& r)
    {
        if constexpr (Syntax::kCabac) e.Bits.SetBitPosition(e.Cabac.BitsDecoded());
        ResidualDecoderPCM<PlaneY, PlaneUV, color_format>::ReadPcm(e.Bits, s.LumaDepth<PlaneY>(),
                                                                   s.ChromaDepth<PlaneUV>(), r);
        if constexpr (Syntax::kCabac) e.Cabac.Start(e.Bits);
        MbLocalInfo& Local = *Mb.pLocal;
        Mb.pGlobal->MbType = MBTYPE_PCM;
        Local.CodedBlockBits = 0x1FFFF;
        Local.CodedBlockBitsChroma[0] = Local.CodedBlockBitsChroma[1] = 0x1FFFF;
        Local.CodedBlockPattern = 0x2F;
        // QP'Y of 0 is what deblocking takes for it (clause 8.7.2.2); the QP carried on stays.
        Local.Qp = static_cast<int8_t>(-6 * (s.LumaDepth<PlaneY>() - 8));
        std::memset(s.Local.pCoeffCounts + Mb.Number * kCountsPerMb, 16, kCountsPerMb);
        e.PrevDeltaQp = 0;
    }

    // Adds mb_qp_delta to the running QP (equation 7-37).
    template <class Syntax>
    static void ReadQp(const SliceView& s, const MbState& Mb, EntropyState& e)
    {
        const int Delta = Syntax::DeltaQp(e), Offset = 6 * (s.LumaDepth<PlaneY>() - 8);
        if (Delta < -(26 + Offset / 2) || Delta > 25 + Offset / 2) throw h264_exception(StatusInvalidParams);
        e.PrevDeltaQp = Delta;
        e.QpLuma = (e.QpLuma + Delta + 52 + 2 * Offset) % (52 + Offset) - Offset;
        Mb.pLocal->Qp = static_cast<int8_t>(e.QpLuma);
    }

    template <class Syntax>
    static void ReadResidual(EntropyParts& c, bool Is16x16)
    {
        const uint32_t Pattern = c.Mb.pLocal->CodedBlockPattern;
        if (Is16x16)
            ReadLuma16x16<Syntax>(c.Slice, c.Mb, c.Entropy, c.Counts, c.Coeffs, Pattern & 15);
        else if (Pattern & 15)
            ReadLuma<Syntax>(c.Slice, c.Mb, c.Entropy, c.Counts, c.Coeffs, Pattern & 15);
        if constexpr (kChromaBlocks > 0)
            if (Pattern >> 4) ReadChroma<Syntax>(c.Slice, c.Mb, c.Entropy, c.Counts, c.Coeffs, Pattern >> 4 == 2);
        Residual<Syntax>::StoreCounts(c.Slice, c.Mb, c.Counts, (Pattern & 15) != 0, Pattern >> 4 == 2);
    }

    static bool Bypasses(const SliceView& s, int QpLuma)
    {
        if constexpr (may_bypass) return s.BypassesTransform(QpLuma);
        return false;
    }

    // Scaling of luma blocks at the QP in use; of 8x8 blocks with Is8x8.
    static Dequant LumaScale(const SliceView& s, int QpLuma, bool Intra, bool Is8x8)
    {
        if (Bypasses(s, QpLuma)) return {Is8x8 ? kLevelsAsTheyAre.Of8x8 : kLevelsAsTheyAre.Of4x4, 0};
        const auto Qp = static_cast<uint32_t>(QpLuma + 6 * (s.LumaDepth<PlaneY>() - 8));
        const H264LevelScale& Scale = s.pPictureSet->level_scale;
        return {Is8x8 ? Scale.Scale8x8[Intra ? 0 : 1][Qp % 6] : Scale.Scale4x4[Intra ? 0 : 3][Qp % 6], Qp / 6};
    }

    template <class Syntax>
    static void ReadLuma16x16(const SliceView& s, const MbState& Mb, EntropyState& e, CountCache& Counts, MbResidual& r,
                              bool HasAc)
    {
        alignas(16) Coeffs Levels[16] = {};
        Coeffs* const pCoeffs = r.As<Coeffs>();
        const Dequant Scale = LumaScale(s, e.QpLuma, true, false);
        uint32_t Bits = 0, DcFlag = 0;
        Residual<Syntax>::LoadLuma(s, Mb, Counts);
        const bool HasDc = Residual<Syntax>::LumaDc(e, Mb, Counts, Levels);
        if (HasAc)
            for (int i = 0; i < 16; ++i)
                Bits |= uint32_t{Residual<Syntax>::LumaAc(e, Mb, Counts, i, Scale, pCoeffs + i * 16)} << i;
        Mb.pLocal->CodedBlockBits = h264::SwapBlockOrder(Bits);
        if (HasDc) {
            DcFlag = 1u << 16;
            if (Bypasses(s, e.QpLuma))
                BypassTraits<PlaneY>::InverseLumaDc(Levels, 0, 0, pCoeffs);
            else
                Traits::InverseLumaDc(Levels, Scale.pScale[0], static_cast<int>(Scale.Per), pCoeffs);
            for (int i = 0; i < 16; ++i) Bits |= uint32_t{pCoeffs[i * 16] != 0} << i;
        }
        Mb.pLocal->CodedBlockBits |= DcFlag;
        r.Bits[0] = Bits;
    }

    template <class Syntax>
    static void ReadLuma(const SliceView& s, const MbState& Mb, EntropyState& e, CountCache& Counts, MbResidual& r,
                         uint32_t Pattern)
    {
        const bool Intra = IsIntra(*Mb.pGlobal);
        const bool Is8x8 = is_high_profile && (Mb.pGlobal->MbFlags & MBFLAG_TRANSFORM8x8) != 0;
        Coeffs* const pCoeffs = r.As<Coeffs>();
        const Dequant Scale = LumaScale(s, e.QpLuma, Intra, Is8x8);
        uint32_t Bits = 0;
        Residual<Syntax>::LoadLuma(s, Mb, Counts);
        if (Is8x8) {
            for (int q = 0; q < 4; ++q)
                if (Pattern >> q & 1)
                    Bits |= (Residual<Syntax>::Luma8x8(e, Mb, Counts, q, Scale, pCoeffs + q * 64) ? 15u : 0u)
                            << (q * 4);
        } else {
            for (int q = 0; q < 4; ++q) {
                if (!(Pattern >> q & 1)) continue;
                for (int i = q * 4; i < q * 4 + 4; ++i)
                    Bits |= uint32_t{Residual<Syntax>::Luma4x4(e, Mb, Counts, i, Scale, pCoeffs + i * 16)} << i;
            }
        }
        r.Bits[0] = Bits;
        Mb.pLocal->CodedBlockBits = h264::SwapBlockOrder(Bits);
    }

    template <class Syntax>
    static void ReadChroma(const SliceView& s, const MbState& Mb, EntropyState& e, CountCache& Counts, MbResidual& r,
                           bool HasAc)
    {
        MbLocalInfo& Local = *Mb.pLocal;
        const int List = IsIntra(*Mb.pGlobal) ? 1 : 4;
        Dequant Scale[2];
        Coeffs* const pCoeffs = r.As<Coeffs>() + 256;
        for (int Plane = 0; Plane < 2; ++Plane) {
            const uint32_t Qp = s.ChromaQp[Plane].ByQp[e.QpLuma + kQpBias];
            const auto& LevelScale = s.pPictureSet->level_scale.Scale4x4[List + Plane];
            Scale[Plane] = {LevelScale[Qp % 6], Qp / 6};
            if (Bypasses(s, e.QpLuma)) Scale[Plane] = {kLevelsAsTheyAre.Of4x4, 0};
            alignas(16) Coeffs Levels[kChromaBlocks > 8 ? 16 : 8] = {};
            if (!Residual<Syntax>::ChromaDc(e, Mb, Plane, Levels)) continue;
            Local.CodedBlockBitsChroma[Plane] = 1;
            if (Bypasses(s, e.QpLuma)) {
                BypassTraits<PlaneY>::template InverseChromaDc<color_format>(Levels, 0, 0,
                                                                             pCoeffs + Plane * kChromaCoeffs);
                continue;
            }
            const uint32_t DcQp = Qp + (color_format == h264::CHROMA_422 ? 3 : 0); // clause 8.5.11.2
            Traits::template InverseChromaDc<color_format>(Levels, LevelScale[DcQp % 6][0], static_cast<int>(DcQp / 6),
                                                           pCoeffs + Plane * kChromaCoeffs);
        }
        if (HasAc) Residual<Syntax>::LoadChroma(s, Mb, Counts);
        for (int Plane = 0; Plane < 2; ++Plane) {
            Coeffs* const pPlane = pCoeffs + Plane * kChromaCoeffs;
            uint32_t Bits = 0;
            if (HasAc)
                for (int i = 0; i < kChromaBlocks; ++i)
                    Bits |= uint32_t{Residual<Syntax>::ChromaAc(e, Mb, Counts, Plane, i, Scale[Plane], pPlane + i * 16)}
                            << i;
            Local.CodedBlockBitsChroma[Plane] |= (color_format == h264::CHROMA_444 ? h264::SwapBlockOrder(Bits) : Bits)
                                                 << 1;
            if (Local.CodedBlockBitsChroma[Plane] & 1)
                for (int i = 0; i < kChromaBlocks; ++i) Bits |= uint32_t{pPlane[i * 16] != 0} << i;
            r.Bits[1 + Plane] = Bits;
        }
    }
};

} // namespace UMC
