// The AMF run time of the process.
#pragma once

#include "AMF/common/AMFFactory.h"

#include <atomic>

/// Holds the run time's library and its factory. Any thread may ask for the factory between Init and Terminate.
class AMFFactoryHelper
{
public:
    /// Loads the run time, or adds to its count when its library is loaded. A status: 0, 1 when the library or one of
    /// its names is missing, else what the run time answers. A run time that refuses keeps its library loaded, so a
    /// later call answers 0 and there is still no factory. Both are deliberate.
    AMF_RESULT Init();
    /// Takes from the count, and unloads the library when that gives 0. Always 0.
    AMF_RESULT Terminate();
    /// Null when the run time is not there or has refused.
    AMFFactory* GetFactory() const { return m_pFactory; }

private:
    AMF_RESULT Start();
    void Unload();

    void* m_hModule = nullptr;
    AMFFactory* m_pFactory = nullptr;
    AMFDebug* m_pDebug = nullptr;
    AMFTrace* m_pTrace = nullptr;
    amf_uint64 m_RuntimeVersion = 0;
    std::atomic<int32_t> m_iRefCount{0};
};

/// The one of the process. It is never destroyed: unloading this library terminates it last of all.
extern AMFFactoryHelper g_AMFFactory;
