#include "encoder/state/frame_layout.h"

namespace UMC_H264_ENCODER {

FrameLayout MakeLayout(int32_t Width, int32_t Height, int32_t ChromaFormat, int32_t BitDepthLuma,
                       int32_t BitDepthChroma, bool FramesOnly, bool HasAlpha)
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
    l.Format = ChromaFormat == 0 ? UMC::GRAY : ChromaFormat == 2 ? UMC::YUV422 : UMC::YUV420;
    return l;
}

} // namespace UMC_H264_ENCODER
