#include "decoder/h264_bitstream.h"

namespace UMC {

uint32_t H264Bitstream::GetLongUE(uint32_t Zeros)
{
    if (Zeros > 31) throw h264_exception(StatusInvalidParams);
    SkipBits(Zeros + 1);
    return (1u << Zeros) - 1 + GetBits(Zeros);
}

bool H264Bitstream::MoreRbspData() const
{
    if (BytesLeft() <= 0) return false;
    H264Bitstream Ahead = *this;
    Ahead.SkipBits(1); // the stop bit, if no data are left
    if (!Ahead.IsByteAligned() && Ahead.GetBits(static_cast<uint32_t>(Ahead.m_BitOffset & 7) + 1) != 0) return true;
    for (int32_t Left = Ahead.BytesLeft(); Left > 0; --Left)
        if (Ahead.GetBits(8) != 0) return true;
    return false;
}

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
