// The arithmetic coder of clause 9.3.4, working on whole bytes.
//
// Bits that leave codILow are kept above it in m_Low until eight of them are settled but for a carry; the byte is then
// stored, and a carry that comes later is added to the bytes already stored. This gives the bits of clause 9.3.4.2
// (PutBit and its outstanding bits) without a step for each of them.
#pragma once

#include "Common/h264/h264_tables.h"

#include <array>
#include <bit>
#include <cstdint>

namespace UMC_H264_ENCODER {

// A context is pStateIdx * 2 + valMPS.
using CabacContexts = std::array<uint8_t, h264::kContextCount>;

struct CabacTables {
    uint8_t RangeLps[128][4]; // [context][(codIRange >> 6) & 3]
    uint8_t Next[128][2];     // [context][bin]
};
extern const CabacTables g_CabacTables;

// Clause 9.3.1.1 for all contexts. SliceTable: row of h264::kContextInit.
void InitCabacContexts(CabacContexts& Contexts, const h264::ContextInit (&SliceTable)[h264::kContextCount],
                       int32_t SliceQp);

// Counting: no byte is stored, only the count of bits is kept, so that a trial knows what a symbol costs.
template <bool Counting>
class BasicArithmeticCoder
{
public:
    /// Starts at pOut (ignored when counting). The caller sees to the room.
    void Start(uint8_t* pOut)
    {
        m_Low = 0;
        m_Range = 510;
        m_Queue = -9; // the first bit is the one that clause 9.3.4.2 suppresses
        m_pOut = pOut;
        m_Bytes = 0;
    }

    void EncodeBin(uint8_t& Context, uint32_t Bin)
    {
        const uint32_t State = Context;
        const uint32_t Lps = g_CabacTables.RangeLps[State][(m_Range >> 6) & 3];
        Context = g_CabacTables.Next[State][Bin];
        m_Range -= Lps;
        if (Bin != (State & 1)) {
            m_Low += m_Range;
            m_Range = Lps;
        }
        Renormalise();
    }

    void EncodeBypass(uint32_t Bin)
    {
        m_Low = (m_Low << 1) + (Bin ? m_Range : 0);
        if (++m_Queue >= 0) Emit();
    }

    /// The Count low bits of Bins, highest first; Count at most 8.
    void EncodeBypassBits(uint32_t Bins, int Count)
    {
        m_Low = (m_Low << Count) + Bins * m_Range;
        m_Queue += Count;
        if (m_Queue >= 0) Emit();
    }

    void EncodeTerminate(uint32_t Bin)
    {
        m_Range -= 2;
        if (Bin) {
            m_Low += m_Range;
            m_Range = 2;
        }
        Renormalise();
    }

    /// What follows a terminate bin of 1 (clause 9.3.4.5): the rest of codILow, a 1 bit and zeros to a whole byte.
    /// @return the byte behind the last one stored
    uint8_t* Finish()
    {
        const int Count = m_Queue + 8 + 3; // bits to come
        uint32_t Bits = (((m_Low >> 8) << 1) | 1) << (16 - Count);
        Store(Bits >> 8);
        if (Count > 8) Store(Bits & 0xFF);
        m_Queue = -8;
        m_Low = 0;
        return m_pOut;
    }

    /// Bits produced since Start, those still outstanding included.
    int64_t Bits() const { return int64_t{m_Bytes} * 8 + m_Queue + 8; }

    /// The byte behind the last one stored.
    uint8_t* Position() const { return m_pOut; }

    /// Goes on from another coder's state; the count of bits starts at 0.
    template <bool Other>
    void CopyState(const BasicArithmeticCoder<Other>& From)
    {
        m_Low = From.m_Low;
        m_Range = From.m_Range;
        m_Queue = From.m_Queue;
        m_Bytes = 0;
    }

private:
    template <bool>
    friend class BasicArithmeticCoder;

    void Renormalise()
    {
        if (m_Range >= 256) return;
        const int Shift = std::countl_zero(m_Range) - 23;
        m_Range <<= Shift;
        m_Low <<= Shift;
        m_Queue += Shift;
        if (m_Queue >= 0) Emit();
    }

    void Emit()
    {
        const int Kept = m_Queue + 10;
        Store(m_Low >> Kept);
        m_Low &= (1u << Kept) - 1;
        m_Queue -= 8;
    }

    void Store(uint32_t ByteAndCarry)
    {
        ++m_Bytes;
        if constexpr (!Counting) {
            if (ByteAndCarry & 0x100) // the value coded is below 1, so a carry stops before the first byte
                for (uint8_t* p = m_pOut; ++*--p == 0;) {
                }
            *m_pOut++ = static_cast<uint8_t>(ByteAndCarry);
        }
    }

    uint32_t m_Low;   // codILow in the ten low bits, settled bits above them
    uint32_t m_Range; // codIRange
    int32_t m_Queue;  // settled bits less 8
    uint32_t m_Bytes; // since Start
    uint8_t* m_pOut;
};

using ArithmeticCoder = BasicArithmeticCoder<false>;
using CountingCoder = BasicArithmeticCoder<true>;

} // namespace UMC_H264_ENCODER
