/* The order of the operations in both interfaces' tables, as clients of every language know it. */
#pragma once

enum CodecSlot {
    kCodecDestroy,
    kGetFamilyTag,
    kCodecAddRef,
    kCodecRelease,
    kReset,
    kGetBackendTag,
    kInitEncoder,
    kEncode,
    kInitDecoder,
    kDecode,
    kSetBitrate
};

enum ProcessSlot {
    kProcessDestroy,
    kProcessAddRef,
    kProcessRelease,
    kSetKeyingEnabled,
    kGetKeyingEnabled,
    kSetBackgroundImage,
    kSetKeyColor,
    kGetKeyColor,
    kGetDefaultKeyColor,
    kSetKeyDistance,
    kGetKeyDistance,
    kGetDefaultKeyDistance,
    kSetSmoothingEnabled,
    kGetSmoothingEnabled,
    kSetBrightness,
    kGetBrightness,
    kProcessFrame
};
