#include "intel/SysMemFrameAllocator.h"

#include "intel/SysMemBufferAllocator.h"
#include "intel/frame_layout.h"

#include <cstddef>
#include <cstdint>
#include <new>

namespace {

constexpr mfxU32 kFrameId = MFX_MAKEFOURCC('F', 'R', 'M', 'E');
constexpr mfxU32 kPlanesAt = 96; // the header, rounded up to 32

struct FrameHeader {
    mfxU32 Id;
    mfxFrameInfo Info;
};
static_assert(offsetof(FrameHeader, Info) == 4 && sizeof(FrameHeader) == 72);

} // namespace

mfxStatus SysMemFrameAllocator::Init(mfxAllocatorParams* pParams)
{
    if (pParams) {
        const auto* const pOwnKind = dynamic_cast<SysMemAllocatorParams*>(pParams);
        if (!pOwnKind) return MFX_ERR_NOT_INITIALIZED;
        Close(); // frames of an allocator before this one
        m_pBufferAllocator = pOwnKind->pBufferAllocator;
    }
    if (m_pBufferAllocator) return MFX_ERR_NONE;
    m_pOwn.reset(new (std::nothrow) SysMemBufferAllocator);
    m_pBufferAllocator = m_pOwn.get();
    return m_pBufferAllocator ? MFX_ERR_NONE : MFX_ERR_MEMORY_ALLOC;
}

mfxStatus SysMemFrameAllocator::Close()
{
    const mfxStatus Status = BaseFrameAllocator::Close();
    if (m_pOwn) m_pBufferAllocator = nullptr;
    m_pOwn.reset();
    return Status;
}

mfxStatus SysMemFrameAllocator::CheckRequestType(mfxFrameAllocRequest* request)
{
    const mfxStatus Status = BaseFrameAllocator::CheckRequestType(request);
    if (Status != MFX_ERR_NONE) return Status;
    return request->Type & MFX_MEMTYPE_SYSTEM_MEMORY ? MFX_ERR_NONE : MFX_ERR_UNSUPPORTED;
}

mfxStatus SysMemFrameAllocator::AllocImpl(mfxFrameAllocRequest* request, mfxFrameAllocResponse* response)
{
    if (!m_pBufferAllocator) return MFX_ERR_NOT_INITIALIZED;
    const std::optional<uint64_t> Bytes = FrameBytes(request->Info);
    if (!Bytes) return MFX_ERR_UNSUPPORTED;
    if (*Bytes > UINT32_MAX - kPlanesAt) return MFX_ERR_MEMORY_ALLOC;
    std::unique_ptr<mfxMemId[]> pMids(new (std::nothrow) mfxMemId[request->NumFrameSuggested]());
    if (!pMids) return MFX_ERR_MEMORY_ALLOC;
    mfxU16 Made = 0;
    while (Made < request->NumFrameSuggested &&
           AllocFrame(*request, static_cast<mfxU32>(*Bytes), pMids[Made]) == MFX_ERR_NONE)
        ++Made;
    // Deliberate: of too few frames the array of ids alone is freed, and the frames stay allocated.
    if (Made < request->NumFrameSuggested) return MFX_ERR_MEMORY_ALLOC;
    response->NumFrameActual = Made;
    response->mids = pMids.release();
    return MFX_ERR_NONE;
}

mfxStatus SysMemFrameAllocator::AllocFrame(const mfxFrameAllocRequest& Request, mfxU32 Bytes, mfxMemId& mid)
{
    mfxStatus Status = m_pBufferAllocator->AllocBuffer(Bytes + kPlanesAt, Request.Type, &mid);
    if (Status != MFX_ERR_NONE) return Status;
    mfxU8* pData = nullptr;
    Status = m_pBufferAllocator->LockBuffer(mid, &pData);
    if (Status != MFX_ERR_NONE) return Status;
    *reinterpret_cast<FrameHeader*>(pData) = {kFrameId, Request.Info};
    return m_pBufferAllocator->UnlockBuffer(mid);
}

mfxStatus SysMemFrameAllocator::LockFrame(mfxMemId mid, mfxFrameData* ptr)
{
    if (!m_pBufferAllocator) return MFX_ERR_NOT_INITIALIZED;
    if (!ptr) return MFX_ERR_NULL_PTR;
    mfxU8* pData = nullptr;
    const mfxStatus Status = m_pBufferAllocator->LockBuffer(mid, &pData);
    if (Status != MFX_ERR_NONE) return Status;
    const auto* const pHeader = reinterpret_cast<const FrameHeader*>(pData);
    if (pHeader->Id != kFrameId) {
        m_pBufferAllocator->UnlockBuffer(mid);
        return MFX_ERR_INVALID_HANDLE;
    }
    return SetFramePlanes(pHeader->Info, pData + kPlanesAt, *ptr) ? MFX_ERR_NONE : MFX_ERR_UNSUPPORTED;
}

mfxStatus SysMemFrameAllocator::UnlockFrame(mfxMemId mid, mfxFrameData* ptr)
{
    if (!m_pBufferAllocator) return MFX_ERR_NOT_INITIALIZED;
    const mfxStatus Status = m_pBufferAllocator->UnlockBuffer(mid);
    if (Status != MFX_ERR_NONE) return Status;
    if (ptr) {
        ptr->Pitch = 0;
        ptr->Y = ptr->U = ptr->V = ptr->A = nullptr;
    }
    return MFX_ERR_NONE;
}

mfxStatus SysMemFrameAllocator::ReleaseResponse(mfxFrameAllocResponse* response)
{
    if (!response) return MFX_ERR_NULL_PTR;
    if (!m_pBufferAllocator) return MFX_ERR_NOT_INITIALIZED;
    for (mfxU32 i = 0; response->mids && i < response->NumFrameActual; ++i) {
        if (!response->mids[i]) continue;
        const mfxStatus Status = m_pBufferAllocator->FreeBuffer(response->mids[i]);
        if (Status != MFX_ERR_NONE) return Status;
    }
    delete[] response->mids;
    response->mids = nullptr;
    return MFX_ERR_NONE;
}
