// Pieces that the inverse and the forward reference of the transforms share. Static, as in any file of the kernels.
#pragma once

#include <cstdint>
#include <type_traits>

namespace kernels {

// Place of a 4x4 block in its macroblock, in samples (6.4.3).
static inline int BlockX(int Block) { return (Block & 1) * 4 + (Block & 4) * 2; }
static inline int BlockY(int Block) { return (Block & 2) * 2 + (Block & 8); }

// What holds the sums of a few values.
template <class Value>
using Wide = std::conditional_t<sizeof(Value) == 2, int, int64_t>;

// Four values at Step distance times the matrix of 8.5.10.
template <class Value>
static void Hadamard4(Value* p, int Step)
{
    const auto a = p[0], b = p[Step], c = p[2 * Step], d = p[3 * Step];
    p[0] = static_cast<Value>(a + b + c + d);
    p[Step] = static_cast<Value>(a + b - c - d);
    p[2 * Step] = static_cast<Value>(a - b - c + d);
    p[3 * Step] = static_cast<Value>(a - b + c - d);
}

template <class Value>
static void Hadamard4x4(Value* p)
{
    for (int i = 0; i < 4; ++i) Hadamard4(p + 4 * i, 1);
    for (int i = 0; i < 4; ++i) Hadamard4(p + i, 4);
}

template <class Value>
static void Hadamard2x2(Value* p)
{
    const auto a = p[0], b = p[1], c = p[2], d = p[3];
    p[0] = static_cast<Value>(a + b + c + d);
    p[1] = static_cast<Value>(a - b + c - d);
    p[2] = static_cast<Value>(a + b - c - d);
    p[3] = static_cast<Value>(a - b - c + d);
}

// Where each of the eight chroma DC levels of 4:2:2 lies in their coding: [block in raster order] (clause 8.5.11.1).
constexpr int kDcOrder422[8] = {0, 2, 1, 5, 3, 6, 4, 7};

} // namespace kernels
