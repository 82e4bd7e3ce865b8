#include "encoder/picture/padding.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/state/frame_layout.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
void PadPlane(Sample* pPlane, ptrdiff_t Pitch, int32_t Width, int32_t Height, int32_t Padding)
{
    Sample* pRow = pPlane;
    for (int32_t y = 0; y < Height; ++y, pRow += Pitch) {
        std::fill_n(pRow - Padding, Padding, pRow[0]);
        std::fill_n(pRow + Width, Padding, pRow[Width - 1]);
    }
    const auto RowLength = static_cast<size_t>(Width + 2 * Padding);
    const Sample* const pFirst = pPlane - Padding;
    const Sample* const pLast = pFirst + (Height - 1) * Pitch;
    for (int32_t y = 1; y <= Padding; ++y) {
        std::copy_n(pFirst, RowLength, pPlane - Padding - y * Pitch);
        std::copy_n(pLast, RowLength, pPlane - Padding + (Height - 1 + y) * Pitch);
    }
}

} // namespace

template <class Sample>
void PadPicture(const PictureView<Sample>& View, int32_t ChromaFormat)
{
    const ptrdiff_t Pitch = View.Pitch;
    PadPlane(View.pY, Pitch, View.Width, View.Height, kLumaPadding);
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[ChromaFormat];
    if (Chroma.Blocks == 0) return;
    const int32_t Width = View.Width >> Chroma.ShiftX, Height = View.Height >> Chroma.ShiftY;
    PadPlane(View.pU, Pitch, Width, Height, kChromaPadding);
    PadPlane(View.pV, Pitch, Width, Height, kChromaPadding);
}

template void PadPicture(const PictureView<uint8_t>&, int32_t);
template void PadPicture(const PictureView<uint16_t>&, int32_t);

} // namespace UMC_H264_ENCODER
