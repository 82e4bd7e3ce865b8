// An encoder or a decoder.
#pragma once

#include "AMF/common/AMFContext.h"

struct AMFCaps;
struct AMFComponentOptimizationCallback;
struct AMFDataAllocatorCB;

struct AMFComponent : AMFPropertyStorageEx {
    virtual AMF_RESULT AMF_STD_CALL Init(AMF_SURFACE_FORMAT Format, amf_int32 Width, amf_int32 Height) = 0;
    virtual AMF_RESULT AMF_STD_CALL ReInit(amf_int32 Width, amf_int32 Height) = 0;
    virtual AMF_RESULT AMF_STD_CALL Terminate() = 0;
    /// Makes everything that was submitted come out; behind the last output QueryOutput answers AMF_EOF.
    virtual AMF_RESULT AMF_STD_CALL Drain() = 0;
    /// Forgets what is inside and takes input again.
    virtual AMF_RESULT AMF_STD_CALL Flush() = 0;
    virtual AMF_RESULT AMF_STD_CALL SubmitInput(AMFData* pData) = 0;
    /// Null data: none is ready yet. The caller owns the reference of what it gets.
    virtual AMF_RESULT AMF_STD_CALL QueryOutput(AMFData** ppData) = 0;
    virtual AMFContext* AMF_STD_CALL GetContext() = 0;
    virtual AMF_RESULT AMF_STD_CALL SetOutputDataAllocatorCB(AMFDataAllocatorCB* pCallback) = 0;
    virtual AMF_RESULT AMF_STD_CALL GetCaps(AMFCaps** ppCaps) = 0;
    virtual AMF_RESULT AMF_STD_CALL Optimize(AMFComponentOptimizationCallback* pCallback) = 0;
};
