#include "decoder/stream/bitstream.h"

namespace UMC {

uint32_t H264Bitstream::GetLongUE(uint32_t Zeros)
{
    if (Zeros > 31) throw h264_exception(StatusInvalidParams);
    SkipBits(Zeros + 1);
    return (1u << Zeros) - 1 + GetBits(Zeros);
}

// Looked for once: a unit may hold a question after each of its bytes.
int64_t H264Bitstream::DataBits()
{
    if (m_DataBits >= 0) return m_DataBits;
    uint32_t Words = (m_UnitSize + 3) / 4;
    const uint32_t Beyond = Words * 4 - m_UnitSize;
    uint32_t Word = Words > 0 ? m_pBase[Words - 1] & ~uint32_t{0} << (8 * Beyond) : 0;
    while (Word == 0 && Words > 1) Word = m_pBase[--Words - 1];
    m_DataBits = Word != 0 ? int64_t{Words} * 32 - std::countr_zero(Word) : 0;
    return m_DataBits;
}

// The bit in hand would be the stop bit; a 1 behind it tells that it is none.
bool H264Bitstream::MoreRbspData() { return BytesLeft() > 0 && int64_t{BitsDecoded()} + 1 < DataBits(); }

int32_t H264Bitstream::CheckStartCode()
{
    const H264Bitstream Before = *this;
    const auto Refuse = [&] {
        *this = Before;
        return 0;
    };
    if (!IsByteAligned()) {
        const auto Rest = static_cast<uint32_t>(m_BitOffset & 7) + 1;
        if ((GetBits(Rest) & ((1u << (Rest - 1)) - 1)) != 0) return Refuse();
    } else {
        if (BytesLeft() <= 0) return -1;
        if (ShowBits(8) == 0x80) SkipBits(8); // stop bit and padding
    }
    for (int32_t Byte = 0; Byte < 2; ++Byte) {
        if (BytesLeft() <= 0) return -1;
        if (GetBits(8) != 0) return Refuse();
    }
    for (;;) {
        if (BytesLeft() <= 0) return -1;
        const uint32_t Value = GetBits(8);
        if (Value == 1) return 1;
        if (Value != 0) return Refuse();
    }
}

int32_t H264Bitstream::FindStartCode()
{
    AlignToByte();
    for (; BytesLeft() >= 3; SkipBits(8))
        if (ShowBits(24) == 1) return 0;
    return StatusInvalidParams;
}

void H264Bitstream::GetNalHeader(int32_t& nal_unit_type, uint32_t& nal_ref_idc)
{
    const uint32_t Header = GetBits(8);
    nal_unit_type = static_cast<int32_t>(Header & 31);
    nal_ref_idc = (Header >> 5) & 3;
}

} // namespace UMC
