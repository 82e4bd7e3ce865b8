// What the Intel engine leaves behind deliberately, for the leak checker's ear; tests count it. For one source a
// program.
#pragma once

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:CH264hwDec::MakeSurfaces\n"         // a closed decoder's records
           "leak:SysMemFrameAllocator::AllocFrame\n" // frames of a request that could not be served whole
           "leak:MFXInit\n";                         // a session in whose opening or closing the driver faults
}
