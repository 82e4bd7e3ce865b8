#include "kernels/deblocking/deblocking.h"

#include <algorithm>
#include <cstdlib>

namespace kernels {
namespace {

// What one piece of an edge is filtered with, and the largest value of a sample.
struct Piece {
    int Alpha, Beta, Clip, Strength, Max;
};

template <class Sample>
Sample Clip1(int Value, int Max)
{
    return static_cast<Sample>(std::clamp(Value, 0, Max));
}

// filterSamplesFlag (8.7.2.2). pQ is sample q0; samples lie Across apart.
template <class Sample>
bool Filters(const Sample* pQ, ptrdiff_t Across, const Piece& With)
{
    const int p1 = pQ[-2 * Across], p0 = pQ[-Across], q0 = pQ[0], q1 = pQ[Across];
    return std::abs(p0 - q0) < With.Alpha && std::abs(p1 - p0) < With.Beta && std::abs(q1 - q0) < With.Beta;
}

template <class Sample>
int Change(const Sample* pQ, ptrdiff_t Across, int Limit)
{
    const int p1 = pQ[-2 * Across], p0 = pQ[-Across], q0 = pQ[0], q1 = pQ[Across];
    return std::clamp(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3, -Limit, Limit);
}

// One side of a luma edge with bS 4 (8.7.2.4), away from the edge in the direction of Out.
template <class Sample>
void SmoothSide(Sample* pEdge, ptrdiff_t Out, const int Near[4], const int Far[2], bool Strong)
{
    if (!Strong) {
        pEdge[0] = static_cast<Sample>((2 * Near[1] + Near[0] + Far[1] + 2) >> 2);
        return;
    }
    pEdge[0] = static_cast<Sample>((Near[2] + 2 * Near[1] + 2 * Near[0] + 2 * Far[0] + Far[1] + 4) >> 3);
    pEdge[Out] = static_cast<Sample>((Near[2] + Near[1] + Near[0] + Far[0] + 2) >> 2);
    pEdge[2 * Out] = static_cast<Sample>((2 * Near[3] + 3 * Near[2] + Near[1] + Near[0] + Far[0] + 4) >> 3);
}

template <class Sample>
void FilterLumaSample4(Sample* pQ, ptrdiff_t Across, const Piece& With)
{
    int p[4], q[4];
    for (int i = 0; i < 4; ++i) {
        p[i] = pQ[-(i + 1) * Across];
        q[i] = pQ[i * Across];
    }
    const bool Small = std::abs(p[0] - q[0]) < (With.Alpha >> 2) + 2;
    SmoothSide(pQ - Across, -Across, p, q, Small && std::abs(p[2] - p[0]) < With.Beta);
    SmoothSide(pQ, Across, q, p, Small && std::abs(q[2] - q[0]) < With.Beta);
}

// bS below 4 (8.7.2.3).
template <class Sample>
void FilterLumaSample(Sample* pQ, ptrdiff_t Across, const Piece& With)
{
    const int p2 = pQ[-3 * Across], p1 = pQ[-2 * Across], p0 = pQ[-Across];
    const int q0 = pQ[0], q1 = pQ[Across], q2 = pQ[2 * Across];
    const bool SmoothP = std::abs(p2 - p0) < With.Beta, SmoothQ = std::abs(q2 - q0) < With.Beta;
    const int Delta = Change(pQ, Across, With.Clip + SmoothP + SmoothQ), Middle = (p0 + q0 + 1) >> 1;
    if (SmoothP)
        pQ[-2 * Across] = static_cast<Sample>(p1 + std::clamp((p2 + Middle - 2 * p1) >> 1, -With.Clip, With.Clip));
    if (SmoothQ) pQ[Across] = static_cast<Sample>(q1 + std::clamp((q2 + Middle - 2 * q1) >> 1, -With.Clip, With.Clip));
    pQ[-Across] = Clip1<Sample>(p0 + Delta, With.Max);
    pQ[0] = Clip1<Sample>(q0 - Delta, With.Max);
}

template <class Sample>
void FilterChromaSample(Sample* pQ, ptrdiff_t Across, const Piece& With)
{
    const int p1 = pQ[-2 * Across], p0 = pQ[-Across], q0 = pQ[0], q1 = pQ[Across];
    if (With.Strength == 4) {
        pQ[-Across] = static_cast<Sample>((2 * p1 + p0 + q1 + 2) >> 2);
        pQ[0] = static_cast<Sample>((2 * q1 + q0 + p1 + 2) >> 2);
        return;
    }
    const int Delta = Change(pQ, Across, With.Clip + 1);
    pQ[-Across] = Clip1<Sample>(p0 + Delta, With.Max);
    pQ[0] = Clip1<Sample>(q0 - Delta, With.Max);
}

Piece PieceOf(const EdgeParams& Params, int Edge, int Strength, int Depth)
{
    const int Inner = Edge != 0, Scale = 1 << (Depth - 8);
    return {Params.Alpha[Inner] * Scale, Params.Beta[Inner] * Scale,
            Strength < 4 ? Params.Clip[Inner][Strength] * Scale : 0, Strength, (1 << Depth) - 1};
}

template <class Sample>
void FilterLumaLine(Sample* pQ, ptrdiff_t Across, const Piece& With)
{
    if (With.Strength == 0 || !Filters(pQ, Across, With)) return;
    if (With.Strength == 4)
        FilterLumaSample4(pQ, Across, With);
    else
        FilterLumaSample(pQ, Across, With);
}

// Across is the distance of samples on a line through the edge, Along that of the lines.
template <class Sample>
[[gnu::always_inline]] inline void FilterLuma(Sample* pPlane, ptrdiff_t Across, ptrdiff_t Along,
                                              const EdgeParams& Params, int Depth)
{
    for (int Edge = 0; Edge < 4; ++Edge)
        for (int Line = 0; Line < 16; ++Line) {
            const Piece With = PieceOf(Params, Edge, Params.Strength[Edge * 4 + Line / 4], Depth);
            FilterLumaLine(pPlane + Edge * 4 * Across + Line * Along, Across, With);
        }
}

template <class Sample>
void FilterLumaMixed(Sample* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams, int Depth)
{
    for (int Part = 0; Part < 2; ++Part)
        for (int Line = 0; Line < 8; ++Line)
            FilterLumaLine(pPlane + Part * Gap + Line * Step, 1,
                           PieceOf(pParams[Part], 0, pParams[Part].Strength[Line / 2], Depth));
}

// The edges of chroma, 4 samples apart, are every EdgeStep-th one of luma; each has so many Lines.
template <class Sample>
[[gnu::always_inline]] inline void FilterChroma(Sample* pPlane, ptrdiff_t Across, ptrdiff_t Along, int EdgeStep,
                                                int Lines, const EdgeParams& Params, const uint8_t pStrength[16],
                                                int Depth)
{
    for (int Edge = 0; Edge < 4; Edge += EdgeStep)
        for (int Line = 0; Line < Lines; ++Line) {
            const Piece With = PieceOf(Params, Edge, pStrength[Edge * 4 + Line * 4 / Lines], Depth);
            Sample* const pQ = pPlane + Edge / EdgeStep * 4 * Across + Line * Along;
            if (With.Strength != 0 && Filters(pQ, Across, With)) FilterChromaSample(pQ, Across, With);
        }
}

// Height is that of the macroblock in a plane; Step counts samples.
template <class Sample>
[[gnu::always_inline]] inline void FilterChromaVertical(Sample* pPlaneU, Sample* pPlaneV, ptrdiff_t Step, int Height,
                                                        const EdgeParams& U, const EdgeParams& V, int Depth)
{
    FilterChroma(pPlaneU, 1, Step, 2, Height, U, U.Strength, Depth);
    FilterChroma(pPlaneV, 1, Step, 2, Height, V, U.Strength, Depth);
}

template <class Sample>
[[gnu::always_inline]] inline void FilterChromaHorizontal(Sample* pPlaneU, Sample* pPlaneV, ptrdiff_t Step, int Height,
                                                          const EdgeParams& U, const EdgeParams& V, int Depth)
{
    FilterChroma(pPlaneU, Step, 1, 16 / Height, 8, U, U.Strength, Depth);
    FilterChroma(pPlaneV, Step, 1, 16 / Height, 8, V, U.Strength, Depth);
}

template <class Sample>
void FilterChromaMixed(Sample* pPlane, ptrdiff_t Gap, ptrdiff_t Step, int Height, const EdgeParams* pParams,
                       const EdgeParams* pStrengths, int Depth)
{
    for (int Part = 0; Part < 2; ++Part)
        for (int Line = 0; Line < Height / 2; ++Line) {
            const Piece With = PieceOf(pParams[Part], 0, pStrengths[Part].Strength[Line * 8 / Height], Depth);
            Sample* const pQ = pPlane + Part * Gap + Line * Step;
            if (With.Strength != 0 && Filters(pQ, 1, With)) FilterChromaSample(pQ, 1, With);
        }
}

} // namespace

void FilterLumaVertical_px(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma(pPlane, 1, Step, *pParams, 8);
}

void FilterLumaHorizontal_px(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma(pPlane, Step, 1, *pParams, 8);
}

void FilterChromaVertical_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                             const EdgeParams* pParamsV)
{
    FilterChromaVertical(pPlaneU, pPlaneV, Step, 8, *pParamsU, *pParamsV, 8);
}

void FilterChromaHorizontal_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                               const EdgeParams* pParamsV)
{
    FilterChromaHorizontal(pPlaneU, pPlaneV, Step, 8, *pParamsU, *pParamsV, 8);
}

void FilterChroma422Vertical_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                const EdgeParams* pParamsV)
{
    FilterChromaVertical(pPlaneU, pPlaneV, Step, 16, *pParamsU, *pParamsV, 8);
}

void FilterChroma422Horizontal_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                  const EdgeParams* pParamsV)
{
    FilterChromaHorizontal(pPlaneU, pPlaneV, Step, 16, *pParamsU, *pParamsV, 8);
}

void FilterLumaMixed_px(uint8_t* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLumaMixed(pPlane, Gap, Step, pParams, 8);
}

void FilterChromaMixed_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParamsU,
                          const EdgeParams* pParamsV)
{
    FilterChromaMixed(pPlaneU, Gap, Step, 8, pParamsU, pParamsU, 8);
    FilterChromaMixed(pPlaneV, Gap, Step, 8, pParamsV, pParamsU, 8);
}

void FilterChroma422Mixed_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step,
                             const EdgeParams* pParamsU, const EdgeParams* pParamsV)
{
    FilterChromaMixed(pPlaneU, Gap, Step, 16, pParamsU, pParamsU, 8);
    FilterChromaMixed(pPlaneV, Gap, Step, 16, pParamsV, pParamsU, 8);
}

// Steps of the functions below come in bytes.
void FilterLumaVerticalDeep_px(uint16_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams, int Depth)
{
    FilterLuma(pPlane, 1, Step / 2, *pParams, Depth);
}

void FilterLumaHorizontalDeep_px(uint16_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams, int Depth)
{
    FilterLuma(pPlane, Step / 2, 1, *pParams, Depth);
}

void FilterChromaVerticalDeep_px(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Step, int Height,
                                 const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth)
{
    FilterChromaVertical(pPlaneU, pPlaneV, Step / 2, Height, *pParamsU, *pParamsV, Depth);
}

void FilterChromaHorizontalDeep_px(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Step, int Height,
                                   const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth)
{
    FilterChromaHorizontal(pPlaneU, pPlaneV, Step / 2, Height, *pParamsU, *pParamsV, Depth);
}

void FilterLumaMixedDeep_px(uint16_t* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams, int Depth)
{
    FilterLumaMixed(pPlane, Gap / 2, Step / 2, pParams, Depth);
}

void FilterChromaMixedDeep_px(uint16_t* pPlaneU, uint16_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step, int Height,
                              const EdgeParams* pParamsU, const EdgeParams* pParamsV, int Depth)
{
    FilterChromaMixed(pPlaneU, Gap / 2, Step / 2, Height, pParamsU, pParamsU, Depth);
    FilterChromaMixed(pPlaneV, Gap / 2, Step / 2, Height, pParamsV, pParamsU, Depth);
}

} // namespace kernels
