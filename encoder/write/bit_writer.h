// Bits, and the codes that are the same wherever they stand (clauses 7.2 and 9.1), on an output that stores or counts.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// Into the caller's buffer, whose end is not tested. The byte at the write position is always initialised. A copy that
// is put back takes back what was written in between: the next bits replace all that lies behind the position.
class StoredBits
{
public:
    void Start(uint8_t* pBuffer)
    {
        m_pBuffer = pBuffer;
        MoveTo(pBuffer);
    }
    /// To a byte boundary, of which nothing has been written.
    void MoveTo(uint8_t* pWrite)
    {
        m_pWrite = pWrite;
        m_BitOffset = 0;
        if (m_pWrite) *m_pWrite = 0;
    }
    /// The Count low bits of Value; Count 0..24.
    void Put(uint32_t Value, int32_t Count)
    {
        // 24 new bits behind at most 7 old ones fit into 32.
        const uint32_t Mask = (1u << Count) - 1, Old = *m_pWrite & ~(0xFFu >> m_BitOffset);
        uint32_t Word = Old << 24 | static_cast<uint32_t>(uint64_t{Value & Mask} << (32 - Count - m_BitOffset));
        *m_pWrite = static_cast<uint8_t>(Word >> 24);
        m_BitOffset += Count;
        while (m_BitOffset >= 8) {
            Word <<= 8;
            *++m_pWrite = static_cast<uint8_t>(Word >> 24);
            m_BitOffset -= 8;
        }
    }
    uint8_t* Position() const { return m_pWrite; }
    int64_t Bits() const { return (m_pWrite - m_pBuffer) * 8 + m_BitOffset; }
    /// Bits used of the byte at the position, 0..7.
    int32_t BitOffset() const { return m_BitOffset; }

private:
    uint8_t* m_pBuffer = nullptr;
    uint8_t* m_pWrite = nullptr;
    int32_t m_BitOffset = 0;
};

// Nowhere: only their number is kept.
class CountedBits
{
public:
    CountedBits() = default;
    /// Counts from within a byte of which FirstOffset bits are used.
    explicit CountedBits(int32_t FirstOffset) : m_FirstOffset(FirstOffset) {}

    void Put(uint32_t, int32_t Count) { m_Bits += Count; }
    int64_t Bits() const { return m_Bits; }
    int32_t BitOffset() const { return static_cast<int32_t>((m_FirstOffset + m_Bits) % 8); }

private:
    int64_t m_Bits = 0;
    int32_t m_FirstOffset = 0;
};

template <class Output>
class BasicBitWriter : public Output
{
public:
    using Output::Output;

    /// Zeros to a whole byte.
    void AlignZero()
    {
        if (const int32_t Used = Output::BitOffset(); Used != 0) Output::Put(0, 8 - Used);
    }
    void PutBit(uint32_t Bit) { Output::Put(Bit, 1); }
    void PutBits(uint32_t Value, int32_t Count) { Output::Put(Value, Count); } // Count 0..24
    void PutVLCCode(uint32_t Code, int32_t Length)                             // Length 0..32
    {
        if (Length > 16) {
            Output::Put(Code >> 16, Length - 16);
            Length = 16;
        }
        Output::Put(Code, Length);
    }
    /// ue(v). @return the length of the code in bits
    int32_t PutUE(uint32_t Value)
    {
        const auto Width = static_cast<int32_t>(std::bit_width(Value + 1));
        PutVLCCode(0, Width - 1);
        PutVLCCode(Value + 1, Width);
        return 2 * Width - 1;
    }
    int32_t PutSE(int32_t Value) { return PutUE(CodeNumber(Value)); }
    /// te(v) of a value in 0..Max; nothing is written where Max is 0.
    void PutTE(uint32_t Value, uint32_t Max)
    {
        if (Max > 1)
            PutUE(Value);
        else if (Max == 1)
            PutBit(1 - Value);
    }

    /// The code number 2|v| - (v > 0) of a signed value (clause 9.1.1).
    static uint32_t CodeNumber(int32_t Value)
    {
        return Value > 0 ? 2 * static_cast<uint32_t>(Value) - 1 : 2 * (0u - static_cast<uint32_t>(Value));
    }
};

using BitWriter = BasicBitWriter<StoredBits>;
using BitCounter = BasicBitWriter<CountedBits>;

} // namespace UMC_H264_ENCODER
