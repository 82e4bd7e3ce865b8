#include "kernels/interpolation/half_planes.h"

#include <algorithm>

namespace kernels {

namespace {

// Everything below is for samples of either width. Steps count samples; Max is the largest value of one.
constexpr int kColumns = 24;

template <class Sample>
Sample Clip(int v, int Max)
{
    return static_cast<Sample>(std::clamp(v, 0, Max));
}

template <class T>
int Taps(const T* p, ptrdiff_t Step)
{
    return p[-2 * Step] - 5 * p[-Step] + 20 * p[0] + 20 * p[Step] - 5 * p[2 * Step] + p[3 * Step];
}

// Rows from -1 on, with taps at TapStep distance.
template <class Sample>
void HalfPlane(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, ptrdiff_t TapStep, int Rows,
               int Max)
{
    pSrc -= SrcStep + 1;
    for (int y = 0; y < Rows; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < kColumns; ++x) pDst[x] = Clip<Sample>((Taps(pSrc + x, TapStep) + 16) >> 5, Max);
}

template <class Sample>
void HalfPlaneBoth(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Max)
{
    pSrc -= SrcStep + 1;
    for (int y = 0; y < 17; ++y, pSrc += SrcStep, pDst += DstStep) {
        int Column[kColumns + 5]; // vertical sums, two columns left of the first to three right of the last
        for (int x = 0; x < kColumns + 5; ++x) Column[x] = Taps(pSrc + x - 2, SrcStep);
        for (int x = 0; x < kColumns; ++x) pDst[x] = Clip<Sample>((Taps(Column + x + 2, 1) + 512) >> 10, Max);
    }
}

constexpr int kMax8 = 255; // of samples of 8 bits
int MaxOf(int Depth) { return (1 << Depth) - 1; }

} // namespace

void HalfPlaneRight_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    HalfPlane(pSrc, SrcStep, pDst, DstStep, 1, 18, kMax8);
}

void HalfPlaneDown_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    HalfPlane(pSrc, SrcStep, pDst, DstStep, SrcStep, 17, kMax8);
}

void HalfPlaneBoth_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    HalfPlaneBoth(pSrc, SrcStep, pDst, DstStep, kMax8);
}

void HalfPlaneRightDeep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth)
{
    HalfPlane(pSrc, SrcStep / 2, pDst, DstStep / 2, 1, 18, MaxOf(Depth));
}

void HalfPlaneDownDeep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth)
{
    HalfPlane(pSrc, SrcStep / 2, pDst, DstStep / 2, SrcStep / 2, 17, MaxOf(Depth));
}

void HalfPlaneBothDeep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Depth)
{
    HalfPlaneBoth(pSrc, SrcStep / 2, pDst, DstStep / 2, MaxOf(Depth));
}

} // namespace kernels
