// SEI messages that the decoder keeps, H.264 annex D.
#pragma once

#include <cstdint>
#include <vector>

namespace UMC {

enum SeiType : uint32_t {
    SEI_PICTURE_TIMING = 1,
    SEI_USER_DATA_REGISTERED = 4,
    SEI_RECOVERY_POINT = 6,
    SEI_RESERVED = 19 // this and every larger type
};

struct SeiClockTimestamp {
    uint8_t clock_timestamp_flag, ct_type, nuit_field_based_flag, counting_type, full_timestamp_flag;
    uint8_t discontinuity_flag, cnt_dropped_flag, n_frames, seconds_value, minutes_value, hours_value;
    uint32_t time_offset;
    bool operator==(const SeiClockTimestamp&) const = default;
};

struct SeiPictureTiming {
    uint32_t cpb_removal_delay, dpb_output_delay;
    uint8_t pic_struct;
    SeiClockTimestamp clock_timestamps[3];
    bool operator==(const SeiPictureTiming&) const = default;
};

struct SeiRecoveryPoint {
    uint32_t recovery_frame_cnt;
    uint8_t exact_match_flag, broken_link_flag, changing_slice_group_idc;
    bool operator==(const SeiRecoveryPoint&) const = default;
};

struct SeiUserData {
    uint8_t itu_t_t35_country_code, itu_t_t35_country_code_extension_byte;
    bool operator==(const SeiUserData&) const = default;
};

// One message. Only the record that PayloadType names is filled.
struct H264SEIPayLoad {
    uint32_t PayloadType = 0;
    uint32_t PayloadSize = 0;       // bytes in the stream; of user data, the bytes behind the country code
    std::vector<uint8_t> user_data; // type 4: those bytes and one zero byte
    SeiPictureTiming pic_timing{};
    SeiRecoveryPoint recovery_point{};
    SeiUserData user_data_registered{};
    bool operator==(const H264SEIPayLoad&) const = default;
};

} // namespace UMC
