// The gates in front of the hardware engines: each is a version test and a trial of the driver in an exception frame.
#pragma once

#include "quilvex/IVCodec.h"

#include <cstdint>

bool ProbeNvidia(bool bDecoder);
bool ProbeIntelHardware();
bool ProbeIntelSoftware();
/// Tries the driver on a thread that is killed after 3 seconds, and makes the codec when it answers in time; else null.
/// After two killed trials the driver is not touched any more.
IVCodec* CreateAMDH264hwVCodec(uint32_t bDecoder);
