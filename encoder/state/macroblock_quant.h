// The quantisers of the macroblock in hand.
#pragma once

#include "kernels/transform/transform.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

/// SetQuantisers writes it; decisions and reconstruction read it.
struct MacroblockQuant {
    int32_t Qp;                             // QPY that the rest is for
    const kernels::QuantParams* pLuma;      // by the slice rule: 1/3 in I slices, 1/6 in others
    const kernels::QuantParams* pLumaIntra; // 1/3 always: the DC of Intra 16x16
    const kernels::QuantParams* pChroma;
    const int16_t* pLumaScale; // LevelScale(QP % 6, i, j) in raster order
    const int16_t* pChromaScale;
    int32_t LumaPer, ChromaPer;         // QP / 6
    int32_t LumaZeroSad, ChromaZeroSad; // parts of 4x4 samples that differ by no more have no levels
};

} // namespace UMC_H264_ENCODER
