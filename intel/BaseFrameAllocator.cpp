#include "intel/BaseFrameAllocator.h"

#include <algorithm>
#include <new>

namespace {

constexpr mfxU16 kFromMask = 0xF00; // MFX_MEMTYPE_FROM_ENCODE and the others of its kind
constexpr mfxU16 kShared = MFX_MEMTYPE_EXTERNAL_FRAME | MFX_MEMTYPE_FROM_DECODE;

mfxU16 FromBits(mfxU16 Type) { return Type & kFromMask; }

template <class List>
auto Find(List& Entries, const mfxMemId* mids)
{
    return std::find_if(Entries.begin(), Entries.end(), [&](const auto& Entry) { return Entry.mids == mids; });
}

} // namespace

mfxStatus BaseFrameAllocator::CheckRequestType(mfxFrameAllocRequest* request)
{
    if (!request) return MFX_ERR_NULL_PTR;
    return FromBits(request->Type) ? MFX_ERR_NONE : MFX_ERR_UNSUPPORTED;
}

mfxStatus BaseFrameAllocator::AllocFrames(mfxFrameAllocRequest* request, mfxFrameAllocResponse* response)
try {
    if (!request || !response || request->NumFrameSuggested == 0) return MFX_ERR_MEMORY_ALLOC;
    if (CheckRequestType(request) != MFX_ERR_NONE) return MFX_ERR_UNSUPPORTED;
    return (request->Type & kShared) == kShared ? AllocShared(*request, *response) : AllocListed(*request, *response);
} catch (const std::bad_alloc&) {
    return MFX_ERR_MEMORY_ALLOC; // the SDK called through its table
}

mfxStatus BaseFrameAllocator::AllocShared(mfxFrameAllocRequest& Request, mfxFrameAllocResponse& Response)
{
    const auto Found = std::find_if(m_ExtResponses.begin(), m_ExtResponses.end(), [&](const UniqueResponse& Entry) {
        return Entry.CropW == Request.Info.CropW && Entry.CropH == Request.Info.CropH &&
               Entry.Type == FromBits(Request.Type);
    });
    if (Found != m_ExtResponses.end()) {
        if (Request.NumFrameSuggested > Found->NumFrameActual) return MFX_ERR_MEMORY_ALLOC;
        ++Found->References;
        Response = *Found;
        return MFX_ERR_NONE;
    }
    std::list<UniqueResponse> New(1); // the entry before the frames: once they are there, nothing fails
    const mfxStatus Status = AllocImpl(&Request, &Response);
    if (Status != MFX_ERR_NONE) return Status;
    New.front() = {Response, Request.Info.CropW, Request.Info.CropH, 1, FromBits(Request.Type)};
    m_ExtResponses.splice(m_ExtResponses.end(), New);
    return Status;
}

mfxStatus BaseFrameAllocator::AllocListed(mfxFrameAllocRequest& Request, mfxFrameAllocResponse& Response)
{
    m_responses.emplace_back();
    const mfxStatus Status = AllocImpl(&Request, &Response);
    if (Status == MFX_ERR_NONE)
        m_responses.back() = Response;
    else
        m_responses.pop_back();
    return Status;
}

mfxStatus BaseFrameAllocator::FreeFrames(mfxFrameAllocResponse* response)
{
    if (!response) return MFX_ERR_INVALID_HANDLE;
    if (const auto Shared = Find(m_ExtResponses, response->mids); Shared != m_ExtResponses.end()) {
        if (--Shared->References != 0) return MFX_ERR_NONE;
        const mfxStatus Status = ReleaseResponse(response);
        m_ExtResponses.erase(Shared);
        return Status;
    }
    const auto Listed = Find(m_responses, response->mids);
    if (Listed == m_responses.end()) return MFX_ERR_INVALID_HANDLE;
    const mfxStatus Status = ReleaseResponse(response);
    m_responses.erase(Listed);
    return Status;
}

mfxStatus BaseFrameAllocator::Close()
{
    for (UniqueResponse& Entry : m_ExtResponses) ReleaseResponse(&Entry);
    for (mfxFrameAllocResponse& Entry : m_responses) ReleaseResponse(&Entry);
    m_ExtResponses.clear();
    m_responses.clear();
    return MFX_ERR_NONE;
}
