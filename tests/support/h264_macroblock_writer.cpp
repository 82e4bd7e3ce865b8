#include "tests/support/h264_macroblock_writer.h"

#include "Common/h264/coefficient_counts.h"
#include "Common/h264/h264_tables.h"
#include "tests/support/pair_blocks.h"
#include "tests/support/slice_group_model.h"

#include <algorithm>
#include <cstdlib>

namespace test {

namespace {

constexpr uint32_t kPcm = 25;
enum Lists : uint8_t { L0 = 1, L1 = 2, BI = 3 };

// Lists of the two partitions of mb_type 4..21 of B slices, a pair of types each (Table 7-14).
constexpr uint8_t kPartLists[9][2] = {{L0, L0}, {L1, L1}, {L0, L1}, {L1, L0}, {L0, BI},
                                      {L1, BI}, {BI, L0}, {BI, L1}, {BI, BI}};
// Table 7-18, from sub_mb_type 1 on.
constexpr uint8_t kSubLists[13] = {0, L0, L1, BI, L0, L0, L1, L1, BI, BI, L0, L1, BI};
constexpr int kSubPartsB[13] = {0, 1, 1, 1, 2, 2, 2, 2, 2, 2, 4, 4, 4};
constexpr int kSubPartsP[4] = {1, 2, 2, 4};

} // namespace

MacroblockWriter::MacroblockWriter(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& s)
    : m_Seq(Seq), m_Pic(Pic), m_Slice(s), m_Bits(Header(Seq, Pic, s)), m_Groups(MbToSliceGroupMap(Seq, Pic, s)),
      m_Taken(m_Groups.size() + 1), m_Mb(static_cast<int>(s.first_mb))
{
    const size_t Mbs = PictureMbs(Seq, s);
    m_Counts[0].assign(Mbs * 16, 0);
    m_Counts[1].assign(Mbs * 16, 0); // of 4:4:4
    m_Counts[2].assign(Mbs * 16, 0);
    m_FieldPairs.assign(Mbs / 2 + 1, false);
    if (IsMbaff()) m_Mb *= 2;
}

void MacroblockWriter::Advance()
{
    const auto Number = static_cast<size_t>(m_Mb);
    m_Taken[Number] = true;
    m_Mb =
        static_cast<int>(std::find(m_Groups.begin() + m_Mb + 1, m_Groups.end(), m_Groups[Number]) - m_Groups.begin());
}

// Pairs stand one beside the other in MBAFF frames, and their macroblocks one below the other.
int MacroblockWriter::ColumnOf(int Mb) const { return (IsMbaff() ? Mb / 2 : Mb) % static_cast<int>(m_Seq.width_mbs); }
int MacroblockWriter::RowOf(int Mb) const
{
    const int Width = static_cast<int>(m_Seq.width_mbs);
    return IsMbaff() ? Mb / 2 / Width * 2 + Mb % 2 : Mb / Width;
}
int MacroblockWriter::Number(int Column, int Row) const
{
    const int Width = static_cast<int>(m_Seq.width_mbs);
    return IsMbaff() ? (Row / 2 * Width + Column) * 2 + Row % 2 : Row * Width + Column;
}

Bytes MacroblockWriter::Finish()
{
    if (m_SkipRun != 0) m_Bits.UE(m_SkipRun);
    return test::Finish(m_Bits, m_Slice);
}

void MacroblockWriter::Put(const Macroblock& Mb) // clauses 7.3.4 and 7.3.5
{
    if (Mb.skip) {
        ++m_SkipRun;
        Advance();
        return;
    }
    if (!IsIntraSlice()) m_Bits.UE(m_SkipRun);
    m_SkipRun = 0;
    if (IsMbaff() && m_Mb % 2 == 0) {
        m_FieldPairs[static_cast<size_t>(m_Mb / 2)] = Mb.field_decoding;
        m_Bits.U(1, Mb.field_decoding);
    }
    const bool Intra = Mb.intra || IsIntraSlice();
    const uint32_t FirstIntra = IsIntraSlice() ? 0 : IsB() ? 23 : 5;
    m_Bits.UE(Mb.mb_type + (Intra ? FirstIntra : 0));
    if (Intra && Mb.mb_type == kPcm) {
        WritePcm(Mb);
        Advance();
        return;
    }
    const bool Is16x16 = Intra && Mb.mb_type != 0;
    if (Intra) {
        if (!Is16x16) {
            if (m_Pic.transform_8x8_mode) m_Bits.U(1, Mb.transform_size_8x8);
            for (size_t i = 0; i < (Mb.transform_size_8x8 ? 4u : 16u); ++i) {
                m_Bits.U(1, Mb.intra_mode[i] == 0); // prev_intra_pred_mode_flag
                if (Mb.intra_mode[i] != 0) m_Bits.U(3, Mb.intra_mode[i] - 1);
            }
        }
        if (ChromaRows() != 0) m_Bits.UE(Mb.intra_chroma_pred_mode);
    } else {
        WriteInterPrediction(Mb);
    }
    uint32_t Luma = Mb.coded_block_pattern & 15, Chroma = Mb.coded_block_pattern >> 4;
    if (Is16x16) {
        Luma = Mb.mb_type > 12 ? 15 : 0;
        Chroma = (Mb.mb_type - 1) / 4 % 3;
    } else {
        const auto& Codes = h264::kCodedBlockPattern[ChromaRows() == 0][Intra ? 0 : 1];
        m_Bits.UE(static_cast<uint32_t>(std::find(Codes, Codes + 48, Mb.coded_block_pattern) - Codes));
        if (!Intra && Luma != 0 && m_Pic.transform_8x8_mode && Mb.may_transform_8x8) m_Bits.U(1, Mb.transform_size_8x8);
    }
    if (Luma != 0 || Chroma != 0 || Is16x16) {
        m_Bits.SE(Mb.mb_qp_delta);
        WriteResidual(Mb, Luma, Chroma);
    }
    Advance();
}

void MacroblockWriter::WritePcm(const Macroblock& Mb)
{
    const auto Put = [&](size_t i, uint32_t Sample, uint32_t Depth, int Row) {
        const uint32_t Up = Depth - 8;
        m_Bits.U(static_cast<int>(Depth),
                 Sample << Up |
                     ((Sample * 5 + static_cast<uint32_t>(i) + static_cast<uint32_t>(Row)) & ((1u << Up) - 1)));
    };
    const uint32_t ChromaDepth = m_Seq.bit_depth_chroma ? m_Seq.bit_depth_chroma : m_Seq.bit_depth;
    const int X = ColumnOf(m_Mb), Y = RowOf(m_Mb), Rows = ChromaRows(), Columns = ChromaColumns();
    m_Bits.Align();
    for (size_t i = 0; i < 256; ++i) Put(i, Mb.pcm[i], m_Seq.bit_depth, 0);
    for (size_t i = 0; i < 512 && Is444(); ++i) // the pattern of lower bits is that of luma in each plane
        Put(i % 256, Mb.pcm_chroma_444[i], ChromaDepth, 0);
    for (size_t Plane = 0; Plane < 2 && !Is444(); ++Plane)
        for (int y = 0; y < Rows * 4; ++y)
            for (size_t x = 0; x < 8; ++x) {
                const size_t i = 256 + Plane * 64 + static_cast<size_t>(y * 2 / Rows) * 8 + x;
                Put(i, Mb.pcm[i], ChromaDepth, y);
            }
    for (int i = 0; i < 16; ++i) *CountAt(0, X * 4 + i % 4, Y * 4 + i / 4) = 16;
    for (int Plane = 1; Plane < 3; ++Plane)
        for (int i = 0; i < Columns * Rows; ++i)
            *CountAt(Plane, X * Columns + i % Columns, Y * Rows + i / Columns) = 16;
}

void MacroblockWriter::WriteRefIdx(int List, uint32_t RefIdx)
{
    const bool IsFieldPair = IsMbaff() && m_FieldPairs[static_cast<size_t>(m_Mb / 2)];
    const uint32_t Active = ActiveRefs(m_Pic, m_Slice, List) << IsFieldPair; // fields of those frames
    if (Active == 2) m_Bits.U(1, RefIdx == 0);
    if (Active > 2) m_Bits.UE(RefIdx);
}

void MacroblockWriter::WriteMvd(const int32_t (&Mvd)[2])
{
    m_Bits.SE(Mvd[0]);
    m_Bits.SE(Mvd[1]);
}

void MacroblockWriter::WriteInterPrediction(const Macroblock& Mb) // clause 7.3.5.1
{
    if (IsB() && Mb.mb_type == 0) return; // B_Direct_16x16
    if (Mb.mb_type == (IsB() ? 22u : 3u) || (!IsB() && Mb.mb_type == 4)) return WriteSubPrediction(Mb);
    int Parts = 1;
    uint8_t Used[2] = {L0, L0};
    if (!IsB()) {
        Parts = Mb.mb_type == 0 ? 1 : 2;
    } else if (Mb.mb_type <= 3) {
        Used[0] = static_cast<uint8_t>(Mb.mb_type);
    } else {
        Parts = 2;
        std::copy_n(kPartLists[(Mb.mb_type - 4) / 2], 2, Used);
    }
    for (int List = 0; List < 2; ++List)
        for (int Part = 0; Part < Parts; ++Part)
            if (Used[Part] >> List & 1) WriteRefIdx(List, Mb.ref_idx[List][Part]);
    for (int List = 0; List < 2; ++List)
        for (int Part = 0; Part < Parts; ++Part)
            if (Used[Part] >> List & 1) WriteMvd(Mb.mvd[List][Part][0]);
}

void MacroblockWriter::WriteSubPrediction(const Macroblock& Mb) // clause 7.3.5.2
{
    for (const uint32_t Type : Mb.sub_mb_type) m_Bits.UE(Type);
    const auto Uses = [&](int Part, int List) {
        const uint8_t Lists = IsB() ? kSubLists[Mb.sub_mb_type[Part]] : uint8_t{L0};
        return (Lists >> List & 1) != 0;
    };
    const bool HasRefIdx = IsB() || Mb.mb_type != 4; // P_8x8ref0
    for (int List = 0; List < 2; ++List)
        for (int Part = 0; Part < 4; ++Part)
            if (Uses(Part, List) && HasRefIdx) WriteRefIdx(List, Mb.ref_idx[List][Part]);
    for (int List = 0; List < 2; ++List)
        for (int Part = 0; Part < 4; ++Part) {
            const int SubParts = IsB() ? kSubPartsB[Mb.sub_mb_type[Part]] : kSubPartsP[Mb.sub_mb_type[Part]];
            for (int i = 0; i < SubParts && Uses(Part, List); ++i) WriteMvd(Mb.mvd[List][Part][i]);
        }
}

int* MacroblockWriter::CountAt(int Plane, int X, int Y)
{
    const int Blocks = Plane == 0 ? 4 : ChromaColumns(), Rows = Plane == 0 ? 4 : ChromaRows();
    if (X < 0 || Y < 0) return nullptr;
    const int Mb = Number(X / Blocks, Y / Rows);
    if (Mb != m_Mb && !Has(Mb)) return nullptr;
    return &m_Counts[Plane][static_cast<size_t>(Y * static_cast<int>(m_Seq.width_mbs) * Blocks + X)];
}

// That of the block to the left, or of the one above.
int* MacroblockWriter::CountBeside(int Plane, int X, int Y, bool IsLeft)
{
    const int Blocks = Plane == 0 ? 4 : ChromaColumns(), Rows = Plane == 0 ? 4 : ChromaRows();
    const bool IsInside = (IsLeft ? X % Blocks : Y % Rows) > 0;
    if (!IsMbaff() || IsInside) return CountAt(Plane, X - IsLeft, Y - !IsLeft);
    const BlockRow Other =
        FindInPairs(m_Mb, IsLeft, IsLeft ? Y % Rows : -1, Rows, static_cast<int>(m_Seq.width_mbs), m_FieldPairs);
    return Other.Mb < 0 ? nullptr : CountAt(Plane, X - IsLeft, RowOf(Other.Mb) * Rows + Other.Row);
}

int MacroblockWriter::PredictCount(int Plane, int X, int Y) // clause 9.2.1
{
    const int *const pA = CountBeside(Plane, X, Y, true), *const pB = CountBeside(Plane, X, Y, false);
    if (pA && pB) return (*pA + *pB + 1) >> 1;
    return pA ? *pA : pB ? *pB : 0;
}

void MacroblockWriter::WriteResidual(const Macroblock& Mb, uint32_t Luma, uint32_t Chroma) // clause 7.3.5.3
{
    const int X = ColumnOf(m_Mb), Y = RowOf(m_Mb);
    const bool Is16x16 = (Mb.intra || IsIntraSlice()) && Mb.mb_type != 0;
    if (Is16x16) WriteBlock(Mb.luma_dc.data(), 16, PredictCount(0, X * 4, Y * 4), nullptr);
    for (int i = 0; i < 16; ++i) {
        if (!(Luma >> (i / 4) & 1)) continue;
        const int BlockX = X * 4 + h264::kBlockRaster[i] % 4, BlockY = Y * 4 + h264::kBlockRaster[i] / 4;
        WriteBlock(Mb.luma[i].data() + Is16x16, 16 - Is16x16, PredictCount(0, BlockX, BlockY),
                   CountAt(0, BlockX, BlockY));
    }
    const int Rows = ChromaRows(), Columns = ChromaColumns();
    for (int Plane = 0; Plane < 2 && Chroma != 0; ++Plane)
        WriteBlock(Mb.chroma_dc[Plane].data(), Columns * Rows,
                   h264::ChromaDcNc(static_cast<int32_t>(m_Seq.chroma_format_idc)), nullptr);
    for (int Plane = 0; Plane < 2 && Chroma == 2; ++Plane)
        for (int i = 0; i < Columns * Rows; ++i) {
            const int BlockX = X * Columns + ChromaBlock(i) % Columns, BlockY = Y * Rows + ChromaBlock(i) / Columns;
            WriteBlock(Mb.chroma_ac[Plane][i].data(), 15, PredictCount(1 + Plane, BlockX, BlockY),
                       CountAt(1 + Plane, BlockX, BlockY));
        }
}

void MacroblockWriter::WriteBlock(const int* pLevels, int Max, int nC, int* pCount) // clause 7.3.5.3.2
{
    int Reversed[16], Runs[16], Count = 0, Zeros = 0, Last = -1;
    for (int i = Max - 1; i >= 0; --i) {
        if (pLevels[i] == 0) continue;
        if (Count > 0) Runs[Count - 1] = Last - i - 1;
        Reversed[Count++] = pLevels[i];
        Zeros += Count == 1 ? i + 1 : 0;
        Last = i;
    }
    Zeros -= Count;
    int Ones = 0;
    while (Ones < std::min(Count, 3) && std::abs(Reversed[Ones]) == 1) ++Ones;
    if (pCount) *pCount = Count;

    const auto Put = [&](const h264::VlcCode& Code) { m_Bits.U(Code.Length, Code.Code); };
    const int Class = nC == -2 ? h264::kNcMinus2
                      : nC < 0 ? h264::kNcMinus1
                      : nC < 2 ? h264::kNc0To1
                      : nC < 4 ? h264::kNc2To3
                      : nC < 8 ? h264::kNc4To7
                               : h264::kNc8Up;
    Put(h264::kCoeffToken[Class][Ones][Count]);
    if (Count == 0) return;
    WriteLevels(Reversed, Count, Ones);
    if (Count < Max)
        Put(Max == 4   ? h264::kTotalZerosChromaDc420[Count][Zeros]
            : Max == 8 ? h264::kTotalZerosChromaDc422[Count][Zeros]
                       : h264::kTotalZeros4x4[Count][Zeros]);
    for (int i = 0; i + 1 < Count && Zeros > 0; ++i) {
        Put(h264::kRunBefore[std::min(Zeros, 7)][Runs[i]]);
        Zeros -= Runs[i];
    }
}

void MacroblockWriter::WriteLevels(const int* pLevels, int Count, int TrailingOnes) // clause 9.2.2
{
    for (int i = 0; i < TrailingOnes; ++i) m_Bits.U(1, pLevels[i] < 0);
    int SuffixLength = Count > 10 && TrailingOnes < 3;
    for (int i = TrailingOnes; i < Count; ++i) {
        const int Magnitude = std::abs(pLevels[i]);
        int Code = 2 * Magnitude - 2 + (pLevels[i] < 0);
        if (i == TrailingOnes && TrailingOnes < 3) Code -= 2;
        int Prefix = std::min(Code >> SuffixLength, 15), SuffixSize = SuffixLength;
        int Suffix = Code - (Prefix << SuffixLength);
        if (SuffixLength == 0 && Prefix == 14) SuffixSize = 4;
        if (SuffixLength == 0 && Prefix == 15) { // the first 16 codes behind prefix 14 are its own
            Prefix = Code < 30 ? 14 : 15;
            Suffix = Code < 30 ? Code - 14 : Code - 30;
            SuffixSize = Prefix == 14 ? 4 : 12;
        } else if (Prefix == 15) {
            SuffixSize = 12;
        }
        m_Bits.U(Prefix, 0);
        m_Bits.U(1, 1);
        m_Bits.U(SuffixSize, static_cast<uint32_t>(Suffix));
        if (SuffixLength == 0) SuffixLength = 1;
        if (Magnitude > 3 << (SuffixLength - 1) && SuffixLength < 6) ++SuffixLength;
    }
}

} // namespace test
