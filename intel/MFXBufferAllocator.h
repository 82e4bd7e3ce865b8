// Memory that the Media SDK asks its client for: the published table of C functions in front of virtual operations.
#pragma once

#include <mfx/mfxvideo.h>

class MFXBufferAllocator : public mfxBufferAllocator
{
public:
    MFXBufferAllocator();
    virtual ~MFXBufferAllocator() = default;
    MFXBufferAllocator(const MFXBufferAllocator&) = delete;
    MFXBufferAllocator& operator=(const MFXBufferAllocator&) = delete;

    /// @param nbytes  Bytes wanted.
    /// @param type    The MFX_MEMTYPE_ bits.
    /// @param mid     Receives the buffer's id.
    virtual mfxStatus AllocBuffer(mfxU32 nbytes, mfxU16 type, mfxMemId* mid) = 0;
    virtual mfxStatus LockBuffer(mfxMemId mid, mfxU8** ptr) = 0;
    virtual mfxStatus UnlockBuffer(mfxMemId mid) = 0;
    virtual mfxStatus FreeBuffer(mfxMemId mid) = 0;

private:
    static mfxStatus MFX_CDECL Alloc_(mfxHDL pthis, mfxU32 nbytes, mfxU16 type, mfxMemId* mid);
    static mfxStatus MFX_CDECL Lock_(mfxHDL pthis, mfxMemId mid, mfxU8** ptr);
    static mfxStatus MFX_CDECL Unlock_(mfxHDL pthis, mfxMemId mid);
    static mfxStatus MFX_CDECL Free_(mfxHDL pthis, mfxMemId mid);
};
