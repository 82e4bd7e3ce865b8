#include "Common/h/log.h"

#include "Common/h/host_log.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr size_t kMaxLogText = 2048;

enum LogLevel : int32_t { kLevelInfo = 4, kLevelWarning = 8, kLevelError = 16 };

// A log that cannot be had or that fails loses the text and nothing else.
void Log(LogLevel Level, const char* pFormat, va_list Arguments)
try {
    char Text[kMaxLogText];
    std::vsnprintf(Text, sizeof Text, pFormat, Arguments); // cuts a longer text
    GetHostLog()->Write(Level, Text);
} catch (...) {
}

} // namespace

void LogInfo(const char* pFormat, ...)
{
    va_list Arguments;
    va_start(Arguments, pFormat);
    Log(kLevelInfo, pFormat, Arguments);
    va_end(Arguments);
}

void LogWarning(const char* pFormat, ...)
{
    va_list Arguments;
    va_start(Arguments, pFormat);
    Log(kLevelWarning, pFormat, Arguments);
    va_end(Arguments);
}

void LogError(const char* pFormat, ...)
{
    va_list Arguments;
    va_start(Arguments, pFormat);
    Log(kLevelError, pFormat, Arguments);
    va_end(Arguments);
}
