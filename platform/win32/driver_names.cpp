#include "platform/driver_names.h"

namespace platform {

const char kCudaLibrary[] = "nvcuda.dll";
const char kCuvidLibrary[] = "nvcuvid.dll";
const char kNvencLibrary[] = "nvEncodeAPI.dll";
const char kAmfLibrary[] = "amfrt32.dll";
const char kMfxHardwareLibrary[] = "libmfxhw32.dll";
const char kMfxSoftwareLibrary[] = "libmfxsw32.dll";

} // namespace platform
