// The files of the hardware drivers, as this system's loader finds them.
#pragma once

namespace platform {

extern const char kCudaLibrary[];
extern const char kCuvidLibrary[];
extern const char kNvencLibrary[];
extern const char kAmfLibrary[];
extern const char kMfxHardwareLibrary[]; ///< the Media SDK's run time for the device
extern const char kMfxSoftwareLibrary[]; ///< and the one for the processor

} // namespace platform
