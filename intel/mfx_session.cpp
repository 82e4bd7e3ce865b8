#include "intel/mfx_session.h"

int32_t QueryMfxSession(int32_t Implementation)
{
    mfxVersion Version = kMfxVersion;
    mfxSession Session = nullptr;
    mfxIMPL Got = 0; // stays so without a session: the query fails
    MFXInit(Implementation, &Version, &Session);
    MFXQueryIMPL(Session, &Got);
    MFXClose(Session);
    return Got;
}
