// Which frames have been handed out, and who shares them.
#pragma once

#include "intel/MFXFrameAllocator.h"

#include <cstdint>
#include <list>

class BaseFrameAllocator : public MFXFrameAllocator
{
public:
    /// Gives back all that is listed.
    mfxStatus Close() override;
    /// -4 for a null argument or a request of no frames, -3 for a type that is refused. External frames of a decoder
    /// are shared: who asks again for the same crop and type gets the same frames, or -4 when he wants more than there
    /// are.
    mfxStatus AllocFrames(mfxFrameAllocRequest* request, mfxFrameAllocResponse* response) override;
    /// -6 for null and for what is not listed. Shared frames go with the last of their owners.
    mfxStatus FreeFrames(mfxFrameAllocResponse* response) override;

protected:
    /// 0 for a type that can be served; -2 without a request, -3 for one that no codec asks for.
    virtual mfxStatus CheckRequestType(mfxFrameAllocRequest* request);
    virtual mfxStatus ReleaseResponse(mfxFrameAllocResponse* response) = 0;
    virtual mfxStatus AllocImpl(mfxFrameAllocRequest* request, mfxFrameAllocResponse* response) = 0;

private:
    struct UniqueResponse : mfxFrameAllocResponse {
        mfxU16 CropW, CropH;
        uint32_t References;
        mfxU16 Type; // who it is for: MFX_MEMTYPE_FROM_ bits
    };

    mfxStatus AllocListed(mfxFrameAllocRequest& Request, mfxFrameAllocResponse& Response);
    mfxStatus AllocShared(mfxFrameAllocRequest& Request, mfxFrameAllocResponse& Response);

    std::list<mfxFrameAllocResponse> m_responses;
    std::list<UniqueResponse> m_ExtResponses;
};
