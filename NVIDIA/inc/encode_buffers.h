// The buffers that a picture passes through in the encoder.
#pragma once

#include "NVIDIA/inc/nvenc_api.h"
#include "platform/event.h"

struct EncodeOutputBuffer {
    uint32_t Size = 0; // bytes
    NV_ENC_OUTPUT_PTR pBitstream = nullptr;
    platform::Event* pEvent = nullptr; // owned: completion; null unless the encoder is asynchronous
    bool bWaitOnEvent = false;
    bool bEndOfStream = false; // of the one that stands for the end of the stream
    bool bRegistered = false;  // the driver knows the event
};

struct EncodeInputBuffer {
    int32_t Width = 0, Height = 0;
    NV_ENC_INPUT_PTR pSurface = nullptr;
    NV_ENC_BUFFER_FORMAT Format = NV_ENC_BUFFER_FORMAT_UNDEFINED;
};

struct EncodeBuffer {
    EncodeOutputBuffer Output;
    EncodeInputBuffer Input;
};
