// Inter prediction of one sample as H.264 clause 8.4.2 writes it down, for samples of any depth: slow, and without a
// thought that the library's code shares.
#pragma once

#include <algorithm>

namespace test {

inline int ClipToDepth(int Value, int Depth) { return std::clamp(Value, 0, (1 << Depth) - 1); }

/// Clause 8.4.2.2.1. At(x, y) gives a full sample, counted from G.
template <class F>
int LumaSample(const F& At, int xFrac, int yFrac, int Depth)
{
    const auto Tap = [](auto&& p) { return p(-2) - 5 * p(-1) + 20 * p(0) + 20 * p(1) - 5 * p(2) + p(3); };
    const auto Round = [&](int Value, int Shift) { return ClipToDepth((Value + (1 << (Shift - 1))) >> Shift, Depth); };
    const auto Row = [&](int y) { return Tap([&](int x) { return At(x, y); }); };
    const auto Column = [&](int x) { return Tap([&](int y) { return At(x, y); }); };
    const auto G = [&] { return At(0, 0); };
    const auto H = [&] { return At(1, 0); };
    const auto M = [&] { return At(0, 1); };
    const auto b = [&] { return Round(Row(0), 5); };
    const auto h = [&] { return Round(Column(0), 5); };
    const auto s = [&] { return Round(Row(1), 5); };
    const auto m = [&] { return Round(Column(1), 5); };
    const auto j = [&] { return Round(Tap(Column), 10); }; // of cc, dd, h1, m1, ee and ff
    const auto Mean = [](int First, int Second) { return (First + Second + 1) >> 1; };
    switch (xFrac * 4 + yFrac) { // Table 8-12
    case 0: return G();
    case 1: return Mean(G(), h()); // d
    case 2: return h();
    case 3: return Mean(M(), h()); // n
    case 4: return Mean(G(), b()); // a
    case 5: return Mean(b(), h()); // e
    case 6: return Mean(h(), j()); // i
    case 7: return Mean(h(), s()); // p
    case 8: return b();
    case 9: return Mean(b(), j()); // f
    case 10: return j();
    case 11: return Mean(j(), s()); // q
    case 12: return Mean(H(), b()); // c
    case 13: return Mean(b(), m()); // g
    case 14: return Mean(j(), m()); // k
    default: return Mean(s(), m()); // r
    }
}

/// Clause 8.4.2.2.2. At(x, y) gives a full sample, counted from A.
template <class F>
int ChromaSample(const F& At, int xFrac, int yFrac)
{
    return ((8 - xFrac) * (8 - yFrac) * At(0, 0) + xFrac * (8 - yFrac) * At(1, 0) + (8 - xFrac) * yFrac * At(0, 1) +
            xFrac * yFrac * At(1, 1) + 32) >>
           6;
}

/// A weight of the slice header and its offset, as it stands there.
struct SampleWeight {
    int w, o;
};

/// Clause 8.4.2.3.2, of one prediction and of two.
inline int WeightedSample(int p, int logWD, SampleWeight s, int Depth)
{
    const int o = s.o * (1 << (Depth - 8));
    if (logWD < 1) return ClipToDepth(p * s.w + o, Depth);
    return ClipToDepth(((p * s.w + (1 << (logWD - 1))) >> logWD) + o, Depth);
}
inline int WeightedSample(int p0, int p1, int logWD, SampleWeight s0, SampleWeight s1, int Depth)
{
    const int o0 = s0.o * (1 << (Depth - 8)), o1 = s1.o * (1 << (Depth - 8));
    return ClipToDepth(((p0 * s0.w + p1 * s1.w + (1 << logWD)) >> (logWD + 1)) + ((o0 + o1 + 1) >> 1), Depth);
}

} // namespace test
