// CABAC decoding of H.264 clause 9.3: the arithmetic engine, with the contexts of one slice.
#pragma once

#include "Common/h264/cabac_contexts.h"
#include "decoder/stream/bitstream.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace UMC {

// The engine alone. Copy it into a local, decode a block and store it back: the fields then live in registers.
//
// codIRange and codIOffset of the standard stand in the top nine bits of their fields. Bits read ahead follow those of
// the offset, m_CabacBits of them, at least one between calls; a word is appended when the last one is taken.
struct CabacEngine {
    uint64_t m_CabacOffset = 0;
    uint64_t m_CabacRange = uint64_t{510} << kRangeShift;
    int32_t m_CabacBits = 0;
    const uint32_t* m_CabacStream = nullptr; // next word

    static constexpr int kRangeShift = 64 - 9;

    // Decision of clause 9.3.3.2.1, with the transition of the context.
    [[gnu::always_inline]] inline uint32_t Decide(h264::CabacContext& Context)
    {
        size_t State = static_cast<size_t>(Context);
        // The range lies in 256..510, so its top three bits are 4..7: the table's base takes the 4 off again.
        const uint8_t* const pLps = h264::g_CabacTables.RangeLps + State * 4 - 4;
        const uint64_t Lps = uint64_t{pLps[m_CabacRange >> 61]} << kRangeShift;
        m_CabacRange -= Lps;
        if (m_CabacOffset < m_CabacRange) [[likely]] {
            Context = h264::g_CabacTables.Next[State];
            // At most one doubling, since the more probable symbol keeps half of 256.
            if (static_cast<int64_t>(m_CabacRange) >= 0) Double();
        } else {
            m_CabacOffset -= m_CabacRange;
            Context = h264::g_CabacTables.Next[State + 128];
            const int Shift = std::countl_zero(Lps);
            m_CabacRange = Lps << Shift;
            m_CabacOffset <<= Shift;
            Consume(Shift);
            State = ~State;
        }
        return static_cast<uint32_t>(State & 1);
    }

    // One equiprobable bin, clause 9.3.3.2.3.
    [[gnu::always_inline]] inline uint32_t Bypass() { return BypassMask() & 1; }

    // The same as a mask: all ones for 1. The offset is compared with half the range, which has zeros below its nine
    // bits, before it is doubled, so that it never leaves its field.
    [[gnu::always_inline]] inline uint32_t BypassMask()
    {
        const uint64_t Half = m_CabacRange >> 1;
        const uint64_t Mask = uint64_t{0} - uint64_t{m_CabacOffset >= Half};
        m_CabacOffset = (m_CabacOffset - (Half & Mask)) << 1;
        Consume(1);
        return static_cast<uint32_t>(Mask);
    }

    // The terminate decision of ctxIdx 276, clause 9.3.3.2.2.3. After a 1 nothing more may be decoded.
    uint32_t Terminate()
    {
        m_CabacRange -= uint64_t{2} << kRangeShift;
        if (m_CabacOffset >= m_CabacRange) return 1;
        if (static_cast<int64_t>(m_CabacRange) >= 0) Double();
        return 0;
    }

    // Appends a word when no bit read ahead is left.
    [[gnu::always_inline]] inline void Consume(int32_t Count)
    {
        m_CabacBits -= Count;
        if (m_CabacBits <= 0) [[unlikely]] {
            m_CabacOffset |= uint64_t{*m_CabacStream++} << (kRangeShift - 32 - m_CabacBits);
            m_CabacBits += 32;
        }
    }

private:
    [[gnu::always_inline]] inline void Double()
    {
        m_CabacRange <<= 1;
        m_CabacOffset <<= 1;
        Consume(1);
    }
};

// The CABAC state of one slice. Past the end of the unit it decodes the zero words that follow it; the caller asks
// Overrun() once a macroblock.
class CabacDecoder
{
public:
    // Starts the engine at the reader's position, which must be byte-aligned (clause 9.3.1.2).
    void Start(const H264Bitstream& Bitstream);

    // Bits of the unit that the standard's engine would have read by now; the byte after them, aligned, follows a
    // terminate decision of 1.
    uint32_t BitsDecoded() const
    {
        return static_cast<uint32_t>(m_Engine.m_CabacStream - m_pBase) * 32 -
               static_cast<uint32_t>(m_Engine.m_CabacBits);
    }
    bool Overrun() const { return BitsDecoded() > m_EndBits; }

    CabacEngine m_Engine;
    h264::CabacContexts m_Contexts{};

private:
    const uint32_t* m_pBase = nullptr;
    uint32_t m_EndBits = 0; // bits of the unit
};

} // namespace UMC
