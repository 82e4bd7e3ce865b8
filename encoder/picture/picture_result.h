// What an attempt at a picture comes to, as a value.
#pragma once

#include "encoder/write/parameter_sets.h"
#include "media/umc_status.h"

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// What the slices of a picture are headed by beside the picture's own.
struct PictureSets {
    SeqParamSet Sps;
    PicParamSet Pps;
    int32_t idr_pic_id;
};

/// What an attempt to code a picture made. Nothing of it lasts before CodeFrame takes it over into the sequence.
struct PictureResult {
    UMC::Status Status;
    PictureSets Sets;
    size_t DataSize;  // of the output's data with the picture behind it
    int64_t Bits;     // of all slices
    bool HasOutgrown; // a slice outgrew its buffer: the picture is damaged, and a key picture has to follow
};

} // namespace UMC_H264_ENCODER
