// A macroblock of the independent writer (tests/support/h264_macroblock_writer.h) in the encoder's own records.
#pragma once

#include "encoder/code/macroblock_syntax.h"
#include "tests/support/random_macroblocks.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace encoder_testing {

using namespace UMC_H264_ENCODER;

// The tables of a picture that syntax is written from.
struct PictureRecords {
    explicit PictureRecords(size_t Mbs)
        : Global(Mbs), Local(Mbs), Modes(Mbs * 16, 2), Counts(Mbs * kCountsPerMb), Vectors(Mbs * 16)
    {
        for (int List = 0; List < 2; ++List) {
            References[List].resize(Mbs * 16);
            Differences[List].resize(Mbs * 16);
        }
    }

    std::vector<GlobalMacroblock> Global;
    std::vector<LocalMacroblock> Local;
    std::vector<uint8_t> Modes, Counts;
    std::vector<MotionVector> Vectors; // no syntax depends on them
    std::vector<int8_t> References[2];
    std::vector<MotionVector> Differences[2];
};

// Levels of one macroblock, and its samples where it is I_PCM.
template <class LevelType>
struct MacroblockData {
    BlockLevels<LevelType> Luma[16], LumaDc, ChromaDc[2], ChromaAc[2][kMaxChromaBlocks];
    BlockLevels8x8<LevelType> Luma8x8[4];
    uint16_t Pcm[kMaxPcmSamples];
};

template <class LevelType, size_t kSize>
void AppendLevel(uint8_t& Count, uint8_t (&Position)[kSize], LevelType (&Level)[kSize], size_t Place, int Value)
{
    if (Value == 0) return;
    Position[Count] = static_cast<uint8_t>(Place);
    Level[Count++] = static_cast<LevelType>(Value);
}

// Translates one macroblock at a time into the records of its picture.
class Translator
{
public:
    Translator(const test::SeqParamSet& Seq, const test::PicParamSet& Pic, const test::Slice& s,
               PictureRecords& Records, uint32_t Seed)
        : m_Seq(Seq), m_Pic(Pic), m_Slice(s), m_Records(Records), m_Random(Seed)
    {
    }

    template <class LevelType>
    void Translate(const test::Macroblock& m, const std::array<uint8_t, 16>& Modes, size_t Index,
                   MacroblockData<LevelType>& Data)
    {
        m_Index = Index;
        m_Type = TypeOf(m);
        const bool Is8x8 = HasFlag8x8(m) && m.transform_size_8x8;
        m_Records.Global[Index] = {};
        m_Records.Global[Index].Type = m_Type;
        m_Records.Global[Index].Flags = static_cast<uint8_t>((m_Slice.field || m.field_decoding ? kFlagField : 0) |
                                                             (Is8x8 ? kFlagTransform8x8 : 0));
        Local() = {};
        std::copy(Modes.begin(), Modes.end(), m_Records.Modes.begin() + static_cast<ptrdiff_t>(Index * 16));
        TranslateMotion(m);
        if (m_Type == MB_PCM) return TranslatePcm(m, Data.Pcm);
        if (m.skip) return;
        if (IsIntra(m_Type)) Local().ChromaMode = static_cast<uint8_t>(m.intra_chroma_pred_mode);
        Local().Pattern = PatternOf(m);
        TranslateLuma(m, Is8x8, Data);
        TranslateChroma(m, Data);
    }

private:
    bool IsB() const { return m_Slice.slice_type % 5 == 1; }
    bool IsISlice() const { return m_Slice.slice_type % 5 == 2; }
    LocalMacroblock& Local() { return m_Records.Local[m_Index]; }
    static bool Is16x16(uint8_t Type) { return Type == MB_INTRA16X16; }

    uint8_t TypeOf(const test::Macroblock& m) const
    {
        if (m.skip) return IsB() ? MB_SKIP_B : MB_SKIP_P;
        if (m.intra || IsISlice()) return m.mb_type == 0 ? MB_INTRA4X4 : m.mb_type == 25 ? MB_PCM : MB_INTRA16X16;
        if (!IsB()) return static_cast<uint8_t>(MB_INTER16X16 + m.mb_type);
        if (m.mb_type == 0) return MB_DIRECT;
        if (m.mb_type == 22) return MB_INTER8X8;
        return m.mb_type <= 3 ? MB_INTER16X16 : m.mb_type % 2 == 0 ? MB_INTER16X8 : MB_INTER8X16;
    }

    // Whether transform_size_8x8_flag stands in it.
    bool HasFlag8x8(const test::Macroblock& m) const
    {
        if (m.skip || !m_Pic.transform_8x8_mode) return false;
        return m_Type == MB_INTRA4X4 || (!IsIntra(m_Type) && m.may_transform_8x8 && (m.coded_block_pattern & 15));
    }

    uint8_t PatternOf(const test::Macroblock& m)
    {
        if (!Is16x16(m_Type)) return static_cast<uint8_t>(m.coded_block_pattern);
        Local().Intra16Mode = static_cast<uint8_t>((m.mb_type - 1) % 4);
        return static_cast<uint8_t>((m.mb_type > 12 ? 15 : 0) | (m.mb_type - 1) / 4 % 3 << 4);
    }

    void Fill(int List, int x, int y, int Width, int Height, uint32_t Ref, const int32_t* pMvd)
    {
        for (int Row = y; Row < y + Height; ++Row)
            for (int Column = x; Column < x + Width; ++Column) {
                const size_t At = m_Index * 16 + static_cast<size_t>(Row * 4 + Column);
                m_Records.References[List][At] = static_cast<int8_t>(Ref);
                if (!pMvd) continue;
                m_Records.Differences[List][At] = {static_cast<int16_t>(pMvd[0]), static_cast<int16_t>(pMvd[1])};
            }
    }

    // Derived motion refers to anything, which no context may show.
    void FillDirect(int Quadrant)
    {
        Local().Direct = static_cast<uint8_t>(Local().Direct | 1 << Quadrant);
        for (int List = 0; List < 2; ++List)
            Fill(List, Quadrant % 2 * 2, Quadrant / 2 * 2, 2, 2,
                 static_cast<uint32_t>(m_Random() % test::ActiveRefs(m_Pic, m_Slice, List)), nullptr);
    }

    void TranslateMotion(const test::Macroblock& m)
    {
        const int32_t None[2]{};
        for (int List = 0; List < 2; ++List) Fill(List, 0, 0, 4, 4, static_cast<uint32_t>(-1), None);
        std::fill_n(Local().SubTypes, 4, uint8_t{SUB_NONE});
        if (m_Type == MB_SKIP_P) Fill(0, 0, 0, 4, 4, 0, None);
        if (m_Type == MB_SKIP_B || m_Type == MB_DIRECT)
            for (int q = 0; q < 4; ++q) FillDirect(q);
        if (m.skip || IsIntra(m_Type) || m_Type == MB_DIRECT) return;
        if (m_Type == MB_INTER8X8 || m_Type == MB_INTER8X8_REF0)
            for (int q = 0; q < 4; ++q) TranslateQuadrant(m, q);
        else
            TranslateParts(m);
    }

    void TranslateParts(const test::Macroblock& m)
    {
        // Table 7-14: bit 0 list 0, bit 1 list 1; of types 4..21, two with the same.
        static constexpr uint8_t kLists[9][2]{{1, 1}, {2, 2}, {1, 2}, {2, 1}, {1, 3}, {2, 3}, {3, 1}, {3, 2}, {3, 3}};
        const int Parts = m_Type == MB_INTER16X16 ? 1 : 2;
        const int Width = m_Type == MB_INTER8X16 ? 2 : 4, Height = m_Type == MB_INTER16X8 ? 2 : 4;
        for (int Part = 0; Part < Parts; ++Part) {
            const uint32_t Lists = !IsB() ? 1 : Parts == 1 ? m.mb_type : kLists[(m.mb_type - 4) / 2][Part];
            for (int List = 0; List < 2; ++List)
                if (Lists >> List & 1)
                    Fill(List, Width == 2 ? 2 * Part : 0, Height == 2 ? 2 * Part : 0, Width, Height,
                         m.ref_idx[List][Part], m.mvd[List][Part][0]);
        }
    }

    void TranslateQuadrant(const test::Macroblock& m, int q)
    {
        struct SubType {
            uint8_t Shape, Lists;
        };
        static constexpr SubType kOfB[13]{{}, // Table 7-18
                                          {SUB_8X8, 1}, {SUB_8X8, 2}, {SUB_8X8, 3}, {SUB_8X4, 1},
                                          {SUB_4X8, 1}, {SUB_8X4, 2}, {SUB_4X8, 2}, {SUB_8X4, 3},
                                          {SUB_4X8, 3}, {SUB_4X4, 1}, {SUB_4X4, 2}, {SUB_4X4, 3}};
        if (IsB() && m.sub_mb_type[q] == 0) return FillDirect(q);
        const SubType Sub = IsB() ? kOfB[m.sub_mb_type[q]] : SubType{static_cast<uint8_t>(m.sub_mb_type[q]), 1};
        Local().SubTypes[q] = Sub.Shape;
        const bool IsNarrow = Sub.Shape & 2, IsLow = Sub.Shape == SUB_8X4 || Sub.Shape == SUB_4X4;
        const int Width = IsNarrow ? 1 : 2, Height = IsLow ? 1 : 2;
        for (int List = 0; List < 2; ++List) {
            if (!(Sub.Lists >> List & 1)) continue;
            const uint32_t Ref = m_Type == MB_INTER8X8_REF0 ? 0 : m.ref_idx[List][q];
            for (int i = 0; i < 4 / (Width * Height); ++i) {
                const int x = IsNarrow ? i % 2 : 0, y = IsNarrow ? i / 2 : i;
                Fill(List, q % 2 * 2 + x, q / 2 * 2 + y, Width, Height, Ref, m.mvd[List][q][i]);
            }
        }
    }

    template <class LevelType>
    static BlockLevels<LevelType> LevelsOf(const std::array<int, 16>& Values, size_t First, size_t End)
    {
        BlockLevels<LevelType> b{};
        for (size_t i = First; i < End; ++i) AppendLevel(b.Count, b.Position, b.Level, i - First, Values[i]);
        return b;
    }

    template <class LevelType>
    void TranslateLuma(const test::Macroblock& m, bool Is8x8, MacroblockData<LevelType>& Data)
    {
        Data.LumaDc = LevelsOf<LevelType>(m.luma_dc, 0, 16);
        if (Is16x16(m_Type) && Data.LumaDc.Count) Local().CodedDc |= kCodedLumaDc;
        for (size_t i = 0; i < 16; ++i) {
            Data.Luma[i] = LevelsOf<LevelType>(m.luma[i], Is16x16(m_Type), 16);
            if ((Local().Pattern >> (i / 4) & 1) && (Is8x8 || Data.Luma[i].Count)) Local().Coded |= 1u << i;
        }
        for (size_t q = 0; q < 4; ++q) {
            BlockLevels8x8<LevelType>& b = Data.Luma8x8[q];
            b.Count = 0;
            for (size_t i = 0; i < 64; ++i) AppendLevel(b.Count, b.Position, b.Level, i, m.luma[4 * q + i % 4][i / 4]);
        }
    }

    template <class LevelType>
    void TranslateChroma(const test::Macroblock& m, MacroblockData<LevelType>& Data)
    {
        const auto Blocks = static_cast<size_t>(h264::kChromaGeometry[m_Seq.chroma_format_idc].Blocks);
        for (size_t Plane = 0; Plane < 2; ++Plane) {
            Data.ChromaDc[Plane] = LevelsOf<LevelType>(m.chroma_dc[Plane], 0, Blocks);
            if (Local().Pattern >> 4 && Data.ChromaDc[Plane].Count)
                Local().CodedDc = static_cast<uint8_t>(Local().CodedDc | (Plane ? kCodedCrDc : kCodedCbDc));
            for (size_t i = 0; i < Blocks; ++i) {
                Data.ChromaAc[Plane][i] = LevelsOf<LevelType>(m.chroma_ac[Plane][i], 0, 15);
                if (Local().Pattern >> 4 == 2 && Data.ChromaAc[Plane][i].Count)
                    Local().Coded |= 1u << ((Plane ? kCodedCrShift : kCodedCbShift) + static_cast<int>(i));
            }
        }
    }

    // The samples that the other writer makes of its eight bits.
    void TranslatePcm(const test::Macroblock& m, uint16_t* pOut)
    {
        Local().Coded = ~0u;
        Local().CodedDc = kCodedLumaDc | kCodedCbDc | kCodedCrDc;
        Local().Pattern = 0x2F;
        const auto Put = [&](size_t i, size_t Row) {
            const uint32_t Up = (i < 256 ? m_Seq.bit_depth : m_Seq.bit_depth_chroma) - 8;
            const uint32_t Sample = m.pcm[i], Low = Sample * 5 + static_cast<uint32_t>(i + Row);
            *pOut++ = static_cast<uint16_t>(Sample << Up | (Low & ((1u << Up) - 1)));
        };
        for (size_t i = 0; i < 256; ++i) Put(i, 0);
        const auto Rows = static_cast<size_t>(h264::kChromaGeometry[m_Seq.chroma_format_idc].MbHeight);
        for (size_t Plane = 0; Plane < 2; ++Plane)
            for (size_t y = 0; y < Rows; ++y)
                for (size_t x = 0; x < 8; ++x) Put(256 + Plane * 64 + y * 8 / Rows * 8 + x, y);
    }

    const test::SeqParamSet& m_Seq;
    const test::PicParamSet& m_Pic;
    const test::Slice& m_Slice;
    PictureRecords& m_Records;
    std::mt19937 m_Random;
    size_t m_Index = 0;
    uint8_t m_Type = 0;
};

} // namespace encoder_testing
