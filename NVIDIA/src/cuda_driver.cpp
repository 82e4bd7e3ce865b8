#include "NVIDIA/inc/cuda_driver.h"

#include "platform/driver_names.h"
#include "platform/shared_library.h"

#include <cstdio>
#include <cstring>
#include <span>

constinit CudaDriver g_Cuda;

namespace {

// A name of the driver without "_v2", and what keeps the pointer that the library calls.
struct Entry {
    const char* pName;
    void (*Keep)(void* pFunction) = nullptr; // null: nothing calls it
};

template <auto Member>
void Keep(void* pFunction)
{
    (g_Cuda.*Member).Set(pFunction);
}

constexpr Entry kFirst[] = {{"cuInit", Keep<&CudaDriver::cuInit>},
                            {"cuDriverGetVersion", Keep<&CudaDriver::cuDriverGetVersion>}};
constexpr Entry kAlways[] = {{"cuDeviceGet", Keep<&CudaDriver::cuDeviceGet>},
                             {"cuDeviceGetCount", Keep<&CudaDriver::cuDeviceGetCount>},
                             {"cuDeviceGetName"},
                             {"cuDeviceComputeCapability", Keep<&CudaDriver::cuDeviceComputeCapability>},
                             {"cuDeviceGetProperties"},
                             {"cuDeviceGetAttribute", Keep<&CudaDriver::cuDeviceGetAttribute>},
                             {"cuCtxDestroy", Keep<&CudaDriver::cuCtxDestroy>},
                             {"cuCtxAttach"},
                             {"cuCtxDetach"},
                             {"cuCtxPushCurrent", Keep<&CudaDriver::cuCtxPushCurrent>},
                             {"cuCtxPopCurrent", Keep<&CudaDriver::cuCtxPopCurrent>},
                             {"cuCtxGetDevice"},
                             {"cuCtxSynchronize"},
                             {"cuModuleLoad"},
                             {"cuModuleLoadData"},
                             {"cuModuleUnload"},
                             {"cuModuleGetFunction"},
                             {"cuModuleGetTexRef"},
                             {"cuMemFreeHost", Keep<&CudaDriver::cuMemFreeHost>},
                             {"cuMemHostAlloc"},
                             {"cuFuncSetBlockShape"},
                             {"cuFuncSetSharedSize"},
                             {"cuFuncGetAttribute"},
                             {"cuArrayDestroy"},
                             {"cuTexRefCreate"},
                             {"cuTexRefDestroy"},
                             {"cuTexRefSetArray"},
                             {"cuTexRefSetFormat"},
                             {"cuTexRefSetAddressMode"},
                             {"cuTexRefSetFilterMode"},
                             {"cuTexRefSetFlags"},
                             {"cuTexRefGetArray"},
                             {"cuTexRefGetAddressMode"},
                             {"cuTexRefGetFilterMode"},
                             {"cuTexRefGetFormat"},
                             {"cuTexRefGetFlags"},
                             {"cuParamSetSize"},
                             {"cuParamSeti"},
                             {"cuParamSetf"},
                             {"cuParamSetv"},
                             {"cuParamSetTexRef"},
                             {"cuLaunch"},
                             {"cuLaunchGrid"},
                             {"cuLaunchGridAsync"},
                             {"cuEventCreate"},
                             {"cuEventRecord"},
                             {"cuEventQuery"},
                             {"cuEventSynchronize"},
                             {"cuEventDestroy"},
                             {"cuEventElapsedTime"},
                             {"cuStreamCreate"},
                             {"cuStreamQuery"},
                             {"cuStreamSynchronize"},
                             {"cuStreamDestroy"}};
constexpr Entry kRenewed[] = {{"cuCtxDestroy", Keep<&CudaDriver::cuCtxDestroy>},
                              {"cuCtxPopCurrent", Keep<&CudaDriver::cuCtxPopCurrent>},
                              {"cuCtxPushCurrent", Keep<&CudaDriver::cuCtxPushCurrent>},
                              {"cuStreamDestroy"},
                              {"cuEventDestroy"}};
constexpr Entry kWider[] = {{"cuDeviceTotalMem"},
                            {"cuCtxCreate", Keep<&CudaDriver::cuCtxCreate>},
                            {"cuModuleGetGlobal"},
                            {"cuMemGetInfo"},
                            {"cuMemAlloc"},
                            {"cuMemAllocPitch"},
                            {"cuMemFree"},
                            {"cuMemGetAddressRange"},
                            {"cuMemAllocHost", Keep<&CudaDriver::cuMemAllocHost>},
                            {"cuMemHostGetDevicePointer"},
                            {"cuMemcpyHtoD"},
                            {"cuMemcpyDtoH", Keep<&CudaDriver::cuMemcpyDtoH>},
                            {"cuMemcpyDtoD"},
                            {"cuMemcpyDtoA"},
                            {"cuMemcpyAtoD"},
                            {"cuMemcpyHtoA"},
                            {"cuMemcpyAtoH"},
                            {"cuMemcpyAtoA"},
                            {"cuMemcpy2D"},
                            {"cuMemcpy2DUnaligned"},
                            {"cuMemcpy3D"},
                            {"cuMemcpyHtoDAsync"},
                            {"cuMemcpyDtoHAsync"},
                            {"cuMemcpyHtoAAsync"},
                            {"cuMemcpyAtoHAsync"},
                            {"cuMemcpy2DAsync"},
                            {"cuMemcpy3DAsync"},
                            {"cuMemsetD8"},
                            {"cuMemsetD16"},
                            {"cuMemsetD32"},
                            {"cuMemsetD2D8"},
                            {"cuMemsetD2D16"},
                            {"cuMemsetD2D32"},
                            {"cuArrayCreate"},
                            {"cuArrayGetDescriptor"},
                            {"cuArray3DCreate"},
                            {"cuArray3DGetDescriptor"},
                            {"cuTexRefSetAddress"},
                            {"cuTexRefSetAddress2D"},
                            {"cuTexRefGetAddress"}};
constexpr Entry kFrom2010[] = {{"cuModuleLoadDataEx"}, {"cuModuleLoadFatBinary"}};
constexpr Entry kFrom2030[] = {{"cuMemHostGetFlags"}};
constexpr Entry kFrom3000[] = {{"cuMemcpyDtoDAsync"},
                               {"cuFuncSetCacheConfig"},
                               {"cuGraphicsUnregisterResource"},
                               {"cuGraphicsSubResourceGetMappedArray"}};
constexpr Entry kMappedPointer[] = {{"cuGraphicsResourceGetMappedPointer"}};
constexpr Entry kFurtherFrom3000[] = {
    {"cuGraphicsResourceSetMapFlags"}, {"cuGraphicsMapResources"}, {"cuGraphicsUnmapResources"}, {"cuGetExportTable"}};
constexpr Entry kFrom3010[] = {
    {"cuModuleGetSurfRef"}, {"cuSurfRefSetArray"}, {"cuSurfRefGetArray"}, {"cuCtxSetLimit"}, {"cuCtxGetLimit"}};
constexpr Entry kFrom4000[] = {{"cuCtxSetCurrent"}, {"cuCtxGetCurrent"}, {"cuMemHostRegister"}, {"cuMemHostUnregister"},
                               {"cuMemcpy"},        {"cuMemcpyPeer"},    {"cuLaunchKernel"}};

constexpr int32_t kNever = INT32_MAX;
constexpr int32_t kRenewedFrom = 4000, kWiderFrom = 3020; // versions of the forms of the names

struct Group {
    std::span<const Entry> Entries;
    int32_t LeastDriver = 0;      // version of the driver that has the names
    int32_t LeastCuda = 0;        // version of the forms that asks for them,
    int32_t LeastCudaV2 = kNever; // and that asks for those with "_v2"
};

// In the order in which the names are resolved. The first group goes by rules of its own.
constexpr Group kGroups[] = {{kFirst},
                             {kAlways},
                             {kRenewed, 0, kRenewedFrom, kRenewedFrom},
                             {kWider, 0, 0, kWiderFrom},
                             {kFrom2010, 2010},
                             {kFrom2030, 2030},
                             {kFrom3000, 3000},
                             {kMappedPointer, 3000, 0, kWiderFrom},
                             {kFurtherFrom3000, 3000},
                             {kFrom3010, 3010},
                             {kFrom4000, 4000}};

constexpr size_t CountEntries()
{
    size_t Count = 0;
    for (const Group& g : kGroups) Count += g.Entries.size();
    return Count;
}

// One for each name, at the first place that the name has in the list.
constinit std::atomic<void*> s_Pointers[CountEntries()]{};

std::atomic<void*>* PointerOf(const char* pName)
{
    std::atomic<void*>* pPointer = s_Pointers;
    for (const Group& g : kGroups)
        for (const Entry& e : g.Entries) {
            if (std::strcmp(e.pName, pName) == 0) return pPointer;
            ++pPointer;
        }
    return nullptr;
}

void KeepPointer(const Entry& e, void* pFunction)
{
    PointerOf(e.pName)->store(pFunction, std::memory_order_relaxed);
    if (e.Keep) e.Keep(pFunction);
}

void* Resolve(void* pLibrary, const char* pName)
{
    void* const pFunction = platform::Libraries().Symbol(pLibrary, pName);
    if (!pFunction) std::printf("Failed to find required function \"%s\" in %s\n", pName, platform::kCudaLibrary);
    return pFunction;
}

void* ResolveForm(void* pLibrary, const Entry& e, bool bV2)
{
    char Name[64]; // the longest has 38 characters
    std::snprintf(Name, sizeof Name, "%s%s", e.pName, bV2 ? "_v2" : "");
    return Resolve(pLibrary, Name);
}

bool IsRenewed(const Entry& e)
{
    for (const Entry& Other : kRenewed)
        if (std::strcmp(Other.pName, e.pName) == 0) return true;
    return false;
}

void ResolveNames(void* pLibrary, int32_t cudaVersion, int32_t DriverVersion)
{
    for (const Group& g : std::span(kGroups).subspan(1)) {
        if (DriverVersion < g.LeastDriver || cudaVersion < g.LeastCuda) continue;
        const bool bV2 = cudaVersion >= g.LeastCudaV2;
        for (const Entry& e : g.Entries) {
            void* const pFunction = ResolveForm(pLibrary, e, bV2);
            // The form that is about to be replaced never stands in the pointer, so that loading again changes nothing
            // under a thread that calls.
            if (bV2 || cudaVersion < kRenewedFrom || !IsRenewed(e)) KeepPointer(e, pFunction);
        }
    }
}

} // namespace

CUresult cuInit(unsigned int Flags, int32_t cudaVersion, void** pHandle)
{
    int DriverVersion = 1000;
    void* const pLibrary = platform::Libraries().Open(platform::kCudaLibrary);
    if (!pLibrary) {
        std::printf("LoadLibrary \"%s\" failed!\n", platform::kCudaLibrary);
        return kDriverMissing;
    }
    if (pHandle) *pHandle = pLibrary;

    KeepPointer(kFirst[0], Resolve(pLibrary, kFirst[0].pName));
    CUresult Status = g_Cuda.cuInit(Flags); // deliberate: also when there is none, and then it faults
    if (Status != CUDA_SUCCESS) return Status;

    KeepPointer(kFirst[1], platform::Libraries().Symbol(pLibrary, kFirst[1].pName)); // may be missing
    if (g_Cuda.cuDriverGetVersion) Status = g_Cuda.cuDriverGetVersion(&DriverVersion);
    if (Status != CUDA_SUCCESS) return Status;

    ResolveNames(pLibrary, cudaVersion, DriverVersion);
    return CUDA_SUCCESS;
}

const std::atomic<void*>* FindCudaPointer(const char* pName) { return PointerOf(pName); }
