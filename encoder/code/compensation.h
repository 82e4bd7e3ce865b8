// Inter prediction of a macroblock's blocks from a padded reference picture (clause 8.4.2.2).
#pragma once

#include "encoder/state/encoder_core.h"
#include "kernels/dispatch/kernels.h"

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
template <class Core>
void CompensateLuma(const Core& c, typename Core::Slice& s, const typename Core::Frame& Ref, MotionVector v, int32_t x,
                    int32_t y, int32_t Width, int32_t Height, typename Core::Pix* pDst, ptrdiff_t DstStep)
{
    using kernels::g_Kernels;
    const int32_t Left = x + (v.x >> 2), Top = y + (v.y >> 2);
    const auto* pSrc = Ref.m_pY + static_cast<ptrdiff_t>(Top) * Ref.m_Pitch + Left;
    ptrdiff_t SrcStep = Ref.m_Pitch;
    if (!detail::InsidePadding(Left - 2, Left + Width + 2, c.layout.AlignedWidth, kLumaPadding) ||
        !detail::InsidePadding(Top - 2, Top + Height + 2, c.layout.AlignedHeight, kLumaPadding)) {
        SrcStep = 24;
        g_Kernels.CopyClamped(Ref.m_pY, Ref.m_Pitch, c.layout.AlignedWidth, c.layout.AlignedHeight, Left - 2, Top - 2,
                              s.work_area.Clamped, SrcStep, Width + 5, Height + 5);
        pSrc = s.work_area.Clamped + 2 * SrcStep + 2;
    }
    const auto pInterpolate = Width == 16  ? g_Kernels.InterpolateLuma16
                              : Width == 8 ? g_Kernels.InterpolateLuma8
                                           : g_Kernels.InterpolateLuma4;
    pInterpolate(pSrc, SrcStep, pDst, DstStep, v.x & 3, v.y & 3, Height);
}

/// Both chroma blocks that belong to the luma block at (x, y); sizes in luma samples. Cr goes to pDst + 8.
template <class Core>
void CompensateChroma(const Core& c, typename Core::Slice& s, const typename Core::Frame& Ref, MotionVector v,
                      int32_t x, int32_t y, int32_t Width, int32_t Height, typename Core::Pix* pDst, ptrdiff_t DstStep)
{
    using kernels::g_Kernels;
    const int32_t w = Width / 2, h = Height / 2;
    const int32_t PlaneWidth = c.layout.AlignedWidth / 2, PlaneHeight = c.layout.AlignedHeight / 2;
    const int32_t Left = x / 2 + (v.x >> 3), Top = y / 2 + (v.y >> 3);
    const ptrdiff_t Offset = static_cast<ptrdiff_t>(Top) * Ref.m_Pitch + Left;
    const auto *pU = Ref.m_pU + Offset, *pV = Ref.m_pV + Offset;
    ptrdiff_t SrcStep = Ref.m_Pitch;
    if (!detail::InsidePadding(Left, Left + w, PlaneWidth, kChromaPadding) ||
        !detail::InsidePadding(Top, Top + h, PlaneHeight, kChromaPadding)) {
        SrcStep = 24;
        auto *const pClampedU = s.work_area.Clamped, *const pClampedV = pClampedU + 12;
        g_Kernels.CopyClamped(Ref.m_pU, Ref.m_Pitch, PlaneWidth, PlaneHeight, Left, Top, pClampedU, SrcStep, w + 1,
                              h + 1);
        g_Kernels.CopyClamped(Ref.m_pV, Ref.m_Pitch, PlaneWidth, PlaneHeight, Left, Top, pClampedV, SrcStep, w + 1,
                              h + 1);
        pU = pClampedU;
        pV = pClampedV;
    }
    const auto pInterpolate = w == 8   ? g_Kernels.InterpolateChroma8
                              : w == 4 ? g_Kernels.InterpolateChroma4
                                       : g_Kernels.InterpolateChroma2;
    pInterpolate(pU, pV, SrcStep, pDst, pDst + 8, DstStep, v.x & 7, v.y & 7, h);
}

} // namespace UMC_H264_ENCODER
