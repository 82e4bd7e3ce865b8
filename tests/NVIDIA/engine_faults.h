// The ways in which a driver below the NVIDIA engine does not come back, and what the log says of each.
#pragma once

#include "tests/NVIDIA/cuvid_fixture.h"

#include <string>
#include <vector>

namespace cuvid_test {

struct FaultKind {
    DriverAction Action;
    int32_t Code; // as the log prints it
};
inline constexpr FaultKind kFaultKinds[] = {
    {kDriverAccess, -1073741819},  {kDriverArithmetic, -1073741676},
    {kDriverIllegal, -1073741795}, {kDriverThrow, -529697949},
#if !defined(_WIN32) // a driver there gives up by a run time of its own
    {kDriverAbort, 1073741845},
#endif
};

inline std::vector<LogLine> FaultLines(int32_t Code, const std::string& Operation)
{
    return ErrorLines({"qvlx - MyFilterException code=" + std::to_string(Code),
                       "qvlx - CVCodecH264nv::" + Operation + "() MyFilterException"});
}

/// The calls of the drivers below a slot.
struct FaultySlot {
    const char* pOperation;
    std::vector<std::string> Calls;
};

} // namespace cuvid_test
