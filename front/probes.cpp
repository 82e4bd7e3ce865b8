#include "front/probes.h"

#include "front/driver_frame.h"
#include "front/engines.h"
#include "front/selection.h"
#include "front/stdafx.h"
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
    if (!RunInDriverFrame(pOperation, [&] { Got = GetEngines()->QueryIntelSession(Implementation); })) return 0;
    LogInfo("qvlx - %s impl=%d", pOperation, Got);
    return Got;
}

struct AmdProbe {
    bool bSupported = false;
    static void Run(void* pContext)
    {
        bool bSupported = false;
        // The thread stands outside the chain's frame, so it has its own; a fault is a refusal without a line.
        if (RunInDriverFrame(nullptr, [&] { bSupported = GetEngines()->IsSupportH264hw_0(); }))
            static_cast<AmdProbe*>(pContext)->bSupported = bSupported;
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
    const auto Trial = [&] {
        bSupported = bDecoder ? GetEngines()->TryNvidiaDecoder(kTrialWidth, kTrialHeight)
                              : GetEngines()->TryNvidiaEncoder(kTrialWidth, kTrialHeight, kTrialFps, kTrialKeyInterval,
                                                               kTrialKbps);
    };
    return RunInDriverFrame("CVCodecH264nv::IsSupportH264hw()", Trial) && bSupported;
}

bool ProbeIntelHardware()
{
    if (!GetEngines()->IsWindows7OrLater()) return false;
    const int32_t Got = QueryIntel(kIntelImplHardwareAny, "CVCodecH264hw::IsSupportH264hw()");
    return (Got & kIntelImplHardware) || (Got & kIntelImplHardwareAny);
}

bool ProbeIntelSoftware()
{
    if (!GetEngines()->IsWindows7OrLater()) return false;
    return (QueryIntel(kIntelImplSoftware, "CVCodecH264hw::IsSupportH264soft()") & kIntelImplSoftware) != 0;
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
