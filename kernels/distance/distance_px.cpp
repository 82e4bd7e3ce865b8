#include "kernels/distance/distance.h"

#include <cstdlib>

namespace kernels {
namespace {

template <int Width, int Height>
int32_t Sad(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < Height; ++y, pA += StepA, pB += StepB)
        for (int x = 0; x < Width; ++x) Sum += std::abs(pA[x] - pB[x]);
    return Sum;
}

// Replaces the four values at Step distance by their Hadamard transform. The order of the results does not matter to a
// sum of magnitudes.
void Hadamard4(int* p, int Step)
{
    const int a = p[0] + p[Step], b = p[0] - p[Step];
    const int c = p[2 * Step] + p[3 * Step], d = p[2 * Step] - p[3 * Step];
    p[0] = a + c;
    p[Step] = b + d;
    p[2 * Step] = a - c;
    p[3 * Step] = b - d;
}

int32_t HadamardMagnitudes4x4(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    int d[16];
    for (int y = 0; y < 4; ++y, pA += StepA, pB += StepB) {
        for (int x = 0; x < 4; ++x) d[y * 4 + x] = pA[x] - pB[x];
        Hadamard4(d + y * 4, 1);
    }
    for (int x = 0; x < 4; ++x) Hadamard4(d + x, 4);
    int32_t Sum = 0;
    for (const int Value : d) Sum += std::abs(Value);
    return Sum;
}

template <int Width, int Height>
int32_t Satd(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        for (int x = 0; x < Width; x += 4) Sum += HadamardMagnitudes4x4(pA + x, StepA, pB + x, StepB);
    return Sum;
}

} // namespace

#define DISTANCE(Width, Height)                                                                                        \
    int32_t Sad##Width##x##Height##_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)         \
    {                                                                                                                  \
        return Sad<Width, Height>(pA, StepA, pB, StepB);                                                               \
    }                                                                                                                  \
    int32_t Satd##Width##x##Height##_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)        \
    {                                                                                                                  \
        return Satd<Width, Height>(pA, StepA, pB, StepB);                                                              \
    }
DISTANCE(16, 16)
DISTANCE(16, 8)
DISTANCE(8, 16)
DISTANCE(8, 8)
DISTANCE(8, 4)
DISTANCE(4, 8)
DISTANCE(4, 4)
#undef DISTANCE

void Sad16x16x4_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* const ppB[4], ptrdiff_t StepB, int32_t Sum[4])
{
    for (int i = 0; i < 4; ++i) Sum[i] = Sad<16, 16>(pA, StepA, ppB[i], StepB);
}

int32_t CountEdges16x16_px(const uint8_t* pA, ptrdiff_t StepA, int Difference)
{
    int32_t Count = 0;
    for (int y = 0; y < 15; ++y, pA += StepA)
        for (int x = 0; x < 15; ++x)
            Count += std::abs(pA[x] - pA[x + 1]) > Difference || std::abs(pA[x] - pA[x + StepA]) > Difference;
    return Count;
}

} // namespace kernels
