// A context of the CUDA driver made current for a scope.
#pragma once

#include "NVIDIA/inc/cuda_driver.h"
#include "front/stdafx.h"

/// Null makes none current. A context that could not be made current is told in the log, and the scope's body runs all
/// the same. A driver may throw in either call: the frame around the engine's operations catches it.
class CuContextAutoPushPop
{
public:
    explicit CuContextAutoPushPop(CUcontext Context) : m_Context(Context)
    {
        if (!m_Context) return;
        m_Status = g_Cuda.cuCtxPushCurrent(m_Context);
        if (m_Status != CUDA_SUCCESS)
            LogError("qvlx - CuContextAutoPushPop::CuContextAutoPushPop() cuCtxPushCurrent error=%d", m_Status);
    }
    ~CuContextAutoPushPop() noexcept(false)
    {
        if (!m_Context || m_Status != CUDA_SUCCESS) return;
        const CUresult Status = g_Cuda.cuCtxPopCurrent(nullptr);
        if (Status != CUDA_SUCCESS)
            LogError("qvlx - CuContextAutoPushPop::~CuContextAutoPushPop() cuCtxPopCurrent error=%d", Status);
    }
    CuContextAutoPushPop(const CuContextAutoPushPop&) = delete;
    CuContextAutoPushPop& operator=(const CuContextAutoPushPop&) = delete;

private:
    CUcontext m_Context;
    CUresult m_Status = CUDA_SUCCESS; // of the first call
};
