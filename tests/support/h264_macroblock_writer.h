// Writes the macroblocks of a CAVLC slice, for tests that need pictures the way no encoder makes them.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/h264_tables.h"
#include "tests/support/h264_stream_writer.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace test {

// A macroblock under the names of clause 7.3.5. What its type does not have is ignored.
struct Macroblock {
    bool skip = false;            // P_Skip, B_Skip
    bool intra = false;           // mb_type is then that of Table 7-11: 0 Intra_4x4, 1..24 Intra_16x16, 25 I_PCM
    uint32_t mb_type = 0;         // else of Table 7-13 or 7-14
    uint32_t sub_mb_type[4] = {}; // Table 7-17 or 7-18
    uint32_t ref_idx[2][4] = {};  // by partition
    int32_t mvd[2][4][4][2] = {}; // by partition and sub-partition
    uint32_t intra_chroma_pred_mode = 0;
    std::array<uint32_t, 16> intra_mode = {}; // by block of Intra_NxN: 0 as predicted, else rem_intra_pred_mode + 1
    uint32_t coded_block_pattern = 0;         // luma, and chroma << 4; that of Intra_16x16 stands in its type
    bool may_transform_8x8 = false;           // an inter macroblock for which the flag is sent where the picture has it
    bool transform_size_8x8 = false;
    int32_t mb_qp_delta = 0;
    std::array<int, 16> luma_dc = {};  // levels in scan order
    std::array<int, 16> luma[16] = {}; // by luma4x4BlkIdx; the first one of Intra_16x16 is not used
    std::array<int, 16> chroma_dc[2] = {},
                        chroma_ac[2][16] = {}; // AC blocks of 4:4:4 by luma4x4BlkIdx, else in raster order
    std::array<uint8_t, 384> pcm = {}; // of 4:2:0; 4:2:2 has each row of chroma twice, and deeper samples lower bits of
                                       // their own
    std::array<uint8_t, 512> pcm_chroma_444 = {}; // in place of the chroma of those
    bool field_decoding = false;                  // of an MBAFF frame; the first one of the pair tells
};

// One slice under way. Macroblocks are taken from first_mb on, in raster order, of one slice group where there are
// several. Both of a pair of an MBAFF frame are skipped, or neither is.
class MacroblockWriter
{
public:
    MacroblockWriter(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice);
    int Mb() const { return m_Mb; } // the next one, by number; that of all of them at the end
    bool Has(int Mb) const { return m_Taken[static_cast<size_t>(Mb)]; } // it was put into this slice
    void Put(const Macroblock& Mb);
    Bytes Finish(); // the unit

private:
    using Levels = std::array<int, 16>;

    bool IsB() const { return m_Slice.slice_type % 5 == 1; }
    bool IsIntraSlice() const { return m_Slice.slice_type % 5 == 2; }
    int ChromaRows() const { return h264::kChromaGeometry[m_Seq.chroma_format_idc].MbHeight / 4; } // of blocks
    int ChromaColumns() const { return h264::kChromaGeometry[m_Seq.chroma_format_idc].MbWidth / 4; }
    int ChromaBlock(int i) const { return Is444() ? h264::kBlockRaster[i] : i; } // its place in raster order
    bool Is444() const { return m_Seq.chroma_format_idc == h264::CHROMA_444; }
    bool IsMbaff() const { return m_Seq.mbaff && !m_Slice.field; }
    int ColumnOf(int Mb) const;
    int RowOf(int Mb) const;
    int Number(int Column, int Row) const;
    void WritePcm(const Macroblock& Mb);
    void WriteInterPrediction(const Macroblock& Mb);
    void WriteSubPrediction(const Macroblock& Mb);
    void WriteRefIdx(int List, uint32_t RefIdx);
    void WriteMvd(const int32_t (&Mvd)[2]);
    void WriteResidual(const Macroblock& Mb, uint32_t Luma, uint32_t Chroma);
    void WriteBlock(const int* pLevels, int Max, int nC, int* pCount);
    void WriteLevels(const int* pLevels, int Count, int TrailingOnes);
    void Advance();
    int* CountAt(int Plane, int X, int Y); // null outside the slice
    int* CountBeside(int Plane, int X, int Y, bool IsLeft);
    int PredictCount(int Plane, int X, int Y);

    SeqParamSet m_Seq;
    PicParamSet m_Pic;
    Slice m_Slice;
    BitWriter m_Bits;
    uint32_t m_SkipRun = 0;
    std::vector<int> m_Groups; // of each macroblock
    std::vector<bool> m_Taken;
    int m_Mb;
    std::vector<bool> m_FieldPairs; // of an MBAFF frame
    std::vector<int> m_Counts[3];   // total_coeff by 4x4 block, rows of as many as a macroblock has
};

} // namespace test
