// The exception frame around every call that can touch a driver, and what it logs.
#pragma once

#include "platform/exception_frame.h"
#include "quilvex/IVCodec.h"

#include <cstdint>

/// The filter of every frame: logs the code of a fault. 1 selects the handler, whatever the fault.
int32_t MyFilterException(uint32_t Code);

/// The handler of a frame whose operation answers a failure: logs it as "qvlx - OPERATION MyFilterException". Null has
/// no line.
void LogFaultHandled(const char* pOperation);

/// Runs a body, for an operation such as "CVCodecH264nv::Encode()", and tells whether it came to its end. A fault or a
/// C++ exception that ends it is logged by the filter and then by the handler.
/// @param pOperation  Null for a caller that is the handler itself.
template <class Body>
bool RunInDriverFrame(const char* pOperation, Body&& Run)
{
    uint32_t Code;
    if (platform::Guarded([&] { Run(); }, Code)) return true;
    if (MyFilterException(Code)) LogFaultHandled(pOperation);
    return false;
}

/// The same for an operation with a result; 0 when a fault ends it.
template <class Body>
int32_t ResultInDriverFrame(const char* pOperation, Body&& Run)
{
    int32_t Result = 0;
    return RunInDriverFrame(pOperation, [&] { Result = Run(); }) ? Result : 0;
}

/// The same for an engine's Encode(), whose outputs then tell that the engine has failed. pFrameType may be null.
template <class Body>
int32_t EncodeInDriverFrame(const char* pOperation, int32_t* pdwOutLen, int32_t* pFrameType, Body&& Run)
{
    int32_t Result = 0;
    if (RunInDriverFrame(pOperation, [&] { Result = Run(); })) return Result;
    *pdwOutLen = kFrameFailed;
    if (pFrameType) *pFrameType = kFrameFailed;
    return 0;
}
