#include "quilvex/Quilvex.h"

#include "front/selection.h"
#include "process/CVideoProcessIPP.h"

IVCodec* CreateVCodec(uint32_t id)
try {
    return SelectVCodec(id);
} catch (...) {
    return nullptr;
}

IVideoProcess* CreateVideoProcess(void)
try {
    return new CVideoProcessIPP;
} catch (...) {
    return nullptr;
}
