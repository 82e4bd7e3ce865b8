#include "Common/h264/trace/element_trace.h"

#include <cstdio>

namespace h264::trace {

State g_State;

void Choose(const Place& Wanted)
{
    g_State = {};
    g_State.Wanted = Wanted;
}

void Write(const char* pName, int32_t Value) { std::fprintf(stderr, "%s %d\n", pName, static_cast<int>(Value)); }

void Write(const char* pName, int32_t First, int32_t Second)
{
    std::fprintf(stderr, "%s %d %d\n", pName, static_cast<int>(First), static_cast<int>(Second));
}

} // namespace h264::trace
