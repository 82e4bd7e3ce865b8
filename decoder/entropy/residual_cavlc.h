// Residual blocks in CAVLC: nC from the counts around, and the places of the coefficients (clause 9.2.1).
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/coefficient_counts.h"
#include "Common/h264/trace/element_trace.h"
#include "decoder/entropy/dequant.h"
#include "decoder/slice/slice_cursor.h"
#include "decoder/stream/cavlc.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace UMC {

template <class Coeffs, int color_format, bool is_field>
class ResidualDecoderCAVLC
{
protected:
    template <bool kMbaff>
    struct CavlcResidual {
        static void LoadLuma(const SliceView& s, const MbState& Mb, CountCache& Counts)
        {
            LoadPlane(s, Mb, Counts, 0, 4, 4);
        }
        static void LoadChroma(const SliceView& s, const MbState& Mb, CountCache& Counts)
        {
            for (int Plane = 1; Plane < 3; ++Plane) LoadPlane(s, Mb, Counts, Plane, kChromaColumns, kChromaRows);
        }
        // Takes the nC of block 0 and leaves no count.
        static bool LumaDc(EntropyState& e, const MbState& Mb, const CountCache& Counts, Coeffs* pLevels)
        {
            CavlcBlock Block;
            const int Count = ReadCavlcBlock4x4(e.Bits, FindNc(Counts.NonZero[0] + kBlockCachePos[0]), 16, Block);
            const uint8_t* const pScan = Scan4x4(Mb);
            for (int i = 0; i < Count; ++i) {
                h264::trace::Level(Block.Position[i], Block.Level[i]);
                pLevels[pScan[Block.Position[i]]] = static_cast<Coeffs>(Block.Level[i]);
            }
            return Count != 0;
        }
        static bool LumaAc(EntropyState& e, const MbState& Mb, CountCache& Counts, int Block, Dequant Scale,
                           Coeffs* pOut)
        {
            return Block4x4(e, Mb, Counts.NonZero[0] + kBlockCachePos[Block], 15, Scale, pOut);
        }
        static bool Luma4x4(EntropyState& e, const MbState& Mb, CountCache& Counts, int Block, Dequant Scale,
                            Coeffs* pOut)
        {
            return Block4x4(e, Mb, Counts.NonZero[0] + kBlockCachePos[Block], 16, Scale, pOut);
        }
        static bool Luma8x8(EntropyState& e, const MbState& Mb, CountCache& Counts, int Quadrant, Dequant Scale,
                            Coeffs* pOut);
        static bool ChromaDc(EntropyState& e, const MbState& Mb, int, Coeffs* pLevels)
        {
            CavlcBlock Block;
            const int Count = ReadCavlcBlock(e.Bits, h264::ChromaDcNc(color_format),
                                             h264::kChromaGeometry[color_format].Blocks, Block);
            const uint8_t* const pScan = color_format == h264::CHROMA_444 ? Scan4x4(Mb) : nullptr;
            for (int i = 0; i < Count; ++i) {
                h264::trace::Level(Block.Position[i], Block.Level[i]);
                const int Place = color_format == h264::CHROMA_444 ? pScan[Block.Position[i]] : Block.Position[i];
                pLevels[Place] = static_cast<Coeffs>(Block.Level[i]);
            }
            return Count != 0;
        }
        static bool ChromaAc(EntropyState& e, const MbState& Mb, CountCache& Counts, int Plane, int Block,
                             Dequant Scale, Coeffs* pOut)
        {
            return Block4x4(e, Mb, Counts.NonZero[1 + Plane] + ChromaCachePos<color_format>(Block), 15, Scale, pOut);
        }
        // Keeps the counts for the neighbours; a part that was not read counts 0.
        static void StoreCounts(const SliceView& s, const MbState& Mb, const CountCache& Counts, bool HasLuma,
                                bool HasChromaAc);

    private:
        static constexpr int kChromaRows = h264::kChromaGeometry[color_format].MbHeight / 4,
                             kChromaColumns = h264::kChromaGeometry[color_format].MbWidth / 4;

        static bool IsField(const MbState& Mb) { return kMbaff ? IsFieldMb(Mb) : is_field; }
        static const uint8_t* Scan4x4(const MbState& Mb)
        {
            return IsField(Mb) ? h264::kFieldScan4x4 : h264::kZigzag4x4;
        }
        static void LoadPlane(const SliceView& s, const MbState& Mb, CountCache& Counts, int Plane, int Width,
                              int Height);
        static int FindNc(const uint8_t* pCount) { return h264::FindNc(pCount[-1], pCount[-kCacheStride]); }
        static bool Block4x4(EntropyState& e, const MbState& Mb, uint8_t* pCount, int MaxCoeffs, Dequant Scale,
                             Coeffs* pOut)
        {
            CavlcBlock Block;
            const int Count = ReadCavlcBlock4x4(e.Bits, FindNc(pCount), MaxCoeffs, Block);
            *pCount = static_cast<uint8_t>(Count);
            const uint8_t* const pScan = Scan4x4(Mb) + (16 - MaxCoeffs);
            for (int i = 0; i < Count; ++i) {
                const int Place = pScan[Block.Position[i]];
                h264::trace::Level(Block.Position[i], Block.Level[i]);
                pOut[Place] = Scale4x4<Coeffs>(Block.Level[i], Scale.pScale[Place], Scale.Per);
            }
            return Count != 0;
        }
    };
};

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
void ResidualDecoderCAVLC<Coeffs, color_format, is_field>::CavlcResidual<kMbaff>::LoadPlane(
    const SliceView& s, const MbState& Mb, CountCache& Counts, int Plane, int Width, int Height)
{
    uint8_t* const pCache = Counts.NonZero[Plane];
    const uint8_t* const pCounts = s.Local.pCoeffCounts + Plane * kCountsPerPlane;
    const auto Bytes = static_cast<size_t>(Width);
    if (Mb.Top >= 0)
        std::memcpy(pCache + CachePos(0, -1), pCounts + Mb.Top * kCountsPerMb + (Height - 1) * Width, Bytes);
    else
        std::memset(pCache + CachePos(0, -1), h264::kNoCount, Bytes);
    for (int y = 0; y < Height; ++y) {
        const NeighbourRow Left = LeftBlock<kMbaff>(Mb, y, Height);
        pCache[CachePos(-1, y)] =
            Left.Mb >= 0 ? pCounts[Left.Mb * kCountsPerMb + (Left.Row + 1) * Width - 1] : h264::kNoCount;
        std::memset(pCache + CachePos(0, y), 0, Bytes);
    }
}

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
bool ResidualDecoderCAVLC<Coeffs, color_format, is_field>::CavlcResidual<kMbaff>::Luma8x8(
    EntropyState& e, const MbState& Mb, CountCache& Counts, int Quadrant, Dequant Scale, Coeffs* pOut)
{
    const uint8_t* const pScan = IsField(Mb) ? h264::kFieldScan8x8 : h264::kZigzag8x8;
    int Total = 0;
    for (int Part = 0; Part < 4; ++Part) { // four interleaved lists
        CavlcBlock Block;
        uint8_t* const pCount = Counts.NonZero[0] + kBlockCachePos[Quadrant * 4 + Part];
        const int Count = ReadCavlcBlock4x4(e.Bits, FindNc(pCount), 16, Block);
        *pCount = static_cast<uint8_t>(Count);
        for (int i = 0; i < Count; ++i) {
            const int Place = pScan[Block.Position[i] * 4 + Part];
            h264::trace::Level(Block.Position[i] * 4 + Part, Block.Level[i]);
            pOut[Place] = Scale8x8<Coeffs>(Block.Level[i], Scale.pScale[Place], Scale.Per);
        }
        Total += Count;
    }
    return Total != 0;
}

template <class Coeffs, int color_format, bool is_field>
template <bool kMbaff>
void ResidualDecoderCAVLC<Coeffs, color_format, is_field>::CavlcResidual<kMbaff>::StoreCounts(
    const SliceView& s, const MbState& Mb, const CountCache& Counts, bool HasLuma, bool HasChromaAc)
{
    uint8_t* const pCounts = s.Local.pCoeffCounts + Mb.Number * kCountsPerMb;
    if (HasLuma)
        for (int y = 0; y < 4; ++y) std::memcpy(pCounts + y * 4, Counts.NonZero[0] + CachePos(0, y), 4);
    else
        std::memset(pCounts, 0, kCountsPerPlane);
    if (!HasChromaAc) {
        std::memset(pCounts + kCountsPerPlane, 0, 2 * kCountsPerPlane);
        return;
    }
    for (int Plane = 1; Plane < 3; ++Plane)
        for (int y = 0; y < kChromaRows; ++y)
            std::memcpy(pCounts + Plane * kCountsPerPlane + y * kChromaColumns, Counts.NonZero[Plane] + CachePos(0, y),
                        kChromaColumns);
}

} // namespace UMC
