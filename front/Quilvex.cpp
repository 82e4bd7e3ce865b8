#include "quilvex/Quilvex.h"

#include "front/selection.h"
#include "process/CVideoProcessIPP.h"

IVCodec* CreateVCodec(uint32_t id) { return SelectVCodec(id); }

IVideoProcess* CreateVideoProcess(void)
try {
    return new CVideoProcessIPP;
} catch (...) {
    return nullptr;
}
