#include "kernels/transform/transform.h"

#include <algorithm>
#include <type_traits>

#include "kernels/transform/transform_blocks.h"

namespace kernels {
namespace {

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

// The blocks of the first Count whose bit is set.
template <class Value, class Sample>
void AddBlocks4x4(Value* pCoeffs, Sample* pDst, ptrdiff_t Step, int Count, uint32_t Bits, int Depth)
{
    for (int i = 0; i < Count; ++i)
        if (Bits >> i & 1)
            AddInverse<4>(pCoeffs + 16 * i, pDst + BlockY(i) * Step + BlockX(i), Step, Depth, Inverse4<Value>);
}

template <class Value, class Sample>
void AddBlocks8x8(Value* pCoeffs, Sample* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    for (int i = 0; i < 4; ++i)
        if (Bits >> 4 * i & 1)
            AddInverse<8>(pCoeffs + 64 * i, pDst + (i >> 1) * 8 * Step + (i & 1) * 8, Step, Depth, Inverse8<Value>);
}

// Factor * Scale * 2^Up, which wraps.
template <class Value>
Wide<Value> Scaled(Value Factor, int Scale, int Up)
{
    using Unsigned = std::make_unsigned_t<Wide<Value>>;
    return static_cast<Wide<Value>>(static_cast<Unsigned>(Wide<Value>{Factor} * Scale) << Up);
}

// (Factor * Scale * 2^QpPer + half) / 2^Down: the form of 8.5.10 and 8.5.13.1 with Down 6 and of 8.5.12.1 with Down 4.
template <class Value>
Value ScaleRounded(Value Factor, int Scale, int QpPer, int Down)
{
    if (QpPer >= Down) return static_cast<Value>(Scaled(Factor, Scale, QpPer - Down));
    return static_cast<Value>((Wide<Value>{Factor} * Scale + (1 << (Down - 1 - QpPer))) >> (Down - QpPer));
}

// 8.5.12.1 of 4x4 blocks, where 2^4 is taken off, and 8.5.13.1 of 8x8 blocks, 2^6.
template <int Size, class Value>
void Dequant(Value* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer, int FirstIndex)
{
    constexpr int kCount = Size * Size;
    for (int i = 0; i < Count; ++i, pLevels += kCount)
        if (Bits >> i & 1)
            for (int k = FirstIndex; k < kCount; ++k)
                pLevels[k] = ScaleRounded(pLevels[k], pScale[k], QpPer, Size == 4 ? 4 : 6);
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
    Value f[8];
    for (int i = 0; i < 8; ++i) f[i] = pLevels[kDcOrder422[i]];
    for (int x = 0; x < 2; ++x) Hadamard4(f + x, 2);
    for (int i = 0; i < 8; i += 2) {
        const auto a = f[i], b = f[i + 1];
        pCoeffs[16 * i] = ScaleRounded(static_cast<Value>(a + b), LevelScale, QpPer, 6);
        pCoeffs[16 * i + 16] = ScaleRounded(static_cast<Value>(a - b), LevelScale, QpPer, 6);
    }
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

void AddResidual4x4Deep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    AddInverse<4>(pCoeffs, pDst, Step / 2, Depth, Inverse4<int32_t>);
}

void AddResidual8x8Deep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, int Depth)
{
    AddInverse<8>(pCoeffs, pDst, Step / 2, Depth, Inverse8<int32_t>);
}

void AddResidualLuma4x4_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    AddBlocks4x4(pCoeffs, pDst, Step, 16, Bits, 8);
}

void AddResidualLuma8x8_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    AddBlocks8x8(pCoeffs, pDst, Step, Bits, 8);
}

void AddResidualChroma_px(int16_t* pCoeffs, uint8_t* pDst, ptrdiff_t Step, uint32_t Bits)
{
    AddBlocks4x4(pCoeffs, pDst, Step, 4, Bits, 8);
}

void AddResidualLuma4x4Deep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    AddBlocks4x4(pCoeffs, pDst, Step / 2, 16, Bits, Depth);
}

void AddResidualLuma8x8Deep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    AddBlocks8x8(pCoeffs, pDst, Step / 2, Bits, Depth);
}

void AddResidualChromaDeep_px(int32_t* pCoeffs, uint16_t* pDst, ptrdiff_t Step, uint32_t Bits, int Depth)
{
    AddBlocks4x4(pCoeffs, pDst, Step / 2, 4, Bits, Depth);
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
    Dequant<4>(pLevels, Bits, Count, pScale, QpPer, FirstIndex);
}

void DequantBlocks8x8_px(int16_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer)
{
    Dequant<8>(pLevels, Bits, Count, pScale, QpPer, 0);
}

void DequantBlocksDeep_px(int32_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer, int FirstIndex)
{
    Dequant<4>(pLevels, Bits, Count, pScale, QpPer, FirstIndex);
}

void DequantBlocks8x8Deep_px(int32_t* pLevels, uint32_t Bits, int Count, const int16_t* pScale, int QpPer)
{
    Dequant<8>(pLevels, Bits, Count, pScale, QpPer, 0);
}

} // namespace kernels
