#include "kernels/transform/transform.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

#include "kernels/transform/transform_blocks.h"

namespace kernels {
namespace {

// Everything below is for samples of either width: coefficients of 8-bit ones have 16 bits, those of deeper ones 32.
// Steps count samples.

// The core transform of four values at Step distance. It multiplies a difference by up to 6 * 6 in both passes
// together.
template <class Value>
void Forward4(Value* p, int Step)
{
    const int s03 = p[0] + p[3 * Step], d03 = p[0] - p[3 * Step];
    const int s12 = p[Step] + p[2 * Step], d12 = p[Step] - p[2 * Step];
    p[0] = static_cast<Value>(s03 + s12);
    p[Step] = static_cast<Value>(2 * d03 + d12);
    p[2 * Step] = static_cast<Value>(s03 - s12);
    p[3 * Step] = static_cast<Value>(d03 - 2 * d12);
}
static_assert(255 * 6 * 6 <= INT16_MAX);

// The transform of eight values at Step distance whose inverse is that of 8.5.13.2: its rows are those of that matrix,
// in eighths 8 8 8 8, 12 10 6 3, 8 4 -4 -8, 10 -3 -12 -6, 8 -8 -8 8, 6 -12 3 10, 4 -8 8 -4, 3 -6 10 -12 and so on by
// symmetry. The largest sum of weights is that of the first row, 8, in each pass.
template <class Value>
void Forward8(Value* p, int Step)
{
    int s[4], d[4];
    for (int i = 0; i < 4; ++i) {
        s[i] = p[i * Step] + p[(7 - i) * Step];
        d[i] = p[i * Step] - p[(7 - i) * Step];
    }
    const int e0 = s[0] + s[3], e1 = s[1] + s[2], e2 = s[0] - s[3], e3 = s[1] - s[2];
    const int o0 = d[1] + d[2] + d[0] + (d[0] >> 1), o1 = d[0] - d[3] - d[2] - (d[2] >> 1);
    const int o2 = d[0] + d[3] - d[1] - (d[1] >> 1), o3 = d[1] - d[2] + d[3] + (d[3] >> 1);
    p[0] = static_cast<Value>(e0 + e1);
    p[Step] = static_cast<Value>(o0 + (o3 >> 2));
    p[2 * Step] = static_cast<Value>(e2 + (e3 >> 1));
    p[3 * Step] = static_cast<Value>(o1 + (o2 >> 2));
    p[4 * Step] = static_cast<Value>(e0 - e1);
    p[5 * Step] = static_cast<Value>(o2 - (o1 >> 2));
    p[6 * Step] = static_cast<Value>((e2 >> 1) - e3);
    p[7 * Step] = static_cast<Value>((o0 >> 2) - o3);
}
static_assert(255 * 8 * 8 <= INT16_MAX);

// Rows first: the halves of the 8x8 transform round differently the other way round.
template <int Size, class Value, class Sample>
void ForwardDifference(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction, ptrdiff_t PredictionStep,
                       Value* pCoeffs)
{
    constexpr auto kPass = Size == 4 ? Forward4<Value> : Forward8<Value>;
    for (int y = 0; y < Size; ++y, pSrc += SrcStep, pPrediction += PredictionStep)
        for (int x = 0; x < Size; ++x) pCoeffs[y * Size + x] = static_cast<Value>(pSrc[x] - pPrediction[x]);
    for (int i = 0; i < Size; ++i) kPass(pCoeffs + Size * i, 1);
    for (int i = 0; i < Size; ++i) kPass(pCoeffs + i, Size);
}

// Sums of DC coefficients of deep samples need more than 32 bits with their factor.
template <class Value>
Value Quantised(int Coefficient, uint32_t Factor, uint32_t Rounding, int Shift)
{
    using Product = std::conditional_t<sizeof(Value) == 2, uint32_t, uint64_t>;
    const auto Magnitude = static_cast<Product>(std::abs(Coefficient));
    const auto Level = static_cast<int>((Magnitude * Factor + Rounding) >> Shift);
    return static_cast<Value>(Coefficient < 0 ? -Level : Level);
}

// Quantises a block in place; whether any level is not 0.
template <class Value, class Params>
bool QuantBlock(Value* pCoeffs, const Params& Quant)
{
    Value Any = 0;
    for (const uint16_t Factor : Quant.Factor) {
        *pCoeffs = Quantised<Value>(*pCoeffs, Factor, Quant.Rounding, Quant.Shift);
        Any = static_cast<Value>(Any | *pCoeffs++);
    }
    return Any != 0;
}

// Blocks of Size follow one another: Count of them, the four of an 8x8 area or of a macroblock before the next one's.
template <int Size, class Value, class Sample, class Params>
uint32_t ForwardQuant(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction, ptrdiff_t PredictionStep,
                      Value* pLevels, const Params& Quant, int Count)
{
    uint32_t Mask = 0;
    for (int i = 0; i < Count; ++i, pLevels += Size * Size) {
        const int x = BlockX(i) * (Size / 4), y = BlockY(i) * (Size / 4);
        ForwardDifference<Size>(pSrc + y * SrcStep + x, SrcStep, pPrediction + y * PredictionStep + x, PredictionStep,
                                pLevels);
        Mask |= (QuantBlock(pLevels, Quant) ? 1u : 0u) << i;
    }
    return Mask;
}

// Block i of Count, whose DC goes to its place in a raster of blocks PerRow wide.
template <class Value, class Sample>
uint32_t ForwardQuantAc(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction, ptrdiff_t PredictionStep,
                        Value* pLevels, Value* pDc, const QuantParams& Quant, int Count, int PerRow)
{
    uint32_t Mask = 0;
    for (int i = 0; i < Count; ++i, pLevels += 16) {
        const int x = BlockX(i), y = BlockY(i);
        ForwardDifference<4>(pSrc + y * SrcStep + x, SrcStep, pPrediction + y * PredictionStep + x, PredictionStep,
                             pLevels);
        pDc[y / 4 * PerRow + x / 4] = pLevels[0];
        pLevels[0] = 0;
        Mask |= (QuantBlock(pLevels, Quant) ? 1u : 0u) << i;
    }
    return Mask;
}

// Quantises transformed DC values to pDc with one bit more of shift; non-zero when any level is not 0.
template <size_t Count, class Value>
uint32_t QuantDc(const int (&Transformed)[Count], Value* pDc, int Factor, uint32_t Rounding, int Shift)
{
    Value Any = 0;
    for (const int Coefficient : Transformed) {
        *pDc = Quantised<Value>(Coefficient, static_cast<uint32_t>(Factor), 2 * Rounding, Shift + 1);
        Any = static_cast<Value>(Any | *pDc++);
    }
    return Any != 0;
}

template <class Value>
uint32_t ForwardLumaDc(Value* pDc, int Factor, uint32_t Rounding, int Shift)
{
    int h[16];
    std::copy_n(pDc, 16, h);
    Hadamard4x4(h);
    for (int& Sum : h) Sum = (Sum + 1) >> 1;
    return QuantDc(h, pDc, Factor, Rounding, Shift);
}

template <class Value>
uint32_t ForwardChromaDc420(Value* pDc, int Factor, uint32_t Rounding, int Shift)
{
    int h[4];
    std::copy_n(pDc, 4, h);
    Hadamard2x2(h);
    return QuantDc(h, pDc, Factor, Rounding, Shift);
}

template <class Value>
uint32_t ForwardChromaDc422(Value* pDc, int Factor, uint32_t Rounding, int Shift)
{
    int c[8], h[8];
    std::copy_n(pDc, 8, c);
    for (int x = 0; x < 2; ++x) Hadamard4(c + x, 2);
    for (int i = 0; i < 8; i += 2) {
        h[kDcOrder422[i]] = c[i] + c[i + 1];
        h[kDcOrder422[i + 1]] = c[i] - c[i + 1];
    }
    return QuantDc(h, pDc, Factor, Rounding, Shift);
}

} // namespace

#define FORWARD(Deep, Sample, Value, kBytes)                                                                           \
    uint32_t ForwardQuant4x4##Deep##_px(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,              \
                                        ptrdiff_t PredictionStep, Value* pLevels, const QuantParams* pQuant)           \
    {                                                                                                                  \
        return ForwardQuant<4>(pSrc, SrcStep / kBytes, pPrediction, PredictionStep / kBytes, pLevels, *pQuant, 1);     \
    }                                                                                                                  \
    uint32_t ForwardQuant16x16##Deep##_px(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,            \
                                          ptrdiff_t PredictionStep, Value* pLevels, const QuantParams* pQuant)         \
    {                                                                                                                  \
        return ForwardQuant<4>(pSrc, SrcStep / kBytes, pPrediction, PredictionStep / kBytes, pLevels, *pQuant, 16);    \
    }                                                                                                                  \
    uint32_t ForwardQuant8x8##Deep##_px(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,              \
                                        ptrdiff_t PredictionStep, Value* pLevels, const QuantParams8x8* pQuant)        \
    {                                                                                                                  \
        return ForwardQuant<8>(pSrc, SrcStep / kBytes, pPrediction, PredictionStep / kBytes, pLevels, *pQuant, 1);     \
    }                                                                                                                  \
    uint32_t ForwardQuant8x8Of16x16##Deep##_px(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,       \
                                               ptrdiff_t PredictionStep, Value* pLevels, const QuantParams8x8* pQuant) \
    {                                                                                                                  \
        return ForwardQuant<8>(pSrc, SrcStep / kBytes, pPrediction, PredictionStep / kBytes, pLevels, *pQuant, 4);     \
    }                                                                                                                  \
    uint32_t ForwardQuantAc16x16##Deep##_px(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,          \
                                            ptrdiff_t PredictionStep, Value* pLevels, Value* pDc,                      \
                                            const QuantParams* pQuant)                                                 \
    {                                                                                                                  \
        return ForwardQuantAc(pSrc, SrcStep / kBytes, pPrediction, PredictionStep / kBytes, pLevels, pDc, *pQuant, 16, \
                              4);                                                                                      \
    }                                                                                                                  \
    uint32_t ForwardQuantAc8x8##Deep##_px(const Sample* pSrc, ptrdiff_t SrcStep, const Sample* pPrediction,            \
                                          ptrdiff_t PredictionStep, Value* pLevels, Value* pDc,                        \
                                          const QuantParams* pQuant)                                                   \
    {                                                                                                                  \
        return ForwardQuantAc(pSrc, SrcStep / kBytes, pPrediction, PredictionStep / kBytes, pLevels, pDc, *pQuant, 4,  \
                              2);                                                                                      \
    }                                                                                                                  \
    uint32_t ForwardLumaDc##Deep##_px(Value* pDc, int Factor, uint32_t Rounding, int Shift)                            \
    {                                                                                                                  \
        return ForwardLumaDc(pDc, Factor, Rounding, Shift);                                                            \
    }                                                                                                                  \
    uint32_t ForwardChromaDc420##Deep##_px(Value* pDc, int Factor, uint32_t Rounding, int Shift)                       \
    {                                                                                                                  \
        return ForwardChromaDc420(pDc, Factor, Rounding, Shift);                                                       \
    }                                                                                                                  \
    uint32_t ForwardChromaDc422##Deep##_px(Value* pDc, int Factor, uint32_t Rounding, int Shift)                       \
    {                                                                                                                  \
        return ForwardChromaDc422(pDc, Factor, Rounding, Shift);                                                       \
    }
FORWARD(, uint8_t, int16_t, 1)
FORWARD(Deep, uint16_t, int32_t, 2)
#undef FORWARD

} // namespace kernels
