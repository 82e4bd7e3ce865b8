#include "decoder/stream/swapper.h"

#include <algorithm>
#include <cstring>

namespace UMC {

namespace {

uint32_t LoadBigEndian32(const uint8_t* p)
{
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

// Collects bytes into words, first byte topmost, and stores each word when it is full.
class WordPacker
{
public:
    explicit WordPacker(uint32_t* pTarget) : m_pTarget(pTarget) {}

    void Append(const uint8_t* pBytes, size_t Count)
    {
        const uint32_t Shift = 8 * m_Held;
        const uint8_t* const pWordsEnd = pBytes + (Count & ~size_t{3});
        for (const uint8_t* p = pBytes; p != pWordsEnd; p += 4) { // the number of bytes held stays as it is
            m_Bytes = m_Bytes << 32 | LoadBigEndian32(p);
            *m_pTarget++ = static_cast<uint32_t>(m_Bytes >> Shift);
        }
        for (size_t i = 0; i < (Count & 3); ++i) AppendByte(pWordsEnd[i]);
    }
    void FillWord()
    {
        while (m_Held) AppendByte(0);
    }
    const uint32_t* Position() const { return m_pTarget; }

private:
    void AppendByte(uint8_t Byte)
    {
        m_Bytes = m_Bytes << 8 | Byte;
        if (++m_Held < 4) return;
        *m_pTarget++ = static_cast<uint32_t>(m_Bytes);
        m_Held = 0;
    }

    uint32_t* m_pTarget;
    uint64_t m_Bytes = 0; // the bytes held are the lowest
    uint32_t m_Held = 0;  // 0..3
};

// The first emulation prevention byte at or behind pFrom in a unit that begins at pBegin, or pEnd. The first two bytes
// of a unit are never taken for one.
const uint8_t* FindEmulationByte(const uint8_t* pBegin, const uint8_t* pFrom, const uint8_t* pEnd)
{
    const uint8_t* p = std::max(pFrom, pBegin + 2);
    while (p < pEnd) {
        p = static_cast<const uint8_t*>(std::memchr(p, 3, static_cast<size_t>(pEnd - p)));
        if (!p) break;
        if (p[-1] == 0 && p[-2] == 0) return p;
        ++p;
    }
    return pEnd;
}

// Returns the bytes kept.
uint32_t PackUnit(WordPacker& Packer, const uint8_t* pSource, uint32_t Size)
{
    const uint8_t* const pEnd = pSource + Size;
    uint32_t Kept = Size;
    for (const uint8_t* p = pSource; p < pEnd;) {
        const uint8_t* const pDrop = FindEmulationByte(pSource, p, pEnd);
        Packer.Append(p, static_cast<size_t>(pDrop - p));
        Kept -= pDrop < pEnd;
        p = pDrop + 1;
    }
    return Kept;
}

constexpr uint8_t kStartCode[4] = {0, 0, 0, 1};

} // namespace

uint32_t ReadBigEndian(const uint8_t* pBytes, uint32_t Count)
{
    uint32_t Value = 0;
    for (uint32_t i = 0; i < Count; ++i) Value = Value << 8 | pBytes[i];
    return Value;
}

void Swapper::SwapMemory(uint32_t* pTarget, uint32_t& TargetSize, const uint8_t* pSource, uint32_t SourceSize)
{
    WordPacker Packer(pTarget);
    PackUnit(Packer, pSource, SourceSize);
    Packer.FillWord();
    TargetSize = static_cast<uint32_t>(Packer.Position() - pTarget) * 4;
}

void Swapper::CopyBitStream(uint8_t* pTarget, const uint8_t* pSource, uint32_t Size)
{
    std::memcpy(pTarget, pSource, Size);
}

void SwapperForMP4::SwapMemory(uint32_t* pTarget, uint32_t& TargetSize, const uint8_t* pSource, uint32_t SourceSize)
{
    const uint32_t Body = std::min(ReadBigEndian(pSource, m_LengthSize), SourceSize - m_LengthSize);
    WordPacker Packer(pTarget);
    Packer.Append(kStartCode, sizeof(kStartCode));
    TargetSize = PackUnit(Packer, pSource + m_LengthSize, Body) + 4;
    Packer.FillWord();
}

void SwapperForMP4::CopyBitStream(uint8_t* pTarget, const uint8_t* pSource, uint32_t Size)
{
    std::memcpy(pTarget, kStartCode, sizeof(kStartCode));
    std::memcpy(pTarget + sizeof(kStartCode), pSource + m_LengthSize, Size - m_LengthSize);
}

} // namespace UMC
