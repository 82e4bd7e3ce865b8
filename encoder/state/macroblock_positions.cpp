#include "encoder/state/macroblock_positions.h"

#include "Common/h264/chroma_geometry.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// How far a vector may reach: 15 samples beyond the picture, and no further than any may.
int32_t VectorLimit(int32_t SamplesToEdge) { return std::min(SamplesToEdge + 15, kFurthestVector); }

// In a frame, or in a field with every second line of it. Pairs are numbered one by one.
MacroblockPosition MakePosition(const FrameLayout& l, bool InField, bool InPairs, int32_t X, int32_t Y)
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[l.ChromaFormat];
    const int32_t Fields = InField ? 2 : 1, Pitch = Fields * l.Pitch, Height = l.AlignedHeight / Fields;
    const int32_t x = 16 * X, y = 16 * Y, Vectors = InPairs ? 32 : 16;
    const int32_t LastRow = InPairs && !InField ? Y | 1 : Y; // of the macroblock, or of its pair
    return {.Luma = y * Pitch + x,
            .Chroma = (y >> Chroma.ShiftY) * Pitch + (x >> Chroma.ShiftX),
            .LimitLeft = -VectorLimit(x),
            .LimitRight = VectorLimit(l.AlignedWidth - 16 - x),
            .LimitTop = -VectorLimit(y),
            .LimitBottom = VectorLimit(Height - 16 - y),
            .X = X,
            .Y = Y,
            .Below = 16 * LastRow + 16 < Height ? Vectors * l.MbWidth : 0,
            .Right = x + 16 < l.AlignedWidth ? Vectors : 0};
}

} // namespace

void FillPositions(EncoderSettings& Settings)
{
    const FrameLayout& l = Settings.Layout;
    const bool InFields = Settings.Params.coding_type == CODING_FIELDS;
    const bool InPairs = Settings.Params.coding_type == CODING_ADAPTIVE;
    const int32_t Count = InFields ? l.MbCount / 2 : l.MbCount;
    Settings.Positions.resize(static_cast<size_t>(Count));
    Settings.FieldPositions.resize(InPairs ? static_cast<size_t>(Count) : 0);
    for (int32_t i = 0; i < Count; ++i) {
        const auto Place = static_cast<size_t>(i);
        if (!InPairs) {
            Settings.Positions[Place] = MakePosition(l, InFields, false, i % l.MbWidth, i / l.MbWidth);
            continue;
        }
        const int32_t X = i / 2 % l.MbWidth, Y = i / 2 / l.MbWidth;
        Settings.Positions[Place] = MakePosition(l, false, true, X, 2 * Y + i % 2);
        Settings.FieldPositions[Place] = MakePosition(l, true, true, X, Y);
    }
}

} // namespace UMC_H264_ENCODER
