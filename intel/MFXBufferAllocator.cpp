#include "intel/MFXBufferAllocator.h"

namespace {

MFXBufferAllocator* Self(mfxHDL pthis) { return static_cast<MFXBufferAllocator*>(pthis); }

} // namespace

MFXBufferAllocator::MFXBufferAllocator() : mfxBufferAllocator{}
{
    pthis = this;
    Alloc = Alloc_;
    Lock = Lock_;
    Unlock = Unlock_;
    Free = Free_;
}

mfxStatus MFX_CDECL MFXBufferAllocator::Alloc_(mfxHDL pthis, mfxU32 nbytes, mfxU16 type, mfxMemId* mid)
{
    return pthis ? Self(pthis)->AllocBuffer(nbytes, type, mid) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXBufferAllocator::Lock_(mfxHDL pthis, mfxMemId mid, mfxU8** ptr)
{
    return pthis ? Self(pthis)->LockBuffer(mid, ptr) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXBufferAllocator::Unlock_(mfxHDL pthis, mfxMemId mid)
{
    return pthis ? Self(pthis)->UnlockBuffer(mid) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXBufferAllocator::Free_(mfxHDL pthis, mfxMemId mid)
{
    return pthis ? Self(pthis)->FreeBuffer(mid) : MFX_ERR_MEMORY_ALLOC;
}
