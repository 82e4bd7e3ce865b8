// CABAC decoding of H.264 clause 9.3: the arithmetic engine and the contexts of one slice.
#pragma once

#include "Common/h264/h264_tables.h"
#include "decoder/h264_bitstream.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

// State of one ctxIdx: pStateIdx * 2 + valMPS. A type of its own, so that a store to a context is known not to change
// the engine's fields, which then stay in registers over a whole block.
enum class CabacContext : uint8_t {};

// What one decision looks up.
struct CabacTables {
    CabacTables();
    uint8_t RangeLps[128 * 4];  // Table 9-44 by state byte * 4 + quantised range
    CabacContext Next[2 * 128]; // state byte after the more, then after the less probable symbol
    uint8_t Shift[512];         // doublings that bring a range back to 256 or more
};
extern const CabacTables g_CabacTables;

// The engine alone. Copy it into a local, decode a block and store it back: the fields then live in registers.
//
// codIOffset of the standard is held with m_CabacBits bits read ahead below it, so that renormalising moves no
// bits: it only takes from m_CabacBits. A word is appended when the count falls below 0.
struct CabacEngine {
    uint64_t m_CabacOffset = 0;
    uint32_t m_CabacRange = 510; // codIRange
    int32_t m_CabacBits = 0;
    const uint32_t* m_CabacStream = nullptr; // next word

    // Decision of clause 9.3.3.2.1, with the transition of the context.
    [[gnu::always_inline]] inline uint32_t Decide(CabacContext& Context)
    {
        const auto State = static_cast<uint32_t>(Context);
        // The range lies in 256..510, so its upper bits are 4..7: the table's base takes the 4 off again.
        const uint32_t Lps = g_CabacTables.RangeLps[State * 4 + (m_CabacRange >> 6) - 4];
        const uint32_t Range = m_CabacRange - Lps;
        const uint64_t Scaled = uint64_t{Range} << m_CabacBits;
        if (m_CabacOffset < Scaled) [[likely]] {
            Context = g_CabacTables.Next[State];
            m_CabacRange = Range;
            if (Range < 256) { // at most one doubling, since the more probable symbol keeps half of 256
                m_CabacRange = Range * 2;
                Consume(1);
            }
            return State & 1;
        }
        m_CabacOffset -= Scaled;
        Context = g_CabacTables.Next[State + 128];
        const uint32_t Shift = g_CabacTables.Shift[Lps];
        m_CabacRange = Lps << Shift;
        Consume(static_cast<int32_t>(Shift));
        return (State & 1) ^ 1;
    }

    // One equiprobable bin, clause 9.3.3.2.3.
    [[gnu::always_inline]] inline uint32_t Bypass() { return BypassMask() & 1; }

    // The same as a mask: all ones for 1.
    [[gnu::always_inline]] inline uint32_t BypassMask()
    {
        Consume(1);
        const uint64_t Scaled = uint64_t{m_CabacRange} << m_CabacBits;
        const uint64_t Mask = uint64_t{0} - uint64_t{m_CabacOffset >= Scaled};
        m_CabacOffset -= Scaled & Mask;
        return static_cast<uint32_t>(Mask);
    }

    // The terminate decision of ctxIdx 276, clause 9.3.3.2.2.3. After a 1 nothing more may be decoded.
    uint32_t Terminate()
    {
        m_CabacRange -= 2;
        if (m_CabacOffset >= uint64_t{m_CabacRange} << m_CabacBits) return 1;
        if (m_CabacRange < 256) {
            m_CabacRange *= 2;
            Consume(1);
        }
        return 0;
    }

private:
    [[gnu::always_inline]] inline void Consume(int32_t Count)
    {
        m_CabacBits -= Count;
        if (m_CabacBits < 0) [[unlikely]] {
            m_CabacOffset = m_CabacOffset << 32 | *m_CabacStream++;
            m_CabacBits += 32;
        }
    }
};

// The CABAC state of one slice. Past the end of the unit it decodes the zero words that follow it; the caller asks
// Overrun() once a macroblock.
class CabacDecoder
{
public:
    // Sets every context from its row of h264::kContextInit: 0 for I slices, 1 + cabac_init_idc for the others.
    // SliceQp is SliceQPY; clipped to 0..51 (clause 9.3.1.1).
    void InitContexts(int SliceQp, int InitRow);

    // Starts the engine at the reader's position, which must be byte-aligned (clause 9.3.1.2).
    void Start(const H264Bitstream& Bitstream);

    // Bits of the unit that the standard's engine would have read by now; the byte after them, aligned, follows a
    // terminate decision of 1.
    uint32_t BitsDecoded() const
    {
        return static_cast<uint32_t>(m_Engine.m_CabacStream - m_pBase) * 32 - static_cast<uint32_t>(m_Engine.m_CabacBits);
    }
    bool Overrun() const { return m_Engine.m_CabacStream > m_pEnd; }

    CabacEngine m_Engine;
    CabacContext m_Contexts[h264::kContextCount]{};

private:
    const uint32_t* m_pBase = nullptr;
    const uint32_t* m_pEnd = nullptr; // behind the last word that holds bytes of the unit
};

} // namespace UMC
