// The CUDA driver, loaded by name and reached through pointers.
#pragma once

#include <ffnvcodec/dynlink_cuda.h>

#include <cstddef>
#include <cstdint>

/// What the library calls of the driver: process-wide, null until cuInit() has found them. The names are the driver's,
/// without the "_v2" of the forms in use. A name that the driver lacks stays null: its call faults.
struct CudaDriver {
    CUresult(CUDAAPI* cuInit)(unsigned int Flags);
    CUresult(CUDAAPI* cuDriverGetVersion)(int* pVersion);
    CUresult(CUDAAPI* cuDeviceGet)(CUdevice* pDevice, int Ordinal);
    CUresult(CUDAAPI* cuDeviceGetCount)(int* pCount);
    CUresult(CUDAAPI* cuDeviceComputeCapability)(int* pMajor, int* pMinor, CUdevice Device);
    CUresult(CUDAAPI* cuDeviceGetAttribute)(int* pValue, int Attribute, CUdevice Device);
    CUresult(CUDAAPI* cuCtxCreate)(CUcontext* pContext, unsigned int Flags, CUdevice Device);
    CUresult(CUDAAPI* cuCtxDestroy)(CUcontext Context);
    CUresult(CUDAAPI* cuCtxPushCurrent)(CUcontext Context);
    CUresult(CUDAAPI* cuCtxPopCurrent)(CUcontext* pContext); // null is allowed
    CUresult(CUDAAPI* cuMemAllocHost)(void** ppMemory, size_t Bytes);
    CUresult(CUDAAPI* cuMemFreeHost)(void* pMemory);
    CUresult(CUDAAPI* cuMemcpyDtoH)(void* pHost, CUdeviceptr Device, size_t Bytes);
};
extern CudaDriver g_Cuda;

inline constexpr int32_t kCudaVersion = 4000; // of the forms of the names: all callers ask for these
inline constexpr CUresult kDriverMissing = static_cast<CUresult>(999);

/// Loads the driver and resolves its names, every time; nothing is unloaded. Writes a line on standard output for a
/// library or a required name that is missing. Not guarded: a second load writes the same pointers.
/// @param Flags        For the driver's own cuInit.
/// @param cudaVersion  Chooses between the plain and the "_v2" names.
/// @param pHandle      Receives the library's handle; may be null.
/// @return The driver's status; 999 when there is no such library. A missing name does not count.
CUresult cuInit(unsigned int Flags, int32_t cudaVersion, void** pHandle);

/// Where the pointer of a name is kept, called or not; null for a name that is not in the list.
void* const* FindCudaPointer(const char* pName);
