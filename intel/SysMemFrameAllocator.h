// Frames of the Media SDK in ordinary memory. A frame is a buffer whose data is
//
//     offset  bytes
//     0       4      "FRME"
//     4       68     the request's mfxFrameInfo
//     72      24     not written
//     96             the planes, laid out by the format for width and height rounded up to 32
#pragma once

#include "intel/BaseFrameAllocator.h"
#include "intel/MFXBufferAllocator.h"

#include <memory>

/// Names the allocator of the buffers, which stays its owner's; null: the frames get one of their own.
struct SysMemAllocatorParams : mfxAllocatorParams {
    MFXBufferAllocator* pBufferAllocator = nullptr;
};

class SysMemFrameAllocator : public BaseFrameAllocator
{
public:
    ~SysMemFrameAllocator() override { Close(); }

    /// -8 for parameters of another kind, -4 without memory.
    mfxStatus Init(mfxAllocatorParams* pParams) override;
    mfxStatus Close() override;
    mfxStatus LockFrame(mfxMemId mid, mfxFrameData* ptr) override;
    mfxStatus UnlockFrame(mfxMemId mid, mfxFrameData* ptr) override;
    mfxStatus GetFrameHDL(mfxMemId, mfxHDL*) override { return MFX_ERR_UNSUPPORTED; }

protected:
    mfxStatus CheckRequestType(mfxFrameAllocRequest* request) override;
    mfxStatus ReleaseResponse(mfxFrameAllocResponse* response) override;
    mfxStatus AllocImpl(mfxFrameAllocRequest* request, mfxFrameAllocResponse* response) override;

private:
    mfxStatus AllocFrame(const mfxFrameAllocRequest& Request, mfxU32 Bytes, mfxMemId& mid);

    MFXBufferAllocator* m_pBufferAllocator = nullptr;
    std::unique_ptr<MFXBufferAllocator> m_pOwn; // the same one when it is owned
};
