// What goes into a component and comes out of it.
#pragma once

#include "AMF/common/AMFPropertyStorage.h"

struct AMFData : AMFPropertyStorage {
    virtual AMF_MEMORY_TYPE AMF_STD_CALL GetMemoryType() = 0;
    virtual AMF_RESULT AMF_STD_CALL Duplicate(AMF_MEMORY_TYPE Type, AMFData** ppData) = 0;
    /// Moves the content to another kind of memory.
    virtual AMF_RESULT AMF_STD_CALL Convert(AMF_MEMORY_TYPE Type) = 0;
    virtual AMF_RESULT AMF_STD_CALL Interop(AMF_MEMORY_TYPE Type) = 0;
    virtual AMF_DATA_TYPE AMF_STD_CALL GetDataType() = 0;
    virtual amf_bool AMF_STD_CALL IsReusable() = 0;
    virtual void AMF_STD_CALL SetPts(amf_pts Time) = 0;
    virtual amf_pts AMF_STD_CALL GetPts() = 0;
    virtual void AMF_STD_CALL SetDuration(amf_pts Duration) = 0;
    virtual amf_pts AMF_STD_CALL GetDuration() = 0;
};
