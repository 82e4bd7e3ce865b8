#include "encoder/decide/block_distance.h"

#include "kernels/dispatch/kernels.h"

#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

// 2x2, 2x4 and 4x2 are too small for kernels of their own.
template <int Width, int Height>
int32_t SadSmall(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < Height; ++y, pA += StepA, pB += StepB)
        for (int x = 0; x < Width; ++x) Sum += std::abs(pA[x] - pB[x]);
    return Sum;
}

int32_t Satd2x2(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    const int32_t a = pA[0] - pB[0], b = pA[1] - pB[1], c = pA[StepA] - pB[StepB], d = pA[StepA + 1] - pB[StepB + 1];
    return std::abs(a + b + c + d) + std::abs(a - b + c - d) + std::abs(a + b - c - d) + std::abs(a - b - c + d);
}

int32_t Satd2x4(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd2x2(pA, StepA, pB, StepB) + Satd2x2(pA + 2 * StepA, StepA, pB + 2 * StepB, StepB);
}

int32_t Satd4x2(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return Satd2x2(pA, StepA, pB, StepB) + Satd2x2(pA + 2, StepA, pB + 2, StepB);
}

} // namespace

DistanceFunction* SadFunction(int32_t Code)
{
    using kernels::g_Kernels;
    switch (Code) {
    case SizeCode(16, 16): return g_Kernels.Sad16x16;
    case SizeCode(16, 8): return g_Kernels.Sad16x8;
    case SizeCode(8, 16): return g_Kernels.Sad8x16;
    case SizeCode(8, 8): return g_Kernels.Sad8x8;
    case SizeCode(8, 4): return g_Kernels.Sad8x4;
    case SizeCode(4, 8): return g_Kernels.Sad4x8;
    case SizeCode(4, 4): return g_Kernels.Sad4x4;
    case SizeCode(2, 2): return SadSmall<2, 2>;
    case SizeCode(2, 4): return SadSmall<2, 4>;
    case SizeCode(4, 2): return SadSmall<4, 2>;
    default: return nullptr;
    }
}

DistanceFunction* SatdFunction(int32_t Code)
{
    using kernels::g_Kernels;
    switch (Code) {
    case SizeCode(16, 16): return g_Kernels.Satd16x16;
    case SizeCode(16, 8): return g_Kernels.Satd16x8;
    case SizeCode(8, 16): return g_Kernels.Satd8x16;
    case SizeCode(8, 8): return g_Kernels.Satd8x8;
    case SizeCode(8, 4): return g_Kernels.Satd8x4;
    case SizeCode(4, 8): return g_Kernels.Satd4x8;
    case SizeCode(4, 4): return g_Kernels.Satd4x4;
    case SizeCode(2, 2): return Satd2x2;
    case SizeCode(2, 4): return Satd2x4;
    case SizeCode(4, 2): return Satd4x2;
    default: return nullptr;
    }
}

int32_t SAD(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB, int32_t Code)
{
    DistanceFunction* const pFunction = SadFunction(Code);
    return pFunction ? pFunction(pA, StepA, pB, StepB) : 0;
}

int32_t SATD(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB, int32_t Code)
{
    DistanceFunction* const pFunction = SatdFunction(Code);
    return pFunction ? pFunction(pA, StepA, pB, StepB) : 0;
}

} // namespace UMC_H264_ENCODER
