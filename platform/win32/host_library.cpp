#include "platform/host_library.h"

namespace platform {

const char* const kTesselogName = "Tesselog.dll";
const char* const kTesselogWrite = "TesselogWrite";
const char* const kTesselogUserPath = "TesselogUserPath";

} // namespace platform
