// The engines of the build, but for what a test says of the machine.
#pragma once

#include "front/engines.h"

/// Stands in for the build's own as long as it lives.
class ForwardingEngines : public IEngines
{
public:
    ForwardingEngines() : m_pOwn(GetEngines()) { SetEngines(this); }
    ~ForwardingEngines() override { SetEngines(nullptr); }

    bool IsWindows7OrLater() override { return true; }
    bool IsCpuVendorAmd() override { return bAmdProcessor; }
    uint32_t TickCount() override { return m_pOwn->TickCount(); }
    bool MyGetDisplayVideoControllerList(std::vector<std::string>& List, bool) override
    {
        List = Adapters;
        return true;
    }
    bool TryNvidiaDecoder(int32_t Width, int32_t Height) override { return m_pOwn->TryNvidiaDecoder(Width, Height); }
    bool TryNvidiaEncoder(int32_t Width, int32_t Height, int32_t Fps, int32_t KeyInterval, int32_t Kbps) override
    {
        return m_pOwn->TryNvidiaEncoder(Width, Height, Fps, KeyInterval, Kbps);
    }
    bool IsSupportH264hw_0() override { return m_pOwn->IsSupportH264hw_0(); }
    int32_t QueryIntelSession(int32_t Implementation) override { return m_pOwn->QueryIntelSession(Implementation); }
    int32_t AmdInit() override { return m_pOwn->AmdInit(); }
    int32_t AmdTerminate() override { return m_pOwn->AmdTerminate(); }
    IVCodec* NewNvidia(int32_t Argument) override { return m_pOwn->NewNvidia(Argument); }
    IVCodec* NewAmd() override { return m_pOwn->NewAmd(); }
    IVCodec* NewIntel(int32_t Argument) override { return m_pOwn->NewIntel(Argument); }
    IVCodec* NewSoftware() override { return m_pOwn->NewSoftware(); }

    bool bAmdProcessor = false;
    std::vector<std::string> Adapters; // that work

private:
    IEngines* m_pOwn;
};
