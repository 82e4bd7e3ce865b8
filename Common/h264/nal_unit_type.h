// nal_unit_type, Table 7-1.
#pragma once

#include <cstdint>

namespace h264 {

enum NalUnitType : uint32_t {
    NAL_SLICE = 1,
    NAL_PARTITION_A = 2,
    NAL_PARTITION_B = 3,
    NAL_PARTITION_C = 4,
    NAL_IDR_SLICE = 5,
    NAL_SEI = 6,
    NAL_SEQ_PARAM_SET = 7,
    NAL_PIC_PARAM_SET = 8,
    NAL_DELIMITER = 9,
    NAL_END_OF_SEQUENCE = 10,
    NAL_END_OF_STREAM = 11,
    NAL_FILLER_DATA = 12,
    NAL_SEQ_PARAM_SET_EXTENSION = 13,
    NAL_AUXILIARY_SLICE = 19
};

} // namespace h264
