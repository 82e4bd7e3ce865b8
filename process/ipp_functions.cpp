// The exported image functions: shells over libyuv, and one over the library's cubic resize.
#include "Common/h/log.h"
#include "kernels/dispatch/kernels.h"
#include "quilvex/Quilvex.h"

#include <libyuv.h>

#include <cstdlib>

#define QUILVEX_SOURCE "Quilvex"

namespace {

// The planes of a contiguous I420 picture; chroma pitch width / 2, rounded down.
template <class Byte>
struct I420 {
    Byte* pY;
    Byte* pU;
    Byte* pV;
    int32_t PitchY, PitchUV;

    I420(Byte* pBuffer, int32_t Width, int32_t Height)
        : pY(pBuffer), pU(pBuffer ? pBuffer + ptrdiff_t{Width} * Height : nullptr),
          pV(pBuffer ? pU + ptrdiff_t{Width} * Height / 4 : nullptr), PitchY(Width), PitchUV(Width / 2)
    {
    }
};

} // namespace

int32_t IPP_RGB24ToYUV420(const uint8_t* InBuf, uint8_t* OutBuf, int32_t iWidth, int32_t iHeight)
{
    ASSERT_OR_RETURN(InBuf && OutBuf && iWidth && iHeight, 0);
    const I420<uint8_t> Out(OutBuf, iWidth, iHeight);
    libyuv::ConvertToI420(InBuf, 0, Out.pY, Out.PitchY, Out.pU, Out.PitchUV, Out.pV, Out.PitchUV, 0, 0, iWidth, iHeight,
                          iWidth, iHeight, libyuv::kRotate0, libyuv::FOURCC_24BG);
    return 1;
}

int32_t IPP_YUV420ToRGB24(const uint8_t* InBuf, uint8_t* OutBuf, int32_t iWidth, int32_t iHeight)
{
    ASSERT_OR_RETURN(InBuf && OutBuf && iWidth && iHeight, 0);
    const int32_t Height = std::abs(iHeight);
    const I420<const uint8_t> In(InBuf, iWidth, Height);
    int32_t Pitch = iWidth * 3;
    if (iHeight < 0) { // bottom-up: the first row goes to the end of the buffer
        OutBuf += (ptrdiff_t{-1} - iHeight) * Pitch;
        Pitch = -Pitch;
    }
    libyuv::ConvertFromI420(In.pY, In.PitchY, In.pU, In.PitchUV, In.pV, In.PitchUV, OutBuf, Pitch, iWidth, Height,
                            libyuv::FOURCC_24BG);
    return 1;
}

int32_t IPP_RGB24ToRGB32(const uint8_t* pSource, int32_t iSourcePitch, uint8_t* pTarget, int32_t iTargetPitch,
                         int32_t iWidth, int32_t iHeight)
{
    return libyuv::RGB24ToARGB(pSource, iSourcePitch, pTarget, iTargetPitch, iWidth, iHeight);
}

int32_t IPP_RGB32ToRGB24(const uint8_t* pSource, int32_t iSourcePitch, uint8_t* pTarget, int32_t iTargetPitch,
                         int32_t iWidth, int32_t iHeight)
{
    return libyuv::ARGBToRGB24(pSource, iSourcePitch, pTarget, iTargetPitch, iWidth, iHeight);
}

int32_t IPP_YUV420_Scale(const uint8_t* pSource, int32_t iSourceWidth, int32_t iSourceHeight, uint8_t* pTarget,
                         int32_t iTargetWidth, int32_t iTargetHeight)
{
    const I420<const uint8_t> From(pSource, iSourceWidth, iSourceHeight);
    const I420<uint8_t> To(pTarget, iTargetWidth, iTargetHeight);
    return libyuv::I420Scale(From.pY, From.PitchY, From.pU, From.PitchUV, From.pV, From.PitchUV, iSourceWidth,
                             iSourceHeight, To.pY, To.PitchY, To.pU, To.PitchUV, To.pV, To.PitchUV, iTargetWidth,
                             iTargetHeight, libyuv::kFilterBilinear);
}

int32_t IPP_RGB24_Scale(const uint8_t* pSource, int32_t iSourceWidth, int32_t iSourceHeight, int32_t iSourcePitch,
                        uint8_t* pTarget, int32_t iTargetWidth, int32_t iTargetHeight, int32_t iTargetPitch)
{
    const double xFactor = static_cast<double>(iTargetWidth) / iSourceWidth;
    const double yFactor = static_cast<double>(iTargetHeight) / iSourceHeight;
    // The status is dropped deliberately: this export reports 0 whether it worked or not.
    kernels::g_Kernels.Resize8uC3(pSource, iSourceWidth, iSourceHeight, iSourcePitch, 0, 0, iSourceWidth, iSourceHeight,
                                  pTarget, iTargetPitch, iTargetWidth, iTargetHeight, xFactor, yFactor,
                                  kernels::kCubic);
    return 0;
}
