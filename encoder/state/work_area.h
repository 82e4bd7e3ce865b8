// Scratch of a slice: what trials at a macroblock leave for its reconstruction and its syntax.
#pragma once

#include "encoder/state/codec_traits.h"
#include "encoder/state/encoder_types.h"
#include "encoder/state/macroblock_motion.h"

#include <cstdint>
#include <memory>

namespace UMC_H264_ENCODER {

// Half-sample planes around the block of a 16x16 search; made by HalfPlaneRight and its kin.
template <class Sample>
struct HalfPlanes {
    static constexpr int kStep = 32;
    alignas(16) Sample Right[18 * kStep];
    alignas(16) Sample Down[18 * kStep];
    alignas(16) Sample Both[18 * kStep];
};

inline constexpr int32_t kMaxChromaSamples = 16 * kMaxChromaBlocks; // of a macroblock in one plane

// What a try at a vector leaves: the prediction, and the levels of the luma against it.
template <class Sample>
struct InterTrial {
    alignas(16) Sample PredY[16 * 16];
    alignas(16) Sample PredUV[2 * kMaxChromaSamples];              // Cb in columns 0..7, Cr in 8..15
    alignas(16) typename CodecTraits<Sample>::Coeff Luma[16 * 16]; // levels, then scaled coefficients
    uint32_t LumaMask;                                             // a bit for each block with levels
};

// What a try at small intra blocks leaves beside their levels.
template <class Sample>
struct IntraTrial {
    static constexpr int kStep = 32;
    static constexpr int kOrigin = kStep + 8;
    // The macroblock, reconstructed block by block, from kOrigin on, with the neighbours above and left of it.
    alignas(16) Sample Local[17 * kStep];
    uint8_t Modes[16]; // raster order, of an 8x8 block four times
    uint32_t Coded;    // bit by luma4x4BlkIdx, of an 8x8 block four
};

/// Decisions and reconstruction write it, macroblock by macroblock; the syntax reads the levels. What lies in it is of
/// no use to the next macroblock.
template <class Sample>
struct WorkArea {
    using Coeff = typename CodecTraits<Sample>::Coeff;
    using Levels = typename CodecTraits<Sample>::Levels;
    static constexpr int kPredStep = 16;

    static constexpr uint8_t kInterTrials = 2;
    InterTrial<Sample> Inter[kInterTrials];
    MacroblockMotion Motion[kInterTrials];             // of candidates that Candidate::Vector does not tell all of
    alignas(16) Sample IntraY[2][16 * 16];             // predictions of Intra 16x16, the best and the one on trial
    alignas(16) Sample IntraUV[2 * kMaxChromaSamples]; // of the best chroma mode, Cb in columns 0..7
    IntraTrial<Sample> Of4x4, Of8x8;                   // of Intra 4x4 and Intra 8x8
    alignas(16) Coeff Luma[256];                       // of Intra 16x16: levels, then scaled coefficients
    alignas(16) Coeff Chroma[2][kMaxChromaSamples];
    alignas(16) Coeff Intra4x4[256];
    alignas(16) Coeff Intra8x8[64];
    alignas(16) Coeff LumaDc[16];
    alignas(16) Coeff ChromaDc[2][kMaxChromaBlocks];
    Levels LumaLevels[16]; // luma4x4BlkIdx order; AC for Intra 16x16
    BlockLevels8x8<typename CodecTraits<Sample>::Level> Luma8x8Levels[4];
    Levels Intra4x4Levels[16];
    Levels LumaDcLevels;
    Levels ChromaDcLevels[2];
    Levels ChromaAcLevels[2][kMaxChromaBlocks];
    HalfPlanes<Sample> Halves;
    alignas(16) Sample Trial[16 * 16]; // an interpolated point of a search
    alignas(16) Sample TrialUV[2 * kMaxChromaSamples];
    alignas(16) Sample JoinedY[16 * 16]; // of a part on trial, predicted from both lists
    alignas(16) Sample JoinedUV[2 * kMaxChromaSamples];
    alignas(16) Sample OtherY[16 * 16]; // of two predictions that are joined, that of list 0
    alignas(16) Sample OtherUV[2 * kMaxChromaSamples];
    alignas(16) Sample Clamped[24 * 24]; // a reference block from beyond the padding
    uint16_t Pcm[kMaxPcmSamples];
    // The source of the macroblock where it is coded more than once in its own place: planes one behind the other.
    static constexpr int32_t kSourceStep = 16;
    alignas(16) Sample Source[3 * 16 * kSourceStep];
    std::unique_ptr<uint8_t[]> pVisited; // kVisitedPoints, for SEARCH_UMBRELLA
};

} // namespace UMC_H264_ENCODER
