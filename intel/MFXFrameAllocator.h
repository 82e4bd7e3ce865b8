// Frames that the Media SDK asks its client for: the published table of C functions in front of virtual operations.
#pragma once

#include <mfx/mfxvideo.h>

/// What an allocator may be told at its start; each kind has a record of its own.
struct mfxAllocatorParams {
    virtual ~mfxAllocatorParams() = default;
};

class MFXFrameAllocator : public mfxFrameAllocator
{
public:
    MFXFrameAllocator();
    virtual ~MFXFrameAllocator() = default;
    MFXFrameAllocator(const MFXFrameAllocator&) = delete;
    MFXFrameAllocator& operator=(const MFXFrameAllocator&) = delete;

    virtual mfxStatus Init(mfxAllocatorParams* pParams) = 0;
    virtual mfxStatus Close() = 0;
    virtual mfxStatus AllocFrames(mfxFrameAllocRequest* request, mfxFrameAllocResponse* response) = 0;
    virtual mfxStatus LockFrame(mfxMemId mid, mfxFrameData* ptr) = 0;
    virtual mfxStatus UnlockFrame(mfxMemId mid, mfxFrameData* ptr) = 0;
    virtual mfxStatus GetFrameHDL(mfxMemId mid, mfxHDL* handle) = 0;
    virtual mfxStatus FreeFrames(mfxFrameAllocResponse* response) = 0;

private:
    static mfxStatus MFX_CDECL Alloc_(mfxHDL pthis, mfxFrameAllocRequest* request, mfxFrameAllocResponse* response);
    static mfxStatus MFX_CDECL Lock_(mfxHDL pthis, mfxMemId mid, mfxFrameData* ptr);
    static mfxStatus MFX_CDECL Unlock_(mfxHDL pthis, mfxMemId mid, mfxFrameData* ptr);
    static mfxStatus MFX_CDECL GetHDL_(mfxHDL pthis, mfxMemId mid, mfxHDL* handle);
    static mfxStatus MFX_CDECL Free_(mfxHDL pthis, mfxFrameAllocResponse* response);
};
