#include "platform/host_library.h"

namespace platform {

const char* const kTesselogName = "libTesselog.so";
const char* const kTesselogWrite = "TesselogWrite";
const char* const kTesselogUserPath = "TesselogUserPath";

} // namespace platform
