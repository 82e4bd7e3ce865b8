// Bit reader over one NAL unit in the form the splitter prepares: 32-bit words, first byte of the stream topmost.
#pragma once

#include "decoder/stream/exception.h"

#include <bit>
#include <cstdint>

namespace UMC {

// Reads the bits of one unit. The words behind the unit are zero for at least kReadPadding bytes, so that a reader that
// runs past the end of a damaged unit meets zeros; callers bound how far by asking Overrun() once a macroblock.
class H264Bitstream
{
public:
    static constexpr uint32_t kReadPadding = 4096; // bytes; more than one macroblock can take

    void Reset(const uint32_t* pWords, uint32_t Size)
    {
        m_pBase = m_pCurrent = pWords;
        m_BitOffset = 31;
        m_UnitSize = Size;
        m_DataBits = -1;
    }
    // Goes on at the same position of a copy of the unit's first Size bytes.
    void MoveTo(const uint32_t* pWords, uint32_t Size)
    {
        m_pCurrent = pWords + (m_pCurrent - m_pBase);
        m_pBase = pWords;
        m_UnitSize = Size;
    }
    const uint32_t* Words() const { return m_pBase; }
    uint32_t UnitSize() const { return m_UnitSize; } // bytes
    int64_t DataBits();                              // of the unit, up to and with its last 1

    // n in 1..32. With 32 the bits are consumed and 0 is returned: deliberate, the VUI's 32-bit fields read as 0.
    uint32_t GetBits(uint32_t n)
    {
        const uint32_t Value = ShowBits(n) & ((1u << (n & 31)) - 1);
        SkipBits(n);
        return Value;
    }
    uint32_t GetBit() { return GetBits(1); }

    // The next n bits, 1..32, without consuming them.
    uint32_t ShowBits(uint32_t n) const
    {
        const uint64_t Window = (uint64_t{m_pCurrent[0]} << 32 | m_pCurrent[1]) << (31 - m_BitOffset);
        return static_cast<uint32_t>(Window >> (64 - n));
    }
    void SkipBits(uint32_t n) // n up to 32
    {
        m_BitOffset -= static_cast<int32_t>(n);
        if (m_BitOffset < 0) {
            m_BitOffset += 32;
            ++m_pCurrent;
        }
    }

    // Exp-Golomb codes of clause 9.1. More than 31 leading zeros throw h264_exception with -882.
    uint32_t GetUE()
    {
        const uint32_t Window = ShowBits(32);
        const auto Zeros = static_cast<uint32_t>(std::countl_zero(Window));
        if (Zeros <= 12) { // the whole code lies in the window: nearly always
            SkipBits(2 * Zeros + 1);
            return (Window >> (31 - 2 * Zeros)) - 1;
        }
        return GetLongUE(Zeros);
    }
    int32_t GetSE()
    {
        const uint32_t k = GetUE();
        return static_cast<int32_t>(k & 1 ? (k >> 1) + 1 : 0u - (k >> 1));
    }

    uint32_t BitsDecoded() const
    {
        return static_cast<uint32_t>(m_pCurrent - m_pBase) * 32 + static_cast<uint32_t>(31 - m_BitOffset);
    }
    uint32_t BytesDecoded() const { return BitsDecoded() >> 3; }
    int32_t BytesLeft() const { return static_cast<int32_t>(m_UnitSize) - static_cast<int32_t>(BytesDecoded()); }
    bool Overrun() const { return BytesLeft() < 0; }
    bool IsByteAligned() const { return (m_BitOffset & 7) == 7; }
    void AlignToByte() // to the next byte boundary; stays on one
    {
        if (!IsByteAligned()) SkipBits(static_cast<uint32_t>(m_BitOffset & 7) + 1);
    }

    bool MoreRbspData();      // clause 7.2, with only trailing zero bytes taken for padding
    int32_t CheckStartCode(); // 1 passed one, 0 not at one (position restored), -1 no data left
    int32_t FindStartCode();  // 0 found, -882 end of the unit
    void GetNalHeader(int32_t& nal_unit_type, uint32_t& nal_ref_idc);

    // Position, for the CABAC engine and for PCM samples.
    const uint32_t* Word() const { return m_pCurrent; }
    int32_t BitOffset() const { return m_BitOffset; }
    void GoTo(const uint32_t* pWord, int32_t BitOffset)
    {
        m_pCurrent = pWord;
        m_BitOffset = BitOffset;
    }
    void SetBitPosition(uint32_t Bits)
    {
        m_pCurrent = m_pBase + Bits / 32;
        m_BitOffset = 31 - static_cast<int32_t>(Bits % 32);
    }

private:
    uint32_t GetLongUE(uint32_t Zeros);

    const uint32_t* m_pCurrent = nullptr; // word being read
    int32_t m_BitOffset = 31;             // next bit in it, 31 down to 0
    const uint32_t* m_pBase = nullptr;
    uint32_t m_UnitSize = 0;
    int64_t m_DataBits = -1; // -1: not looked for yet
};

} // namespace UMC
