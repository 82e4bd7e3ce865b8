// The client's buffers as the hardware engines meet them: how much they hold, and pictures on their way into and out of
// NV12, the one format of those engines.
#pragma once

#include <cstddef>
#include <cstdint>

/// Bytes of an I420 picture. 0 unless both sizes are positive.
uint64_t PictureBytes(int32_t Width, int32_t Height);
/// Bytes of room that the client keeps for an access unit. 0 unless both sizes are positive.
uint64_t AccessUnitRoom(int32_t Width, int32_t Height);

/// Copies a contiguous I420 picture into a luma plane and a plane of Cb and Cr pairs; pitches in bytes. An odd size has
/// no chroma for its last column or row: the pair there stays as it is.
void I420ToNv12(const uint8_t* pPicture, int32_t Width, int32_t Height, uint8_t* pLuma, int32_t LumaPitch,
                uint8_t* pChroma, int32_t ChromaPitch);
/// The way back: writes PictureBytes(Width, Height) bytes and no more.
void Nv12ToI420(const uint8_t* pLuma, int32_t LumaPitch, const uint8_t* pChroma, int32_t ChromaPitch, int32_t Width,
                int32_t Height, uint8_t* pPicture);
