#include "decoder/stream/cavlc.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace UMC {

namespace {

[[noreturn]] void ThrowDamaged() { throw h264_exception(StatusInvalidParams); }

constexpr uint8_t kTokenClass[17] = {h264::kNc0To1, h264::kNc0To1, h264::kNc2To3, h264::kNc2To3, h264::kNc4To7,
                                     h264::kNc4To7, h264::kNc4To7, h264::kNc4To7, h264::kNc8Up,  h264::kNc8Up,
                                     h264::kNc8Up,  h264::kNc8Up,  h264::kNc8Up,  h264::kNc8Up,  h264::kNc8Up,
                                     h264::kNc8Up,  h264::kNc8Up}; // by nC

// Of trailing ones, by the three bits that come next.
constexpr int32_t kSigns[8][4] = {{1, 1, 1},  {1, 1, -1},  {1, -1, 1},  {1, -1, -1},
                                  {-1, 1, 1}, {-1, 1, -1}, {-1, -1, 1}, {-1, -1, -1}};

// Everything that touches the window is part of one function, or it would not stay in registers.
#define INLINE [[gnu::always_inline]] inline

// The bits that come next: at least 32, of which any number may be taken at a time.
class BitWindow
{
public:
    explicit BitWindow(const H264Bitstream& From)
        : m_pNext(From.Word() + 2),
          m_Bits((uint64_t{From.Word()[0]} << 32 | From.Word()[1]) << (31 - From.BitOffset())),
          m_Left(33 + From.BitOffset())
    {
    }
    uint32_t Next() const { return static_cast<uint32_t>(m_Bits >> 32); }
    INLINE void Skip(uint32_t n) // up to 32
    {
        m_Bits <<= n;
        m_Left -= static_cast<int32_t>(n);
        if (m_Left >= 32) return;
        m_Bits |= uint64_t{*m_pNext++} << (32 - m_Left);
        m_Left += 32;
    }
    void Leave(H264Bitstream& Bits) const { Bits.GoTo(m_pNext - (m_Left + 31) / 32, (m_Left - 1) & 31); }

private:
    const uint32_t* m_pNext;
    uint64_t m_Bits; // from the topmost bit on
    int32_t m_Left;
};

INLINE uint32_t Lookup(BitWindow& Bits, const VlcTable& Table)
{
    const VlcTable::Entry& Found = Table.Find(Bits.Next());
    if (Found.Length == 0) ThrowDamaged();
    Bits.Skip(Found.Length);
    return Found.Value;
}

INLINE VlcTable::Entry FindToken(uint32_t Window, int Class)
{
    if (Class == h264::kNc8Up) return {g_CavlcTables.FixedToken[Window >> 26], 6};
    const VlcTable::Entry& Found = g_CavlcTables.CoeffToken[Class].Find(Window);
    if (Found.Length == 0) ThrowDamaged();
    return Found;
}

// Clause 9.2.2.1 where the suffix has another size than suffixLength.
INLINE uint32_t ReadEscapedLevel(BitWindow& Bits, uint32_t Prefix, uint32_t SuffixLength)
{
    if (Prefix > 25) ThrowDamaged(); // far above what 14-bit samples need
    Bits.Skip(Prefix + 1);
    const uint32_t SuffixSize = Prefix == 14 ? 4 : Prefix - 3;
    uint32_t Code = (std::min(Prefix, 15u) << SuffixLength) + (Bits.Next() >> (32 - SuffixSize));
    Bits.Skip(SuffixSize);
    if (Prefix >= 15 && SuffixLength == 0) Code += 15;
    if (Prefix >= 16) Code += (1u << (Prefix - 3)) - 4096;
    return Code;
}

// One level behind the trailing ones, as levelCode.
INLINE uint32_t ReadLevelCode(BitWindow& Bits, uint32_t SuffixLength)
{
    const uint32_t Window = Bits.Next();
    const auto Prefix = static_cast<uint32_t>(std::countl_zero(Window));
    if (Prefix >= (SuffixLength ? 15u : 14u)) [[unlikely]]
        return ReadEscapedLevel(Bits, Prefix, SuffixLength);
    Bits.Skip(Prefix + 1 + SuffixLength);
    const uint32_t Suffix = Window << (Prefix + 1);
    return (Prefix << SuffixLength) + (Suffix >> 1 >> (31 - SuffixLength));
}

// Signed by the lowest bit.
int32_t LevelOf(uint32_t Code)
{
    const auto Magnitude = static_cast<int32_t>((Code + 2) >> 1), Sign = -static_cast<int32_t>(Code & 1);
    return (Magnitude ^ Sign) - Sign;
}

// Ones: trailing ones, whose signs come first.
INLINE void ReadLevels(BitWindow& Bits, uint32_t Count, uint32_t Ones, int32_t* pLevel)
{
    std::memcpy(pLevel, kSigns[Bits.Next() >> 29], sizeof kSigns[0]);
    Bits.Skip(Ones);
    // A level above its limit makes the suffixes of those behind it longer, and the first one does where they have
    // none.
    static constexpr uint32_t kLimit[7] = {3, 3, 6, 12, 24, 48, UINT32_MAX};
    uint32_t SuffixLength = Count > 10 && Ones < 3, Least = Ones < 3 ? 2 : 0;
    for (uint32_t i = Ones; i < Count; ++i) {
        const uint32_t Code = ReadLevelCode(Bits, SuffixLength) + Least;
        Least = 0;
        pLevel[i] = LevelOf(Code);
        SuffixLength += (SuffixLength == 0) + ((Code + 2) >> 1 > kLimit[SuffixLength]);
    }
}

// run_before with Zeros left.
INLINE uint32_t ReadRun(BitWindow& Bits, uint32_t Zeros)
{
    const VlcTable::Entry& Short = g_CavlcTables.ShortRun[std::min(Zeros, 7u)][Bits.Next() >> 29];
    if (Short.Length == 0) [[unlikely]] {
        const uint32_t Run = Lookup(Bits, g_CavlcTables.RunBefore);
        if (Run > Zeros) ThrowDamaged();
        return Run;
    }
    Bits.Skip(Short.Length);
    return Short.Value;
}

// Places of the levels, the last one being Count + Zeros - 1.
INLINE void ReadRuns(BitWindow& Bits, uint32_t Count, uint32_t Zeros, uint8_t* pPosition)
{
    uint32_t Position = Count + Zeros - 1, i = 0;
    for (; Zeros && i + 1 < Count; ++i) {
        pPosition[i] = static_cast<uint8_t>(Position);
        const uint32_t Run = ReadRun(Bits, Zeros);
        Zeros -= Run;
        Position -= Run + 1;
    }
    for (; i < Count; ++i) pPosition[i] = static_cast<uint8_t>(Position--);
}

// A block that has levels, behind its token. pTotalZeros: tables by their number.
INLINE int ReadCoefficients(H264Bitstream& Bitstream, VlcTable::Entry Token, uint32_t Places,
                            const VlcTable* pTotalZeros, CavlcBlock& Block)
{
    const uint32_t Count = Token.Value >> 2;
    if (Count > Places) ThrowDamaged();
    BitWindow Bits(Bitstream);
    Bits.Skip(Token.Length);
    ReadLevels(Bits, Count, Token.Value & 3, Block.Level);
    const uint32_t Zeros = Count < Places ? Lookup(Bits, pTotalZeros[Count]) : 0;
    if (Count + Zeros > Places) ThrowDamaged();
    ReadRuns(Bits, Count, Zeros, Block.Position);
    Bits.Leave(Bitstream);
    return static_cast<int>(Count);
}

// Apart from the many blocks that have none, which need no registers of their caller's.
[[gnu::noinline]] int ReadCoefficients4x4(H264Bitstream& Bits, VlcTable::Entry Token, uint32_t Places,
                                          CavlcBlock& Block)
{
    return ReadCoefficients(Bits, Token, Places, g_CavlcTables.TotalZeros4x4, Block);
}
[[gnu::noinline]] int ReadCoefficientsDc420(H264Bitstream& Bits, VlcTable::Entry Token, CavlcBlock& Block)
{
    return ReadCoefficients(Bits, Token, 4, g_CavlcTables.TotalZerosChromaDc420, Block);
}
[[gnu::noinline]] int ReadCoefficientsDc422(H264Bitstream& Bits, VlcTable::Entry Token, CavlcBlock& Block)
{
    return ReadCoefficients(Bits, Token, 8, g_CavlcTables.TotalZerosChromaDc422, Block);
}

// Takes the token of a block without levels.
INLINE bool IsEmpty(H264Bitstream& Bits, VlcTable::Entry Token)
{
    if (Token.Value >> 2) return false;
    Bits.SkipBits(Token.Length);
    return true;
}

#undef INLINE

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
    : CoeffToken{}, TotalZeros4x4{}, TotalZerosChromaDc420{}, TotalZerosChromaDc422{}, RunBefore{}, ShortRun{}
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
    Fill(RunBefore, h264::kRunBefore[7], 15);
    for (int i = 1; i < 8; ++i)
        for (uint8_t Run = 0; Run < 15; ++Run) {
            const h264::VlcCode& Code = h264::kRunBefore[i][Run];
            if (Code.Length == 0 || Code.Length > 3) continue;
            const uint32_t Behind = 3u - Code.Length;
            std::fill_n(ShortRun[i] + (uint32_t{Code.Code} << Behind), 1u << Behind, VlcTable::Entry{Run, Code.Length});
        }
}

const CavlcTables g_CavlcTables;

int ReadCavlcBlock4x4(H264Bitstream& Bits, int nC, int MaxCoeffs, CavlcBlock& Block)
{
    const VlcTable::Entry Token = FindToken(Bits.ShowBits(32), kTokenClass[nC]);
    return IsEmpty(Bits, Token) ? 0 : ReadCoefficients4x4(Bits, Token, static_cast<uint32_t>(MaxCoeffs), Block);
}

int ReadCavlcDc420(H264Bitstream& Bits, CavlcBlock& Block)
{
    const VlcTable::Entry Token = FindToken(Bits.ShowBits(32), h264::kNcMinus1);
    return IsEmpty(Bits, Token) ? 0 : ReadCoefficientsDc420(Bits, Token, Block);
}

int ReadCavlcDc422(H264Bitstream& Bits, CavlcBlock& Block)
{
    const VlcTable::Entry Token = FindToken(Bits.ShowBits(32), h264::kNcMinus2);
    return IsEmpty(Bits, Token) ? 0 : ReadCoefficientsDc422(Bits, Token, Block);
}

} // namespace UMC
