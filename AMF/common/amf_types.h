// Basic types and numbers of the AMF run time, interface generation 1.4.4, as it publishes them.
#pragma once

#include <cstddef>
#include <cstdint>

// Operations of the interfaces take their object as the first argument and, on 32-bit Windows, remove their arguments
// themselves. The run time's two C entries are plain functions.
#if defined(_WIN32)
#define AMF_STD_CALL __stdcall
#define AMF_CDECL_CALL __cdecl
#else
#define AMF_STD_CALL
#define AMF_CDECL_CALL
#endif

using amf_bool = bool;
using amf_handle = void*;
using amf_int32 = int32_t;
using amf_int64 = int64_t;
using amf_uint64 = uint64_t;
using amf_long = long; // what Acquire and Release answer: 8 bytes on 64-bit Linux
using amf_pts = int64_t;
using amf_size = size_t;

/// A version as one number.
constexpr amf_uint64 AmfVersion(uint16_t Major, uint16_t Minor, uint16_t Release, uint16_t Build)
{
    return uint64_t{Major} << 48 | uint64_t{Minor} << 32 | uint64_t{Release} << 16 | Build;
}

struct AMFGuid {
    uint32_t Data1;
    uint16_t Data2, Data3;
    uint8_t Data4[8];
};
static_assert(sizeof(AMFGuid) == 16);

// Of each enumeration the values that are used here; a driver may answer others.
enum AMF_RESULT : int32_t { AMF_OK = 0, AMF_FAIL = 1, AMF_EOF = 23, AMF_INPUT_FULL = 25 };
enum AMF_MEMORY_TYPE : int32_t { AMF_MEMORY_HOST = 1 };
enum AMF_DX_VERSION : int32_t { AMF_DX11_0 = 110 };
enum AMF_DATA_TYPE : int32_t {};
enum AMF_SURFACE_FORMAT : int32_t { AMF_SURFACE_NV12 = 1 };
enum AMF_AUDIO_FORMAT : int32_t {};
enum AMF_PLANE_TYPE : int32_t { AMF_PLANE_Y = 2, AMF_PLANE_UV = 3 };
enum AMF_FRAME_TYPE : int32_t {}; // -1: unknown, 0: progressive; else flags

// Values of properties.
inline constexpr amf_int64 AMF_VIDEO_ENCODER_USAGE_WEBCAM = 3;
inline constexpr amf_int64 AMF_VIDEO_ENCODER_QUALITY_PRESET_SPEED = 1;
inline constexpr amf_int64 AMF_VIDEO_ENCODER_PICTURE_STRUCTURE_FRAME = 1;
inline constexpr amf_int64 AMF_VIDEO_ENCODER_PICTURE_TYPE_IDR = 2;
inline constexpr amf_int64 AMF_VIDEO_ENCODER_PICTURE_TYPE_P = 4;
inline constexpr amf_int64 AMF_TS_DECODE = 2;

// Components.
inline constexpr wchar_t kAmfEncoderAvc[] = L"AMFVideoEncoderVCE_AVC";
inline constexpr wchar_t kAmfDecoderAvc[] = L"AMFVideoDecoderUVD_H264_AVC";
