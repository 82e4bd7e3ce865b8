// What a call to the Media SDK that failed leaves on standard output.
#pragma once

#include <cstdint>

/// Writes "Return on error" with a number, the source's name and the line.
void ReportReturn(int32_t Value, const char* pSource, int32_t Line);

/// Makes the enclosing function return Result when a status is negative, with the report. The number in it is the value
/// that is about to be returned, deliberately, so it is often 0 and not the status. The source that uses it defines
/// QUILVEX_SOURCE.
#define RETURN_IF_FAILED(Status, Result)                                                                               \
    do {                                                                                                               \
        if ((Status) < MFX_ERR_NONE) {                                                                                 \
            ReportReturn(Result, QUILVEX_SOURCE, __LINE__);                                                            \
            return Result;                                                                                             \
        }                                                                                                              \
    } while (false)
