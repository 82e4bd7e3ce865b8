#include "quilvex/Quilvex.h"

#include "front/selection.h"

IVCodec* CreateVCodec(uint32_t id) { return SelectVCodec(id); }

// Camera treatment is not part of this build: the client is told as it is told of exhausted memory.
IVideoProcess* CreateVideoProcess(void) { return nullptr; }
