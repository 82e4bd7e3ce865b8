// What an encoder is asked to do: fixed when it is built.
#pragma once

#include "encoder/state/codec_traits.h"
#include "encoder/state/encoder_params.h"
#include "encoder/state/encoder_types.h"
#include "encoder/state/frame_layout.h"
#include "encoder/write/parameter_sets.h"
#include "kernels/transform/transform.h"

#include <array>
#include <vector>

namespace UMC_H264_ENCODER {

// QP'Y and QP'C of the deepest samples, 0..75, and three more for the chroma DC of 4:2:2.
inline constexpr size_t kQuantSteps = 52 + 6 * (CodecTraits<uint16_t>::kMaxBitDepth - 8) + 3;

// Quantisers by QP', with the rounding of a third and of a sixth.
struct QuantTables {
    template <class T>
    using BySteps = std::array<T, kQuantSteps>;
    BySteps<kernels::QuantParams> Intra, Inter;
    BySteps<kernels::QuantParams8x8> Intra8x8, Inter8x8;
    alignas(16) int16_t Scale[6][16]; // LevelScale4x4(QP' % 6, i, j) in raster order
    alignas(16) int16_t Scale8x8[6][64];
    // The largest sum of absolute differences of a 4x4 part at which no coefficient can reach a level, with the
    // rounding of Inter: of luma, and of chroma with the DC transform of 4:2:0.
    BySteps<int32_t> LumaZeroSad, ChromaZeroSad;
};

using ThresholdTable = std::array<int32_t, 52>; // by QP

/// Index of tables that have prices and thresholds for QP 0..51: those of deep samples below 0 count as 0.
constexpr size_t PriceIndex(int32_t Qp) { return static_cast<size_t>(Qp < 0 ? 0 : Qp); }

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

    // Of the macroblocks of a picture; in frames of pairs of frame macroblocks, and of field macroblocks in a field.
    std::vector<MacroblockPosition> Positions, FieldPositions;
    QuantTables Quant;
    ThresholdTable ThresholdME, SkipIntraThreshold, TryAdvancedIntraThreshold;
};

} // namespace UMC_H264_ENCODER
