// Inter prediction of a macroblock's blocks from a padded reference picture (clause 8.4.2.2).
#pragma once

#include "encoder/state/frame_layout.h"
#include "encoder/state/picture_view.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

namespace detail {

// The block of Size samples and its filter's neighbours may lie beyond the padding: a skipped macroblock takes its
// neighbour's vector, which was limited for another place. The samples are then gathered one by one.
inline bool InsidePadding(int32_t First, int32_t Last, int32_t PlaneSize, int32_t Padding)
{
    return First >= -Padding && Last < PlaneSize + Padding;
}

} // namespace detail

/// Luma block at (x, y) of the picture, moved by a vector. Width 16, 8 or 4.
template <class Sample>
void CompensateLuma(WorkArea<Sample>& w, const PictureView<const Sample>& Ref, MotionVector v, int32_t x, int32_t y,
                    int32_t Width, int32_t Height, Sample* pDst, ptrdiff_t DstStep, int32_t BitDepth)
{
    const int32_t Left = x + (v.x >> 2), Top = y + (v.y >> 2);
    const auto* pSrc = Ref.pY + static_cast<ptrdiff_t>(Top) * Ref.Pitch + Left;
    ptrdiff_t SrcStep = Ref.Pitch;
    if (!detail::InsidePadding(Left - 2, Left + Width + 2, Ref.Width, kLumaPadding) ||
        !detail::InsidePadding(Top - 2, Top + Height + 2, Ref.Height, Ref.LumaRowsAround)) {
        SrcStep = 24;
        Kernels<Sample>.CopyClamped(Ref.pY, Ref.Pitch, Ref.Width, Ref.Height, Left - 2, Top - 2, w.Clamped, SrcStep,
                                    Width + 5, Height + 5);
        pSrc = w.Clamped + 2 * SrcStep + 2;
    }
    Kernels<Sample>.InterpolateLuma(pSrc, SrcStep, pDst, DstStep, v.x & 3, v.y & 3, Width, Height, BitDepth);
}

/// A vertical vector component in chroma samples: whole ones, and eighths beyond them (clause 8.4.1.4).
struct ChromaRow {
    int32_t Whole, Frac;
};
inline ChromaRow ChromaRowOf(int32_t Vector, int32_t ShiftY)
{
    return ShiftY ? ChromaRow{Vector >> 3, Vector & 7} : ChromaRow{Vector >> 2, (Vector & 3) * 2};
}

/// Both chroma blocks that belong to the luma block at (x, y); sizes in luma samples. Cr goes to pDst + 8.
/// @param ShiftY  1 for 4:2:0, 0 for 4:2:2
template <class Sample>
[[gnu::always_inline]] inline void CompensateChroma(WorkArea<Sample>& w, const PictureView<const Sample>& Ref,
                                                    MotionVector v, int32_t x, int32_t y, int32_t Width, int32_t Height,
                                                    int32_t ShiftY, Sample* pDst, ptrdiff_t DstStep)
{
    const int32_t BlockWidth = Width / 2, BlockHeight = Height >> ShiftY;
    const int32_t PlaneWidth = Ref.Width / 2, PlaneHeight = Ref.Height >> ShiftY;
    const ChromaRow Row = ChromaRowOf(v.y, ShiftY);
    const int32_t Left = x / 2 + (v.x >> 3), Top = (y >> ShiftY) + Row.Whole;
    const ptrdiff_t Offset = static_cast<ptrdiff_t>(Top) * Ref.Pitch + Left;
    const auto *pU = Ref.pU + Offset, *pV = Ref.pV + Offset;
    ptrdiff_t SrcStep = Ref.Pitch;
    if (!detail::InsidePadding(Left, Left + BlockWidth, PlaneWidth, kChromaPadding) ||
        !detail::InsidePadding(Top, Top + BlockHeight, PlaneHeight, Ref.ChromaRowsAround)) {
        SrcStep = 24;
        auto *const pClampedU = w.Clamped, *const pClampedV = pClampedU + 12;
        Kernels<Sample>.CopyClamped(Ref.pU, Ref.Pitch, PlaneWidth, PlaneHeight, Left, Top, pClampedU, SrcStep,
                                    BlockWidth + 1, BlockHeight + 1);
        Kernels<Sample>.CopyClamped(Ref.pV, Ref.Pitch, PlaneWidth, PlaneHeight, Left, Top, pClampedV, SrcStep,
                                    BlockWidth + 1, BlockHeight + 1);
        pU = pClampedU;
        pV = pClampedV;
    }
    Kernels<Sample>.InterpolateChroma(pU, pV, SrcStep, pDst, pDst + 8, DstStep, v.x & 7, Row.Frac, BlockWidth,
                                      BlockHeight);
}

} // namespace UMC_H264_ENCODER
