#include "kernels/interpolation/half_planes.h"

namespace kernels {

namespace {

constexpr int kColumns = 24;

uint8_t Clip(int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

template <class T>
int Taps(const T* p, ptrdiff_t Step)
{
    return p[-2 * Step] - 5 * p[-Step] + 20 * p[0] + 20 * p[Step] - 5 * p[2 * Step] + p[3 * Step];
}

} // namespace

void HalfPlaneRight_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    pSrc -= SrcStep + 1;
    for (int y = 0; y < 18; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < kColumns; ++x) pDst[x] = Clip((Taps(pSrc + x, 1) + 16) >> 5);
}

void HalfPlaneDown_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    pSrc -= SrcStep + 1;
    for (int y = 0; y < 17; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < kColumns; ++x) pDst[x] = Clip((Taps(pSrc + x, SrcStep) + 16) >> 5);
}

void HalfPlaneBoth_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    pSrc -= SrcStep + 1;
    for (int y = 0; y < 17; ++y, pSrc += SrcStep, pDst += DstStep) {
        int Column[kColumns + 5]; // vertical sums, two columns left of the first to three right of the last
        for (int x = 0; x < kColumns + 5; ++x) Column[x] = Taps(pSrc + x - 2, SrcStep);
        for (int x = 0; x < kColumns; ++x) pDst[x] = Clip((Taps(Column + x + 2, 1) + 512) >> 10);
    }
}

} // namespace kernels
