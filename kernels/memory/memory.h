// Memory, flat fill and flat copy, planes of bytes. Statuses (kernels/status.h): 0, -8, -6, -14.
#pragma once

#include "kernels/status.h"

#include <cstddef>

namespace kernels {

// Aligned blocks from the system: size + 36 bytes taken, a 32-byte aligned address inside them returned. Null for a
// non-positive size or when memory is exhausted. Free(null) does nothing. These have no tiers.
inline constexpr size_t kBlockAlignment = 32;
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
// Writes a plane into the first byte of every four of the target, which has Width pixels of four bytes in a row: a
// pointer to the fourth byte of the first pixel fills the fourth channel. The other bytes stay.
using CopyChannel8uC1C4Sig = int32_t(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget,
                                     ptrdiff_t TargetStep, int32_t Width, int32_t Height);
Copy8uSig Copy8u_px;
Set8uSig Set8u_px;
CopyChannel8uC1C4Sig CopyChannel8uC1C4_px, CopyChannel8uC1C4_w7;

} // namespace kernels
