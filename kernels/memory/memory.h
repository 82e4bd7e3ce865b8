// Memory, flat fill and flat copy. Statuses: 0 success, -8 null pointer, -6 non-positive region, -14 non-positive step;
// the first that applies in this order, and then nothing is touched.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kernels {

inline constexpr int32_t kStatusOk = 0;
inline constexpr int32_t kStatusNullPointer = -8;
inline constexpr int32_t kStatusSize = -6;
inline constexpr int32_t kStatusStep = -14;
inline constexpr int32_t kStatusMask = -33;
inline constexpr int32_t kStatusNoMemory = -9;
inline constexpr int32_t kStatusMode = -9999;
inline constexpr int32_t kStatusSigma = -5;

// Aligned blocks from the system: size + 36 bytes taken, a 32-byte aligned address inside them returned. Null for a
// non-positive size or when memory is exhausted. Free(null) does nothing. These have no tiers.
uint8_t* Malloc8u(int32_t Size);
float* Malloc32f(int32_t Count);
void Free(void* pBlock);

// Copies or fills Length bytes; the blocks do not overlap. -6 for a non-positive length.
using CopyBytesSig = int32_t(const uint8_t* pSource, uint8_t* pTarget, int32_t Length);
using SetBytesSig = int32_t(uint8_t Value, uint8_t* pTarget, int32_t Length);
CopyBytesSig CopyBytes_px;
SetBytesSig SetBytes_px;

// Copies or fills a plane of Width x Height bytes; steps are the bytes from one row to the next. The planes do not
// overlap.
using Copy8uSig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                          int32_t Width, int32_t Height);
using Set8uSig = int32_t(uint8_t Value, uint8_t* pPlane, ptrdiff_t Step, int32_t Width, int32_t Height);
Copy8uSig Copy8u_px;
Set8uSig Set8u_px;

} // namespace kernels
