#include "decoder/stream/cavlc.h"

#include <algorithm>
#include <iterator>

namespace UMC {

namespace {

[[noreturn]] void ThrowDamaged() { throw h264_exception(StatusInvalidParams); }

constexpr uint8_t kTokenClass[9] = {h264::kNc0To1, h264::kNc0To1, h264::kNc2To3, h264::kNc2To3, h264::kNc4To7,
                                    h264::kNc4To7, h264::kNc4To7, h264::kNc4To7, h264::kNc8Up};

uint32_t Lookup(H264Bitstream& Bits, const VlcTable& Table)
{
    const VlcTable::Entry& Found = Table.Find(Bits.ShowBits(32));
    if (Found.Length == 0) ThrowDamaged();
    Bits.SkipBits(Found.Length);
    return Found.Value;
}

uint32_t ReadToken(H264Bitstream& Bits, int nC)
{
    if (nC >= 8) return g_CavlcTables.FixedToken[Bits.GetBits(6)];
    const int Class = nC == -1 ? int{h264::kNcMinus1} : nC == -2 ? int{h264::kNcMinus2} : int{kTokenClass[nC]};
    return Lookup(Bits, g_CavlcTables.CoeffToken[Class]);
}

// Clause 9.2.2.1: one level behind the trailing ones, as levelCode.
uint32_t ReadLevelCode(H264Bitstream& Bits, uint32_t SuffixLength)
{
    const auto Prefix = static_cast<uint32_t>(std::countl_zero(Bits.ShowBits(32)));
    if (Prefix > 25) ThrowDamaged(); // far above what 14-bit samples need
    Bits.SkipBits(Prefix + 1);
    uint32_t Code = std::min(Prefix, 15u) << SuffixLength;
    uint32_t SuffixSize = SuffixLength;
    if (Prefix == 14 && SuffixLength == 0) SuffixSize = 4;
    if (Prefix >= 15) SuffixSize = Prefix - 3;
    if (SuffixSize) Code += Bits.GetBits(SuffixSize);
    if (Prefix >= 15 && SuffixLength == 0) Code += 15;
    if (Prefix >= 16) Code += (1u << (Prefix - 3)) - 4096;
    return Code;
}

void ReadLevels(H264Bitstream& Bits, uint32_t Count, uint32_t TrailingOnes, int32_t* pLevel)
{
    for (uint32_t i = 0; i < TrailingOnes; ++i) pLevel[i] = 1 - 2 * static_cast<int32_t>(Bits.GetBit());
    uint32_t SuffixLength = Count > 10 && TrailingOnes < 3;
    for (uint32_t i = TrailingOnes; i < Count; ++i) {
        uint32_t Code = ReadLevelCode(Bits, SuffixLength);
        if (i == TrailingOnes && TrailingOnes < 3) Code += 2;
        const auto Magnitude = static_cast<int32_t>((Code + 2) >> 1);
        pLevel[i] = Code & 1 ? -Magnitude : Magnitude;
        if (SuffixLength == 0) SuffixLength = 1;
        if (Magnitude > 3 << (SuffixLength - 1) && SuffixLength < 6) ++SuffixLength;
    }
}

uint32_t ReadTotalZeros(H264Bitstream& Bits, uint32_t Count, int MaxCoeffs)
{
    const CavlcTables& t = g_CavlcTables;
    return Lookup(Bits, MaxCoeffs == 4   ? t.TotalZerosChromaDc420[Count]
                        : MaxCoeffs == 8 ? t.TotalZerosChromaDc422[Count]
                                         : t.TotalZeros4x4[Count]);
}

} // namespace

void VlcTable::Add(const h264::VlcCode& Code, uint32_t Value)
{
    const Entry New{static_cast<uint8_t>(Value), Code.Length};
    const uint32_t Window = static_cast<uint32_t>(Code.Code) << (32 - Code.Length);
    const auto Zeros = static_cast<uint32_t>(std::countl_zero(Window));
    if (Zeros >= Code.Length) { // all zeros: the count of them alone tells it
        std::fill(Entries + Code.Length * 8, Entries + 16 * 8, New);
        return;
    }
    const uint32_t Behind = Code.Length - Zeros - 1;
    const uint32_t First = Zeros * 8 + (Window << (Zeros + 1) >> 29);
    std::fill_n(Entries + First, 1u << (3 - Behind), New);
}

CavlcTables::CavlcTables()
    : CoeffToken{}, TotalZeros4x4{}, TotalZerosChromaDc420{}, TotalZerosChromaDc422{}, RunBefore{}
{
    std::fill(std::begin(FixedToken), std::end(FixedToken),
              uint8_t{0xFF}); // no code: more levels than a block can hold
    for (uint32_t Ones = 0; Ones < 4; ++Ones)
        for (uint32_t Total = Ones; Total <= 16; ++Total)
            for (int Class = 0; Class < h264::kNcClasses; ++Class) {
                const h264::VlcCode& Code = h264::kCoeffToken[Class][Ones][Total];
                if (Code.Length == 0) continue;
                if (Class == h264::kNc8Up)
                    FixedToken[Code.Code] = static_cast<uint8_t>(Total * 4 + Ones);
                else
                    CoeffToken[Class].Add(Code, Total * 4 + Ones);
            }
    const auto Fill = [](VlcTable& Table, const h264::VlcCode* pCodes, uint32_t Count) {
        for (uint32_t i = 0; i < Count; ++i)
            if (pCodes[i].Length) Table.Add(pCodes[i], i);
    };
    for (int i = 0; i < 16; ++i) Fill(TotalZeros4x4[i], h264::kTotalZeros4x4[i], 16);
    for (int i = 0; i < 4; ++i) Fill(TotalZerosChromaDc420[i], h264::kTotalZerosChromaDc420[i], 4);
    for (int i = 0; i < 8; ++i) Fill(TotalZerosChromaDc422[i], h264::kTotalZerosChromaDc422[i], 8);
    for (int i = 0; i < 8; ++i) Fill(RunBefore[i], h264::kRunBefore[i], 15);
}

const CavlcTables g_CavlcTables;

int ReadCavlcBlock(H264Bitstream& Bitstream, int nC, int MaxCoeffs, CavlcBlock& Block)
{
    H264Bitstream Bits = Bitstream; // a local, whose position stays in registers
    const uint32_t Token = ReadToken(Bits, nC);
    const uint32_t Count = Token >> 2;
    if (Count > static_cast<uint32_t>(MaxCoeffs)) ThrowDamaged();
    if (Count) {
        ReadLevels(Bits, Count, Token & 3, Block.Level);
        uint32_t Zeros = Count < static_cast<uint32_t>(MaxCoeffs) ? ReadTotalZeros(Bits, Count, MaxCoeffs) : 0;
        if (Count + Zeros > static_cast<uint32_t>(MaxCoeffs)) ThrowDamaged();
        uint32_t Position = Count + Zeros - 1;
        for (uint32_t i = 0; i + 1 < Count; ++i) {
            Block.Position[i] = static_cast<uint8_t>(Position);
            uint32_t Run = 0;
            if (Zeros) {
                Run = Lookup(Bits, g_CavlcTables.RunBefore[std::min(Zeros, 7u)]);
                if (Run > Zeros) ThrowDamaged();
                Zeros -= Run;
            }
            Position -= Run + 1;
        }
        Block.Position[Count - 1] = static_cast<uint8_t>(Position);
    }
    Bitstream = Bits;
    return static_cast<int>(Count);
}

} // namespace UMC
