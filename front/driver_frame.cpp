#include "front/driver_frame.h"

#include "front/stdafx.h"

int32_t MyFilterException(uint32_t Code)
{
    LogError("qvlx - MyFilterException code=%d", static_cast<int32_t>(Code));
    return 1;
}

void LogFaultHandled(const char* pOperation)
{
    if (pOperation) LogError("qvlx - %s MyFilterException", pOperation);
}
