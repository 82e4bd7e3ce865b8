// Where the samples of a picture lie: of a frame, or, at twice the pitch, of one of its fields.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

// Padding that a reference picture's planes carry on every side, in samples.
inline constexpr int32_t kLumaPadding = 48;
inline constexpr int32_t kChromaPadding = 32;

enum PictureStructure : uint8_t { STRUCTURE_TOP = 0, STRUCTURE_BOTTOM = 1, STRUCTURE_FRAME = 2 };

// What of a frame a picture is: the frame or one of its fields, of its planes or of its alpha plane.
struct PicturePart {
    PictureStructure Structure = STRUCTURE_FRAME;
    bool IsAuxiliary = false;
};

// The source of a picture, and a reference, is read through PictureView<const Sample>.
template <class Sample>
struct PictureView {
    Sample *pY = nullptr, *pU = nullptr, *pV = nullptr; // at the visible origin; without chroma the last two are null
    int32_t Pitch = 0;                                  // samples, of all three
    int32_t Width = 0, Height = 0;                      // samples of luma, whole macroblocks
    // Of a reference: rows of padding above and below the planes of luma and chroma.
    int32_t LumaRowsAround = kLumaPadding, ChromaRowsAround = kChromaPadding;
};

template <class Sample>
PictureView<const Sample> ReadOnly(const PictureView<Sample>& v)
{
    return {v.pY, v.pU, v.pV, v.Pitch, v.Width, v.Height, v.LumaRowsAround, v.ChromaRowsAround};
}

/// The part of a frame that a picture of a structure is.
template <class Sample>
PictureView<Sample> PartOf(const PictureView<Sample>& Frame, PictureStructure Structure)
{
    if (Structure == STRUCTURE_FRAME) return Frame;
    PictureView<Sample> Field = Frame;
    if (Structure == STRUCTURE_BOTTOM) {
        Field.pY += Frame.Pitch;
        if (Field.pU) Field.pU += Frame.Pitch;
        if (Field.pV) Field.pV += Frame.Pitch;
    }
    Field.Pitch = 2 * Frame.Pitch;
    Field.Height = Frame.Height / 2;
    return Field;
}

} // namespace UMC_H264_ENCODER
