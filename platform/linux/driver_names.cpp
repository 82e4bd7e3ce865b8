#include "platform/driver_names.h"

namespace platform {

const char kCudaLibrary[] = "libcuda.so.1";
const char kCuvidLibrary[] = "libnvcuvid.so.1";
const char kNvencLibrary[] = "libnvidia-encode.so.1";
#if defined(__LP64__)
const char kAmfLibrary[] = "libamfrt64.so.1";
const char kMfxHardwareLibrary[] = "libmfxhw64.so.1";
const char kMfxSoftwareLibrary[] = "libmfxsw64.so.1";
#else
const char kAmfLibrary[] = "libamfrt32.so.1";
const char kMfxHardwareLibrary[] = "libmfxhw32.so.1";
const char kMfxSoftwareLibrary[] = "libmfxsw32.so.1";
#endif

} // namespace platform
