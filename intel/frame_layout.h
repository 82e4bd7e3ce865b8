// The planes of a frame in one block of memory, by format; width and height are rounded up to a multiple of 32.
#pragma once

#include <mfx/mfxvideo.h>

#include <cstdint>
#include <optional>

uint32_t RoundUpTo32(uint32_t Value);

/// Bytes of a frame; none for a format that is not known.
std::optional<uint64_t> FrameBytes(const mfxFrameInfo& Info);

/// Fills in pitch and plane pointers of a frame that begins at pBase; those that its format lacks stay as they are. A
/// pitch wraps at 16 bits. False, and nothing is written, for a format that is not known.
bool SetFramePlanes(const mfxFrameInfo& Info, mfxU8* pBase, mfxFrameData& Data);
