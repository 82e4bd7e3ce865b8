// The CUDA driver, loaded by name and reached through pointers.
#pragma once

#include "NVIDIA/inc/driver_function.h"

#include <ffnvcodec/dynlink_cuda.h>

#include <cstddef>
#include <cstdint>

/// What the library calls of the driver: process-wide, null until cuInit() has found them. The names are the driver's,
/// without the "_v2" of the forms in use. A name that the driver lacks stays null: its call faults.
struct CudaDriver {
    DriverFunction<CUresult(CUDAAPI*)(unsigned int Flags)> cuInit;
    DriverFunction<CUresult(CUDAAPI*)(int* pVersion)> cuDriverGetVersion;
    DriverFunction<CUresult(CUDAAPI*)(CUdevice* pDevice, int Ordinal)> cuDeviceGet;
    DriverFunction<CUresult(CUDAAPI*)(int* pCount)> cuDeviceGetCount;
    DriverFunction<CUresult(CUDAAPI*)(int* pMajor, int* pMinor, CUdevice Device)> cuDeviceComputeCapability;
    DriverFunction<CUresult(CUDAAPI*)(int* pValue, int Attribute, CUdevice Device)> cuDeviceGetAttribute;
    DriverFunction<CUresult(CUDAAPI*)(CUcontext* pContext, unsigned int Flags, CUdevice Device)> cuCtxCreate;
    DriverFunction<CUresult(CUDAAPI*)(CUcontext Context)> cuCtxDestroy;
    DriverFunction<CUresult(CUDAAPI*)(CUcontext Context)> cuCtxPushCurrent;
    DriverFunction<CUresult(CUDAAPI*)(CUcontext* pContext)> cuCtxPopCurrent; // null is allowed
    DriverFunction<CUresult(CUDAAPI*)(void** ppMemory, size_t Bytes)> cuMemAllocHost;
    DriverFunction<CUresult(CUDAAPI*)(void* pMemory)> cuMemFreeHost;
    DriverFunction<CUresult(CUDAAPI*)(void* pHost, CUdeviceptr Device, size_t Bytes)> cuMemcpyDtoH;
};
extern CudaDriver g_Cuda;

inline constexpr int32_t kCudaVersion = 4000; // of the forms of the names: all callers ask for these
inline constexpr CUresult kDriverMissing = static_cast<CUresult>(999);

/// Loads the driver and resolves its names, every time; nothing is unloaded. Writes a line on standard output for a
/// library or a required name that is missing. From any thread: a second load writes the same pointers.
/// @param Flags        For the driver's own cuInit.
/// @param cudaVersion  Chooses between the plain and the "_v2" names.
/// @param pHandle      Receives the library's handle; may be null.
/// @return The driver's status; 999 when there is no such library. A missing name does not count.
CUresult cuInit(unsigned int Flags, int32_t cudaVersion, void** pHandle);

/// Where the pointer of a name is kept, called or not; null for a name that is not in the list.
const std::atomic<void*>* FindCudaPointer(const char* pName);
