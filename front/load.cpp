#include "front/load.h"

#include "front/engines.h"
#include "front/stdafx.h"
#include "kernels/dispatch/kernels.h"

void OnLibraryLoad()
{
    kernels::InitKernelsWaterfall();
    const int32_t Result = GetEngines()->AmdInit();
    LogInfo("qvlx - CVCodecH264AMD::Init() res=%d", Result);
}

void OnLibraryUnload()
{
    const int32_t Result = GetEngines()->AmdTerminate();
    LogInfo("qvlx - CVCodecH264AMD::Terminate() res=%d", Result);
}
