// A picture and its planes.
#pragma once

#include "AMF/common/AMFData.h"

struct AMFSurfaceObserver;

struct AMFPlane : AMFInterface {
    virtual AMF_PLANE_TYPE AMF_STD_CALL GetType() = 0;
    virtual void* AMF_STD_CALL GetNative() = 0;
    virtual amf_int32 AMF_STD_CALL GetPixelSizeInBytes() = 0;
    virtual amf_int32 AMF_STD_CALL GetOffsetX() = 0;
    virtual amf_int32 AMF_STD_CALL GetOffsetY() = 0;
    virtual amf_int32 AMF_STD_CALL GetWidth() = 0; // in samples, or in pairs of them on the plane of both chromas
    virtual amf_int32 AMF_STD_CALL GetHeight() = 0;
    virtual amf_int32 AMF_STD_CALL GetHPitch() = 0; // bytes
    virtual amf_int32 AMF_STD_CALL GetVPitch() = 0; // rows
    virtual bool AMF_STD_CALL IsTiled() = 0;
};

struct AMFSurface : AMFData {
    static constexpr AMFGuid kIid{0x3075DBE3, 0x8718, 0x4CFA, {0x86, 0xFB, 0x21, 0x14, 0xC0, 0xA5, 0xA4, 0x51}};

    virtual AMF_SURFACE_FORMAT AMF_STD_CALL GetFormat() = 0;
    virtual amf_size AMF_STD_CALL GetPlanesCount() = 0;
    virtual AMFPlane* AMF_STD_CALL GetPlaneAt(amf_size Index) = 0;
    /// Borrowed: valid as long as the surface lives. Null when there is none of that type.
    virtual AMFPlane* AMF_STD_CALL GetPlane(AMF_PLANE_TYPE Type) = 0;
    virtual AMF_FRAME_TYPE AMF_STD_CALL GetFrameType() = 0;
    virtual void AMF_STD_CALL SetFrameType(AMF_FRAME_TYPE Type) = 0;
    virtual AMF_RESULT AMF_STD_CALL SetCrop(amf_int32 x, amf_int32 y, amf_int32 Width, amf_int32 Height) = 0;
    virtual AMF_RESULT AMF_STD_CALL CopySurfaceRegion(AMFSurface* pTarget, amf_int32 xTarget, amf_int32 yTarget,
                                                      amf_int32 x, amf_int32 y, amf_int32 Width, amf_int32 Height) = 0;
    // Slots of their own beside the base's operations of the published names.
    virtual void AMF_STD_CALL AddSurfaceObserver(AMFSurfaceObserver* pObserver) = 0;
    virtual void AMF_STD_CALL RemoveSurfaceObserver(AMFSurfaceObserver* pObserver) = 0;
};
