#include "kernels/interpolation/interpolation.h"

#include <algorithm>
#include <cstring>

namespace kernels {
namespace {

uint8_t Clip1(int Value) { return static_cast<uint8_t>(std::clamp(Value, 0, 255)); }

// ---- Luma (8.4.2.2.1) --------------------------------------------------------------------------------------

// The taps around p[0] and p[Step], not normalised.
template <class Sample>
int SixTap(const Sample* p, ptrdiff_t Step)
{
    return p[-2 * Step] - 5 * p[-Step] + 20 * p[0] + 20 * p[Step] - 5 * p[2 * Step] + p[3 * Step];
}

int HalfSample(const uint8_t* p, ptrdiff_t Step) { return Clip1((SixTap(p, Step) + 16) >> 5); }

// Sample j, between four full samples.
int CentreSample(const uint8_t* p, ptrdiff_t Step)
{
    int Across[6];
    for (int i = 0; i < 6; ++i) Across[i] = SixTap(p + (i - 2) * Step, 1);
    return Clip1((SixTap(Across + 2, 1) + 512) >> 10);
}

int Mean(int a, int b) { return (a + b + 1) >> 1; }

int QuarterSample(const uint8_t* p, ptrdiff_t Step, int FracX, int FracY)
{
    // The nearer full row and column of an odd offset: right of or below the block for 3.
    const ptrdiff_t Column = FracX == 3 ? 1 : 0;
    const ptrdiff_t Row = FracY == 3 ? Step : 0;
    if (FracX == 0 && FracY == 0) return p[0];
    if (FracY == 0) return FracX == 2 ? HalfSample(p, 1) : Mean(HalfSample(p, 1), p[Column]);
    if (FracX == 0) return FracY == 2 ? HalfSample(p, Step) : Mean(HalfSample(p, Step), p[Row]);
    if (FracX == 2 && FracY == 2) return CentreSample(p, Step);
    if (FracX == 2) return Mean(CentreSample(p, Step), HalfSample(p + Row, 1));
    if (FracY == 2) return Mean(CentreSample(p, Step), HalfSample(p + Column, Step));
    return Mean(HalfSample(p + Row, 1), HalfSample(p + Column, Step));
}

template <int Width>
void InterpolateLuma(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX, int FracY,
                     int Height)
{
    for (int y = 0; y < Height; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < Width; ++x) pDst[x] = static_cast<uint8_t>(QuarterSample(pSrc + x, SrcStep, FracX, FracY));
}

// ---- Chroma (8.4.2.2.2) ------------------------------------------------------------------------------------

template <int Width>
void InterpolateChromaPlane(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX,
                            int FracY, int Height)
{
    const ptrdiff_t Right = FracX ? 1 : 0, Below = FracY ? SrcStep : 0; // a weight of 0 reads no further sample
    for (int y = 0; y < Height; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < Width; ++x) {
            const uint8_t* const p = pSrc + x;
            const int Upper = (8 - FracX) * p[0] + FracX * p[Right];
            const int Lower = (8 - FracX) * p[Below] + FracX * p[Below + Right];
            pDst[x] = static_cast<uint8_t>(((8 - FracY) * Upper + FracY * Lower + 32) >> 6);
        }
}

template <int Width>
void InterpolateChroma(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU, uint8_t* pDstV,
                       ptrdiff_t DstStep, int FracX, int FracY, int Height)
{
    InterpolateChromaPlane<Width>(pSrcU, SrcStep, pDstU, DstStep, FracX, FracY, Height);
    InterpolateChromaPlane<Width>(pSrcV, SrcStep, pDstV, DstStep, FracX, FracY, Height);
}

// ---- Two predictions and weights (8.4.2.3) -----------------------------------------------------------------

template <int Width>
void AverageBlock(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    for (int y = 0; y < Height; ++y, pA += StepA, pDst += DstStep)
        for (int x = 0; x < Width; ++x) pDst[x] = static_cast<uint8_t>((pA[x] + pDst[x] + 1) >> 1);
}

template <int Width>
void WeightBlock(uint8_t* pDst, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset)
{
    const int Round = LogDenom ? 1 << (LogDenom - 1) : 0;
    for (int y = 0; y < Height; ++y, pDst += Step)
        for (int x = 0; x < Width; ++x) pDst[x] = Clip1(((pDst[x] * Weight + Round) >> LogDenom) + Offset);
}

template <int Width>
void BiWeightBlock(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height, int LogDenom,
                   int Weight0, int Weight1, int Offset)
{
    const int Round = 1 << LogDenom;
    for (int y = 0; y < Height; ++y, pA += StepA, pDst += DstStep)
        for (int x = 0; x < Width; ++x)
            pDst[x] = Clip1(((pA[x] * Weight0 + pDst[x] * Weight1 + Round) >> (LogDenom + 1)) + Offset);
}

template <int Width>
void CopyBlock(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    for (int y = 0; y < Height; ++y, pSrc += SrcStep, pDst += DstStep) std::memcpy(pDst, pSrc, Width);
}

} // namespace

#define BLEND(Width)                                                                                                   \
    void AverageBlock##Width##_px(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height)    \
    {                                                                                                                  \
        AverageBlock<Width>(pA, StepA, pDst, DstStep, Height);                                                         \
    }                                                                                                                  \
    void WeightBlock##Width##_px(uint8_t* pDst, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset)      \
    {                                                                                                                  \
        WeightBlock<Width>(pDst, Step, Height, LogDenom, Weight, Offset);                                              \
    }                                                                                                                  \
    void BiWeightBlock##Width##_px(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,   \
                                   int LogDenom, int Weight0, int Weight1, int Offset)                                 \
    {                                                                                                                  \
        BiWeightBlock<Width>(pA, StepA, pDst, DstStep, Height, LogDenom, Weight0, Weight1, Offset);                    \
    }
BLEND(16)
BLEND(8)
BLEND(4)
BLEND(2)
#undef BLEND

#define LUMA(Width)                                                                                                    \
    void InterpolateLuma##Width##_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep,         \
                                     int FracX, int FracY, int Height)                                                 \
    {                                                                                                                  \
        InterpolateLuma<Width>(pSrc, SrcStep, pDst, DstStep, FracX, FracY, Height);                                    \
    }
LUMA(16)
LUMA(8)
LUMA(4)
#undef LUMA

#define CHROMA(Width)                                                                                                  \
    void InterpolateChroma##Width##_px(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,  \
                                       uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)            \
    {                                                                                                                  \
        InterpolateChroma<Width>(pSrcU, pSrcV, SrcStep, pDstU, pDstV, DstStep, FracX, FracY, Height);                  \
    }
CHROMA(8)
CHROMA(4)
CHROMA(2)
#undef CHROMA

void CopyBlock16_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    CopyBlock<16>(pSrc, SrcStep, pDst, DstStep, Height);
}

void CopyBlock8_px(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    CopyBlock<8>(pSrc, SrcStep, pDst, DstStep, Height);
}

void CopyClamped_px(const uint8_t* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y, uint8_t* pDst,
                    ptrdiff_t DstStep, int Width, int Height)
{
    for (int y = 0; y < Height; ++y, pDst += DstStep) {
        const uint8_t* const pRow = pPlane + std::clamp(Y + y, 0, PlaneHeight - 1) * Step;
        for (int x = 0; x < Width; ++x) pDst[x] = pRow[std::clamp(X + x, 0, PlaneWidth - 1)];
    }
}

} // namespace kernels
