#include "front/selection.h"

#include "front/driver_frame.h"
#include "front/engines.h"
#include "front/probes.h"
#include "front/stdafx.h"

#include <algorithm>
#include <vector>

std::atomic<int32_t> AmdProbeHangCount{0};

namespace {

// Plain words shared without a lock: a race costs at most a repeated query.
std::atomic<int32_t> IntelDeviceFailed{0};

// A fault while the adapters were listed, carried past the scope of ConfigLock so that the lock is not left held.
struct AdapterFault {
    uint32_t Code;
};

IVCodec* NvidiaStep(uint32_t id, bool bLog)
{
    if (IsNvidiaDisabled()) return nullptr;
    if (!ProbeNvidia(RequestId(id).bDecoder != 0)) {
        DisableNvidiaAdapter();
        return nullptr;
    }
    if (bLog) LogInfo("qvlx - CreateVCodec(%d) NVIDIA", static_cast<int32_t>(id));
    return GetEngines()->NewNvidia(1);
}

IVCodec* AmdStep(uint32_t id, bool bLog)
{
    IVCodec* const pResult = CreateAMDH264hwVCodec(RequestId(id).bDecoder);
    if (bLog) LogInfo("qvlx - CreateVCodec(%d) AMD/ATI=%p", static_cast<int32_t>(id), static_cast<void*>(pResult));
    return pResult;
}

IVCodec* IntelStep(uint32_t id, bool bLog)
{
    if (GetIntelH264hwDevFailed() || GetEngines()->IsCpuVendorAmd() || !ProbeIntelHardware()) return nullptr;
    if (bLog) LogInfo("qvlx - CreateVCodec(%d) QSV_HW", static_cast<int32_t>(id));
    return GetEngines()->NewIntel(1);
}

IVCodec* HardwareSteps(uint32_t id, bool bLog)
{
    IVCodec* pResult = NvidiaStep(id, bLog);
    if (!pResult) pResult = AmdStep(id, bLog);
    if (!pResult) pResult = IntelStep(id, bLog);
    return pResult;
}

IVCodec* IntelSoftwareStep(uint32_t id)
{
    if (!ProbeIntelSoftware()) return nullptr;
    LogInfo("qvlx - CreateVCodec(%d) QSV_SOFT", static_cast<int32_t>(id));
    return GetEngines()->NewIntel(2);
}

IVCodec* CreateVCodecInternal(uint32_t id)
{
    IVCodec* pResult = nullptr;
    switch (RequestId(id).Mode) {
    case kModeHardwareOnly: return HardwareSteps(id, false);
    case kModeHardwareFirst: pResult = HardwareSteps(id, true); break;
    case kModeIntelSoftware: pResult = IntelSoftwareStep(id); break;
    default: break;
    }
    if (pResult) return pResult;
    LogInfo("qvlx - CreateVCodec(%d) IPP", static_cast<int32_t>(id));
    return GetEngines()->NewSoftware();
}

IVCodec* CreateVCodecFallback(uint32_t id)
{
    LogInfo("qvlx - CreateVCodec(%d) IPP_0", static_cast<int32_t>(id));
    return GetEngines()->NewSoftware();
}

// Serialises access to the settings for "nvidia_disable".
WCritSec ConfigLock;
constexpr char kDisableKey[] = "nvidia_disable";

std::string g_CachedName;
uint32_t g_CachedTick = 0; // 0: never asked
constexpr uint32_t kCacheMs = 600001;

} // namespace

IVCodec* SelectVCodec(uint32_t id)
{
    IVCodec* pResult = nullptr;
    uint32_t ListingCode = 0;
    const bool bDone = RunInDriverFrame(nullptr, [&] {
        try {
            pResult = CreateVCodecInternal(id);
        } catch (const AdapterFault& Fault) {
            ListingCode = Fault.Code;
        }
    });
    if (bDone && !ListingCode) return pResult;
    if (ListingCode) MyFilterException(ListingCode);
    // A half-built object of the failed path is abandoned: nothing of it can be trusted.
    return CreateVCodecFallback(id);
}

int32_t GetIntelH264hwDevFailed() { return IntelDeviceFailed; }
void SetIntelH264hwDevFailed() { IntelDeviceFailed = 1; }

void ResetSelectionState()
{
    AmdProbeHangCount = 0;
    IntelDeviceFailed = 0;
    g_CachedName.clear();
    g_CachedTick = 0;
}

bool IsNvidiaDisabled()
{
    const WLockGuard Held(&ConfigLock);
    const std::string Disabled = ReadProfileString(SettingsFile(), kConfigSection, kDisableKey, "");
    return !Disabled.empty() && GetCachedNvidiaAdapterName() == Disabled;
}

void DisableNvidiaAdapter()
{
    const WLockGuard Held(&ConfigLock);
    const std::string Name = GetNvidiaAdapterName();
    if (!Name.empty()) WriteProfileString(SettingsFile(), kConfigSection, kDisableKey, Name.c_str());
}

std::string GetNvidiaAdapterName()
{
    std::vector<std::string> List;
    uint32_t Code;
    if (!platform::Guarded([&] { GetEngines()->MyGetDisplayVideoControllerList(List, true); }, Code))
        throw AdapterFault{Code};
    std::string Result;
    for (const std::string& Name : List) {
        std::string Lower = Name;
        std::transform(Lower.begin(), Lower.end(), Lower.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        if (Lower.find("nvidia") != std::string::npos) Result = Name; // the last one wins
    }
    return Result;
}

std::string GetCachedNvidiaAdapterName()
{
    const uint32_t Now = GetEngines()->TickCount();
    if (g_CachedTick != 0 && Now - g_CachedTick < kCacheMs) return g_CachedName; // wraps with the tick
    g_CachedTick = Now;
    g_CachedName = GetNvidiaAdapterName();
    return g_CachedName;
}
