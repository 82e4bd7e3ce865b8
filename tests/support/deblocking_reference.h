// The deblocking filter across one edge, for one line of samples, as H.264 clause 8.7.2 writes it down: samples of any
// depth, slow, and without a thought that the library's code shares.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace test {

/// Samples away from the edge: p before it, q behind it. Of chroma the first two of either count.
struct EdgeSamples {
    int p[4], q[4];
};

/// As Tables 8-16 and 8-17 have them, for 8 bits.
struct EdgeThresholds {
    int alpha, beta, tC0;
};

/// Clauses 8.7.2.3 and 8.7.2.4 for the side of p.
inline void FilterSide(const int p[4], const int q[4], int Delta, int bS, int tC0, bool IsSmooth, bool IsStrong,
                       int (&Out)[4])
{
    if (bS < 4) {
        Out[0] = p[0] + Delta;
        if (IsSmooth) Out[1] = p[1] + std::clamp((p[2] + ((p[0] + q[0] + 1) >> 1) - p[1] * 2) >> 1, -tC0, tC0);
    } else if (IsSmooth && IsStrong) {
        Out[0] = (p[2] + 2 * p[1] + 2 * p[0] + 2 * q[0] + q[1] + 4) >> 3;
        Out[1] = (p[2] + p[1] + p[0] + q[0] + 2) >> 2;
        Out[2] = (2 * p[3] + 3 * p[2] + p[1] + p[0] + q[0] + 4) >> 3;
    } else {
        Out[0] = (2 * p[1] + p[0] + q[1] + 2) >> 2;
    }
}

/// Clause 8.7.2 from the strength and the thresholds on.
inline EdgeSamples FilterLine(const EdgeSamples& s, int bS, const EdgeThresholds& t, bool IsChroma, int Depth)
{
    const int Scale = 1 << (Depth - 8), alpha = t.alpha * Scale, beta = t.beta * Scale, tC0 = t.tC0 * Scale;
    const auto &p = s.p, &q = s.q;
    if (bS == 0 || std::abs(p[0] - q[0]) >= alpha || std::abs(p[1] - p[0]) >= beta || std::abs(q[1] - q[0]) >= beta)
        return s;
    const bool SmoothP = !IsChroma && std::abs(p[2] - p[0]) < beta, SmoothQ = !IsChroma && std::abs(q[2] - q[0]) < beta;
    const bool IsStrong = std::abs(p[0] - q[0]) < (alpha >> 2) + 2;
    const int tC = IsChroma ? tC0 + 1 : tC0 + SmoothP + SmoothQ;
    const int Delta = std::clamp(((q[0] - p[0]) * 4 + (p[1] - q[1]) + 4) >> 3, -tC, tC);
    EdgeSamples Out = s;
    FilterSide(p, q, Delta, bS, tC0, SmoothP, IsStrong, Out.p);
    FilterSide(q, p, -Delta, bS, tC0, SmoothQ, IsStrong, Out.q);
    for (int* const pFirst : {&Out.p[0], &Out.q[0]}) *pFirst = std::clamp(*pFirst, 0, (1 << Depth) - 1);
    return Out;
}

/// The same in a plane: pQ is sample q0, samples lie Across apart. Changes up to three samples of luma on either side.
template <class Sample>
void FilterLine(Sample* pQ, std::ptrdiff_t Across, int bS, const EdgeThresholds& t, bool IsChroma, int Depth)
{
    const int Count = IsChroma ? 2 : 4;
    EdgeSamples s{};
    for (int i = 0; i < Count; ++i) {
        s.p[i] = pQ[-(i + 1) * Across];
        s.q[i] = pQ[i * Across];
    }
    s = FilterLine(s, bS, t, IsChroma, Depth);
    for (int i = 0; i < Count; ++i) {
        pQ[-(i + 1) * Across] = static_cast<Sample>(s.p[i]);
        pQ[i * Across] = static_cast<Sample>(s.q[i]);
    }
}

} // namespace test
