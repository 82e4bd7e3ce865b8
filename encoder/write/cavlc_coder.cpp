#include "encoder/write/cavlc_coder.h"

#include "Common/h264/h264_tables.h"

#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

h264::CoeffTokenClass TokenClass(int32_t nC)
{
    if (nC < 0) return nC == -1 ? h264::kNcMinus1 : h264::kNcMinus2;
    return nC < 2 ? h264::kNc0To1 : nC < 4 ? h264::kNc2To3 : nC < 8 ? h264::kNc4To7 : h264::kNc8Up;
}

// Levels of magnitude 1 at the end of the list, at most three.
template <class LevelType>
uint32_t CountTrailingOnes(const BlockLevels<LevelType>& b)
{
    uint32_t Ones = 0;
    while (Ones < 3 && Ones < b.Count && std::abs(b.Level[b.Count - 1 - Ones]) == 1) ++Ones;
    return Ones;
}

template <class Bits>
void Put(Bits& Out, const h264::VlcCode& Code)
{
    Out.PutBits(Code.Code, Code.Length);
}

} // namespace

// A levelCode in its prefix of zeros and its suffix (clause 9.2.2.1).
template <class Output>
[[gnu::always_inline]] inline void BasicCavlcCoder<Output>::Level(uint32_t Code, uint32_t SuffixLength)
{
    const uint32_t Escape = SuffixLength == 0 ? 30 : 15u << SuffixLength; // the first code with a prefix of 15 zeros
    if (Code < Escape) {
        const bool IsLong = SuffixLength == 0 && Code >= 14; // 14 zeros and four bits
        const uint32_t Prefix = IsLong ? 14 : Code >> SuffixLength, Size = IsLong ? 4 : SuffixLength;
        const uint32_t Suffix = IsLong ? Code - 14 : Code & ((1u << SuffixLength) - 1);
        Bits.PutBits(1u << Size | Suffix, static_cast<int32_t>(Prefix + 1 + Size));
        return;
    }
    Code -= Escape;
    uint32_t Size = 12; // a prefix of Size + 3 zeros; each one more doubles the codes
    for (; Code >= 1u << Size; ++Size) Code -= 1u << Size;
    Bits.PutVLCCode(0, static_cast<int32_t>(Size + 3));
    Bits.PutVLCCode(1u << Size | Code, static_cast<int32_t>(Size + 1));
}

template <class Output>
template <class LevelType>
void BasicCavlcCoder<Output>::Levels(const BlockLevels<LevelType>& b, uint32_t TrailingOnes)
{
    const uint32_t Count = b.Count;
    for (uint32_t i = 1; i <= TrailingOnes; ++i) Bits.PutBit(b.Level[Count - i] < 0);
    uint32_t SuffixLength = Count > 10 && TrailingOnes < 3 ? 1 : 0;
    for (uint32_t i = TrailingOnes + 1; i <= Count; ++i) {
        const int32_t Value = b.Level[Count - i];
        const auto Magnitude = static_cast<uint32_t>(std::abs(Value));
        uint32_t Code = 2 * Magnitude - (Value > 0 ? 2 : 1);
        if (i == TrailingOnes + 1 && TrailingOnes < 3) Code -= 2; // it is known to be above 1
        Level(Code, SuffixLength);
        if (SuffixLength == 0) SuffixLength = 1;
        if (Magnitude > 3u << (SuffixLength - 1) && SuffixLength < 6) ++SuffixLength;
    }
}

// total_zeros and the run_before of each level but the first in the list.
template <class Output>
template <class LevelType>
void BasicCavlcCoder<Output>::Runs(const BlockLevels<LevelType>& b, uint32_t Positions)
{
    const uint32_t Count = b.Count;
    if (Count == Positions) return;
    uint32_t Zeros = b.Position[Count - 1] + 1u - Count;
    Put(Bits, Positions == 4   ? h264::kTotalZerosChromaDc420[Count][Zeros]
              : Positions == 8 ? h264::kTotalZerosChromaDc422[Count][Zeros]
                               : h264::kTotalZeros4x4[Count][Zeros]);
    for (uint32_t i = Count - 1; i > 0 && Zeros > 0; --i) {
        const uint32_t Run = b.Position[i] - b.Position[i - 1] - 1u;
        Put(Bits, h264::kRunBefore[std::min(Zeros, 7u)][Run]);
        Zeros -= Run;
    }
}

template <class Output>
template <class LevelType>
void BasicCavlcCoder<Output>::Block(const BlockLevels<LevelType>* pBlock, int32_t nC, uint32_t Positions)
{
    const auto& Tokens = h264::kCoeffToken[TokenClass(nC)];
    if (!pBlock) return Put(Bits, Tokens[0][0]);
    const uint32_t TrailingOnes = CountTrailingOnes(*pBlock);
    Put(Bits, Tokens[TrailingOnes][pBlock->Count]);
    Levels(*pBlock, TrailingOnes);
    Runs(*pBlock, Positions);
}

template void CavlcCoder::Block(const BlockLevels<int16_t>*, int32_t, uint32_t);
template void CavlcCounter::Block(const BlockLevels<int16_t>*, int32_t, uint32_t);
template void CavlcCoder::Block(const BlockLevels<int32_t>*, int32_t, uint32_t);
template void CavlcCounter::Block(const BlockLevels<int32_t>*, int32_t, uint32_t);

} // namespace UMC_H264_ENCODER
