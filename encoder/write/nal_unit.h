// NAL units of an Annex B byte stream: start codes and emulation prevention.
#pragma once

#include "Common/h264/nal_unit_type.h"

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

/// Most bytes that NAL framing adds to or makes of Payload bytes.
inline constexpr size_t NalBytesAtMost(size_t Payload) { return 5 + Payload + Payload / 2; }

/// Writes a NAL unit with emulation prevention. A payload that ends in two zero bytes is left without a 3 behind them:
/// the trailing bits of a real one make it needless.
/// @param IsFirstInAu  set before the first NAL unit of an access unit; asks for zero_byte and is cleared by it
/// @return bytes written to pDest, which has room for NalBytesAtMost(Size)
size_t FrameNAL(uint8_t* pDest, const uint8_t* pPayload, size_t Size, uint32_t NalRefIdc, h264::NalUnitType Type,
                bool& IsFirstInAu);
/// What FrameNAL would return.
size_t FramedSize(const uint8_t* pPayload, size_t Size, h264::NalUnitType Type, bool IsFirstInAu);

} // namespace UMC_H264_ENCODER
