// The root of the run time's counted interfaces.
//
// The order of the operations of an interface is the run time's: a derived one goes on where its base ends. No
// interface has a virtual destructor, which would shift every slot behind it.
#pragma once

#include "AMF/common/amf_types.h"

struct AMFInterface {
    static constexpr AMFGuid kIid{0x9D872F34, 0x90DC, 0x4B93, {0xB6, 0xB2, 0x6C, 0xA3, 0x7C, 0x85, 0x25, 0xDB}};

    virtual amf_long AMF_STD_CALL Acquire() = 0;
    virtual amf_long AMF_STD_CALL Release() = 0;
    /// The caller owns the reference of what it gets.
    virtual AMF_RESULT AMF_STD_CALL QueryInterface(const AMFGuid& Iid, void** ppInterface) = 0;

protected:
    ~AMFInterface() = default; // by Release
};
