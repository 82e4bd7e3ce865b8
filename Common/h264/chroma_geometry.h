// What chroma_format_idc decides about the chroma planes of a picture (Table 6-1).
#pragma once

#include <cstdint>

namespace h264 {

enum ChromaFormat : int32_t { CHROMA_400 = 0, CHROMA_420 = 1, CHROMA_422 = 2, CHROMA_444 = 3 };

struct ChromaGeometry {
    int32_t MbWidth, MbHeight; // samples of a macroblock in one plane; 0 without chroma
    int32_t Blocks;            // 4x4 blocks of a macroblock in one plane
    int32_t ShiftX, ShiftY;    // SubWidthC and SubHeightC as powers of two
};

/// By chroma_format_idc.
inline constexpr ChromaGeometry kChromaGeometry[4]{
    {0, 0, 0, 0, 0}, {8, 8, 4, 1, 1}, {8, 16, 8, 1, 0}, {16, 16, 16, 0, 0}};

} // namespace h264
