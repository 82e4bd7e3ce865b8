#include "front/engines.h"

#include "AMF/VCodecH264AMD.h"
#include "AMF/common/AMFFactoryHelper.h"
#include "NVIDIA/H264nvDec.h"
#include "NVIDIA/H264nvEnc.h"
#include "NVIDIA/VCodecH264nv.h"
#include "front/VCodec_H264.h"
#include "front/adapters.h"
#include "intel/VCodecH264hw.h"
#include "intel/mfx_session.h"
#include "platform/clock.h"
#include "platform/system_info.h"

#include <cstddef>
#include <new>

namespace {

class BuiltInEngines : public IEngines
{
public:
    bool IsWindows7OrLater() override
    {
        platform::SystemVersion Version;
        return platform::ReadSystemVersion(Version) && Version.PlatformId == 2 &&
               Version.Major * 1000 + Version.Minor >= 6001;
    }
    bool IsCpuVendorAmd() override { return platform::CpuVendor().find("AMD") != std::string::npos; }
    uint32_t TickCount() override { return platform::TickCount(); }
    bool MyGetDisplayVideoControllerList(std::vector<std::string>& List, bool bOnlyOK) override
    {
        return ::MyGetDisplayVideoControllerList(List, bOnlyOK);
    }

    bool TryNvidiaDecoder(int32_t Width, int32_t Height) override { return CH264nvDec::Try(Width, Height); }
    bool TryNvidiaEncoder(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t KeyInterval,
                          int32_t Kbps) override
    {
        return CH264nvEnc::Try(Width, Height, FramesPerSecond, KeyInterval, Kbps);
    }
    bool IsSupportH264hw_0() override { return CVCodecH264AMD::IsSupportH264hw_0(); }
    int32_t QueryIntelSession(int32_t Implementation) override { return QueryMfxSession(Implementation); }
    int32_t AmdInit() override { return g_AMFFactory.Init(); }
    int32_t AmdTerminate() override { return g_AMFFactory.Terminate(); }

    IVCodec* NewNvidia(int32_t Argument) override { return new (std::nothrow) CVCodecH264nv(Argument); }
    IVCodec* NewAmd() override { return new (std::nothrow) CVCodecH264AMD; }
    IVCodec* NewIntel(int32_t Argument) override { return new (std::nothrow) CVCodecH264hw(Argument); }
    IVCodec* NewSoftware() override { return new (std::nothrow) CVCodec_H264; }
};

IEngines* g_pReplacement = nullptr;

} // namespace

IEngines* GetEngines()
{
    // Never destroyed: unloading the library calls it last of all. Needs no memory: it is the way out when there is
    // none.
    alignas(BuiltInEngines) static std::byte s_Place[sizeof(BuiltInEngines)];
    static IEngines* const s_pBuiltIn = new (s_Place) BuiltInEngines;
    return g_pReplacement ? g_pReplacement : s_pBuiltIn;
}

void SetEngines(IEngines* pEngines) { g_pReplacement = pEngines; }
