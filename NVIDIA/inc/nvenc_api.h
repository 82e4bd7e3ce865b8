// The driver's encoder interface in the words of its version 8.
//
// The published header is of a later version. Layouts are the same, and what it has named since lies in words that are
// 0 for version 8: structures are zeroed first, and those names are not used. Nor are its version macros, which tell
// the driver to go by later rules, nor its obsolete presets.
#pragma once

#include <ffnvcodec/nvEncodeAPI.h>

#include <cstdint>
#include <cstring>

namespace nvenc {

inline constexpr uint32_t kApiVersion = 8;

template <class Structure>
inline constexpr uint32_t kVersion = 0x70010008;
template <>
inline constexpr uint32_t kVersion<NV_ENCODE_API_FUNCTION_LIST> = 0x70020008;
template <>
inline constexpr uint32_t kVersion<NV_ENC_PRESET_CONFIG> = 0xF0040008;
template <>
inline constexpr uint32_t kVersion<NV_ENC_PIC_PARAMS> = 0xF0040008;
template <>
inline constexpr uint32_t kVersion<NV_ENC_INITIALIZE_PARAMS> = 0xF0050008;
template <>
inline constexpr uint32_t kVersion<NV_ENC_CONFIG> = 0xF0060008;

/// Zeroes a structure and gives it its version word.
template <class Structure>
void Clear(Structure& s)
{
    std::memset(&s, 0, sizeof s);
    s.version = kVersion<Structure>;
}

inline constexpr GUID kCodecH264{0x6BC82762, 0x4E63, 0x4CA4, {0xAA, 0x85, 0x1E, 0x50, 0xF3, 0x21, 0xF6, 0xBF}};
inline constexpr GUID kCodecHevc{0x790CDC88, 0x4522, 0x4D7B, {0x94, 0x25, 0xBD, 0xA9, 0x97, 0x5F, 0x76, 0x03}};

inline constexpr GUID kPresetDefault{0xB2DFB705, 0x4EBD, 0x4C49, {0x9B, 0x5F, 0x24, 0xA7, 0x77, 0xD3, 0xE5, 0x87}};
inline constexpr GUID kPresetHp{0x60E4C59F, 0xE846, 0x4484, {0xA5, 0x6D, 0xCD, 0x45, 0xBE, 0x9F, 0xDD, 0xF6}};
inline constexpr GUID kPresetHq{0x34DBA71D, 0xA77B, 0x4B8F, {0x9C, 0x3E, 0xB6, 0xD5, 0xDA, 0x24, 0xC0, 0x12}};
inline constexpr GUID kPresetLowLatencyHq{0xC5F733B9, 0xEA97, 0x4CF9, {0xBE, 0xC2, 0xBF, 0x78, 0xA7, 0x4F, 0xD1, 0x05}};
inline constexpr GUID kPresetLowLatencyHp{0x67082A44, 0x4BAD, 0x48FA, {0x98, 0xEA, 0x93, 0x05, 0x6D, 0x15, 0x0A, 0x58}};
inline constexpr GUID kPresetLossless{0x149998E7, 0x2364, 0x411D, {0x82, 0xEF, 0x17, 0x98, 0x88, 0x09, 0x34, 0x09}};

inline bool Same(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

} // namespace nvenc
