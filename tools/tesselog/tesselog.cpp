// A stand-in for the client's logging library: level and text go to standard error.
#include <cstdint>
#include <cstdio>

extern "C" {

__attribute__((visibility("default"))) void TesselogWrite(int32_t /*iChannel*/, int32_t iLevel, const char* pText)
{
    std::fprintf(stderr, "[%2d] %s\n", iLevel, pText);
}
}
