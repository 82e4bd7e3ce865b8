#include "kernels/transform/transform.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

namespace kernels {
namespace {

int16_t Wrap(int Value) { return static_cast<int16_t>(Value); }

// Place of a 4x4 block in its macroblock, in samples (6.4.3).
int BlockX(int Block) { return (Block & 1) * 4 + (Block & 4) * 2; }
int BlockY(int Block) { return (Block & 2) * 2 + (Block & 8); }

// What holds the sums of a few values.
template <class Value>
using Wide = std::conditional_t<sizeof(Value) == 2, int, int64_t>;

// Both passes of an inverse transform over a Size x Size block: rows first, then columns, as the halved terms round
// differently the other way round. Adds the rounded result to pDst and clears the block.
// Step counts samples.
template <int Size, class Value, class Sample, class Pass>
void AddInverse(Value* pCoeffs, Sample* pDst, ptrdiff_t Step, int Depth, Pass Transform)
{
    for (int y = 0; y < Size; ++y) Transform(pCoeffs + y * Size, 1);
    for (int x = 0; x < Size; ++x) Transform(pCoeffs + x, Size);
    for (int y = 0; y < Size; ++y, pDst += Step)
        for (int x = 0; x < Size; ++x) {
            Value& Coefficient = pCoeffs[y * Size + x];
            const int Sum = pDst[x] + (static_cast<Value>(Wide<Value>{Coefficient} + 32) >> 6);
            pDst[x] = static_cast<Sample>(std::clamp(Sum, 0, (1 << Depth) - 1));
            Coefficient = 0;
        }
}

// 8.5.12.2
template <class Value>
void Inverse4(Value* p, int Step)
{
    const auto Wrap = [](Wide<Value> v) { return static_cast<Value>(v); };
    const Wide<Value> a = p[0], b = p[Step], c = p[2 * Step], d = p[3 * Step];
    const Wide<Value> e0 = Wrap(a + c), e1 = Wrap(a - c), e2 = Wrap((b >> 1) - d), e3 = Wrap(b + (d >> 1));
    p[0] = Wrap(e0 + e3);
    p[Step] = Wrap(e1 + e2);
    p[2 * Step] = Wrap(e1 - e2);
    p[3 * Step] = Wrap(e0 - e3);
}

// 8.5.13.2
template <class Value>
void Inverse8(Value* p, int Step)
{
    const auto Wrap = [](Wide<Value> v) { return static_cast<Value>(v); };
    Wide<Value> d[8];
    for (int i = 0; i < 8; ++i) d[i] = p[i * Step];
    const Wide<Value> e0 = Wrap(d[0] + d[4]), e1 = Wrap(-d[3] + d[5] - d[7] - (d[7] >> 1));
    const Wide<Value> e2 = Wrap(d[0] - d[4]), e3 = Wrap(d[1] + d[7] - d[3] - (d[3] >> 1));
    const Wide<Value> e4 = Wrap((d[2] >> 1) - d[6]), e5 = Wrap(-d[1] + d[7] + d[5] + (d[5] >> 1));
    const Wide<Value> e6 = Wrap(d[2] + (d[6] >> 1)), e7 = Wrap(d[3] + d[5] + d[1] + (d[1] >> 1));
    const Wide<Value> f0 = Wrap(e0 + e6), f1 = Wrap(e1 + (e7 >> 2)), f2 = Wrap(e2 + e4), f3 = Wrap(e3 + (e5 >> 2));
    const Wide<Value> f4 = Wrap(e2 - e4), f5 = Wrap((e3 >> 2) - e5), f6 = Wrap(e0 - e6), f7 = Wrap(e7 - (e1 >> 2));
    p[0] = Wrap(f0 + f7);
    p[Step] = Wrap(f2 + f5);
    p[2 * Step] = Wrap(f4 + f3);
    p[3 * Step] = Wrap(f6 + f1);
    p[4 * Step] = Wrap(f6 - f1);
    p[5 * Step] = Wrap(f4 - f3);
    p[6 * Step] = Wrap(f2 - f5);
    p[7 * Step] = Wrap(f0 - f7);
}

// Four values at Step distance times the matrix of 8.5.10.
template <class Value>
void Hadamard4(Value* p, int Step)
{
    const auto a = p[0], b = p[Step], c = p[2 * Step], d = p[3 * Step];
    p[0] = static_cast<Value>(a + b + c + d);
    p[Step] = static_cast<Value>(a + b - c - d);
    p[2 * Step] = static_cast<Value>(a - b - c + d);
    p[3 * Step] = static_cast<Value>(a - b + c - d);
}

template <class Value>
void Hadamard4x4(Value* p)
{
    for (int i = 0; i < 4; ++i) Hadamard4(p + 4 * i, 1);
    for (int i = 0; i < 4; ++i) Hadamard4(p + i, 4);
}

template <class Value>
void Hadamard2x2(Value* p)
{
    const auto a = p[0], b = p[1], c = p[2], d = p[3];
    p[0] = static_cast<Value>(a + b + c + d);
    p[1] = static_cast<Value>(a - b + c - d);
    p[2] = static_cast<Value>(a + b - c - d);
    p[3] = static_cast<Value>(a - b - c + d);
}

// Factor * Scale * 2^Up, which wraps.
template <class Value>
Wide<Value> Scaled(Value Factor, int Scale, int Up)
{
    using Unsigned = std::make_unsigned_t<Wide<Value>>;
    return static_cast<Wide<Value>>(static_cast<Unsigned>(Wide<Value>{Factor} * Scale) << Up);
}

// (Factor * Scale * 2^QpPer + half) / 2^Down: the form of 8.5.10 with Down 6 and of 8.5.12.1 with Down 4.
template <class Value>
Value ScaleRounded(Value Factor, int Scale, int QpPer, int Down)
{
    if (QpPer >= Down) return static_cast<Value>(Scaled(Factor, Scale, QpPer - Down));
    return static_cast<Value>((Wide<Value>{Factor} * Scale + (1 << (Down - 1 - QpPer))) >> (Down - QpPer));
}

// Block i lies in row BlockY / 4 and column BlockX / 4 of the DC coefficients.
template <class Value>
void InverseLumaDc(const Value* pLevels, int LevelScale, int QpPer, Value* pCoeffs)
{
    Value f[16];
    std::copy_n(pLevels, 16, f);
    Hadamard4x4(f);
    for (int i = 0; i < 16; ++i) pCoeffs[16 * i] = ScaleRounded(f[BlockY(i) + BlockX(i) / 4], LevelScale, QpPer, 6);
}

template <class Value>
void InverseChromaDc420(const Value* pLevels, int LevelScale, int QpPer, Value* pCoeffs)
{
    Value f[4];
    std::copy_n(pLevels, 4, f);
    Hadamard2x2(f);
    for (int i = 0; i < 4; ++i) pCoeffs[16 * i] = static_cast<Value>(Scaled(f[i], LevelScale, QpPer) >> 5);
}

template <class Value>
void InverseChromaDc422(const Value* pLevels, int LevelScale, int QpPer, Value* pCoeffs)
{
    constexpr int kOrder[8] = {0, 2, 1, 5, 3, 6, 4, 7}; // level of each block (clause 8.5.11.1)
    Value f[8];
    for (int i = 0; i < 8; ++i) f[i] = pLevels[kOrder[i]];
    for (int x = 0; x < 2; ++x) Hadamard4(f + x, 2);
    for (int i = 0; i < 8; i += 2) {
        const auto a = f[i], b = f[i + 1];
        pCoeffs[16 * i] = ScaleRounded(static_cast<Value>(a + b), LevelScale, QpPer, 6);
        pCoeffs[16 * i + 16] = ScaleRounded(static_cast<Value>(a - b), LevelScale, QpPer, 6);
    }
}

// ---- Forward -----------------------------------------------------------------------------------------------

// The core transform of four values at Step distance. It multiplies a difference by up to 6 * 6 in both passes
// together.
void Forward4(int16_t* p, int Step)
{
    const int s03 = p[0] + p[3 * Step], d03 = p[0] - p[3 * Step];
    const int s12 = p[Step] + p[2 * Step], d12 = p[Step] - p[2 * Step];
    p[0] = Wrap(s03 + s12);
    p[Step] = Wrap(2 * d03 + d12);
    p[2 * Step] = Wrap(s03 - s12);
    p[3 * Step] = Wrap(d03 - 2 * d12);
}
static_assert(255 * 6 * 6 <= INT16_MAX);

void ForwardDifference(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction, ptrdiff_t PredictionStep,
                       int16_t* pCoeffs)
{
    for (int y = 0; y < 4; ++y, pSrc += SrcStep, pPrediction += PredictionStep)
        for (int x = 0; x < 4; ++x) pCoeffs[y * 4 + x] = Wrap(pSrc[x] - pPrediction[x]);
    for (int i = 0; i < 4; ++i) Forward4(pCoeffs + 4 * i, 1);
    for (int i = 0; i < 4; ++i) Forward4(pCoeffs + i, 4);
}

int16_t Quantised(int Value, uint32_t Factor, uint32_t Rounding, int Shift)
{
    const uint32_t Level = (static_cast<uint32_t>(std::abs(Value)) * Factor + Rounding) >> Shift;
    return Wrap(Value < 0 ? -static_cast<int>(Level) : static_cast<int>(Level));
}

// Quantises a block in place; whether any level is not 0.
bool QuantBlock(int16_t* pCoeffs, const QuantParams& Quant)
{
    int Any = 0;
    for (int i = 0; i < 16; ++i) {
        pCoeffs[i] = Quantised(pCoeffs[i], Quant.Factor[i], Quant.Rounding, Quant.Shift);
        Any |= pCoeffs[i];
    }
    return Any != 0;
}

} // namespace

// ---- Inverse -----------------------------------------------------------------------------------------------

void AddResidual4x4_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step)
{
    AddInverse<4>(pCoeffs, pDst, Step, 8, Inverse4<int16_t>);
}
void AddResidual8x8_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step)
{
    AddInverse<8>(pCoeffs, pDst, Step, 8, Inverse8<int16_t>);
}

void AddResidualLuma4x4_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    for (int i = 0; i < 16; ++i)
        if (Bits >> i & 1) AddResidual4x4_px(pCoeffs + 16 * i, pDst + BlockY(i) * Step + BlockX(i), Step);
}

void AddResidualLuma8x8_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    for (int i = 0; i < 4; ++i)
        if (Bits >> 4 * i & 1) AddResidual8x8_px(pCoeffs + 64 * i, pDst + (i >> 1) * 8 * Step + (i & 1) * 8, Step);
}

void AddResidualChroma_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    for (int i = 0; i < 4; ++i)
        if (Bits >> i & 1) AddResidual4x4_px(pCoeffs + 16 * i, pDst + BlockY(i) * Step + BlockX(i), Step);
}

void AddResidual4x4Deep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    AddInverse<4>(pCoeffs, pDst, Step / 2, Depth, Inverse4<int32_t>);
}

void AddResidual8x8Deep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    AddInverse<8>(pCoeffs, pDst, Step / 2, Depth, Inverse8<int32_t>);
}

void InverseLumaDc_px(const int16_t* pLevels, int LevelScale, int QpPer, int16_t* pCoeffs)
{
    InverseLumaDc(pLevels, LevelScale, QpPer, pCoeffs);
}

void InverseChromaDc420_px(const int16_t* pLevels, int LevelScale, int QpPer, int16_t* pCoeffs)
{
    InverseChromaDc420(pLevels, LevelScale, QpPer, pCoeffs);
}

void InverseChromaDc422_px(const int16_t* pLevels, int LevelScale, int QpPer, int16_t* pCoeffs)
{
    InverseChromaDc422(pLevels, LevelScale, QpPer, pCoeffs);
}

void InverseLumaDcDeep_px(const int32_t* pLevels, int LevelScale, int QpPer, int32_t* pCoeffs)
{
    InverseLumaDc(pLevels, LevelScale, QpPer, pCoeffs);
}

void InverseChromaDc420Deep_px(const int32_t* pLevels, int LevelScale, int QpPer, int32_t* pCoeffs)
{
    InverseChromaDc420(pLevels, LevelScale, QpPer, pCoeffs);
}

void InverseChromaDc422Deep_px(const int32_t* pLevels, int LevelScale, int QpPer, int32_t* pCoeffs)
{
    InverseChromaDc422(pLevels, LevelScale, QpPer, pCoeffs);
}

void DequantBlocks_px(int16_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer, int FirstIndex)
{
    for (int i = 0; i < Count; ++i, pLevels += 16)
        if (Bits >> i & 1)
            for (int k = FirstIndex; k < 16; ++k) pLevels[k] = ScaleRounded(pLevels[k], pScale[k], QpPer, 4);
}

// ---- Forward -----------------------------------------------------------------------------------------------

uint32_t ForwardQuant4x4_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                            ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams* pQuant)
{
    ForwardDifference(pSrc, SrcStep, pPrediction, PredictionStep, pLevels);
    return QuantBlock(pLevels, *pQuant);
}

uint32_t ForwardQuant16x16_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                              ptrdiff_t PredictionStep, int16_t* pLevels, const QuantParams* pQuant)
{
    uint32_t Mask = 0;
    for (int i = 0; i < 16; ++i)
        Mask |= ForwardQuant4x4_px(pSrc + BlockY(i) * SrcStep + BlockX(i), SrcStep,
                                   pPrediction + BlockY(i) * PredictionStep + BlockX(i), PredictionStep,
                                   pLevels + 16 * i, pQuant)
                << i;
    return Mask;
}

// Block i of Count, whose DC goes to its place in a raster of blocks PerRow wide.
static uint32_t ForwardQuantAc(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                               ptrdiff_t PredictionStep, int16_t* pLevels, int16_t* pDc, const QuantParams& Quant,
                               int Count, int PerRow)
{
    uint32_t Mask = 0;
    for (int i = 0; i < Count; ++i, pLevels += 16) {
        const int x = BlockX(i), y = BlockY(i);
        ForwardDifference(pSrc + y * SrcStep + x, SrcStep, pPrediction + y * PredictionStep + x, PredictionStep,
                          pLevels);
        pDc[y / 4 * PerRow + x / 4] = pLevels[0];
        pLevels[0] = 0;
        const bool Any = QuantBlock(pLevels, Quant);
        Mask |= static_cast<uint32_t>(Any) << i;
    }
    return Mask;
}

uint32_t ForwardQuantAc16x16_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                                ptrdiff_t PredictionStep, int16_t* pLevels, int16_t* pDc, const QuantParams* pQuant)
{
    return ForwardQuantAc(pSrc, SrcStep, pPrediction, PredictionStep, pLevels, pDc, *pQuant, 16, 4);
}

uint32_t ForwardQuantAc8x8_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pPrediction,
                              ptrdiff_t PredictionStep, int16_t* pLevels, int16_t* pDc, const QuantParams* pQuant)
{
    return ForwardQuantAc(pSrc, SrcStep, pPrediction, PredictionStep, pLevels, pDc, *pQuant, 4, 2);
}

// Quantises Count transformed DC values to pDc with one bit more of shift; non-zero when any level is not 0.
static uint32_t QuantDc(const int* pTransformed, int16_t* pDc, int Count, int Factor, uint32_t Rounding, int Shift)
{
    int Any = 0;
    for (int i = 0; i < Count; ++i) {
        pDc[i] = Quantised(pTransformed[i], static_cast<uint32_t>(Factor), 2 * Rounding, Shift + 1);
        Any |= pDc[i];
    }
    return Any != 0;
}

uint32_t ForwardLumaDc_px(int16_t* pDc, int Factor, uint32_t Rounding, int Shift)
{
    int h[16];
    std::copy_n(pDc, 16, h);
    Hadamard4x4(h);
    for (int& Value : h) Value = (Value + 1) >> 1;
    return QuantDc(h, pDc, 16, Factor, Rounding, Shift);
}

uint32_t ForwardChromaDc420_px(int16_t* pDc, int Factor, uint32_t Rounding, int Shift)
{
    int h[4];
    std::copy_n(pDc, 4, h);
    Hadamard2x2(h);
    return QuantDc(h, pDc, 4, Factor, Rounding, Shift);
}

} // namespace kernels
