// The exported functions of the library: exactly these eight, plain C names.
#pragma once

#include "quilvex/IVCodec.h"
#include "quilvex/IVideoProcess.h"

#if !defined(_WIN32)
#define QUILVEX_API __attribute__((visibility("default")))
#elif defined(QUILVEX_BUILD)
#define QUILVEX_API __declspec(dllexport)
#else
#define QUILVEX_API // a function needs no dllimport: the same object then also links with the static library
#endif

extern "C" {

/// Chooses an H.264 engine and makes an object of it.
///
/// @param id  Decimal halves. id / 100: 0 asks for an encoder, anything else for a decoder. id % 100: 1 hardware with
/// the
///            software codec to fall back on, 2 the Intel software implementation with the same fallback, 11 hardware
///            only, anything else the software codec at once.
/// @return    An object with reference count 1 that the caller owns; null when mode 11 finds no hardware or memory is
///            exhausted. A driver that crashes meanwhile does not take the process with it, and the AMD driver, when it
///            hangs, costs a bounded delay.
/// @note      From any thread, several at once.
QUILVEX_API IVCodec* CreateVCodec(uint32_t id);

/// Makes an object that treats camera pictures, with reference count 1; null when it cannot be made.
QUILVEX_API IVideoProcess* CreateVideoProcess(void);

// The image functions hold no state and may run on any number of threads. RGB24 is blue, green, red bytes; RGB32 has an
// alpha byte behind them. I420 is contiguous with pitches width and width / 2 (rounded down).

/// RGB24 to I420 of the same size. 1; 0, with a line in the log, when an argument is 0.
QUILVEX_API int32_t IPP_RGB24ToYUV420(const uint8_t* InBuf, uint8_t* OutBuf, int32_t iWidth, int32_t iHeight);

/// I420 to RGB24. A negative height asks for a bottom-up image. 1; 0, with a line in the log, when an argument is 0.
QUILVEX_API int32_t IPP_YUV420ToRGB24(const uint8_t* InBuf, uint8_t* OutBuf, int32_t iWidth, int32_t iHeight);

/// Adds an alpha byte of 255. Pitches in bytes. 0; -1 for null pointers or a bad size.
QUILVEX_API int32_t IPP_RGB24ToRGB32(const uint8_t* pSource, int32_t iSourcePitch, uint8_t* pTarget,
                                     int32_t iTargetPitch, int32_t iWidth, int32_t iHeight);

/// Drops the alpha byte. Pitches in bytes. 0; -1 for null pointers or a bad size.
QUILVEX_API int32_t IPP_RGB32ToRGB24(const uint8_t* pSource, int32_t iSourcePitch, uint8_t* pTarget,
                                     int32_t iTargetPitch, int32_t iWidth, int32_t iHeight);

/// Scales an I420 picture with the bilinear filter. 0; -1 for null pointers or a bad size.
QUILVEX_API int32_t IPP_YUV420_Scale(const uint8_t* pSource, int32_t iSourceWidth, int32_t iSourceHeight,
                                     uint8_t* pTarget, int32_t iTargetWidth, int32_t iTargetHeight);

/// Scales an RGB24 picture with the cubic filter. Always 0, whether it worked or not.
QUILVEX_API int32_t IPP_RGB24_Scale(const uint8_t* pSource, int32_t iSourceWidth, int32_t iSourceHeight,
                                    int32_t iSourcePitch, uint8_t* pTarget, int32_t iTargetWidth, int32_t iTargetHeight,
                                    int32_t iTargetPitch);
}
