// The hardware engines as the selection chain sees them: named trials and constructors. The chain's rules, messages and
// exception frames are in the front; what an engine does with its driver is behind this interface.
#pragma once

#include "quilvex/IVCodec.h"

#include <cstdint>
#include <string>
#include <vector>

/// An implementation that a Media SDK session can be opened for or can turn out to have.
enum IntelImplementation : int32_t { kIntelImplSoftware = 1, kIntelImplHardware = 2, kIntelImplHardwareAny = 4 };

/// Everything that the chain asks of the machine. Any call may crash, hang or throw: the chain survives all three.
struct IEngines {
    virtual ~IEngines() = default;

    // The machine.
    virtual bool IsWindows7OrLater() = 0;
    virtual bool IsCpuVendorAmd() = 0;
    virtual uint32_t TickCount() = 0; // milliseconds, wrapping
    /// Names of the display adapters, those with status "OK" only when bOnlyOK; false when they cannot be listed.
    virtual bool MyGetDisplayVideoControllerList(std::vector<std::string>& List, bool bOnlyOK) = 0;

    // Trials with the driver.
    virtual bool TryNvidiaDecoder(int32_t Width, int32_t Height) = 0;
    virtual bool TryNvidiaEncoder(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t KeyInterval,
                                  int32_t Kbps) = 0;
    virtual bool IsSupportH264hw_0() = 0; // AMD
    /// Opens and closes a session asking for an implementation at API version 1.1; the one it got, 0 for none.
    virtual int32_t QueryIntelSession(int32_t Implementation) = 0;

    // The AMD run time, once a load and unload of the library. A status, 0 for success.
    virtual int32_t AmdInit() = 0;
    virtual int32_t AmdTerminate() = 0;

    // Constructors: an object with reference count 1, or null when memory is exhausted.
    virtual IVCodec* NewNvidia(int32_t Argument) = 0;
    virtual IVCodec* NewAmd() = 0;
    virtual IVCodec* NewIntel(int32_t Argument) = 0; // 1 hardware, 2 software implementation
    virtual IVCodec* NewSoftware() = 0;
};

/// The engines of this build. Never null.
IEngines* GetEngines();
/// Puts others in their place, not owned; null restores the build's own. Not to be called while another thread selects.
void SetEngines(IEngines* pEngines);
