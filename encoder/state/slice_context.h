// The state of one slice while it is coded.
#pragma once

#include "encoder/state/codec_traits.h"
#include "encoder/state/encoder_frame.h"
#include "encoder/state/neighbour_cache.h"
#include "encoder/write/pbs.h"

#include <array>
#include <memory>

namespace UMC_H264_ENCODER {

inline constexpr int kMaxReferences = 32;

// Reference picture lists 0 and 1 of a slice (clause 8.2.4).
template <class Sample>
struct RefPicLists {
    H264EncoderFrame<Sample>* Pictures[2][kMaxReferences] = {};
    int32_t Count[2] = {};
};

// Quantisers of one QP.
struct MacroblockQuant {
    const kernels::QuantParams* pLuma;      // by the slice rule: 1/3 in I slices, 1/6 in others
    const kernels::QuantParams* pLumaIntra; // 1/3 always: the DC of Intra 16x16
    const kernels::QuantParams* pChroma;
    const int16_t* pLumaScale; // LevelScale(QP % 6, i, j) in raster order
    const int16_t* pChromaScale;
    int32_t LumaPer, ChromaPer;         // QP / 6
    int32_t LumaZeroSad, ChromaZeroSad; // parts of 4x4 samples that differ by no more have no levels
};

// Half-sample planes around the block of a 16x16 search; made by HalfPlaneRight and its kin.
template <class Sample>
struct HalfPlanes {
    static constexpr int kStep = 32;
    alignas(16) Sample Right[18 * kStep];
    alignas(16) Sample Down[18 * kStep];
    alignas(16) Sample Both[18 * kStep];
    bool HasBoth; // Both is made when the walk first needs it
};

// Prediction, residual and decision scratch of one macroblock.
template <class Sample>
struct WorkArea {
    using Coeff = typename CodecTraits<Sample>::Coeff;
    using Levels = typename CodecTraits<Sample>::Levels;
    static constexpr int kPredStep = 16;
    static constexpr int kLocalStep = 32;

    alignas(16) Sample PredY[16 * 16];
    alignas(16) Sample PredUV[16 * 8];     // Cb in columns 0..7, Cr in 8..15
    alignas(16) Sample IntraY[2][16 * 16]; // best and trial prediction of Intra 16x16
    // Intra 4x4: a copy of the macroblock from column 8 of row 1 on, with the neighbours above and left of it.
    alignas(16) Sample Local[17 * kLocalStep];
    static constexpr int kLocalOrigin = kLocalStep + 8;
    alignas(16) Coeff Luma[256]; // levels, then scaled coefficients
    alignas(16) Coeff Chroma[2][64];
    alignas(16) Coeff Intra4x4[256];
    alignas(16) Coeff LumaDc[16];
    alignas(16) Coeff ChromaDc[2][8];
    Levels LumaLevels[16]; // luma4x4BlkIdx order; AC for Intra 16x16
    Levels Intra4x4Levels[16];
    Levels LumaDcLevels;
    Levels ChromaDcLevels[2];
    Levels ChromaAcLevels[2][4];
    HalfPlanes<Sample> Halves;
    alignas(16) Sample Trial[16 * 16]; // an interpolated point of a search
    alignas(16) Sample TrialUV[16 * 8];
    alignas(16) Sample Clamped[24 * 24]; // a reference block from beyond the padding
    uint8_t Intra4x4Modes[16];           // of the trial, raster order
    uint32_t Intra4x4Coded;              // of the trial, bit by luma4x4BlkIdx
    // The vector whose luma prediction is in PredY and whose levels are in Luma, after a skip test that failed.
    bool IsTested;
    MotionVector TestedVector;
    uint32_t TestedMask;
    std::unique_ptr<uint8_t[]> pVisited; // kVisitedPoints, for SEARCH_UMBRELLA
};

// The macroblock being coded.
template <class Sample>
struct CurrentMacroblock {
    int32_t mb_index;
    int32_t mb_x, mb_y;
    const Sample *pSrcY, *pSrcU, *pSrcV; // the macroblock in the source
    Sample *pRecY, *pRecU, *pRecV;       // and in the reconstruction; both may be the same samples
    int32_t SrcPitch;                    // samples, of the source
    int32_t pitch;                       // of the reconstruction, which is that of all references
    NeighbourCache Around;
    const MacroblockPosition* pPosition;
    GlobalMacroblock* pGlobal;
    LocalMacroblock* pLocal;
    MotionVector* pVectors; // of list 0, as are the two below: 16 each, raster order
    int8_t* pReferences;
    MotionVector* pDifferences;
    uint8_t* pIntraModes; // 16, raster order
    uint8_t* pCounts;     // kCountsPerMb, with CAVLC
};

template <class Sample>
struct SliceContext {
    int32_t slice_type;
    int32_t slice_id;
    int32_t slice_qp; // running QPY for mb_qp_delta
    int32_t mb_count, intra_count;
    int32_t first_mb;
    int32_t MbLimit; // macroblocks that belong to the slice
    int32_t slice_qp_delta;
    int32_t cabac_init_idc;
    CurrentMacroblock<Sample> cur_mb;
    int32_t deblock_idc, deblock_alpha, deblock_beta;
    CH264pBs<Sample, typename CodecTraits<Sample>::Coeff> bitstream;
    int32_t num_ref_idx_l0, num_ref_idx_l1;
    RefPicLists<Sample> ref_pic_lists;
    NeighbourTables Neighbours;
    MacroblockQuant Quant;
    int32_t QuantQp; // the QP that Quant is for
    WorkArea<Sample> work_area;
};

} // namespace UMC_H264_ENCODER
