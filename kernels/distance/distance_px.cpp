#include "kernels/distance/distance.h"

#include <cstdlib>

namespace kernels {
namespace {

// Everything below is for samples of either width. Steps count samples.
template <int Width, int Height, class Sample>
int32_t Sad(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
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

// The same of eight values: two of four, and their sums and differences.
void Hadamard8(int* p, int Step)
{
    Hadamard4(p, Step);
    Hadamard4(p + 4 * Step, Step);
    for (int i = 0; i < 4; ++i) {
        const int a = p[i * Step], b = p[(i + 4) * Step];
        p[i * Step] = a + b;
        p[(i + 4) * Step] = a - b;
    }
}

template <int Size, class Sample>
int32_t HadamardMagnitudes(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
{
    constexpr auto kPass = Size == 4 ? Hadamard4 : Hadamard8;
    int d[Size * Size];
    for (int y = 0; y < Size; ++y, pA += StepA, pB += StepB) {
        for (int x = 0; x < Size; ++x) d[y * Size + x] = pA[x] - pB[x];
        kPass(d + y * Size, 1);
    }
    for (int x = 0; x < Size; ++x) kPass(d + x, Size);
    int32_t Sum = 0;
    for (const int Value : d) Sum += std::abs(Value);
    return Sum;
}

template <int Width, int Height, class Sample>
int32_t Satd(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB)
{
    int32_t Sum = 0;
    for (int y = 0; y < Height; y += 4, pA += 4 * StepA, pB += 4 * StepB)
        for (int x = 0; x < Width; x += 4) Sum += HadamardMagnitudes<4>(pA + x, StepA, pB + x, StepB);
    return Sum;
}

template <class Sample>
int32_t CountEdges(const Sample* pA, ptrdiff_t StepA, int Difference)
{
    int32_t Count = 0;
    for (int y = 0; y < 15; ++y, pA += StepA)
        for (int x = 0; x < 15; ++x)
            Count += std::abs(pA[x] - pA[x + 1]) > Difference || std::abs(pA[x] - pA[x + StepA]) > Difference;
    return Count;
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
    }                                                                                                                  \
    int32_t Sad##Width##x##Height##Deep_px(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)   \
    {                                                                                                                  \
        return Sad<Width, Height>(pA, StepA / 2, pB, StepB / 2);                                                       \
    }                                                                                                                  \
    int32_t Satd##Width##x##Height##Deep_px(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)  \
    {                                                                                                                  \
        return Satd<Width, Height>(pA, StepA / 2, pB, StepB / 2);                                                      \
    }
DISTANCE(16, 16)
DISTANCE(16, 8)
DISTANCE(8, 16)
DISTANCE(8, 8)
DISTANCE(8, 4)
DISTANCE(4, 8)
DISTANCE(4, 4)
#undef DISTANCE

int32_t Satd8x8By8_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* pB, ptrdiff_t StepB)
{
    return HadamardMagnitudes<8>(pA, StepA, pB, StepB);
}

int32_t Satd8x8By8Deep_px(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* pB, ptrdiff_t StepB)
{
    return HadamardMagnitudes<8>(pA, StepA / 2, pB, StepB / 2);
}

void Sad16x16x4_px(const uint8_t* pA, ptrdiff_t StepA, const uint8_t* const ppB[4], ptrdiff_t StepB, int32_t Sum[4])
{
    for (int i = 0; i < 4; ++i) Sum[i] = Sad<16, 16>(pA, StepA, ppB[i], StepB);
}

void Sad16x16x4Deep_px(const uint16_t* pA, ptrdiff_t StepA, const uint16_t* const ppB[4], ptrdiff_t StepB,
                       int32_t Sum[4])
{
    for (int i = 0; i < 4; ++i) Sum[i] = Sad<16, 16>(pA, StepA / 2, ppB[i], StepB / 2);
}

int32_t CountEdges16x16_px(const uint8_t* pA, ptrdiff_t StepA, int Difference)
{
    return CountEdges(pA, StepA, Difference);
}

int32_t CountEdges16x16Deep_px(const uint16_t* pA, ptrdiff_t StepA, int Difference)
{
    return CountEdges(pA, StepA / 2, Difference);
}

} // namespace kernels
