#include "kernels/deblocking/deblocking.h"

#include <algorithm>
#include <cstdlib>

namespace kernels {
namespace {

uint8_t Clip1(int Value) { return static_cast<uint8_t>(std::clamp(Value, 0, 255)); }

// What one piece of an edge is filtered with.
struct Piece {
    int Alpha, Beta, Clip, Strength;
};

// filterSamplesFlag (8.7.2.2). pQ is sample q0; samples lie Across bytes apart.
bool Filters(const uint8_t* pQ, ptrdiff_t Across, const Piece& With)
{
    const int p1 = pQ[-2 * Across], p0 = pQ[-Across], q0 = pQ[0], q1 = pQ[Across];
    return std::abs(p0 - q0) < With.Alpha && std::abs(p1 - p0) < With.Beta && std::abs(q1 - q0) < With.Beta;
}

int Change(const uint8_t* pQ, ptrdiff_t Across, int Limit)
{
    const int p1 = pQ[-2 * Across], p0 = pQ[-Across], q0 = pQ[0], q1 = pQ[Across];
    return std::clamp(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3, -Limit, Limit);
}

// One side of a luma edge with bS 4 (8.7.2.4), away from the edge in the direction of Out.
void SmoothSide(uint8_t* pEdge, ptrdiff_t Out, const int Near[4], const int Far[2], bool Strong)
{
    if (!Strong) {
        pEdge[0] = static_cast<uint8_t>((2 * Near[1] + Near[0] + Far[1] + 2) >> 2);
        return;
    }
    pEdge[0] = static_cast<uint8_t>((Near[2] + 2 * Near[1] + 2 * Near[0] + 2 * Far[0] + Far[1] + 4) >> 3);
    pEdge[Out] = static_cast<uint8_t>((Near[2] + Near[1] + Near[0] + Far[0] + 2) >> 2);
    pEdge[2 * Out] = static_cast<uint8_t>((2 * Near[3] + 3 * Near[2] + Near[1] + Near[0] + Far[0] + 4) >> 3);
}

void FilterLumaSample4(uint8_t* pQ, ptrdiff_t Across, const Piece& With)
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
void FilterLumaSample(uint8_t* pQ, ptrdiff_t Across, const Piece& With)
{
    const int p2 = pQ[-3 * Across], p1 = pQ[-2 * Across], p0 = pQ[-Across];
    const int q0 = pQ[0], q1 = pQ[Across], q2 = pQ[2 * Across];
    const bool SmoothP = std::abs(p2 - p0) < With.Beta, SmoothQ = std::abs(q2 - q0) < With.Beta;
    const int Delta = Change(pQ, Across, With.Clip + SmoothP + SmoothQ), Middle = (p0 + q0 + 1) >> 1;
    if (SmoothP)
        pQ[-2 * Across] = static_cast<uint8_t>(p1 + std::clamp((p2 + Middle - 2 * p1) >> 1, -With.Clip, With.Clip));
    if (SmoothQ) pQ[Across] = static_cast<uint8_t>(q1 + std::clamp((q2 + Middle - 2 * q1) >> 1, -With.Clip, With.Clip));
    pQ[-Across] = Clip1(p0 + Delta);
    pQ[0] = Clip1(q0 - Delta);
}

void FilterChromaSample(uint8_t* pQ, ptrdiff_t Across, const Piece& With)
{
    const int p1 = pQ[-2 * Across], p0 = pQ[-Across], q0 = pQ[0], q1 = pQ[Across];
    if (With.Strength == 4) {
        pQ[-Across] = static_cast<uint8_t>((2 * p1 + p0 + q1 + 2) >> 2);
        pQ[0] = static_cast<uint8_t>((2 * q1 + q0 + p1 + 2) >> 2);
        return;
    }
    const int Delta = Change(pQ, Across, With.Clip + 1);
    pQ[-Across] = Clip1(p0 + Delta);
    pQ[0] = Clip1(q0 - Delta);
}

Piece PieceOf(const EdgeParams& Params, int Edge, int Strength)
{
    const int Inner = Edge != 0;
    return {Params.Alpha[Inner], Params.Beta[Inner], Strength < 4 ? Params.Clip[Inner][Strength] : 0, Strength};
}

// Across is the distance of samples on a line through the edge, Along that of the lines.
void FilterLuma(uint8_t* pPlane, ptrdiff_t Across, ptrdiff_t Along, const EdgeParams& Params)
{
    for (int Edge = 0; Edge < 4; ++Edge)
        for (int Line = 0; Line < 16; ++Line) {
            const Piece With = PieceOf(Params, Edge, Params.Strength[Edge * 4 + Line / 4]);
            uint8_t* const pQ = pPlane + Edge * 4 * Across + Line * Along;
            if (With.Strength == 0 || !Filters(pQ, Across, With)) continue;
            if (With.Strength == 4)
                FilterLumaSample4(pQ, Across, With);
            else
                FilterLumaSample(pQ, Across, With);
        }
}

void FilterChroma(uint8_t* pPlane, ptrdiff_t Across, ptrdiff_t Along, const EdgeParams& Params,
                  const uint8_t pStrength[16])
{
    for (int Edge = 0; Edge < 4; Edge += 2)
        for (int Line = 0; Line < 8; ++Line) {
            const Piece With = PieceOf(Params, Edge, pStrength[Edge * 4 + Line / 2]);
            uint8_t* const pQ = pPlane + Edge * 2 * Across + Line * Along;
            if (With.Strength != 0 && Filters(pQ, Across, With)) FilterChromaSample(pQ, Across, With);
        }
}

} // namespace

void FilterLumaVertical_px(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma(pPlane, 1, Step, *pParams);
}

void FilterLumaHorizontal_px(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma(pPlane, Step, 1, *pParams);
}

void FilterChromaVertical_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                             const EdgeParams* pParamsV)
{
    FilterChroma(pPlaneU, 1, Step, *pParamsU, pParamsU->Strength);
    FilterChroma(pPlaneV, 1, Step, *pParamsV, pParamsU->Strength);
}

void FilterChromaHorizontal_px(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                               const EdgeParams* pParamsV)
{
    FilterChroma(pPlaneU, Step, 1, *pParamsU, pParamsU->Strength);
    FilterChroma(pPlaneV, Step, 1, *pParamsV, pParamsU->Strength);
}

} // namespace kernels
