#include "intel/return_report.h"

#include <cstdio>

void ReportReturn(int32_t Value, const char* pSource, int32_t Line)
{
    std::printf("\nReturn on error: error code %d,\t%s\t%d\n\n", static_cast<int>(Value), pSource,
                static_cast<int>(Line));
}
