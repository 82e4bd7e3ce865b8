#include "decoder/stream/header_parsers.h"

#include <algorithm>
#include <iterator>

namespace UMC {

namespace {

constexpr uint8_t kCountryCodeExtended = 255;
constexpr uint32_t kMaxUserData = 1u << 16u; // bytes; every frame may hold a message, so a longer one is passed over

// Number of clock timestamps by pic_struct, Table D-1.
constexpr uint32_t kNumClockTs[] = {1, 1, 1, 2, 2, 3, 3, 2, 3};

uint32_t ReadVariableByte(H264Bitstream& Bits) // the ff-byte rule of clause 7.3.2.3.1
{
    uint32_t Value = 0, Byte = 255;
    while (Byte == 255) {
        if (Bits.BytesLeft() <= 0) throw h264_exception(StatusInvalidParams);
        Byte = Bits.GetBits(8);
        Value += Byte;
    }
    return Value;
}

uint8_t ReadFlag(H264Bitstream& Bits) { return static_cast<uint8_t>(Bits.GetBit()); }

void ReadClockTimestamp(H264Bitstream& Bits, uint32_t TimeOffsetBits, SeiClockTimestamp& Stamp)
{
    Stamp.clock_timestamp_flag = ReadFlag(Bits);
    if (!Stamp.clock_timestamp_flag) return;
    Stamp.ct_type = static_cast<uint8_t>(Bits.GetBits(2));
    Stamp.nuit_field_based_flag = ReadFlag(Bits);
    Stamp.counting_type = static_cast<uint8_t>(Bits.GetBits(5));
    Stamp.full_timestamp_flag = ReadFlag(Bits);
    Stamp.discontinuity_flag = ReadFlag(Bits);
    Stamp.cnt_dropped_flag = ReadFlag(Bits);
    Stamp.n_frames = static_cast<uint8_t>(Bits.GetBits(8));
    // Each part is there when the one before it is, or all are.
    const bool Full = Stamp.full_timestamp_flag != 0;
    if (Full || ReadFlag(Bits)) {
        Stamp.seconds_value = static_cast<uint8_t>(Bits.GetBits(6));
        if (Full || ReadFlag(Bits)) {
            Stamp.minutes_value = static_cast<uint8_t>(Bits.GetBits(6));
            if (Full || ReadFlag(Bits)) Stamp.hours_value = static_cast<uint8_t>(Bits.GetBits(5));
        }
    }
    if (TimeOffsetBits > 0) Stamp.time_offset = Bits.GetBits(TimeOffsetBits);
}

void ReadPictureTiming(H264Bitstream& Bits, const H264SeqParamSet* pSeqSet, SeiPictureTiming& Timing)
{
    if (!pSeqSet) return;
    const H264VuiParams& Vui = pSeqSet->vui;
    if (Vui.nal_hrd_parameters_present_flag || Vui.vcl_hrd_parameters_present_flag) {
        Timing.cpb_removal_delay = Bits.GetBits(Vui.hrd.cpb_removal_delay_length);
        Timing.dpb_output_delay = Bits.GetBits(Vui.hrd.dpb_output_delay_length);
    }
    if (!Vui.pic_struct_present_flag) return;
    Timing.pic_struct = static_cast<uint8_t>(Bits.GetBits(4));
    if (Timing.pic_struct >= std::size(kNumClockTs)) return;
    for (uint32_t i = 0; i < kNumClockTs[Timing.pic_struct]; ++i)
        ReadClockTimestamp(Bits, Vui.hrd.time_offset_length, Timing.clock_timestamps[i]);
}

void ReadUserData(H264Bitstream& Bits, H264SEIPayLoad& Message)
{
    uint32_t Header = 1;
    Message.user_data_registered.itu_t_t35_country_code = static_cast<uint8_t>(Bits.GetBits(8));
    if (Message.user_data_registered.itu_t_t35_country_code == kCountryCodeExtended) {
        Message.user_data_registered.itu_t_t35_country_code_extension_byte = static_cast<uint8_t>(Bits.GetBits(8));
        Header = 2;
    }
    Message.PayloadSize -= std::min(Header, Message.PayloadSize);
    if (Message.PayloadSize > kMaxUserData) return;
    Message.user_data.resize(size_t{Message.PayloadSize} + 1);
    for (uint32_t i = 0; i < Message.PayloadSize; ++i) Message.user_data[i] = static_cast<uint8_t>(Bits.GetBits(8));
}

// A value out of range ends the record early; what was read stays.
void ReadRecoveryPoint(H264Bitstream& Bits, SeiRecoveryPoint& Point)
{
    const uint32_t Count = Bits.GetUE();
    if (Count > 16) return;
    Point.recovery_frame_cnt = Count;
    Point.exact_match_flag = ReadFlag(Bits);
    Point.broken_link_flag = ReadFlag(Bits);
    Point.changing_slice_group_idc = static_cast<uint8_t>(Bits.GetBits(2));
}

} // namespace

void ReadSeiMessage(H264Bitstream& Bits, const H264SeqParamSet* pSeqSet, H264SEIPayLoad& Message)
{
    Message = H264SEIPayLoad{};
    Message.PayloadType = std::min<uint32_t>(ReadVariableByte(Bits), SEI_RESERVED);
    const uint32_t Size = ReadVariableByte(Bits);
    if (Bits.BytesLeft() < 0 || Size > static_cast<uint32_t>(Bits.BytesLeft()))
        throw h264_exception(StatusInvalidParams);
    Message.PayloadSize = Size;
    const uint32_t End = Bits.BitsDecoded() + Size * 8;
    switch (Message.PayloadType) {
    case SEI_PICTURE_TIMING: ReadPictureTiming(Bits, pSeqSet, Message.pic_timing); break;
    case SEI_USER_DATA_REGISTERED: ReadUserData(Bits, Message); break;
    case SEI_RECOVERY_POINT: ReadRecoveryPoint(Bits, Message.recovery_point); break;
    default: break;
    }
    Bits.SetBitPosition(End);
}

} // namespace UMC
