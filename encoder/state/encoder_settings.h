// What an encoder is asked to do: fixed when it is built.
#pragma once

#include "encoder/state/encoder_params.h"
#include "encoder/state/encoder_types.h"
#include "encoder/state/frame_layout.h"
#include "encoder/write/parameter_sets.h"
#include "kernels/transform/transform.h"

#include <array>
#include <vector>

namespace UMC_H264_ENCODER {

// Quantisers of all QPs.
struct QuantTables {
    std::array<kernels::QuantParams, 52> Intra, Inter;
    alignas(16) int16_t Scale[6][16]; // flat lists: 16 * normAdjust
    // The largest sum of absolute differences of a 4x4 part at which no coefficient can reach a level, with the
    // rounding of Inter: of luma, and of chroma with its DC transform.
    std::array<int32_t, 52> LumaZeroSad, ChromaZeroSad;
};

using ThresholdTable = std::array<int32_t, 52>; // by QP

/// Init writes it; everyone else reads.
struct EncoderSettings {
    UMC::H264EncoderParams Params; // checked; the rates are those of the start
    FrameLayout Layout;
    uint32_t AnalysisFlags = 0; // AnalysisFlag
    int32_t gop_length = 1;
    std::vector<int32_t> gop_pattern;
    static constexpr int32_t frame_num_max = kFrameNumMax;

    // Every macroblock whose number is a multiple of this is coded as I_PCM; 0 for none. No setting asks for it, as no
    // decision chooses I_PCM with CABAC: a test reaches it here.
    int32_t PcmEvery = 0;

    std::vector<MacroblockPosition> Positions;
    QuantTables Quant;
    ThresholdTable ThresholdME, SkipIntraThreshold, TryAdvancedIntraThreshold;
};

} // namespace UMC_H264_ENCODER
