#include "encoder/state/macroblock_positions.h"

#include "Common/h264/chroma_geometry.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// How far a vector may reach: 15 samples beyond the picture, and no further than any may.
int32_t VectorLimit(int32_t SamplesToEdge) { return std::min(SamplesToEdge + 15, kFurthestVector); }

// In a frame, or in a field with every second line of it.
MacroblockPosition MakePosition(const FrameLayout& l, bool InField, int32_t X, int32_t Y)
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[l.ChromaFormat];
    const int32_t Fields = InField ? 2 : 1, Pitch = Fields * l.Pitch, Height = l.AlignedHeight / Fields;
    const int32_t x = 16 * X, y = 16 * Y;
    return {.Luma = y * Pitch + x,
            .Chroma = (y >> Chroma.ShiftY) * Pitch + (x >> Chroma.ShiftX),
            .LimitLeft = -VectorLimit(x),
            .LimitRight = VectorLimit(l.AlignedWidth - 16 - x),
            .LimitTop = -VectorLimit(y),
            .LimitBottom = VectorLimit(Height - 16 - y),
            .X = X,
            .Y = Y};
}

} // namespace

void FillPositions(EncoderSettings& Settings)
{
    const FrameLayout& l = Settings.Layout;
    const bool InFields = Settings.Params.coding_type == CODING_FIELDS;
    Settings.Positions.clear();
    Settings.FieldPositions.clear();
    if (Settings.Params.coding_type == CODING_ADAPTIVE) {
        for (int32_t i = 0; i < l.MbCount; ++i) {
            const int32_t Pair = i / 2, X = Pair % l.MbWidth, Y = Pair / l.MbWidth;
            Settings.Positions.push_back(MakePosition(l, false, X, 2 * Y + i % 2));
            Settings.FieldPositions.push_back(MakePosition(l, true, X, Y));
        }
        return;
    }
    const int32_t Count = InFields ? l.MbCount / 2 : l.MbCount;
    for (int32_t i = 0; i < Count; ++i)
        Settings.Positions.push_back(MakePosition(l, InFields, i % l.MbWidth, i / l.MbWidth));
}

} // namespace UMC_H264_ENCODER
