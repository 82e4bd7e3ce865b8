// Substitute of the CUDA driver. Of its names it does the work of those that the library calls; a call of another is a
// misuse.
//
// Settings: "cuda.version" (8000), "cuda.devices" (1), and for device n "cuda.major.n" (5), "cuda.minor.n" (2),
// "cuda.processors.n" (16), "cuda.clock.n" (1000000), "cuda.mode.n" (0); "NAME.status" (0): what a function answers
// when its work is done. Ledger: "CUcontext", "host memory".
#include "tests/support/drivers/raw_driver.h"

namespace {

constexpr int32_t kInvalidValue = 1, kInvalidDevice = 101, kInvalidContext = 201;

// The contexts that are current, of all threads, each thread's last one on top.
struct Current {
    const void* pThread;
    void* pContext;
};
constexpr int32_t kMostCurrent = 64;
Current s_Current[kMostCurrent];
int32_t s_Depth = 0;
bool s_bLocked = false; // guards both

struct Lock {
    Lock()
    {
        while (__atomic_test_and_set(&s_bLocked, __ATOMIC_ACQUIRE)) {
        }
    }
    ~Lock() { __atomic_clear(&s_bLocked, __ATOMIC_RELEASE); }
};

int32_t TopOf(const void* pThread)
{
    int32_t i = s_Depth - 1;
    while (i >= 0 && s_Current[i].pThread != pThread) --i;
    return i;
}

// Tells the other substitutes what is current on this thread now.
void TellCurrent()
{
    const int32_t i = TopOf(raw::ThisThread());
    DriverSetCurrent("CUcontext", i < 0 ? nullptr : s_Current[i].pContext);
}

void Push(void* pContext)
{
    const Lock Held;
    if (s_Depth < kMostCurrent) s_Current[s_Depth++] = {raw::ThisThread(), pContext};
    TellCurrent();
}

void RemoveAt(int32_t i)
{
    --s_Depth;
    for (; i < s_Depth; ++i) s_Current[i] = s_Current[i + 1];
    TellCurrent();
}

// Takes away this thread's current context; null for none.
void* Pop()
{
    const Lock Held;
    const int32_t i = TopOf(raw::ThisThread());
    if (i < 0) return nullptr;
    void* const pContext = s_Current[i].pContext;
    RemoveAt(i);
    return pContext;
}

bool HasCurrent()
{
    const Lock Held;
    return TopOf(raw::ThisThread()) >= 0;
}

void RemoveContext(const void* pContext)
{
    const Lock Held;
    for (int32_t i = s_Depth - 1; i >= 0; --i)
        if (s_Current[i].pContext == pContext) RemoveAt(i);
}

void ForgetContexts()
{
    const Lock Held;
    s_Depth = 0;
}

// "NAME.n"
int64_t DeviceSetting(const char* pName, int32_t Device, int64_t Default)
{
    char Text[32];
    int32_t n = 0;
    for (; pName[n]; ++n) Text[n] = pName[n];
    Text[n++] = '.';
    Text[n++] = static_cast<char>('0' + Device % 10);
    Text[n] = 0;
    return DriverSetting(Text, Default);
}

int32_t Devices() { return static_cast<int32_t>(DriverSetting("cuda.devices", 1)); }
bool IsDevice(int32_t Device) { return Device >= 0 && Device < Devices(); }

int32_t Uncalled(const char* pName)
{
    int64_t Status;
    DriverEnter(pName, &Status);
    DriverMisuse(pName);
    return kInvalidValue;
}

} // namespace

// Heads a function; DONE ends its work.
#define ENTER(Name)                                                                                                    \
    int64_t Status = 0;                                                                                                \
    if (!DriverEnter(#Name, &Status)) return static_cast<int32_t>(Status)
#define DONE(Name) return static_cast<int32_t>(DriverSetting(#Name ".status", 0))

DRIVER_EXPORT int32_t DRIVER_CALL cuInit(uint32_t Flags)
{
    ENTER(cuInit);
    DriverField("flags", Flags);
    DONE(cuInit);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuDriverGetVersion(int32_t* pVersion)
{
    ENTER(cuDriverGetVersion);
    *pVersion = static_cast<int32_t>(DriverSetting("cuda.version", 8000));
    DONE(cuDriverGetVersion);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuDeviceGetCount(int32_t* pCount)
{
    ENTER(cuDeviceGetCount);
    *pCount = Devices();
    DONE(cuDeviceGetCount);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuDeviceGet(int32_t* pDevice, int32_t Ordinal)
{
    ENTER(cuDeviceGet);
    DriverField("ordinal", Ordinal);
    if (!IsDevice(Ordinal)) return kInvalidDevice;
    *pDevice = Ordinal;
    DONE(cuDeviceGet);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuDeviceComputeCapability(int32_t* pMajor, int32_t* pMinor, int32_t Device)
{
    ENTER(cuDeviceComputeCapability);
    DriverField("device", Device);
    if (!IsDevice(Device)) return kInvalidDevice;
    *pMajor = static_cast<int32_t>(DeviceSetting("cuda.major", Device, 5));
    *pMinor = static_cast<int32_t>(DeviceSetting("cuda.minor", Device, 2));
    DONE(cuDeviceComputeCapability);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuDeviceGetAttribute(int32_t* pValue, int32_t Attribute, int32_t Device)
{
    ENTER(cuDeviceGetAttribute);
    DriverField("attribute", Attribute);
    DriverField("device", Device);
    if (!IsDevice(Device)) return kInvalidDevice;
    switch (Attribute) {
    case 13: *pValue = static_cast<int32_t>(DeviceSetting("cuda.clock", Device, 1000000)); break;
    case 16: *pValue = static_cast<int32_t>(DeviceSetting("cuda.processors", Device, 16)); break;
    case 20: *pValue = static_cast<int32_t>(DeviceSetting("cuda.mode", Device, 0)); break;
    default: return kInvalidValue;
    }
    DONE(cuDeviceGetAttribute);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuCtxCreate_v2(void** ppContext, uint32_t Flags, int32_t Device)
{
    ENTER(cuCtxCreate_v2);
    DriverField("flags", Flags);
    DriverField("device", Device);
    if (!IsDevice(Device)) return kInvalidDevice;
    if (DriverLive("CUcontext") == 0) ForgetContexts(); // those that a test before this one has left
    *ppContext = DriverOpen("CUcontext", 64);
    Push(*ppContext);
    DONE(cuCtxCreate_v2);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuCtxDestroy_v2(void* pContext)
{
    ENTER(cuCtxDestroy_v2);
    if (!DriverClose("CUcontext", pContext)) return kInvalidContext;
    RemoveContext(pContext);
    DONE(cuCtxDestroy_v2);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuCtxPushCurrent_v2(void* pContext)
{
    ENTER(cuCtxPushCurrent_v2);
    if (!DriverUse("CUcontext", pContext)) return kInvalidContext;
    Push(pContext);
    DONE(cuCtxPushCurrent_v2);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuCtxPopCurrent_v2(void** ppContext)
{
    ENTER(cuCtxPopCurrent_v2);
    DriverField("wants", ppContext != nullptr);
    void* const pContext = Pop();
    if (!pContext) {
        DriverMisuse("pop of no context");
        return kInvalidContext;
    }
    if (ppContext) *ppContext = pContext;
    DONE(cuCtxPopCurrent_v2);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuMemAllocHost_v2(void** ppMemory, size_t Bytes)
{
    ENTER(cuMemAllocHost_v2);
    DriverField("bytes", static_cast<int64_t>(Bytes));
    if (!HasCurrent()) return kInvalidContext;
    *ppMemory = DriverOpen("host memory", Bytes);
    DONE(cuMemAllocHost_v2);
}

DRIVER_EXPORT int32_t DRIVER_CALL cuMemFreeHost(void* pMemory)
{
    ENTER(cuMemFreeHost);
    if (!DriverClose("host memory", pMemory)) return kInvalidValue;
    DONE(cuMemFreeHost);
}

// Device memory is plain memory: its addresses are the process's own.
DRIVER_EXPORT int32_t DRIVER_CALL cuMemcpyDtoH_v2(void* pHost, uintptr_t Device, size_t Bytes)
{
    ENTER(cuMemcpyDtoH_v2);
    DriverField("bytes", static_cast<int64_t>(Bytes));
    if (!HasCurrent()) return kInvalidContext;
    __builtin_memcpy(pHost, reinterpret_cast<const void*>(Device), Bytes);
    DONE(cuMemcpyDtoH_v2);
}

// The names that are only looked for, and the old forms.
#define UNCALLED(Name)                                                                                                 \
    DRIVER_EXPORT int32_t DRIVER_CALL Name() { return Uncalled(#Name); }
UNCALLED(cuDeviceGetName)
UNCALLED(cuDeviceGetProperties)
UNCALLED(cuCtxDestroy)
UNCALLED(cuCtxAttach)
UNCALLED(cuCtxDetach)
UNCALLED(cuCtxPushCurrent)
UNCALLED(cuCtxPopCurrent)
UNCALLED(cuCtxGetDevice)
UNCALLED(cuCtxSynchronize)
UNCALLED(cuModuleLoad)
UNCALLED(cuModuleLoadData)
UNCALLED(cuModuleUnload)
UNCALLED(cuModuleGetFunction)
UNCALLED(cuModuleGetTexRef)
UNCALLED(cuMemHostAlloc)
UNCALLED(cuFuncSetBlockShape)
UNCALLED(cuFuncSetSharedSize)
UNCALLED(cuFuncGetAttribute)
UNCALLED(cuArrayDestroy)
UNCALLED(cuTexRefCreate)
UNCALLED(cuTexRefDestroy)
UNCALLED(cuTexRefSetArray)
UNCALLED(cuTexRefSetFormat)
UNCALLED(cuTexRefSetAddressMode)
UNCALLED(cuTexRefSetFilterMode)
UNCALLED(cuTexRefSetFlags)
UNCALLED(cuTexRefGetArray)
UNCALLED(cuTexRefGetAddressMode)
UNCALLED(cuTexRefGetFilterMode)
UNCALLED(cuTexRefGetFormat)
UNCALLED(cuTexRefGetFlags)
UNCALLED(cuParamSetSize)
UNCALLED(cuParamSeti)
UNCALLED(cuParamSetf)
UNCALLED(cuParamSetv)
UNCALLED(cuParamSetTexRef)
UNCALLED(cuLaunch)
UNCALLED(cuLaunchGrid)
UNCALLED(cuLaunchGridAsync)
UNCALLED(cuEventCreate)
UNCALLED(cuEventRecord)
UNCALLED(cuEventQuery)
UNCALLED(cuEventSynchronize)
UNCALLED(cuEventDestroy)
UNCALLED(cuEventElapsedTime)
UNCALLED(cuStreamCreate)
UNCALLED(cuStreamQuery)
UNCALLED(cuStreamSynchronize)
UNCALLED(cuStreamDestroy)
UNCALLED(cuStreamDestroy_v2)
UNCALLED(cuEventDestroy_v2)
UNCALLED(cuDeviceTotalMem_v2)
UNCALLED(cuModuleGetGlobal_v2)
UNCALLED(cuMemGetInfo_v2)
UNCALLED(cuMemAlloc_v2)
UNCALLED(cuMemAllocPitch_v2)
UNCALLED(cuMemFree_v2)
UNCALLED(cuMemGetAddressRange_v2)
UNCALLED(cuMemHostGetDevicePointer_v2)
UNCALLED(cuMemcpyHtoD_v2)
UNCALLED(cuMemcpyDtoD_v2)
UNCALLED(cuMemcpyDtoA_v2)
UNCALLED(cuMemcpyAtoD_v2)
UNCALLED(cuMemcpyHtoA_v2)
UNCALLED(cuMemcpyAtoH_v2)
UNCALLED(cuMemcpyAtoA_v2)
UNCALLED(cuMemcpy2D_v2)
UNCALLED(cuMemcpy2DUnaligned_v2)
UNCALLED(cuMemcpy3D_v2)
UNCALLED(cuMemcpyHtoDAsync_v2)
UNCALLED(cuMemcpyDtoHAsync_v2)
UNCALLED(cuMemcpyHtoAAsync_v2)
UNCALLED(cuMemcpyAtoHAsync_v2)
UNCALLED(cuMemcpy2DAsync_v2)
UNCALLED(cuMemcpy3DAsync_v2)
UNCALLED(cuMemsetD8_v2)
UNCALLED(cuMemsetD16_v2)
UNCALLED(cuMemsetD32_v2)
UNCALLED(cuMemsetD2D8_v2)
UNCALLED(cuMemsetD2D16_v2)
UNCALLED(cuMemsetD2D32_v2)
UNCALLED(cuArrayCreate_v2)
UNCALLED(cuArrayGetDescriptor_v2)
UNCALLED(cuArray3DCreate_v2)
UNCALLED(cuArray3DGetDescriptor_v2)
UNCALLED(cuTexRefSetAddress_v2)
UNCALLED(cuTexRefSetAddress2D_v2)
UNCALLED(cuTexRefGetAddress_v2)
UNCALLED(cuDeviceTotalMem)
UNCALLED(cuCtxCreate)
UNCALLED(cuModuleGetGlobal)
UNCALLED(cuMemGetInfo)
UNCALLED(cuMemAlloc)
UNCALLED(cuMemAllocPitch)
UNCALLED(cuMemFree)
UNCALLED(cuMemGetAddressRange)
UNCALLED(cuMemAllocHost)
UNCALLED(cuMemHostGetDevicePointer)
UNCALLED(cuMemcpyHtoD)
UNCALLED(cuMemcpyDtoH)
UNCALLED(cuMemcpyDtoD)
UNCALLED(cuMemcpyDtoA)
UNCALLED(cuMemcpyAtoD)
UNCALLED(cuMemcpyHtoA)
UNCALLED(cuMemcpyAtoH)
UNCALLED(cuMemcpyAtoA)
UNCALLED(cuMemcpy2D)
UNCALLED(cuMemcpy2DUnaligned)
UNCALLED(cuMemcpy3D)
UNCALLED(cuMemcpyHtoDAsync)
UNCALLED(cuMemcpyDtoHAsync)
UNCALLED(cuMemcpyHtoAAsync)
UNCALLED(cuMemcpyAtoHAsync)
UNCALLED(cuMemcpy2DAsync)
UNCALLED(cuMemcpy3DAsync)
UNCALLED(cuMemsetD8)
UNCALLED(cuMemsetD16)
UNCALLED(cuMemsetD32)
UNCALLED(cuMemsetD2D8)
UNCALLED(cuMemsetD2D16)
UNCALLED(cuMemsetD2D32)
UNCALLED(cuArrayCreate)
UNCALLED(cuArrayGetDescriptor)
UNCALLED(cuArray3DCreate)
UNCALLED(cuArray3DGetDescriptor)
UNCALLED(cuTexRefSetAddress)
UNCALLED(cuTexRefSetAddress2D)
UNCALLED(cuTexRefGetAddress)
UNCALLED(cuModuleLoadDataEx)
UNCALLED(cuModuleLoadFatBinary)
UNCALLED(cuMemHostGetFlags)
UNCALLED(cuMemcpyDtoDAsync)
UNCALLED(cuFuncSetCacheConfig)
UNCALLED(cuGraphicsUnregisterResource)
UNCALLED(cuGraphicsSubResourceGetMappedArray)
UNCALLED(cuGraphicsResourceGetMappedPointer)
UNCALLED(cuGraphicsResourceSetMapFlags)
UNCALLED(cuGraphicsMapResources)
UNCALLED(cuGraphicsUnmapResources)
UNCALLED(cuGetExportTable)
UNCALLED(cuModuleGetSurfRef)
UNCALLED(cuSurfRefSetArray)
UNCALLED(cuSurfRefGetArray)
UNCALLED(cuCtxSetLimit)
UNCALLED(cuCtxGetLimit)
UNCALLED(cuCtxSetCurrent)
UNCALLED(cuCtxGetCurrent)
UNCALLED(cuMemHostRegister)
UNCALLED(cuMemHostUnregister)
UNCALLED(cuMemcpy)
UNCALLED(cuMemcpyPeer)
UNCALLED(cuLaunchKernel)
UNCALLED(cuGraphicsResourceGetMappedPointer_v2)
