// The run time's entry, one for the process: nothing of it is counted.
#pragma once

#include "AMF/common/AMFComponent.h"

struct AMFDebug;
struct AMFPrograms;
struct AMFTrace;

struct AMFFactory {
    /// The caller owns the reference of what these two give.
    virtual AMF_RESULT AMF_STD_CALL CreateContext(AMFContext** ppContext) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateComponent(AMFContext* pContext, const wchar_t* pId,
                                                    AMFComponent** ppComponent) = 0;
    virtual AMF_RESULT AMF_STD_CALL SetCacheFolder(const wchar_t* pPath) = 0;
    virtual const wchar_t* AMF_STD_CALL GetCacheFolder() = 0;
    virtual AMF_RESULT AMF_STD_CALL GetDebug(AMFDebug** ppDebug) = 0;
    virtual AMF_RESULT AMF_STD_CALL GetTrace(AMFTrace** ppTrace) = 0;
    virtual AMF_RESULT AMF_STD_CALL GetPrograms(AMFPrograms** ppPrograms) = 0;

protected:
    ~AMFFactory() = default; // the run time's own
};

using AMFInit_Fn = AMF_RESULT(AMF_CDECL_CALL*)(amf_uint64 Version, AMFFactory** ppFactory);
using AMFQueryVersion_Fn = AMF_RESULT(AMF_CDECL_CALL*)(amf_uint64* pVersion);
