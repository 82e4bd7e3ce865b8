// A frame, or one field of it, as a picture of its own: where its samples and its macroblocks' records lie.
#pragma once

#include "decoder/picture/frame.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

// The sample in column x and row y of a plane. Pitch counts bytes.
template <class Sample>
Sample* SampleAt(uint8_t* pPlane, ptrdiff_t Pitch, int x, int y)
{
    return reinterpret_cast<Sample*>(pPlane + (y * Pitch + x * ptrdiff_t{sizeof(Sample)}));
}
template <class Sample>
const Sample* SampleAt(const uint8_t* pPlane, ptrdiff_t Pitch, int x, int y)
{
    return reinterpret_cast<const Sample*>(pPlane + (y * Pitch + x * ptrdiff_t{sizeof(Sample)}));
}

// A field is every second line of the frame: its planes begin at its first line, its pitches are doubled, and its
// macroblocks stand in the frame's arrays one field behind the other. Nothing that works on a view asks for more.
// A value of its holder: ViewPicture() makes it and nobody changes it.
struct PictureView {
    uint8_t* pPlane[3] = {};
    ptrdiff_t PitchLuma = 0, PitchChroma = 0; // bytes
    int32_t MbWidth = 0, MbHeight = 0;        // macroblocks
    int32_t FirstMb = 0;                      // number in the frame's arrays of the picture's first macroblock
    int32_t ChromaFormat = 0;
    int32_t SampleBytes = 1;
    bool IsField = false, IsBottom = false;

    int32_t MbCount() const { return MbWidth * MbHeight; }
    // The luma samples of the macroblock in column X and row Y.
    template <class Sample>
    Sample* LumaOf(int32_t X, int32_t Y) const
    {
        return SampleAt<Sample>(pPlane[0], PitchLuma, X * 16, Y * 16);
    }
};

// Structure is TOP_FIELD, BOTTOM_FIELD, or that of a frame.
inline PictureView ViewPicture(const H264DecoderFrame& Frame, int32_t Structure)
{
    const bool IsBottom = Structure == BOTTOM_FIELD, IsField = IsBottom || Structure == TOP_FIELD;
    const int32_t SampleBytes = Frame.m_Format.SampleBytes();
    const ptrdiff_t Luma = ptrdiff_t{Frame.m_PitchLuma} * SampleBytes,
                    Chroma = ptrdiff_t{Frame.m_PitchChroma} * SampleBytes;
    PictureView View;
    View.pPlane[0] = Frame.m_pPlaneY;
    View.pPlane[1] = Frame.m_pPlaneU;
    View.pPlane[2] = Frame.m_pPlaneV;
    if (IsBottom)
        for (int i = 0; i < 3; ++i)
            if (View.pPlane[i]) View.pPlane[i] += i == 0 ? Luma : Chroma;
    View.PitchLuma = IsField ? 2 * Luma : Luma;
    View.PitchChroma = IsField ? 2 * Chroma : Chroma;
    View.MbWidth = Frame.m_Format.MbSize.Width;
    View.MbHeight = Frame.m_Format.MbSize.Height >> (IsField ? 1 : 0);
    View.FirstMb = IsBottom ? View.MbWidth * View.MbHeight : 0;
    View.ChromaFormat = Frame.m_Format.ChromaFormat;
    View.SampleBytes = SampleBytes;
    View.IsField = IsField;
    View.IsBottom = IsBottom;
    return View;
}

// The picture that a slice belongs to.
inline PictureView ViewPicture(const H264DecoderFrame& Frame, const SliceHeaderFields& Header)
{
    return ViewPicture(Frame, !Header.field_pic_flag     ? FRAME_PICTURE
                              : Header.bottom_field_flag ? BOTTOM_FIELD
                                                         : TOP_FIELD);
}

} // namespace UMC
