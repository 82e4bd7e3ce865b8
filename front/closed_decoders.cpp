#include "front/closed_decoders.h"

#include "decoder/session/video_decoder.h"
#include "platform/critical_section.h"

#include <mutex>
#include <new>

namespace {

// Linked through the objects themselves: leaving one needs no memory.
class KeptDecoder : public UMC::H264VideoDecoder
{
public:
    KeptDecoder* m_pNext = nullptr;
};

platform::CriticalSection g_Lock; // guards the chain; held for a few instructions
KeptDecoder* g_pFirst = nullptr;

} // namespace

UMC::H264VideoDecoder* TakeDecoder()
{
    {
        const std::lock_guard Held(g_Lock);
        if (KeptDecoder* const pKept = g_pFirst) {
            g_pFirst = pKept->m_pNext;
            return pKept;
        }
    }
    return new (std::nothrow) KeptDecoder;
}

bool LeaveDecoder(UMC::H264VideoDecoder* pDecoder)
{
    if (!pDecoder) return true;
    if (pDecoder->Close() != UMC::StatusOk) return false;
    auto* pKept = static_cast<KeptDecoder*>(pDecoder);
    pKept->~KeptDecoder(); // made anew in its place, so that nothing of the session is left, whatever Close() keeps
    pKept = new (pKept) KeptDecoder;
    const std::lock_guard Held(g_Lock);
    pKept->m_pNext = g_pFirst;
    g_pFirst = pKept;
    return true;
}
