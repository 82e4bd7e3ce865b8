// VUI, picture timing and what the decoder tells of a stream: every element at its place.
#include "decoder/stream/seq_info.h"
#include "tests/decoder/parsed_unit.h"
#include "tests/support/decode_helper.h"

#include <gmock/gmock.h>

namespace {

using namespace UMC;
using test::BitWriter;
using test::Unit;
using test::operator+;

H264SeqParamSet Parse(const test::SeqParamSet& Set)
{
    H264SeqParamSet Out;
    Unit Data(Write(Set));
    EXPECT_EQ(ReadSeqParamSet(Data.Bits, Out), StatusOk);
    return Out;
}

void PutHrd(BitWriter& b, uint32_t Schedules)
{
    b.UE(Schedules - 1);
    b.U(4, 3);
    b.U(4, 5);
    for (uint32_t i = 0; i < Schedules; ++i) {
        b.UE(1000 + i);
        b.UE(2000 + i);
        b.U(1, i & 1);
    }
    for (const uint32_t Length : {20u, 21u, 22u, 24u}) b.U(5, Length);
}

// Everything there is, with the HRD parameters asked for.
BitWriter FullVui(uint32_t NalSchedules, uint32_t VclSchedules)
{
    BitWriter b;
    b.U(1, 1); // aspect_ratio_info_present_flag
    b.U(8, 255);
    b.U(16, 40);
    b.U(16, 33);
    b.U(2, 3); // overscan
    b.U(1, 1); // video_signal_type_present_flag
    b.U(3, 5);
    b.U(1, 0); // video_full_range_flag
    b.U(1, 1); // colour_description_present_flag
    for (const uint32_t Value : {9u, 16u, 6u}) b.U(8, Value);
    b.U(1, 1); // chroma_loc_info_present_flag
    b.UE(2);
    b.UE(3);
    b.U(1, 0); // timing_info_present_flag
    for (const uint32_t Schedules : {NalSchedules, VclSchedules}) {
        b.U(1, Schedules != 0);
        if (Schedules) PutHrd(b, Schedules);
    }
    if (NalSchedules || VclSchedules) b.U(1, 1); // low_delay_hrd_flag
    b.U(1, 1);                                   // pic_struct_present_flag
    b.U(1, 1);                                   // bitstream_restriction_flag
    b.U(1, 1);
    for (const uint32_t Value : {2u, 1u, 11u, 12u, 3u, 4u}) b.UE(Value);
    return b;
}

TEST(Vui, EveryElementIsRead)
{
    for (const auto& [Nal, Vcl] : {std::pair{0u, 0u}, std::pair{1u, 0u}, std::pair{0u, 2u}, std::pair{32u, 3u}}) {
        SCOPED_TRACE(testing::Message() << Nal << ", " << Vcl);
        const H264VuiParams Vui = Parse({.vui = FullVui(Nal, Vcl).Bits()}).vui;
        EXPECT_EQ(Vui.aspect_ratio_idc, 255);
        EXPECT_EQ(Vui.sar_width, 40);
        EXPECT_EQ(Vui.sar_height, 33);
        EXPECT_EQ(Vui.overscan_appropriate_flag, 1);
        EXPECT_EQ(Vui.video_format, 5);
        EXPECT_EQ(Vui.video_full_range_flag, 0);
        EXPECT_EQ(Vui.colour_primaries, 9);
        EXPECT_EQ(Vui.transfer_characteristics, 16);
        EXPECT_EQ(Vui.matrix_coefficients, 6);
        EXPECT_EQ(Vui.chroma_sample_loc_type_top_field, 2);
        EXPECT_EQ(Vui.chroma_sample_loc_type_bottom_field, 3);
        EXPECT_EQ(Vui.low_delay_hrd_flag, Nal || Vcl);
        EXPECT_EQ(Vui.pic_struct_present_flag, 1);
        EXPECT_EQ(Vui.motion_vectors_over_pic_boundaries_flag, 1);
        EXPECT_EQ(Vui.max_bytes_per_pic_denom, 2u);
        EXPECT_EQ(Vui.max_bits_per_mb_denom, 1u);
        EXPECT_EQ(Vui.log2_max_mv_length_horizontal, 11u);
        EXPECT_EQ(Vui.log2_max_mv_length_vertical, 12u);
        EXPECT_EQ(Vui.num_reorder_frames, 3u);
        EXPECT_EQ(Vui.max_dec_frame_buffering, 4u);
        if (!Nal && !Vcl) continue;
        EXPECT_EQ(Vui.hrd.cpb_cnt, Vcl ? Vcl : Nal);
        EXPECT_EQ(Vui.hrd.bit_rate_scale, 3);
        EXPECT_EQ(Vui.hrd.cpb_size_scale, 5);
        EXPECT_EQ(Vui.hrd.bit_rate_value[0], 1001u);
        EXPECT_EQ(Vui.hrd.cpb_size_value[0], 2001u);
        EXPECT_EQ(Vui.hrd.cbr_flag[1], Nal > 1 || Vcl > 1);
        EXPECT_EQ(Vui.hrd.initial_cpb_removal_delay_length, 21);
        EXPECT_EQ(Vui.hrd.cpb_removal_delay_length, 22);
        EXPECT_EQ(Vui.hrd.dpb_output_delay_length, 23);
        EXPECT_EQ(Vui.hrd.time_offset_length, 24);
    }
}

TEST(StreamInfo, ComesFromTheSequenceParameterSet)
{
    test::SeqParamSet Set{.profile_idc = 100, .level_idc = 31, .width_mbs = 10, .height_map_units = 8};
    Set.cropping = true;
    Set.crop[0] = 1;
    Set.crop[1] = 2;
    Set.crop[2] = 3;
    Set.crop[3] = 4;
    Set.vui = FullVui(1, 0).Bits();
    VideoStreamInfo Info;
    FillStreamInfo(Parse(Set), Info);
    EXPECT_EQ(Info.m_Width, 160 - 2 * 3);
    EXPECT_EQ(Info.m_Height, 128 - 2 * 7);
    EXPECT_EQ(Info.m_ColorFormat, YUV420);
    EXPECT_EQ(Info.m_Profile, 100u);
    EXPECT_EQ(Info.m_Level, 31u);
    EXPECT_EQ(Info.m_AspectX, 40);
    EXPECT_EQ(Info.m_AspectY, 33);
    EXPECT_EQ(Info.m_Bitrate, 1001 << (3 + 6));
    EXPECT_EQ(Info.m_InterlaceType, 0u);
    constexpr ColorFormat kFormats[] = {GRAY, YUV420, YUV422, YUV444};
    constexpr int kUnitX[] = {1, 2, 2, 1}, kUnitY[] = {1, 2, 1, 1};
    for (uint32_t Format = 0; Format < 4; ++Format) {
        Set.chroma_format_idc = Format;
        FillStreamInfo(Parse(Set), Info);
        EXPECT_EQ(Info.m_ColorFormat, kFormats[Format]);
        EXPECT_EQ(Info.m_Width, 160 - kUnitX[Format] * 3);
        EXPECT_EQ(Info.m_Height, 128 - kUnitY[Format] * 7);
    }
}

TEST(StreamInfo, TellsWhichFieldComesFirst)
{
    for (const int32_t Offset : {-1, 0, 1}) {
        VideoStreamInfo Info;
        FillStreamInfo(Parse({.poc_type = 1,
                              .offset_for_top_to_bottom = Offset,
                              .frame_mbs_only = false,
                              .cropping = true,
                              .crop = {0, 0, 1, 0}}),
                       Info);
        EXPECT_EQ(Info.m_InterlaceType, Offset < 0 ? 3u : 2u) << Offset;
        EXPECT_EQ(Info.m_Height, 32 - 4) << "map units of pairs, cropped by pairs of lines";
    }
}

TEST(StreamInfo, HasTheRateAndCoderInUse)
{
    for (const double Rate : {0.0, 25.0}) {
        H264VideoDecoder Decoder;
        H264VideoDecoderParams Params;
        Params.m_NumThreads = 1;
        Params.m_Info.m_FrameRate = Rate;
        test::Bytes Sets = Write(test::SeqParamSet{.profile_idc = 77}) + Write(test::PicParamSet{.cabac = Rate != 0.0});
        MediaData Data;
        Data.SetBufferPointer(Sets.data(), Sets.size());
        Data.SetDataSize(Sets.size());
        Params.m_pData = &Data;
        ASSERT_EQ(Decoder.Init(&Params), StatusOk);
        ASSERT_EQ(Decoder.GetInfo(&Params), StatusOk);
        EXPECT_DOUBLE_EQ(Params.m_Info.m_FrameRate, Rate != 0.0 ? Rate : 30.0);
        EXPECT_EQ(Params.m_EntropyMode, Rate != 0.0);
    }
}

// A message of type 1 for a stream with that VUI.
SeiPictureTiming Timing(const H264SeqParamSet& Seq, uint32_t PicStruct, bool Full)
{
    BitWriter Payload;
    if (Seq.vui.nal_hrd_parameters_present_flag) {
        Payload.U(22, 77); // cpb_removal_delay
        Payload.U(23, 88); // dpb_output_delay
    }
    Payload.U(4, PicStruct);
    for (uint32_t i = 0; i < 3; ++i) {
        Payload.U(1, 1);      // clock_timestamp_flag
        Payload.U(2, 1);      // ct_type
        Payload.U(1, 1);      // nuit_field_based_flag
        Payload.U(5, 4);      // counting_type
        Payload.U(1, Full);   // full_timestamp_flag
        Payload.U(2, 1);      // discontinuity_flag 0, cnt_dropped_flag 1
        Payload.U(8, 12 + i); // n_frames
        if (!Full) Payload.U(1, 1);
        Payload.U(6, 34);
        if (!Full) Payload.U(1, 1);
        Payload.U(6, 45);
        if (!Full) Payload.U(1, i < 2);
        if (Full || i < 2) Payload.U(5, 21);
        if (Seq.vui.nal_hrd_parameters_present_flag) Payload.U(24, 99 + i);
    }
    Payload.TrailingBits();
    BitWriter b;
    b.U(8, 1);
    b.U(8, static_cast<uint32_t>(Payload.Data().size()));
    for (const uint8_t Byte : Payload.Data()) b.U(8, Byte);
    b.TrailingBits();
    Unit Sei(test::NalUnit(0, 6, b.Data()));
    H264SEIPayLoad Message;
    ReadSeiMessage(Sei.Bits, &Seq, Message);
    EXPECT_EQ(Message.PayloadType, 1u);
    EXPECT_FALSE(Sei.Bits.MoreRbspData()) << "the position goes by the size, whatever was read";
    return Message.pic_timing;
}

TEST(PictureTiming, HasAsManyTimestampsAsItsStructureAsksFor)
{
    constexpr uint32_t kCount[16] = {1, 1, 1, 2, 2, 3, 3, 2, 3}; // none above 8
    for (const uint32_t Hrd : {0u, 1u}) {
        const H264SeqParamSet Seq = Parse({.vui = FullVui(Hrd, 0).Bits()});
        for (uint32_t Struct = 0; Struct < 16; ++Struct)
            for (const bool Full : {false, true}) {
                SCOPED_TRACE(testing::Message() << Hrd << ", " << Struct << ", " << Full);
                const SeiPictureTiming t = Timing(Seq, Struct, Full);
                EXPECT_EQ(t.cpb_removal_delay, Hrd * 77);
                EXPECT_EQ(t.dpb_output_delay, Hrd * 88);
                EXPECT_EQ(t.pic_struct, Struct);
                for (uint32_t i = 0; i < 3; ++i) {
                    SeiClockTimestamp Expected{};
                    if (i < kCount[Struct])
                        Expected = {1,
                                    1,
                                    1,
                                    4,
                                    Full,
                                    0,
                                    1,
                                    static_cast<uint8_t>(12 + i),
                                    34,
                                    45,
                                    static_cast<uint8_t>(Full || i < 2 ? 21 : 0),
                                    Hrd * (99 + i)};
                    EXPECT_EQ(t.clock_timestamps[i], Expected) << i;
                }
            }
    }
}

TEST(UserData, BehindAnExtendedCountryCode)
{
    Unit Sei(test::NalUnit(0, 6, {4, 5, 0xFF, 0x31, 7, 8, 9, 0x80}));
    H264SEIPayLoad Message;
    ReadSeiMessage(Sei.Bits, nullptr, Message);
    EXPECT_EQ(Message.user_data_registered, (SeiUserData{0xFF, 0x31}));
    EXPECT_EQ(Message.PayloadSize, 3u);
    EXPECT_THAT(Message.user_data, testing::ElementsAre(7, 8, 9, 0));
}

} // namespace
