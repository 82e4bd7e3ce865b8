// The H.264 standard's numeric tables that encoder and decoder both read. The definitions in h264_tables.cpp are
// written by scripts/make_h264_tables.py from the CSV files in data/; edit those, not the generated file.
#pragma once

#include <cstdint>

namespace h264 {

// ---- CABAC, clause 9.3 -------------------------------------------------------------------------------------

inline constexpr int kContextCount = 460; // ctxIdx 0..459: all that 4:0:0, 4:2:0 and 4:2:2 read

struct ContextInit {
    int8_t m, n;
};
// Tables 9-12 and following. Row 0 serves I slices, rows 1..3 P and B slices with cabac_init_idc 0..2. Pairs that
// a slice type never uses are 0, 0, and so is ctxIdx 276, the terminate decision, which has none.
extern const ContextInit kContextInit[4][kContextCount];
extern const uint8_t kRangeLps[64][4]; // Table 9-44: [pStateIdx][(codIRange >> 6) & 3]
extern const uint8_t kTransIdxLps[64]; // Table 9-45
extern const uint8_t kTransIdxMps[64];

// ctxBlockCat of Table 9-42.
enum BlockCat : uint32_t { CAT_LUMA_DC, CAT_LUMA_AC, CAT_LUMA_4x4, CAT_CHROMA_DC, CAT_CHROMA_AC, CAT_LUMA_8x8 };

// One row of Tables 9-40 and 9-34: the sums of ctxIdxOffset and ctxBlockCatOffset.
struct BlockCatContexts {
    uint16_t CodedBlockFlag; // CAT_LUMA_8x8: 1012, read with ChromaArrayType 3 only
    uint16_t Significant[2]; // frame, field
    uint16_t Last[2];        // frame, field
    uint16_t AbsLevel;
};
extern const BlockCatContexts kBlockCatContexts[6]; // by BlockCat
extern const uint8_t kSignificantCtx8x8[2][63];     // Table 9-43, significant_coeff_flag: [frame, field][position]
extern const uint8_t kLastCtx8x8[63];               // Table 9-43, last_significant_coeff_flag

// ---- CAVLC, clause 9.2 -------------------------------------------------------------------------------------

struct VlcCode {
    uint16_t Code;  // right-aligned
    uint8_t Length; // bits; 0: no such code
};
enum CoeffTokenClass { kNc0To1, kNc2To3, kNc4To7, kNc8Up, kNcMinus1, kNcMinus2, kNcClasses };
extern const VlcCode kCoeffToken[kNcClasses][4][17]; // Table 9-5: [nC class][trailing_ones][total_coeff]
extern const VlcCode kTotalZeros4x4[16][16];         // Tables 9-7, 9-8: [tzVlcIndex][total_zeros]
extern const VlcCode kTotalZerosChromaDc420[4][4];   // Table 9-9 (a)
extern const VlcCode kTotalZerosChromaDc422[8][8];   // Table 9-9 (b)
extern const VlcCode kRunBefore[8][15];              // Table 9-10: [zeros_left, 7 for all above 6][run_before]
// Table 9-4: codeNum to coded_block_pattern, [0: ChromaArrayType 1 and 2, 1: 0 and 3][0: intra, 1: inter].
extern const uint8_t kCodedBlockPattern[2][2][48]; // the second row of arrays holds 16 values, then 0

// ---- Scans, clauses 6.4.3 and 8.5.6 ------------------------------------------------------------------------

extern const uint8_t kZigzag4x4[16]; // scan position to row * 4 + column
extern const uint8_t kFieldScan4x4[16];
extern const uint8_t kZigzag8x8[64]; // scan position to row * 8 + column
extern const uint8_t kFieldScan8x8[64];
extern const uint8_t kBlockRaster[16]; // luma4x4BlkIdx to row * 4 + column of the block; its own inverse

// ---- Scaling and quantisation, clause 8.5 ------------------------------------------------------------------

extern const uint8_t kDefaultScaling4x4[2][16]; // Table 7-3 in scan order: intra, inter
extern const uint8_t kDefaultScaling8x8[2][64]; // Table 7-4
extern const uint8_t kNormAdjust4x4[6][16];     // clause 8.5.9: [qP % 6][row * 4 + column]
extern const uint8_t kNormAdjust8x8[6][64];
extern const uint16_t kQuantFactor4x4[6][16]; // forward factors MF of an encoder: [QP % 6][row * 4 + column]
extern const uint16_t kQuantFactor8x8[6][64]; // times normAdjust and the norms of both basis rows about 2^24
extern const uint8_t kChromaQp[52];           // Table 8-15: QPC by qPI 0..51

// ---- Deblocking, clause 8.7.2.2 ----------------------------------------------------------------------------

extern const uint8_t kAlpha[52]; // Table 8-16, 8-bit samples
extern const uint8_t kBeta[52];
extern const uint8_t kTc0[52][4]; // Table 8-17: [indexA][bS], bS 0 and unused entries 0

// ---- Annex A -----------------------------------------------------------------------------------------------

inline constexpr int kLevelCount = 15;

struct LevelLimits {
    uint8_t level_idc;
    uint32_t MaxMBPS, MaxFS; // macroblocks a second and a frame
    uint32_t MaxDpbMbs;      // macroblocks of the decoded picture buffer
};
extern const LevelLimits kLevelLimits[kLevelCount]; // Table A-1, levels 1 to 5.1 without 1b, ascending

// ---- Annex E -----------------------------------------------------------------------------------------------

struct AspectRatio {
    uint16_t Width, Height;
};
extern const AspectRatio kAspectRatio[17]; // Table E-1; 0 is unspecified and given as 0:0

} // namespace h264
