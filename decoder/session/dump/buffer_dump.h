// The decoder's buffer and its work as text, for a developer's debugger. Built with QUILVEX_TRACE alone, and called by
// no path of the decoder.
#pragma once

#include "decoder/picture/dpb.h"

#include <cstdio>

namespace UMC {

void DumpBuffer(const H264DBPList& Dpb, std::FILE* pOut = stdout); // every frame
// Every info from pFirst on, in the order that the broker draws tasks in.
void DumpTasks(const H264DecoderFrameInfo* pFirst, std::FILE* pOut = stdout);

} // namespace UMC
