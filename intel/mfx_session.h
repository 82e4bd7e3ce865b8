// Sessions of the Media SDK and their components.
#pragma once

#include <mfx/mfxvideo++.h>

#include <cstdint>
#include <utility>

inline constexpr mfxVersion kMfxVersion{{1, 1}}; // minor, major: the one that sessions are asked for

/// What a session is opened for: kind 2 is the software implementation, any other the hardware's.
inline mfxIMPL MfxImplementation(int32_t Kind)
{
    return Kind == 2 ? static_cast<mfxIMPL>(MFX_IMPL_SOFTWARE) : static_cast<mfxIMPL>(MFX_IMPL_HARDWARE_ANY);
}

/// A class of the published layer that is closed once. Its handle goes before the call, so that a driver that faults in
/// there is not called again by the destructor. A component keeps a copy of its session's handle: it is to be closed,
/// or to forget it, before the session closes.
template <class Base, auto* pCloseHandle>
class MfxHandle : public Base
{
public:
    using Base::Base;
    ~MfxHandle() override { Close(); }
    mfxStatus Close() override { return pCloseHandle(std::exchange(this->m_session, nullptr)); }
    void Forget() { this->m_session = nullptr; }
    bool IsOpen() const { return this->m_session != nullptr; }
};
using MfxSession = MfxHandle<MFXVideoSession, MFXClose>;
using MfxEncoder = MfxHandle<MFXVideoENCODE, MFXVideoENCODE_Close>;
using MfxDecoder = MfxHandle<MFXVideoDECODE, MFXVideoDECODE_Close>;

/// Opens a session for an implementation, reads the one that it is, and closes it; 0 when none opens.
int32_t QueryMfxSession(int32_t Implementation);
