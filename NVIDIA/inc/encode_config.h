// The vocabulary of the encoder's layer.
#pragma once

#include "NVIDIA/inc/nvenc_api.h"

/// What an encoder is asked for. Numbers are the driver's where a field has a name of the driver's.
struct EncodeConfig {
    int32_t width, height;
    int32_t maxWidth, maxHeight; // 0: the picture's
    int32_t fps;
    int32_t bitrate;       // bits a second; with vbvMaxBitrate 0 too, the quantiser is constant
    int32_t vbvMaxBitrate; // likewise
    int32_t vbvSize;       // bits
    int32_t rcMode;        // rate control
    int32_t qp;            // of P pictures, to begin with
    float i_quant_factor, b_quant_factor, i_quant_offset, b_quant_offset; // of qp for the other types of picture
    GUID presetGUID;
    void* fOutput;
    int32_t codec; // 0 H.264, 1 HEVC
    int32_t invalidateRefFramesEnableFlag;
    int32_t intraRefreshEnableFlag;
    int32_t intraRefreshPeriod, intraRefreshDuration; // pictures
    int32_t deviceType;                               // 2 CUDA
    int32_t startFrameIdx, endFrameIdx;
    int32_t gopLength;     // -1: no end
    int32_t numB;          // B pictures between two others
    int32_t pictureStruct; // 1 frame
    int32_t deviceID;
    int32_t inputFormat;
    int32_t generateQpDeltaMap;
    const char* qpDeltaMapFile;
    const char *inputFileName, *outputFileName, *externalHintInputFileName, *bmpFilePath, *encodeCmdFileName;
    const char* encoderPreset; // null: the default one
    int32_t enableMEOnly;
    int32_t enableAsyncMode; // written by CNvHWEncoder::CreateEncoder()
    int32_t preloadedFrameCount;
    int32_t enableTemporalAQ;
    int32_t enableExternalMEHint;
};

inline constexpr int32_t kCodecIndexH264 = 0;
inline constexpr int32_t kDeviceTypeCuda = 2;
