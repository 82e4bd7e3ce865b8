// The quantisers of the macroblock in hand.
#pragma once

#include "kernels/transform/transform.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int32_t kNoQp = -128; // MacroblockQuant::Qp before the first macroblock of a slice

/// SetQuantisers writes it; decisions and reconstruction read it.
struct MacroblockQuant {
    int32_t Qp;                                // QPY that the rest is for
    int32_t QpChroma;                          // QPC
    bool IsLossless;                           // transform bypass: samples are coded as they differ
    const kernels::QuantParams* pLuma;         // by the slice rule: 1/3 in I slices, 1/6 in others
    const kernels::QuantParams8x8* pLuma8x8;   // likewise
    const kernels::QuantParams* pLumaIntra;    // 1/3 always: the DC of Intra 16x16
    const kernels::QuantParams* pChroma;       // by the slice rule
    const kernels::QuantParams* pChromaDc;     // the same of QP'C,DC, which is QP'C + 3 in 4:2:2
    const int16_t *pLumaScale, *pLumaScale8x8; // LevelScale(QP' % 6, i, j) in raster order
    const int16_t *pChromaScale, *pChromaDcScale;
    int32_t LumaPer, ChromaPer, ChromaDcPer; // QP' / 6
    int32_t LumaZeroSad, ChromaZeroSad;      // parts of 4x4 samples that differ by no more have no levels
};

} // namespace UMC_H264_ENCODER
