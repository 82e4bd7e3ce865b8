// Calls into both interfaces, so that a compiler lays out their tables and can be asked for them.
#include INTERFACE_HEADER

int32_t Call(IVCodec* pCodec, IVideoProcess* pProcess) { return pCodec->Reset() + pProcess->GetKeyingEnabled(); }
