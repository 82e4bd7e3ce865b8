#include "front/load.h"

#include "front/driver_frame.h"
#include "front/engines.h"
#include "front/stdafx.h"
#include "kernels/dispatch/kernels.h"

namespace {

constexpr int32_t kFaulted = 1; // a general failure in the run time's own numbering

// A driver that faults while the client loads this library costs the client the driver and nothing else.
int32_t InFrame(int32_t (IEngines::*pOperation)())
{
    int32_t Result = kFaulted;
    RunInDriverFrame(nullptr, [&] { Result = (GetEngines()->*pOperation)(); });
    return Result;
}

} // namespace

void OnLibraryLoad()
{
    kernels::InitKernelsWaterfall();
    LogInfo("qvlx - CVCodecH264AMD::Init() res=%d", InFrame(&IEngines::AmdInit));
}

void OnLibraryUnload() { LogInfo("qvlx - CVCodecH264AMD::Terminate() res=%d", InFrame(&IEngines::AmdTerminate)); }
