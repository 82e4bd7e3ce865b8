#include "front/probes.h"

#include "front/engines.h"
#include "front/selection.h"
#include "front/stdafx.h"
#include "platform/exception_frame.h"
#include "platform/killable_thread.h"

#include <memory>

namespace {

// What a trial of an engine passes to it.
constexpr int32_t kTrialWidth = 320, kTrialHeight = 240;
constexpr int32_t kTrialFps = 15, kTrialKeyInterval = 75, kTrialKbps = 120000;

constexpr uint32_t kAmdTimeoutMs = 3000;
constexpr int32_t kAmdHangsTolerated = 1; // a count above it closes the path

int32_t QueryIntel(int32_t Implementation, const char* pOperation)
{
    int32_t Got = 0;
    uint32_t Code;
    if (!platform::Guarded([&] { Got = GetEngines()->QueryIntelSession(Implementation); }, Code)) {
        LogError("qvlx - CVCodecH264hw::%s() MyFilterException", pOperation);
        return 0;
    }
    LogInfo("qvlx - CVCodecH264hw::%s() impl=%d", pOperation, Got);
    return Got;
}

struct AmdProbe {
    bool bSupported = false;
    static void Run(void* pContext)
    {
        bool bSupported = false;
        uint32_t Code; // the thread stands outside the chain's frame, so it has its own
        if (platform::Guarded([&] { bSupported = GetEngines()->IsSupportH264hw_0(); }, Code))
            static_cast<AmdProbe*>(pContext)->bSupported = bSupported;
        else
            MyFilterException(Code);
    }
};

bool ProbeAmd()
{
    if (AmdProbeHangCount > kAmdHangsTolerated) return false;
    auto pProbe = std::make_unique<AmdProbe>();
    const platform::BoundedResult Result = platform::RunWithTimeout(AmdProbe::Run, pProbe.get(), kAmdTimeoutMs);
    if (Result == platform::BoundedResult::Finished) return pProbe->bSupported;
    if (Result == platform::BoundedResult::NotStarted) return false;
    ++AmdProbeHangCount;
    if (Result == platform::BoundedResult::Abandoned)
        static_cast<void>(pProbe.release()); // still being written to, perhaps
    return false;
}

} // namespace

bool ProbeNvidia(bool bDecoder)
{
    if (!GetEngines()->IsWindows7OrLater()) return false;
    bool bSupported = false;
    uint32_t Code;
    const auto Trial = [&] {
        bSupported = bDecoder ? GetEngines()->TryNvidiaDecoder(kTrialWidth, kTrialHeight)
                              : GetEngines()->TryNvidiaEncoder(kTrialWidth, kTrialHeight, kTrialFps, kTrialKeyInterval,
                                                               kTrialKbps);
    };
    if (platform::Guarded(Trial, Code)) return bSupported;
    LogError("qvlx - CVCodecH264nv::IsSupportH264hw() MyFilterException");
    return false;
}

bool ProbeIntelHardware()
{
    if (!GetEngines()->IsWindows7OrLater()) return false;
    const int32_t Got = QueryIntel(kIntelImplHardwareAny, "IsSupportH264hw");
    return (Got & kIntelImplHardware) || (Got & kIntelImplHardwareAny);
}

bool ProbeIntelSoftware()
{
    if (!GetEngines()->IsWindows7OrLater()) return false;
    return (QueryIntel(kIntelImplSoftware, "IsSupportH264soft") & kIntelImplSoftware) != 0;
}

IVCodec* CreateAMDH264hwVCodec(uint32_t bDecoder)
{
    LogInfo("qvlx > CreateAMDH264hwVCodec bDecoder=%d", static_cast<int32_t>(bDecoder));
    IVCodec* pVCodec = nullptr;
    if (GetEngines()->IsWindows7OrLater() && ProbeAmd()) pVCodec = GetEngines()->NewAmd();
    LogInfo("qvlx < CreateAMDH264hwVCodec bDecoder=%d pVCodec=%p", static_cast<int32_t>(bDecoder),
            static_cast<void*>(pVCodec));
    return pVCodec;
}
