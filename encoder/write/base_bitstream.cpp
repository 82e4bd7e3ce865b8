#include "encoder/write/base_bitstream.h"

#include "encoder/write/slice_type.h"

#include <algorithm>
#include <bit>

namespace UMC_H264_ENCODER {

void CBaseBitstream::SetBuffer(uint8_t* pBuffer, size_t Size)
{
    m_pBuffer = pBuffer;
    m_BufferSize = Size;
    Reset();
}

void CBaseBitstream::Reset()
{
    m_pWrite = m_pBuffer;
    m_BitOffset = 0;
    if (m_pWrite) *m_pWrite = 0;
}

void CBaseBitstream::PutBit(uint32_t Bit) { PutBits(Bit, 1); }

void CBaseBitstream::PutBits(uint32_t Value, int32_t Count)
{
    // 24 new bits behind at most 7 old ones fit into 32.
    const uint32_t Mask = (1u << Count) - 1;
    auto Word = static_cast<uint32_t>(uint64_t{Value & Mask} << (32 - Count - m_BitOffset)); // by 32 for no bits at all
    *m_pWrite = static_cast<uint8_t>(*m_pWrite | Word >> 24);
    m_BitOffset += Count;
    while (m_BitOffset >= 8) {
        Word <<= 8;
        *++m_pWrite = static_cast<uint8_t>(Word >> 24);
        m_BitOffset -= 8;
    }
}

void CBaseBitstream::PutVLCCode(uint32_t Code, int32_t Length)
{
    if (Length > 16) {
        PutBits(Code >> 16, Length - 16);
        PutBits(Code & 0xFFFF, 16);
    } else if (Length > 0) {
        PutBits(Code, Length);
    }
}

int32_t CBaseBitstream::PutUE(uint32_t Value)
{
    const int32_t Width = std::bit_width(Value + 1);
    PutVLCCode(0, Width - 1);
    PutVLCCode(Value + 1, Width);
    return 2 * Width - 1;
}

int32_t CBaseBitstream::PutSE(int32_t Value)
{
    return PutUE(Value > 0 ? 2 * static_cast<uint32_t>(Value) - 1 : 2 * static_cast<uint32_t>(-Value));
}

void CBaseBitstream::WriteTrailingBits()
{
    PutBit(1);
    Align(0);
}

void CBaseBitstream::Align(uint32_t Bit)
{
    while (m_BitOffset != 0) PutBit(Bit);
}

void CBaseBitstream::InitContexts(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp)
{
    const size_t Row = SliceType == SLICE_I ? 0 : 1 + static_cast<size_t>(CabacInitIdc);
    InitCabacContexts(m_Contexts, h264::kContextInit[Row], SliceQp);
    RestartCoder();
}

void CBaseBitstream::TerminateEncode()
{
    m_pWrite = m_Coder.Finish();
    m_BitOffset = 0;
    *m_pWrite = 0;
}

void CBaseBitstream::SaveState()
{
    m_Saved = {m_Contexts, m_Coder, m_pWrite, m_BitOffset, m_Coder.Position(), 0};
    // A carry that comes later changes the last byte that is not 0xFF and clears those behind it; it cannot pass twice.
    while (m_Saved.pCarry > m_pBuffer && m_Saved.pCarry[-1] == 0xFF) --m_Saved.pCarry;
    if (m_Saved.pCarry > m_pBuffer) m_Saved.BeforeCarry = m_Saved.pCarry[-1];
}

void CBaseBitstream::RestoreState()
{
    m_Contexts = m_Saved.Contexts;
    m_Coder = m_Saved.Coder;
    m_pWrite = m_Saved.pWrite;
    m_BitOffset = m_Saved.BitOffset;
    if (m_Saved.pCarry > m_pBuffer) m_Saved.pCarry[-1] = m_Saved.BeforeCarry;
    std::fill(m_Saved.pCarry, m_Coder.Position(), uint8_t{0xFF});
}

} // namespace UMC_H264_ENCODER
