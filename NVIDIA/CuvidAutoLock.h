// The lock that the driver shares a context by, held for a scope.
#pragma once

#include "NVIDIA/inc/cuvid_driver.h"

/// The statuses of both calls are not looked at. A driver may throw in either: the frame around the engine's operations
/// catches it.
class CuvidAutoLock
{
public:
    explicit CuvidAutoLock(CUvideoctxlock Lock) : m_Lock(Lock) { g_Cuvid.cuvidCtxLock(m_Lock, 0); }
    ~CuvidAutoLock() noexcept(false) { g_Cuvid.cuvidCtxUnlock(m_Lock, 0); }
    CuvidAutoLock(const CuvidAutoLock&) = delete;
    CuvidAutoLock& operator=(const CuvidAutoLock&) = delete;

private:
    CUvideoctxlock m_Lock;
};
