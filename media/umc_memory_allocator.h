// Blocks by handle.
#pragma once

#include "media/umc_cast.h"
#include "media/umc_status.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

using MemID = uint32_t; // handle of a block; 0 is the invalid handle

/// Gives a codec its memory by handle: a block is locked while its address is in use.
class MemoryAllocator
{
public:
    UMC_ROOT_CLASS(MemoryAllocator, "MemoryAllocator")
    virtual ~MemoryAllocator() = default;

    virtual Status Init(void* /*pParams*/ = nullptr) { return StatusOk; }
    virtual Status Close() = 0; ///< gives back everything
    /// Writes the handle of a block of Size bytes, aligned to Align (a power of two up to 1048576), to *pMid.
    virtual Status Alloc(MemID* pMid, size_t Size, uint32_t Flags, uint32_t Align = 16) = 0;
    virtual void* Lock(MemID Mid) = 0;           ///< the block's address; null for an unknown handle
    virtual Status Unlock(MemID Mid) = 0;        ///< ends one Lock
    virtual Status Free(MemID Mid) = 0;          ///< gives the block back, when locked after the last Unlock
    virtual Status DeallocateMem(MemID Mid) = 0; ///< gives the block back even if it is locked
};

} // namespace UMC
