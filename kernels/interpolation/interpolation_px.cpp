#include "kernels/interpolation/interpolation.h"

#include <algorithm>
#include <cstring>

namespace kernels {
namespace {

// Everything below is for samples of either width. Steps count samples; Max is the largest value of one. Inlined, so
// that the functions of a width have their loops with it.
template <class Sample>
Sample Clip1(int Value, int Max)
{
    return static_cast<Sample>(std::clamp(Value, 0, Max));
}

// ---- Luma (8.4.2.2.1) --------------------------------------------------------------------------------------

// The taps around p[0] and p[Step], not normalised.
template <class Value>
int SixTap(const Value* p, ptrdiff_t Step)
{
    return p[-2 * Step] - 5 * p[-Step] + 20 * p[0] + 20 * p[Step] - 5 * p[2 * Step] + p[3 * Step];
}

template <class Sample>
int HalfSample(const Sample* p, ptrdiff_t Step, int Max)
{
    return Clip1<Sample>((SixTap(p, Step) + 16) >> 5, Max);
}

// Sample j, between four full samples.
template <class Sample>
int CentreSample(const Sample* p, ptrdiff_t Step, int Max)
{
    int Across[6];
    for (int i = 0; i < 6; ++i) Across[i] = SixTap(p + (i - 2) * Step, 1);
    return Clip1<Sample>((SixTap(Across + 2, 1) + 512) >> 10, Max);
}

int Mean(int a, int b) { return (a + b + 1) >> 1; }

template <class Sample>
int QuarterSample(const Sample* p, ptrdiff_t Step, int FracX, int FracY, int Max)
{
    // The nearer full row and column of an odd offset: right of or below the block for 3.
    const ptrdiff_t Column = FracX == 3 ? 1 : 0;
    const ptrdiff_t Row = FracY == 3 ? Step : 0;
    if (FracX == 0 && FracY == 0) return p[0];
    if (FracY == 0) return FracX == 2 ? HalfSample(p, 1, Max) : Mean(HalfSample(p, 1, Max), p[Column]);
    if (FracX == 0) return FracY == 2 ? HalfSample(p, Step, Max) : Mean(HalfSample(p, Step, Max), p[Row]);
    if (FracX == 2 && FracY == 2) return CentreSample(p, Step, Max);
    if (FracX == 2) return Mean(CentreSample(p, Step, Max), HalfSample(p + Row, 1, Max));
    if (FracY == 2) return Mean(CentreSample(p, Step, Max), HalfSample(p + Column, Step, Max));
    return Mean(HalfSample(p + Row, 1, Max), HalfSample(p + Column, Step, Max));
}

template <class Sample>
[[gnu::always_inline]] inline void InterpolateLuma(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst,
                                                   ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height,
                                                   int Max)
{
    for (int y = 0; y < Height; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < Width; ++x)
            pDst[x] = static_cast<Sample>(QuarterSample(pSrc + x, SrcStep, FracX, FracY, Max));
}

// ---- Chroma (8.4.2.2.2) ------------------------------------------------------------------------------------

template <class Sample>
[[gnu::always_inline]] inline void InterpolateChroma(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst,
                                                     ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height)
{
    const ptrdiff_t Right = FracX ? 1 : 0, Below = FracY ? SrcStep : 0; // a weight of 0 reads no further sample
    for (int y = 0; y < Height; ++y, pSrc += SrcStep, pDst += DstStep)
        for (int x = 0; x < Width; ++x) {
            const Sample* const p = pSrc + x;
            const int Upper = (8 - FracX) * p[0] + FracX * p[Right];
            const int Lower = (8 - FracX) * p[Below] + FracX * p[Below + Right];
            pDst[x] = static_cast<Sample>(((8 - FracY) * Upper + FracY * Lower + 32) >> 6);
        }
}

// ---- Two predictions and weights (8.4.2.3) -----------------------------------------------------------------

template <class Sample>
[[gnu::always_inline]] inline void AverageBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep,
                                                int Width, int Height)
{
    for (int y = 0; y < Height; ++y, pA += StepA, pDst += DstStep)
        for (int x = 0; x < Width; ++x) pDst[x] = static_cast<Sample>((pA[x] + pDst[x] + 1) >> 1);
}

template <class Sample>
[[gnu::always_inline]] inline void WeightBlock(Sample* pDst, ptrdiff_t Step, int Width, int Height, int LogDenom,
                                               int Weight, int Offset, int Max)
{
    const int Round = LogDenom ? 1 << (LogDenom - 1) : 0;
    for (int y = 0; y < Height; ++y, pDst += Step)
        for (int x = 0; x < Width; ++x) pDst[x] = Clip1<Sample>(((pDst[x] * Weight + Round) >> LogDenom) + Offset, Max);
}

template <class Sample>
[[gnu::always_inline]] inline void BiWeightBlock(const Sample* pA, ptrdiff_t StepA, Sample* pDst, ptrdiff_t DstStep,
                                                 int Width, int Height, int LogDenom, int Weight0, int Weight1,
                                                 int Offset, int Max)
{
    const int Round = 1 << LogDenom;
    for (int y = 0; y < Height; ++y, pA += StepA, pDst += DstStep)
        for (int x = 0; x < Width; ++x)
            pDst[x] = Clip1<Sample>(((pA[x] * Weight0 + pDst[x] * Weight1 + Round) >> (LogDenom + 1)) + Offset, Max);
}

// ---- Copies ------------------------------------------------------------------------------------------------

template <int Width, class Sample>
void CopyBlock(const Sample* pSrc, ptrdiff_t SrcStep, Sample* pDst, ptrdiff_t DstStep, int Height)
{
    for (int y = 0; y < Height; ++y, pSrc += SrcStep, pDst += DstStep) std::memcpy(pDst, pSrc, Width * sizeof(Sample));
}

template <class Sample>
void CopyClamped(const Sample* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y, Sample* pDst,
                 ptrdiff_t DstStep, int Width, int Height)
{
    for (int y = 0; y < Height; ++y, pDst += DstStep) {
        const Sample* const pRow = pPlane + std::clamp(Y + y, 0, PlaneHeight - 1) * Step;
        for (int x = 0; x < Width; ++x) pDst[x] = pRow[std::clamp(X + x, 0, PlaneWidth - 1)];
    }
}

constexpr int kMax8 = 255; // of samples of 8 bits
int MaxOf(int Depth) { return (1 << Depth) - 1; }

} // namespace

#define BLEND(Width)                                                                                                   \
    void AverageBlock##Width##_px(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height)    \
    {                                                                                                                  \
        AverageBlock(pA, StepA, pDst, DstStep, Width, Height);                                                         \
    }                                                                                                                  \
    void WeightBlock##Width##_px(uint8_t* pDst, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset)      \
    {                                                                                                                  \
        WeightBlock(pDst, Step, Width, Height, LogDenom, Weight, Offset, kMax8);                                       \
    }                                                                                                                  \
    void BiWeightBlock##Width##_px(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,   \
                                   int LogDenom, int Weight0, int Weight1, int Offset)                                 \
    {                                                                                                                  \
        BiWeightBlock(pA, StepA, pDst, DstStep, Width, Height, LogDenom, Weight0, Weight1, Offset, kMax8);             \
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
        InterpolateLuma(pSrc, SrcStep, pDst, DstStep, FracX, FracY, Width, Height, kMax8);                             \
    }
LUMA(16)
LUMA(8)
LUMA(4)
#undef LUMA

#define CHROMA(Width)                                                                                                  \
    void InterpolateChroma##Width##_px(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,  \
                                       uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)            \
    {                                                                                                                  \
        InterpolateChroma(pSrcU, SrcStep, pDstU, DstStep, FracX, FracY, Width, Height);                                \
        InterpolateChroma(pSrcV, SrcStep, pDstV, DstStep, FracX, FracY, Width, Height);                                \
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
    CopyClamped(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
}

// Steps of the functions below come in bytes.
void InterpolateLumaDeep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int FracX,
                            int FracY, int Width, int Height, int Depth)
{
    InterpolateLuma(pSrc, SrcStep / 2, pDst, DstStep / 2, FracX, FracY, Width, Height, MaxOf(Depth));
}

void InterpolateChromaDeep_px(const uint16_t* pSrcU, const uint16_t* pSrcV, ptrdiff_t SrcStep, uint16_t* pDstU,
                              uint16_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height)
{
    InterpolateChroma(pSrcU, SrcStep / 2, pDstU, DstStep / 2, FracX, FracY, Width, Height);
    InterpolateChroma(pSrcV, SrcStep / 2, pDstV, DstStep / 2, FracX, FracY, Width, Height);
}

void AverageBlockDeep_px(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height)
{
    AverageBlock(pA, StepA / 2, pDst, DstStep / 2, Width, Height);
}

void WeightBlockDeep_px(uint16_t* pDst, ptrdiff_t Step, int Width, int Height, int LogDenom, int Weight, int Offset,
                        int Depth)
{
    WeightBlock(pDst, Step / 2, Width, Height, LogDenom, Weight, Offset, MaxOf(Depth));
}

void BiWeightBlockDeep_px(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height,
                          int LogDenom, int Weight0, int Weight1, int Offset, int Depth)
{
    BiWeightBlock(pA, StepA / 2, pDst, DstStep / 2, Width, Height, LogDenom, Weight0, Weight1, Offset, MaxOf(Depth));
}

void CopyClampedDeep_px(const uint16_t* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                        uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height)
{
    CopyClamped(pPlane, Step / 2, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep / 2, Width, Height);
}

void CopyBlockDeep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height)
{
    (Width == 16 ? CopyBlock<16, uint16_t> : CopyBlock<8, uint16_t>)(pSrc, SrcStep / 2, pDst, DstStep / 2, Height);
}

} // namespace kernels
