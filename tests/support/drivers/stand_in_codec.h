/* The codec inside a substitute of a driver: this library's own software codec behind a plain C interface, so that
 * streams and pictures are real ones. Sizes in samples and bytes; nothing is thrown. */
#pragma once

#include "tests/support/drivers/driver_control.h"

typedef struct StandInFormat {        /* what the last sequence parameter set says */
    int32_t CodedWidth, CodedHeight;  /* whole macroblocks */
    int32_t Left, Top, Right, Bottom; /* the part that is shown; right and bottom are behind it */
    int32_t BitDepth, ChromaFormat, bProgressive;
} StandInFormat;

typedef struct StandInPicture { /* a picture to show, cropped; its planes stay until the next call on the decoder */
    int32_t Width, Height;
    int32_t FrameType;    /* 1 I, 2 P, 3 B */
    const uint8_t* pNv12; /* width * height luma samples, then pairs of Cb and Cr, rows without padding; of deeper
                             samples the upper eight bits */
} StandInPicture;

#if defined(__cplusplus)
extern "C" {
#endif

/* An encoder of NV12 pictures that gives every picture back at once. Null when it cannot be made. */
DRIVER_CONTROL void* StandInEncoderOpen(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t Kbps);
/* Codes one picture into at most Room bytes; returns their number, or -1. A key picture is an IDR picture with its
 * parameter sets in front. *pFrameType receives 1 or 2. */
DRIVER_CONTROL int32_t StandInEncoderPut(void* pEncoder, const uint8_t* pY, int32_t PitchY, const uint8_t* pUV,
                                         int32_t PitchUV, int32_t bKey, uint8_t* pOut, int32_t Room,
                                         int32_t* pFrameType);
DRIVER_CONTROL void StandInEncoderClose(void* pEncoder);

/* A decoder of a byte stream. */
DRIVER_CONTROL void* StandInDecoderOpen(void);
/* Takes bytes, whole units; bEnds: what they end with ends its access unit. Returns 0 when the stream is damaged. */
DRIVER_CONTROL int32_t StandInDecoderPut(void* pDecoder, const uint8_t* pBytes, int32_t Size, int32_t bEnds);
/* 1 when a sequence parameter set has come. */
DRIVER_CONTROL int32_t StandInDecoderFormat(void* pDecoder, StandInFormat* pFormat);
/* The next picture in display order; 0 when none is ready. */
DRIVER_CONTROL int32_t StandInDecoderNext(void* pDecoder, StandInPicture* pPicture);
DRIVER_CONTROL void StandInDecoderClose(void* pDecoder);

#if defined(__cplusplus)
}
#endif
