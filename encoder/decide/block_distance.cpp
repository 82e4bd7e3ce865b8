#include "encoder/decide/block_distance.h"

#include "encoder/state/codec_traits.h"

#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

// 2x2, 2x4 and 4x2 are too small for kernels of their own.
template <class Sample, int Width, int Height>
int32_t SadSmall(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < Height; ++y, pA += StepA, pB += StepB)
        for (int x = 0; x < Width; ++x) Sum += std::abs(pA[x] - pB[x]);
    return Sum;
}

template <class Sample>
int32_t Satd2x2(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
{
    const int32_t a = pA[0] - pB[0], b = pA[1] - pB[1], c = pA[StepA] - pB[StepB], d = pA[StepA + 1] - pB[StepB + 1];
    return std::abs(a + b + c + d) + std::abs(a - b + c - d) + std::abs(a + b - c - d) + std::abs(a - b - c + d);
}

template <class Sample>
int32_t Satd2x4(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
{
    return Satd2x2(pA, StepA, pB, StepB) + Satd2x2(pA + 2 * StepA, StepA, pB + 2 * StepB, StepB);
}

template <class Sample>
int32_t Satd4x2(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
{
    return Satd2x2(pA, StepA, pB, StepB) + Satd2x2(pA + 2, StepA, pB + 2, StepB);
}

} // namespace

template <class Sample>
DistanceFunction<Sample>* SadFunction(int32_t Code)
{
    switch (Code) {
    case SizeCode(16, 16): return Kernels<Sample>.Sad16x16;
    case SizeCode(16, 8): return Kernels<Sample>.Sad16x8;
    case SizeCode(8, 16): return Kernels<Sample>.Sad8x16;
    case SizeCode(8, 8): return Kernels<Sample>.Sad8x8;
    case SizeCode(8, 4): return Kernels<Sample>.Sad8x4;
    case SizeCode(4, 8): return Kernels<Sample>.Sad4x8;
    case SizeCode(4, 4): return Kernels<Sample>.Sad4x4;
    case SizeCode(2, 2): return SadSmall<Sample, 2, 2>;
    case SizeCode(2, 4): return SadSmall<Sample, 2, 4>;
    case SizeCode(4, 2): return SadSmall<Sample, 4, 2>;
    default: return nullptr;
    }
}

template <class Sample>
DistanceFunction<Sample>* SatdFunction(int32_t Code)
{
    switch (Code) {
    case SizeCode(16, 16): return Kernels<Sample>.Satd16x16;
    case SizeCode(16, 8): return Kernels<Sample>.Satd16x8;
    case SizeCode(8, 16): return Kernels<Sample>.Satd8x16;
    case SizeCode(8, 8): return Kernels<Sample>.Satd8x8;
    case SizeCode(8, 4): return Kernels<Sample>.Satd8x4;
    case SizeCode(4, 8): return Kernels<Sample>.Satd4x8;
    case SizeCode(4, 4): return Kernels<Sample>.Satd4x4;
    case SizeCode(2, 2): return Satd2x2<Sample>;
    case SizeCode(2, 4): return Satd2x4<Sample>;
    case SizeCode(4, 2): return Satd4x2<Sample>;
    default: return nullptr;
    }
}

template <class Sample>
int32_t SAD(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB, int32_t Code)
{
    DistanceFunction<Sample>* const pFunction = SadFunction<Sample>(Code);
    return pFunction ? pFunction(pA, StepA, pB, StepB) : 0;
}

template <class Sample>
int32_t SATD(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB, int32_t Code)
{
    DistanceFunction<Sample>* const pFunction = SatdFunction<Sample>(Code);
    return pFunction ? pFunction(pA, StepA, pB, StepB) : 0;
}

template DistanceFunction<uint8_t>* SadFunction<uint8_t>(int32_t);
template DistanceFunction<uint8_t>* SatdFunction<uint8_t>(int32_t);
template int32_t SAD(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, int32_t);
template int32_t SATD(const uint8_t*, ptrdiff_t, const uint8_t*, ptrdiff_t, int32_t);
template DistanceFunction<uint16_t>* SadFunction<uint16_t>(int32_t);
template DistanceFunction<uint16_t>* SatdFunction<uint16_t>(int32_t);
template int32_t SAD(const uint16_t*, ptrdiff_t, const uint16_t*, ptrdiff_t, int32_t);
template int32_t SATD(const uint16_t*, ptrdiff_t, const uint16_t*, ptrdiff_t, int32_t);

} // namespace UMC_H264_ENCODER
