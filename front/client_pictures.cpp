#include "front/client_pictures.h"

#include <libyuv.h>

namespace {

uint64_t Samples(int32_t Width, int32_t Height)
{
    return Width > 0 && Height > 0 ? static_cast<uint64_t>(Width) * static_cast<uint64_t>(Height) : 0;
}

} // namespace

uint64_t PictureBytes(int32_t Width, int32_t Height) { return Samples(Width, Height) + Samples(Width, Height) / 4 * 2; }
uint64_t AccessUnitRoom(int32_t Width, int32_t Height) { return Samples(Width, Height) * 3; }

// The library's whole-picture conversions round the chroma of odd sizes up, past the end of the client's planes.
void I420ToNv12(const uint8_t* pPicture, int32_t Width, int32_t Height, uint8_t* pLuma, int32_t LumaPitch,
                uint8_t* pChroma, int32_t ChromaPitch)
{
    const uint8_t* const pCb = pPicture + Samples(Width, Height);
    const uint8_t* const pCr = pCb + Samples(Width, Height) / 4;
    libyuv::CopyPlane(pPicture, Width, pLuma, LumaPitch, Width, Height);
    libyuv::MergeUVPlane(pCb, Width / 2, pCr, Width / 2, pChroma, ChromaPitch, Width / 2, Height / 2);
}

void Nv12ToI420(const uint8_t* pLuma, int32_t LumaPitch, const uint8_t* pChroma, int32_t ChromaPitch, int32_t Width,
                int32_t Height, uint8_t* pPicture)
{
    uint8_t* const pCb = pPicture + Samples(Width, Height);
    uint8_t* const pCr = pCb + Samples(Width, Height) / 4;
    libyuv::CopyPlane(pLuma, LumaPitch, pPicture, Width, Width, Height);
    libyuv::SplitUVPlane(pChroma, ChromaPitch, pCb, Width / 2, pCr, Width / 2, Width / 2, Height / 2);
}
