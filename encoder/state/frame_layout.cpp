#include "encoder/state/frame_layout.h"

namespace UMC_H264_ENCODER {

FrameLayout MakeLayout(int32_t Width, int32_t Height, int32_t ChromaFormat, int32_t BitDepthLuma,
                       int32_t BitDepthChroma, bool FramesOnly, bool HasAlpha, int32_t BitDepthAlpha)
{
    FrameLayout l;
    l.Width = Width;
    l.Height = Height;
    l.AlignedWidth = (Width + 15) / 16 * 16;
    l.AlignedHeight = static_cast<int32_t>(CodedRows(Height, FramesOnly));
    l.MbWidth = l.AlignedWidth / 16;
    l.MbHeight = l.AlignedHeight / 16;
    l.MbCount = l.MbWidth * l.MbHeight;
    l.Pitch = (l.AlignedWidth + 2 * kLumaRoom + 63) / 64 * 64;
    l.ChromaFormat = ChromaFormat;
    l.BitDepthLuma = BitDepthLuma;
    l.BitDepthChroma = BitDepthChroma;
    l.HasAlpha = HasAlpha;
    l.BitDepthAlpha = BitDepthAlpha;
    static constexpr UMC::ColorFormat kFormats[2][3]{{UMC::GRAY, UMC::YUV420, UMC::YUV422},
                                                     {UMC::GRAYA, UMC::YUVA420, UMC::YUVA422}};
    l.Format = kFormats[HasAlpha][ChromaFormat];
    return l;
}

} // namespace UMC_H264_ENCODER
