// Frame types of the Media SDK as the client knows them.
#pragma once

#include "quilvex/IVCodec.h"

#include <mfx/mfxvideo.h>

/// Only an IDR picture is an I picture to the client; every other type counts as P.
inline int32_t ClientFrameType(mfxU16 Type)
{
    const bool bIntra = (Type & 3) == MFX_FRAMETYPE_I;
    return bIntra && (Type & MFX_FRAMETYPE_IDR) ? kFrameI : kFrameP;
}
