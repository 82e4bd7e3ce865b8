// The device that components work on.
#pragma once

#include "AMF/common/AMFBuffer.h"
#include "AMF/common/AMFSurface.h"

struct AMFAudioBuffer;
struct AMFCompute;
struct AMFComputeDevice;
struct AMFComputeFactory;

struct AMFContext : AMFPropertyStorage {
    virtual AMF_RESULT AMF_STD_CALL Terminate() = 0;
    virtual AMF_RESULT AMF_STD_CALL InitDX9(void* pDevice) = 0;
    virtual void* AMF_STD_CALL GetDX9Device(AMF_DX_VERSION Version) = 0;
    virtual AMF_RESULT AMF_STD_CALL LockDX9() = 0;
    virtual AMF_RESULT AMF_STD_CALL UnlockDX9() = 0;
    virtual AMF_RESULT AMF_STD_CALL InitDX11(void* pDevice, AMF_DX_VERSION Version) = 0;
    virtual void* AMF_STD_CALL GetDX11Device(AMF_DX_VERSION Version) = 0;
    virtual AMF_RESULT AMF_STD_CALL LockDX11() = 0;
    virtual AMF_RESULT AMF_STD_CALL UnlockDX11() = 0;
    virtual AMF_RESULT AMF_STD_CALL InitOpenCL(void* pQueue) = 0;
    virtual void* AMF_STD_CALL GetOpenCLContext() = 0;
    virtual void* AMF_STD_CALL GetOpenCLCommandQueue() = 0;
    virtual void* AMF_STD_CALL GetOpenCLDeviceID() = 0;
    virtual AMF_RESULT AMF_STD_CALL GetOpenCLComputeFactory(AMFComputeFactory** ppFactory) = 0;
    virtual AMF_RESULT AMF_STD_CALL InitOpenCLEx(AMFComputeDevice* pDevice) = 0;
    virtual AMF_RESULT AMF_STD_CALL LockOpenCL() = 0;
    virtual AMF_RESULT AMF_STD_CALL UnlockOpenCL() = 0;
    virtual AMF_RESULT AMF_STD_CALL InitOpenGL(amf_handle Context, amf_handle Window, amf_handle Drawable) = 0;
    virtual amf_handle AMF_STD_CALL GetOpenGLContext() = 0;
    virtual amf_handle AMF_STD_CALL GetOpenGLDrawable() = 0;
    virtual AMF_RESULT AMF_STD_CALL LockOpenGL() = 0;
    virtual AMF_RESULT AMF_STD_CALL UnlockOpenGL() = 0;
    virtual AMF_RESULT AMF_STD_CALL InitXV(void* pDevice) = 0;
    virtual void* AMF_STD_CALL GetXVDevice() = 0;
    virtual AMF_RESULT AMF_STD_CALL LockXV() = 0;
    virtual AMF_RESULT AMF_STD_CALL UnlockXV() = 0;
    virtual AMF_RESULT AMF_STD_CALL InitGralloc(void* pDevice) = 0;
    virtual void* AMF_STD_CALL GetGrallocDevice() = 0;
    virtual AMF_RESULT AMF_STD_CALL LockGralloc() = 0;
    virtual AMF_RESULT AMF_STD_CALL UnlockGralloc() = 0;
    virtual AMF_RESULT AMF_STD_CALL AllocBuffer(AMF_MEMORY_TYPE Type, amf_size Size, AMFBuffer** ppBuffer) = 0;
    virtual AMF_RESULT AMF_STD_CALL AllocSurface(AMF_MEMORY_TYPE Type, AMF_SURFACE_FORMAT Format, amf_int32 Width,
                                                 amf_int32 Height, AMFSurface** ppSurface) = 0;
    virtual AMF_RESULT AMF_STD_CALL AllocAudioBuffer(AMF_MEMORY_TYPE Type, AMF_AUDIO_FORMAT Format, amf_int32 Samples,
                                                     amf_int32 SampleRate, amf_int32 Channels,
                                                     AMFAudioBuffer** ppBuffer) = 0;
    // Both wrap the caller's memory, which has to outlive what they give; the caller owns its reference.
    virtual AMF_RESULT AMF_STD_CALL CreateBufferFromHostNative(void* pData, amf_size Size, AMFBuffer** ppBuffer,
                                                               AMFBufferObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateSurfaceFromHostNative(AMF_SURFACE_FORMAT Format, amf_int32 Width,
                                                                amf_int32 Height, amf_int32 HPitch, amf_int32 VPitch,
                                                                void* pData, AMFSurface** ppSurface,
                                                                AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateSurfaceFromDX9Native(void* pNative, AMFSurface** ppSurface,
                                                               AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateSurfaceFromDX11Native(void* pNative, AMFSurface** ppSurface,
                                                                AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateSurfaceFromOpenGLNative(AMF_SURFACE_FORMAT Format, amf_handle Texture,
                                                                  AMFSurface** ppSurface,
                                                                  AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateSurfaceFromGrallocNative(amf_handle Native, AMFSurface** ppSurface,
                                                                   AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateSurfaceFromOpenCLNative(AMF_SURFACE_FORMAT Format, amf_int32 Width,
                                                                  amf_int32 Height, void** ppPlanes,
                                                                  AMFSurface** ppSurface,
                                                                  AMFSurfaceObserver* pObserver) = 0;
    virtual AMF_RESULT AMF_STD_CALL CreateBufferFromOpenCLNative(void* pNative, amf_size Size,
                                                                 AMFBuffer** ppBuffer) = 0;
    virtual AMF_RESULT AMF_STD_CALL GetCompute(AMF_MEMORY_TYPE Type, AMFCompute** ppCompute) = 0;
};
