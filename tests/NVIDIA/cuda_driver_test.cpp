// Loading the CUDA driver by name: which names, in which order, under which versions, and what is told of missing ones.
#include "NVIDIA/inc/cuda_driver.h"

#include "front/driver_frame.h"
#include "platform/driver_names.h"
#include "platform/shared_library.h"
#include "tests/support/child_process.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/recording_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Names = std::vector<std::string>;

const Names kAlways{"cuDeviceGet",
                    "cuDeviceGetCount",
                    "cuDeviceGetName",
                    "cuDeviceComputeCapability",
                    "cuDeviceGetProperties",
                    "cuDeviceGetAttribute",
                    "cuCtxDestroy",
                    "cuCtxAttach",
                    "cuCtxDetach",
                    "cuCtxPushCurrent",
                    "cuCtxPopCurrent",
                    "cuCtxGetDevice",
                    "cuCtxSynchronize",
                    "cuModuleLoad",
                    "cuModuleLoadData",
                    "cuModuleUnload",
                    "cuModuleGetFunction",
                    "cuModuleGetTexRef",
                    "cuMemFreeHost",
                    "cuMemHostAlloc",
                    "cuFuncSetBlockShape",
                    "cuFuncSetSharedSize",
                    "cuFuncGetAttribute",
                    "cuArrayDestroy",
                    "cuTexRefCreate",
                    "cuTexRefDestroy",
                    "cuTexRefSetArray",
                    "cuTexRefSetFormat",
                    "cuTexRefSetAddressMode",
                    "cuTexRefSetFilterMode",
                    "cuTexRefSetFlags",
                    "cuTexRefGetArray",
                    "cuTexRefGetAddressMode",
                    "cuTexRefGetFilterMode",
                    "cuTexRefGetFormat",
                    "cuTexRefGetFlags",
                    "cuParamSetSize",
                    "cuParamSeti",
                    "cuParamSetf",
                    "cuParamSetv",
                    "cuParamSetTexRef",
                    "cuLaunch",
                    "cuLaunchGrid",
                    "cuLaunchGridAsync",
                    "cuEventCreate",
                    "cuEventRecord",
                    "cuEventQuery",
                    "cuEventSynchronize",
                    "cuEventDestroy",
                    "cuEventElapsedTime",
                    "cuStreamCreate",
                    "cuStreamQuery",
                    "cuStreamSynchronize",
                    "cuStreamDestroy"};
const Names kFrom4000Forms{"cuCtxDestroy_v2", "cuCtxPopCurrent_v2", "cuCtxPushCurrent_v2", "cuStreamDestroy_v2",
                           "cuEventDestroy_v2"};
const Names kForty{"cuDeviceTotalMem",
                   "cuCtxCreate",
                   "cuModuleGetGlobal",
                   "cuMemGetInfo",
                   "cuMemAlloc",
                   "cuMemAllocPitch",
                   "cuMemFree",
                   "cuMemGetAddressRange",
                   "cuMemAllocHost",
                   "cuMemHostGetDevicePointer",
                   "cuMemcpyHtoD",
                   "cuMemcpyDtoH",
                   "cuMemcpyDtoD",
                   "cuMemcpyDtoA",
                   "cuMemcpyAtoD",
                   "cuMemcpyHtoA",
                   "cuMemcpyAtoH",
                   "cuMemcpyAtoA",
                   "cuMemcpy2D",
                   "cuMemcpy2DUnaligned",
                   "cuMemcpy3D",
                   "cuMemcpyHtoDAsync",
                   "cuMemcpyDtoHAsync",
                   "cuMemcpyHtoAAsync",
                   "cuMemcpyAtoHAsync",
                   "cuMemcpy2DAsync",
                   "cuMemcpy3DAsync",
                   "cuMemsetD8",
                   "cuMemsetD16",
                   "cuMemsetD32",
                   "cuMemsetD2D8",
                   "cuMemsetD2D16",
                   "cuMemsetD2D32",
                   "cuArrayCreate",
                   "cuArrayGetDescriptor",
                   "cuArray3DCreate",
                   "cuArray3DGetDescriptor",
                   "cuTexRefSetAddress",
                   "cuTexRefSetAddress2D",
                   "cuTexRefGetAddress"};
// By the version of the driver that has them. "*": with "_v2" where the forms are those of 3020 or later.
const std::vector<std::pair<int, Names>> kByDriver{
    {2010, {"cuModuleLoadDataEx", "cuModuleLoadFatBinary"}},
    {2030, {"cuMemHostGetFlags"}},
    {3000,
     {"cuMemcpyDtoDAsync", "cuFuncSetCacheConfig", "cuGraphicsUnregisterResource",
      "cuGraphicsSubResourceGetMappedArray", "cuGraphicsResourceGetMappedPointer*", "cuGraphicsResourceSetMapFlags",
      "cuGraphicsMapResources", "cuGraphicsUnmapResources", "cuGetExportTable"}},
    {3010, {"cuModuleGetSurfRef", "cuSurfRefSetArray", "cuSurfRefGetArray", "cuCtxSetLimit", "cuCtxGetLimit"}},
    {4000,
     {"cuCtxSetCurrent", "cuCtxGetCurrent", "cuMemHostRegister", "cuMemHostUnregister", "cuMemcpy", "cuMemcpyPeer",
      "cuLaunchKernel"}}};

std::string InForm(const std::string& Name, int CudaVersion)
{
    if (Name.back() != '*') return Name;
    return Name.substr(0, Name.size() - 1) + (CudaVersion >= 3020 ? "_v2" : "");
}

// Every name that is asked for, in order.
Names Expected(int CudaVersion, int DriverVersion)
{
    Names All{"cuInit", "cuDriverGetVersion"};
    All.insert(All.end(), kAlways.begin(), kAlways.end());
    if (CudaVersion >= 4000) All.insert(All.end(), kFrom4000Forms.begin(), kFrom4000Forms.end());
    for (const std::string& Name : kForty) All.push_back(InForm(Name + "*", CudaVersion));
    for (const auto& [Least, Group] : kByDriver)
        if (DriverVersion >= Least)
            for (const std::string& Name : Group) All.push_back(InForm(Name, CudaVersion));
    return All;
}

std::string Plain(const std::string& Name)
{
    return Name.size() > 3 && Name.substr(Name.size() - 3) == "_v2" ? Name.substr(0, Name.size() - 3) : Name;
}

bool IsIn(const Names& All, const std::string& Name) { return std::find(All.begin(), All.end(), Name) != All.end(); }

std::string Missing(const std::string& Name)
{
    return "Failed to find required function \"" + Name + "\" in " + platform::kCudaLibrary + "\n";
}

void* PointerOf(const std::string& Name)
{
    const std::atomic<void*>* const pPointer = FindCudaPointer(Name.c_str());
    return pPointer ? pPointer->load() : nullptr;
}

struct CudaDriverLoading : testing::Test {
    DriverScript Script;
    DriverLibraries Libraries{platform::kCudaLibrary};

    // Loads with standard output captured.
    CUresult Load(int CudaVersion = kCudaVersion, void** pHandle = nullptr)
    {
        testing::internal::CaptureStdout();
        const CUresult Status = cuInit(0, CudaVersion, pHandle);
        Out = testing::internal::GetCapturedStdout();
        return Status;
    }
    void* FromLibrary(const std::string& Name) const
    {
        void* const pLibrary = platform::Libraries().Open(platform::kCudaLibrary);
        return platform::Libraries().Symbol(pLibrary, Name.c_str());
    }
    Names SymbolsAsked() const
    {
        Names Asked;
        for (const std::string& Line : Libraries.Asked())
            if (Line.rfind("symbol ", 0) == 0) Asked.push_back(Line.substr(7));
        return Asked;
    }
    std::string Out;
};

} // namespace

TEST_F(CudaDriverLoading, WithoutTheLibraryAnswers999AndAsksNothing)
{
    Libraries.Remove(platform::kCudaLibrary);
    void* pHandle = &Script;
    EXPECT_EQ(Load(kCudaVersion, &pHandle), 999);
    EXPECT_EQ(Out, std::string("LoadLibrary \"") + platform::kCudaLibrary + "\" failed!\n");
    EXPECT_THAT(Libraries.Asked(), ElementsAre(std::string("open ") + platform::kCudaLibrary));
    EXPECT_EQ(pHandle, &Script);
    EXPECT_THAT(Script.Trace(), IsEmpty());
}

TEST_F(CudaDriverLoading, AsksForEveryNameInTheOrderOfTheVersions)
{
    for (const int CudaVersion : {1000, 3000, 3019, 3020, 3999, 4000, 8000})
        for (const int DriverVersion : {0, 1000, 2009, 2010, 2029, 2030, 2999, 3000, 3009, 3010, 3999, 4000, 13000}) {
            SCOPED_TRACE(testing::Message() << CudaVersion << " on " << DriverVersion);
            Script.Set("cuda.version", DriverVersion);
            Libraries.ForgetAsked();
            EXPECT_EQ(Load(CudaVersion), 0);
            EXPECT_EQ(SymbolsAsked(), Expected(CudaVersion, DriverVersion));
            EXPECT_EQ(Out, "");
        }
}

TEST_F(CudaDriverLoading, CallsTheDriversTwoAndNoOther)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(cuInit(5, 4000, nullptr), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(Script.Trace(), ElementsAre("cuInit flags=5", "cuDriverGetVersion"));
    EXPECT_THAT(Script.Misuses(), IsEmpty());
}

TEST_F(CudaDriverLoading, GivesTheLibrarysHandle)
{
    void* pHandle = nullptr;
    EXPECT_EQ(Load(kCudaVersion, &pHandle), 0);
    ASSERT_NE(pHandle, nullptr);
    EXPECT_EQ(platform::Libraries().Symbol(pHandle, "cuInit"), PointerOf("cuInit"));
}

// The form that was asked for last stands behind the plain name.
TEST_F(CudaDriverLoading, EveryPointerIsThatOfItsForm)
{
    for (const int CudaVersion : {3000, 3020, 4000}) {
        EXPECT_EQ(Load(CudaVersion), 0);
        std::map<std::string, std::string> Last;
        for (const std::string& Name : Expected(CudaVersion, 8000)) Last[Plain(Name)] = Name;
        for (const auto& [Name, Form] : Last) {
            ASSERT_NE(FromLibrary(Form), nullptr) << Form;
            EXPECT_EQ(PointerOf(Name), FromLibrary(Form)) << Form;
        }
    }
}

TEST_F(CudaDriverLoading, TheTypedPointersAreThoseOfTheirNames)
{
    EXPECT_EQ(Load(), 0);
    const auto Same = [](auto pTyped, const char* pName) {
        EXPECT_NE(pTyped, nullptr) << pName;
        EXPECT_EQ(reinterpret_cast<void*>(pTyped), PointerOf(pName)) << pName;
    };
    Same(g_Cuda.cuInit.Get(), "cuInit");
    Same(g_Cuda.cuDriverGetVersion.Get(), "cuDriverGetVersion");
    Same(g_Cuda.cuDeviceGet.Get(), "cuDeviceGet");
    Same(g_Cuda.cuDeviceGetCount.Get(), "cuDeviceGetCount");
    Same(g_Cuda.cuDeviceComputeCapability.Get(), "cuDeviceComputeCapability");
    Same(g_Cuda.cuDeviceGetAttribute.Get(), "cuDeviceGetAttribute");
    Same(g_Cuda.cuCtxCreate.Get(), "cuCtxCreate");
    Same(g_Cuda.cuCtxDestroy.Get(), "cuCtxDestroy");
    Same(g_Cuda.cuCtxPushCurrent.Get(), "cuCtxPushCurrent");
    Same(g_Cuda.cuCtxPopCurrent.Get(), "cuCtxPopCurrent");
    Same(g_Cuda.cuMemAllocHost.Get(), "cuMemAllocHost");
    Same(g_Cuda.cuMemFreeHost.Get(), "cuMemFreeHost");
    Same(g_Cuda.cuMemcpyDtoH.Get(), "cuMemcpyDtoH");
    EXPECT_EQ(FindCudaPointer("cuNothing"), nullptr);
}

// Of two forms the later one counts, so the pointer stays null unless it is the plain form that is missing.
TEST(CudaDriverNames, AMissingNameIsToldAndLeavesItsPointerNull)
{
    for (const std::string& Name : Expected(4000, 8000)) {
        if (Name == "cuInit" || Name == "cuDriverGetVersion") continue;
        DriverScript Script;
        DriverLibraries Libraries{platform::kCudaLibrary};
        Libraries.Lack(Name);
        testing::internal::CaptureStdout();
        EXPECT_EQ(cuInit(0, 4000, nullptr), 0) << Name;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), Missing(Name));
        EXPECT_EQ(PointerOf(Plain(Name)) != nullptr, IsIn(kFrom4000Forms, Name + "_v2")) << Name;
    }
}

// The version of a driver that cannot tell it counts as 1000, without a word.
TEST_F(CudaDriverLoading, TheVersionIsOptional)
{
    Libraries.Lack("cuDriverGetVersion");
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(Out, "");
    EXPECT_EQ(SymbolsAsked(), Expected(4000, 1000));
    EXPECT_THAT(Script.Trace(), ElementsAre("cuInit flags=0"));
}

// A process of its own: what a load has once found stays.
CHILD_BODY(PointersByDriverVersion)
{
    int Wrong = 0;
    for (const int DriverVersion : {1000, 2010, 2030, 3000, 3010, 4000}) {
        DriverScript Script;
        const DriverLibraries Libraries{platform::kCudaLibrary};
        Script.Set("cuda.version", DriverVersion);
        Wrong += cuInit(0, 4000, nullptr) != 0;
        for (const std::string& Name : Expected(4000, 4000))
            Wrong += (PointerOf(Plain(Name)) != nullptr) != IsIn(Expected(4000, DriverVersion), Name);
    }
    return Wrong;
}

TEST(CudaDriverNames, OldVersionsLeaveLaterNamesNullWithoutAWord)
{
    const ChildResult Child = RunChild("PointersByDriverVersion", "", 60000);
    EXPECT_EQ(Child.Code, 0);
    EXPECT_FALSE(Child.bCrashed || Child.bTimedOut);
    EXPECT_EQ(Child.Out, "");
}

TEST_F(CudaDriverLoading, AFailingStartIsAnsweredAtOnce)
{
    for (const int Status : {1, 34, 100, 999}) {
        Script.Answer("cuInit", Status);
        Libraries.ForgetAsked();
        EXPECT_EQ(Load(), Status);
        EXPECT_THAT(SymbolsAsked(), ElementsAre("cuInit"));
        EXPECT_EQ(Out, "");
    }
    EXPECT_EQ(Script.Calls("cuDriverGetVersion"), 0);
}

TEST_F(CudaDriverLoading, AFailingVersionIsAnsweredAtOnce)
{
    Script.Answer("cuDriverGetVersion", 3);
    EXPECT_EQ(Load(), 3);
    EXPECT_THAT(SymbolsAsked(), ElementsAre("cuInit", "cuDriverGetVersion"));
    EXPECT_EQ(Out, "");
}

TEST_F(CudaDriverLoading, AMissingStartIsToldAndCalledAllTheSame)
{
    Libraries.Lack("cuInit");
    const RecordingLog Log;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(RunInDriverFrame("CVCodecH264nv::IsSupportH264hw()", [] { cuInit(0, 4000, nullptr); }));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), Missing("cuInit"));
    EXPECT_THAT(Log.Lines(),
                ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                            LogLine{kLogError, "qvlx - CVCodecH264nv::IsSupportH264hw() MyFilterException"}));
    EXPECT_THAT(SymbolsAsked(), ElementsAre("cuInit"));
}

TEST_F(CudaDriverLoading, ACallThroughAMissingNameIsAFault)
{
    Libraries.Lack("cuCtxCreate_v2");
    EXPECT_EQ(Load(), 0);
    const RecordingLog Log;
    CUcontext Context;
    EXPECT_FALSE(RunInDriverFrame("CVCodecH264nv::InitEncoder()", [&] { g_Cuda.cuCtxCreate(&Context, 0, 0); }));
    EXPECT_THAT(Log.Lines(), ElementsAre(LogLine{kLogError, "qvlx - MyFilterException code=-1073741819"},
                                         LogLine{kLogError, "qvlx - CVCodecH264nv::InitEncoder() MyFilterException"}));
}

TEST_F(CudaDriverLoading, EveryLoadAddsToTheLibrarysCountAndNothingUnloadsIt)
{
    EXPECT_EQ(Load(), 0);
    const Names All = Expected(4000, 8000);
    std::vector<void*> Before;
    for (const std::string& Name : All) Before.push_back(PointerOf(Plain(Name)));
    for (int n = 2; n <= 5; ++n) {
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(Libraries.Held(platform::kCudaLibrary), n);
        for (size_t i = 0; i < All.size(); ++i) EXPECT_EQ(PointerOf(Plain(All[i])), Before[i]) << All[i];
    }
    Script.Answer("cuInit", 3);
    EXPECT_EQ(Load(), 3); // loaded all the same
    EXPECT_EQ(Libraries.Held(platform::kCudaLibrary), 6);
}
