#include "intel/MFXFrameAllocator.h"

namespace {

MFXFrameAllocator* Self(mfxHDL pthis) { return static_cast<MFXFrameAllocator*>(pthis); }

} // namespace

MFXFrameAllocator::MFXFrameAllocator() : mfxFrameAllocator{}
{
    pthis = this;
    Alloc = Alloc_;
    Lock = Lock_;
    Unlock = Unlock_;
    GetHDL = GetHDL_;
    Free = Free_;
}

mfxStatus MFX_CDECL MFXFrameAllocator::Alloc_(mfxHDL pthis, mfxFrameAllocRequest* request,
                                              mfxFrameAllocResponse* response)
{
    return pthis ? Self(pthis)->AllocFrames(request, response) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXFrameAllocator::Lock_(mfxHDL pthis, mfxMemId mid, mfxFrameData* ptr)
{
    return pthis ? Self(pthis)->LockFrame(mid, ptr) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXFrameAllocator::Unlock_(mfxHDL pthis, mfxMemId mid, mfxFrameData* ptr)
{
    return pthis ? Self(pthis)->UnlockFrame(mid, ptr) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXFrameAllocator::GetHDL_(mfxHDL pthis, mfxMemId mid, mfxHDL* handle)
{
    return pthis ? Self(pthis)->GetFrameHDL(mid, handle) : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus MFX_CDECL MFXFrameAllocator::Free_(mfxHDL pthis, mfxFrameAllocResponse* response)
{
    return pthis ? Self(pthis)->FreeFrames(response) : MFX_ERR_MEMORY_ALLOC;
}
