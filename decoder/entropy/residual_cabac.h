// Residual blocks in CABAC, clauses 7.3.5.3.3 and 9.3.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/trace/element_trace.h"
#include "decoder/entropy/dequant.h"
#include "decoder/slice/slice_cursor.h"

#include <algorithm>
#include <cstdint>

namespace UMC {

// Reads the significance map and the levels of blocks of one category whose coded_block_flag is 1.
// kChromaDcLevels: of a chroma DC block, 4, 8 or 16.
template <class Coeffs, h264::BlockCat kCat, int kChromaDcLevels = 4>
class CabacBlockReader
{
public:
    // Puts the block's coefficients to their raster places: scaled, or the bare levels of the DC categories, for which
    // the scale is not read. Chroma DC levels stand in scan order, but for those of 4:4:4. Field: the field contexts
    // and scan.
    static void Read(CabacDecoder& Cabac, bool Field, const uint8_t* pScan, Dequant Scale, Coeffs* pOut)
    {
        CabacEngine e = Cabac.m_Engine;
        uint8_t Position[kCount];
        const int Found = ReadMap(e, Cabac.m_Contexts.data(), Field, Position);
        h264::CabacContext* const pAbs = Cabac.m_Contexts.data() + h264::kBlockCatContexts[kCat].AbsLevel;
        int Bin0 = 1, Above1 = 0; // ctxIdxInc of the first bin; levels above 1 so far
        for (int i = Found - 1; i >= 0; --i) {
            uint32_t Magnitude = 1;
            if (e.Decide(pAbs[Bin0])) {
                Magnitude = ReadMagnitude(e, pAbs[5 + std::min(Above1, kCat == h264::CAT_CHROMA_DC ? 3 : 4)]);
                Bin0 = 0;
                ++Above1;
            } else if (Bin0 != 0 && Bin0 < 4) {
                ++Bin0;
            }
            const uint32_t Sign = e.BypassMask();
            Put(static_cast<int32_t>((Magnitude ^ Sign) - Sign), Position[i], pScan, Scale, pOut);
        }
        Cabac.m_Engine = e;
    }

private:
    static constexpr int kCount = kCat == h264::CAT_LUMA_8x8                                 ? 64
                                  : kCat == h264::CAT_CHROMA_DC                              ? kChromaDcLevels
                                  : kCat == h264::CAT_LUMA_AC || kCat == h264::CAT_CHROMA_AC ? 15
                                                                                             : 16;

    // ctxIdxInc of the significance of place i, and of its being the last (clause 9.3.3.1.3).
    static int SignificantInc(const uint8_t* pInc8x8, int i)
    {
        if constexpr (kCat == h264::CAT_LUMA_8x8) return pInc8x8[i];
        return PlaceInc(i);
    }
    static int LastInc(int i)
    {
        if constexpr (kCat == h264::CAT_LUMA_8x8) return h264::kLastCtx8x8[i];
        return PlaceInc(i);
    }
    static int PlaceInc(int i)
    {
        if constexpr (kCat == h264::CAT_CHROMA_DC) return std::min(i / (kChromaDcLevels / 4), 2);
        return i;
    }

    [[gnu::always_inline]] static int ReadMap(CabacEngine& e, h264::CabacContext* pContexts, bool Field,
                                              uint8_t* pPosition)
    {
        const h264::BlockCatContexts& Offsets = h264::kBlockCatContexts[kCat];
        h264::CabacContext* const pSignificant = pContexts + Offsets.Significant[Field];
        h264::CabacContext* const pLast = pContexts + Offsets.Last[Field];
        const uint8_t* const pInc8x8 = h264::kSignificantCtx8x8[Field];
        int Found = 0;
        for (int i = 0; i < kCount - 1; ++i) {
            if (!e.Decide(pSignificant[SignificantInc(pInc8x8, i)])) continue;
            pPosition[Found++] = static_cast<uint8_t>(i);
            if (e.Decide(pLast[LastInc(i)])) return Found;
        }
        pPosition[Found++] = kCount - 1;
        return Found;
    }

    // Bins behind a first bin of 1: ones up to a prefix of 14, then Exp-Golomb of order 0.
    [[gnu::always_inline]] static uint32_t ReadMagnitude(CabacEngine& e, h264::CabacContext& Context)
    {
        uint32_t Magnitude = 2;
        while (Magnitude < 15 && e.Decide(Context)) ++Magnitude;
        return Magnitude < 15 ? Magnitude : ReadEscape(e);
    }

    static uint32_t ReadEscape(CabacEngine& e)
    {
        uint32_t Magnitude = 15, k = 0;
        while (k < 24 && e.Bypass()) Magnitude += 1u << k++; // bounded for damaged data
        while (k--) Magnitude += e.Bypass() << k;
        return Magnitude;
    }

    [[gnu::always_inline]] static void Put(int32_t Level, uint32_t Position, const uint8_t* pScan, Dequant Scale,
                                           Coeffs* pOut)
    {
        h264::trace::Level(static_cast<int32_t>(Position), Level);
        if constexpr (kCat == h264::CAT_CHROMA_DC && kChromaDcLevels < 16) {
            pOut[Position] = static_cast<Coeffs>(Level);
        } else if constexpr (kCat == h264::CAT_LUMA_DC || kCat == h264::CAT_CHROMA_DC) {
            pOut[pScan[Position]] = static_cast<Coeffs>(Level);
        } else {
            // AC lists start at the second place of the scan.
            const uint32_t Place = pScan[Position + (kCount == 15)];
            pOut[Place] = kCat == h264::CAT_LUMA_8x8 ? Scale8x8<Coeffs>(Level, Scale.pScale[Place], Scale.Per)
                                                     : Scale4x4<Coeffs>(Level, Scale.pScale[Place], Scale.Per);
        }
    }
};

// Blocks with their coded_block_flag. The contexts of the flag come from the cache, which holds the flags around.
template <class Coeffs, int color_format, bool is_field>
class ResidualDecoderCABAC
{
protected:
    template <bool kMbaff>
    struct CabacResidual {
        static void LoadLuma(const SliceView& s, const MbState& Mb, CountCache& Counts);
        static void LoadChroma(const SliceView& s, const MbState& Mb, CountCache& Counts);
        static bool LumaDc(EntropyState& e, const MbState& Mb, const CountCache&, Coeffs* pLevels);
        static bool LumaAc(EntropyState& e, const MbState& Mb, CountCache& Counts, int Block, Dequant Scale,
                           Coeffs* pOut)
        {
            return Block4x4<h264::CAT_LUMA_AC>(e, Mb, Counts.NonZero[0] + kBlockCachePos[Block], Scale, pOut);
        }
        static bool Luma4x4(EntropyState& e, const MbState& Mb, CountCache& Counts, int Block, Dequant Scale,
                            Coeffs* pOut)
        {
            return Block4x4<h264::CAT_LUMA_4x4>(e, Mb, Counts.NonZero[0] + kBlockCachePos[Block], Scale, pOut);
        }
        static bool Luma8x8(EntropyState& e, const MbState& Mb, CountCache& Counts, int Quadrant, Dequant Scale,
                            Coeffs* pOut);
        static bool ChromaDc(EntropyState& e, const MbState& Mb, int Plane, Coeffs* pLevels);
        // Block as ChromaCachePos() counts.
        static bool ChromaAc(EntropyState& e, const MbState& Mb, CountCache& Counts, int Plane, int Block,
                             Dequant Scale, Coeffs* pOut)
        {
            uint8_t* const pFlag = Counts.NonZero[1 + Plane] + ChromaCachePos<color_format>(Block);
            return Block4x4<h264::CAT_CHROMA_AC>(e, Mb, pFlag, Scale, pOut);
        }
        // Nothing: the flags of the macroblock are its CodedBlockBits.
        static void StoreCounts(const SliceView&, const MbState&, const CountCache&, bool, bool) {}

    private:
        static bool IsField(const MbState& Mb) { return kMbaff ? IsFieldMb(Mb) : is_field; }
        [[gnu::always_inline]] static bool DecideFlag(EntropyState& e, h264::BlockCat Cat, uint32_t Inc)
        {
            return e.Cabac.m_Engine.Decide(e.Cabac.m_Contexts[h264::kBlockCatContexts[Cat].CodedBlockFlag + Inc]);
        }
        // Flag bits of a neighbour; one that is not there counts as coded for an intra macroblock (9.3.3.1.1.9).
        static uint32_t Bits(const MbState& Mb, int32_t Neighbour, uint32_t Own)
        {
            return Neighbour >= 0 ? Own : IsIntra(*Mb.pGlobal) ? ~0u : 0u;
        }
        template <h264::BlockCat kCat>
        static bool Block4x4(EntropyState& e, const MbState& Mb, uint8_t* pFlag, Dequant Scale, Coeffs* pOut)
        {
            const bool Coded = DecideFlag(e, kCat, pFlag[-1] + 2u * pFlag[-kCacheStride]);
            *pFlag = Coded;
            if (Coded) {
                const bool Field = IsField(Mb);
                CabacBlockReader<Coeffs, kCat>::Read(e.Cabac, Field, Field ? h264::kFieldScan4x4 : h264::kZigzag4x4,
                                                     Scale, pOut);
            }
            return Coded;
        }
    };
};

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
void ResidualDecoderCABAC<Coeffs, color_format, is_field>::CabacResidual<kMbaff>::LoadLuma(const SliceView& s,
                                                                                           const MbState& Mb,
                                                                                           CountCache& Counts)
{
    uint8_t* const pCache = Counts.NonZero[0];
    const uint32_t Top = Bits(Mb, Mb.Top, Mb.pTopLocal->CodedBlockBits) >> 12 & 15;
    const uint32_t TopBytes = Top * 0x00204081u & 0x01010101u; // one bit to each byte
    std::memcpy(pCache + CachePos(0, -1), &TopBytes, 4);
    for (int y = 0; y < 4; ++y) {
        const NeighbourRow Left = LeftBlock<kMbaff>(Mb, y);
        const MbLocalInfo& Local = kMbaff && Left.Mb >= 0 ? s.Local.pLocal[Left.Mb] : *Mb.pLeftLocal;
        pCache[CachePos(-1, y)] = Bits(Mb, Left.Mb, Local.CodedBlockBits) >> (Left.Row * 4 + 3) & 1;
        std::memset(pCache + CachePos(0, y), 0, 4);
    }
}

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
void ResidualDecoderCABAC<Coeffs, color_format, is_field>::CabacResidual<kMbaff>::LoadChroma(const SliceView& s,
                                                                                             const MbState& Mb,
                                                                                             CountCache& Counts)
{
    constexpr int kRows = h264::kChromaGeometry[color_format].MbHeight / 4,
                  kColumns = h264::kChromaGeometry[color_format].MbWidth / 4;
    for (int Plane = 0; Plane < 2; ++Plane) {
        uint8_t* const pCache = Counts.NonZero[1 + Plane];
        const uint32_t Top = Bits(Mb, Mb.Top, Mb.pTopLocal->CodedBlockBitsChroma[Plane]) >> 1;
        for (int x = 0; x < kColumns; ++x) pCache[CachePos(x, -1)] = Top >> ((kRows - 1) * kColumns + x) & 1;
        for (int y = 0; y < kRows; ++y) {
            const NeighbourRow Left = LeftBlock<kMbaff>(Mb, y, kRows);
            const MbLocalInfo& Local = kMbaff && Left.Mb >= 0 ? s.Local.pLocal[Left.Mb] : *Mb.pLeftLocal;
            pCache[CachePos(-1, y)] =
                Bits(Mb, Left.Mb, Local.CodedBlockBitsChroma[Plane]) >> ((Left.Row + 1) * kColumns) & 1;
        }
    }
}

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
bool ResidualDecoderCABAC<Coeffs, color_format, is_field>::CabacResidual<kMbaff>::LumaDc(EntropyState& e,
                                                                                         const MbState& Mb,
                                                                                         const CountCache&,
                                                                                         Coeffs* pLevels)
{
    const uint32_t Left = Bits(Mb, Mb.Left, Mb.pLeftLocal->CodedBlockBits);
    const uint32_t Top = Bits(Mb, Mb.Top, Mb.pTopLocal->CodedBlockBits);
    if (!DecideFlag(e, h264::CAT_LUMA_DC, (Left >> 16 & 1) + 2 * (Top >> 16 & 1))) return false;
    const bool Field = IsField(Mb);
    CabacBlockReader<Coeffs, h264::CAT_LUMA_DC>::Read(e.Cabac, Field, Field ? h264::kFieldScan4x4 : h264::kZigzag4x4,
                                                      {}, pLevels);
    return true;
}

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
bool ResidualDecoderCABAC<Coeffs, color_format, is_field>::CabacResidual<kMbaff>::Luma8x8(
    EntropyState& e, const MbState& Mb, CountCache& Counts, int Quadrant, Dequant Scale, Coeffs* pOut)
{
    // In these chroma formats there is no flag (clause 7.3.5.3.3): it is taken as 1.
    const bool Field = IsField(Mb);
    CabacBlockReader<Coeffs, h264::CAT_LUMA_8x8>::Read(e.Cabac, Field, Field ? h264::kFieldScan8x8 : h264::kZigzag8x8,
                                                       Scale, pOut);
    uint8_t* const pFlag = Counts.NonZero[0] + kBlockCachePos[Quadrant * 4];
    pFlag[0] = pFlag[1] = pFlag[kCacheStride] = pFlag[kCacheStride + 1] = 1;
    return true;
}

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
bool ResidualDecoderCABAC<Coeffs, color_format, is_field>::CabacResidual<kMbaff>::ChromaDc(EntropyState& e,
                                                                                           const MbState& Mb, int Plane,
                                                                                           Coeffs* pLevels)
{
    const uint32_t Left = Bits(Mb, Mb.Left, Mb.pLeftLocal->CodedBlockBitsChroma[Plane]);
    const uint32_t Top = Bits(Mb, Mb.Top, Mb.pTopLocal->CodedBlockBitsChroma[Plane]);
    if (!DecideFlag(e, h264::CAT_CHROMA_DC, (Left & 1) + 2 * (Top & 1))) return false;
    const bool Field = IsField(Mb);
    const uint8_t* const pScan = color_format != h264::CHROMA_444 ? nullptr
                                 : Field                          ? h264::kFieldScan4x4
                                                                  : h264::kZigzag4x4;
    CabacBlockReader<Coeffs, h264::CAT_CHROMA_DC, h264::kChromaGeometry[color_format].Blocks>::Read(e.Cabac, Field,
                                                                                                    pScan, {}, pLevels);
    return true;
}

} // namespace UMC
