// The log at its three levels, and the assertion that returns instead of stopping.
#pragma once

#include <cstdint>

/// Levels of the log. A text is cut at 2047 characters. Own texts begin with "qvlx - " (a single event), "qvlx > "
/// (entry of a traced call) or "qvlx < " (its exit); assertions have no prefix. Failures to log are ignored.
void LogInfo(const char* pFormat, ...) __attribute__((format(printf, 1, 2))); // level 4: milestones, selection, probes
void LogWarning(const char* pFormat, ...) __attribute__((format(printf, 1, 2))); // level 8: a frame failed, a retry
void LogError(const char* pFormat, ...) __attribute__((format(printf, 1, 2)));   // level 16: assertions, hard failures

/// Logs a failed expression and makes the enclosing function return Result. Never stops the program, in any build. The
/// source that uses it defines QUILVEX_SOURCE, the name that the message carries.
#define ASSERT_RETURN(Expression, Text, Result)                                                                        \
    do {                                                                                                               \
        if (!(Expression)) {                                                                                           \
            LogError("Assert failed: file=%s line=%d expr=%s", QUILVEX_SOURCE, __LINE__, Text);                        \
            return Result;                                                                                             \
        }                                                                                                              \
    } while (false)
#define ASSERT_OR_RETURN(Expression, Result) ASSERT_RETURN(Expression, #Expression, Result)
