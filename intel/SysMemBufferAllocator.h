// Buffers of the Media SDK in ordinary memory. A block is
//
//     offset  bytes
//     0       4      "BUFF"
//     4       4      size asked for
//     8       2      type
//     10             zero up to the data, which begins at a multiple of 32
//
// and its address is the buffer's id.
#pragma once

#include "intel/MFXBufferAllocator.h"

class SysMemBufferAllocator : public MFXBufferAllocator
{
public:
    /// The memory is zero. -2 without a place for the id, -3 for a type that is not of system memory, -4 without
    /// memory.
    mfxStatus AllocBuffer(mfxU32 nbytes, mfxU16 type, mfxMemId* mid) override;
    /// Gives the data's beginning. -2 without a place for it, -6 for what is no buffer; so do the two below.
    mfxStatus LockBuffer(mfxMemId mid, mfxU8** ptr) override;
    mfxStatus UnlockBuffer(mfxMemId mid) override;
    mfxStatus FreeBuffer(mfxMemId mid) override;
};
