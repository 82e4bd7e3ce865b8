#include "decoder/slice/references.h"

namespace UMC {

namespace {

constexpr uint8_t kGrey = 128;

} // namespace

ReferencePlanes DescribeReference(const H264DecoderFrame* pFrame, const H264DecoderFrame& Current)
{
    const bool Usable = pFrame && pFrame->m_pPlaneY && pFrame->m_Format == Current.m_Format;
    if (!Usable) return {{&kGrey, &kGrey, &kGrey}, 0, 0, 1, 1, 1, 1, 0};
    const PictureView View = ViewPicture(*pFrame, FRAME_PICTURE);
    const int32_t Width = View.MbWidth * 16, Height = View.MbHeight * 16;
    return {{View.pPlane[0], View.pPlane[1], View.pPlane[2]},
            View.PitchLuma,
            View.PitchChroma,
            Width,
            Height,
            Width / 2,
            Height / 2,
            0};
}

} // namespace UMC
