#include "platform/host_library.h"

#include "platform/shared_library.h"

namespace platform {

// Libraries have no ordinals here: the calls go by name.
TesselogCalls LoadTesselog()
{
    static const auto* const s_pLibrary = new SharedLibrary("libTesselog.so");
    TesselogCalls Calls;
    Calls.pWrite = reinterpret_cast<decltype(Calls.pWrite)>(s_pLibrary->Symbol("TesselogWrite"));
    Calls.pUserPath = reinterpret_cast<decltype(Calls.pUserPath)>(s_pLibrary->Symbol("TesselogUserPath"));
    return Calls;
}

} // namespace platform
