// The arithmetic coder of clause 9.3.4, working on whole bytes.
//
// Bits that leave codILow are kept above it in m_Low until eight of them are settled but for a carry; the byte is then
// put out, and a carry that comes later is added to the bytes put out already. This gives the bits of clause 9.3.4.2
// (PutBit and its outstanding bits) without a step for each of them.
#pragma once

#include "Common/h264/cabac_contexts.h"

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// Into the caller's buffer, whose end is not tested.
class StoredBytes
{
public:
    // What a carry may still change of the bytes stored: the last one that is not 0xFF, and the run of 0xFF behind it,
    // which it clears. It cannot pass twice.
    struct Tail {
        uint8_t* pFirst;
        uint8_t* pEnd; // the position
        uint8_t First;
    };

    void Start(uint8_t* pOut) { m_pStart = m_pOut = pOut; }
    void Put(uint32_t ByteAndCarry)
    {
        if (ByteAndCarry & 0x100) // the value coded is below 1, so a carry stops before the first byte
            for (uint8_t* p = m_pOut; ++*--p == 0;) {
            }
        *m_pOut++ = static_cast<uint8_t>(ByteAndCarry);
    }
    size_t Bytes() const { return static_cast<size_t>(m_pOut - m_pStart); }
    uint8_t* Position() const { return m_pOut; } // behind the last byte stored
    Tail Keep() const;
    static void PutBack(const Tail& t);

private:
    uint8_t* m_pStart = nullptr;
    uint8_t* m_pOut = nullptr;
};

// Nowhere: only their number is kept, so that a trial knows what a symbol costs.
class CountedBytes
{
public:
    void Put(uint32_t) { ++m_Bytes; }
    size_t Bytes() const { return m_Bytes; }

private:
    size_t m_Bytes = 0;
};

// A value. What a copy that is put back cannot undo are the bytes that a carry has changed in between: see Tail.
template <class Output>
class BasicArithmeticCoder
{
public:
    BasicArithmeticCoder() = default;
    /// Goes on from another coder's state on an output of its own.
    template <class Other>
    explicit BasicArithmeticCoder(const BasicArithmeticCoder<Other>& From)
        : m_Low(From.m_Low), m_Range(From.m_Range), m_Queue(From.m_Queue)
    {
    }

    void Start(const Output& Out)
    {
        *this = {};
        m_Output = Out;
    }

    void EncodeBin(h264::CabacContext& Context, uint32_t Bin)
    {
        const auto State = static_cast<size_t>(Context);
        // codIRange lies in 256..510, so its top bits are 4..7: the table's base takes the 4 off again.
        const uint32_t Lps = h264::g_CabacTables.RangeLps[State * 4 + (m_Range >> 6) - 4];
        m_Range -= Lps;
        if (((State ^ Bin) & 1) == 0) {
            Context = h264::g_CabacTables.Next[State];
            if (m_Range >= 256) return;
            Shift(1); // the more probable symbol keeps half of the range
        } else {
            Context = h264::g_CabacTables.Next[State + 128];
            m_Low += m_Range;
            m_Range = Lps;
            Shift(h264::g_CabacTables.LpsShift[Lps / 8]);
        }
    }

    void EncodeBypass(uint32_t Bin)
    {
        m_Low = (m_Low << 1) + (Bin ? m_Range : 0);
        if (++m_Queue >= 0) Emit();
    }

    /// The Count low bits of Bins, highest first; the others are 0.
    void EncodeBypassBits(uint32_t Bins, int Count)
    {
        for (; Count > 8; Count -= 8) {
            PutBypass(Bins >> (Count - 8), 8);
            Bins &= (1u << (Count - 8)) - 1;
        }
        PutBypass(Bins, Count);
    }

    void EncodeTerminate(uint32_t Bin)
    {
        m_Range -= 2;
        if (Bin) {
            m_Low += m_Range;
            m_Range = 2;
            Shift(7);
        } else if (m_Range < 256) {
            Shift(1);
        }
    }

    /// What follows a terminate bin of 1 (clause 9.3.4.5): the rest of codILow, a 1 bit and zeros to a whole byte.
    /// Behind it stand the slice's end, or bytes as they are and a Restart.
    void Finish()
    {
        const int Count = m_Queue + 8 + 3; // bits to come
        const uint32_t Bits = (((m_Low >> 8) << 1) | 1) << (16 - Count);
        m_Output.Put(Bits >> 8);
        if (Count > 8) m_Output.Put(Bits & 0xFF);
        m_Queue = -8;
        m_Low = 0;
    }

    void PutByte(uint8_t Byte) { m_Output.Put(Byte); }
    /// The coder at its start again (clause 9.3.1.2). No carry of what comes reaches the bytes before.
    void Restart()
    {
        m_Low = 0;
        m_Range = kFirstRange;
        m_Queue = kFirstQueue;
    }

    /// Bits produced since Start, those still outstanding included.
    int64_t Bits() const { return static_cast<int64_t>(m_Output.Bytes()) * 8 + m_Queue + 8; }

    const Output& Out() const { return m_Output; }

private:
    template <class>
    friend class BasicArithmeticCoder;

    void PutBypass(uint32_t Bins, int Count) // Count up to 8
    {
        m_Low = (m_Low << Count) + Bins * m_Range;
        m_Queue += Count;
        if (m_Queue >= 0) Emit();
    }

    void Shift(int Count)
    {
        m_Range <<= Count;
        m_Low <<= Count;
        m_Queue += Count;
        if (m_Queue >= 0) Emit();
    }

    void Emit()
    {
        const int Kept = m_Queue + 10;
        m_Output.Put(m_Low >> Kept);
        m_Low &= (1u << Kept) - 1;
        m_Queue -= 8;
    }

    static constexpr uint32_t kFirstRange = 510;
    static constexpr int32_t kFirstQueue = -9; // the first bit is the one that clause 9.3.4.2 suppresses

    uint32_t m_Low = 0;             // codILow in the ten low bits, settled bits above them
    uint32_t m_Range = kFirstRange; // codIRange
    int32_t m_Queue = kFirstQueue;  // settled bits less 8
    Output m_Output;
};

using ArithmeticCoder = BasicArithmeticCoder<StoredBytes>;
using ArithmeticCounter = BasicArithmeticCoder<CountedBytes>;

} // namespace UMC_H264_ENCODER
