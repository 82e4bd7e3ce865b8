// Bytes, such as those of a stream.
#pragma once

#include "AMF/common/AMFData.h"

struct AMFBufferObserver;

struct AMFBuffer : AMFData {
    static constexpr AMFGuid kIid{0xB04B7248, 0xB6F0, 0x4321, {0xB6, 0x91, 0xBA, 0xA4, 0x74, 0x0F, 0x9F, 0xCB}};

    virtual AMF_RESULT AMF_STD_CALL SetSize(amf_size Size) = 0;
    virtual amf_size AMF_STD_CALL GetSize() = 0;
    virtual void* AMF_STD_CALL GetNative() = 0;
    // Slots of their own beside the base's operations of the published names.
    virtual void AMF_STD_CALL AddBufferObserver(AMFBufferObserver* pObserver) = 0;
    virtual void AMF_STD_CALL RemoveBufferObserver(AMFBufferObserver* pObserver) = 0;
};
