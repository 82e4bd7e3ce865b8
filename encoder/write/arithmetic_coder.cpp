#include "encoder/write/arithmetic_coder.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

constexpr size_t kTerminateContext = 276;

CabacTables MakeTables()
{
    CabacTables t{};
    for (uint32_t Context = 0; Context < 128; ++Context) {
        const uint32_t State = Context >> 1, Mps = Context & 1;
        std::copy_n(h264::kRangeLps[State], 4, t.RangeLps[Context]);
        const uint32_t MpsAfterLps = State == 0 ? 1 - Mps : Mps;
        t.Next[Context][Mps] = static_cast<uint8_t>(h264::kTransIdxMps[State] * 2 + Mps);
        t.Next[Context][1 - Mps] = static_cast<uint8_t>(h264::kTransIdxLps[State] * 2 + MpsAfterLps);
    }
    return t;
}

} // namespace

const CabacTables g_CabacTables = MakeTables();

void InitCabacContexts(CabacContexts& Contexts, const h264::ContextInit (&SliceTable)[h264::kContextCount],
                       int32_t SliceQp)
{
    const int32_t Qp = std::clamp(SliceQp, 0, 51);
    for (size_t i = 0; i < Contexts.size(); ++i) {
        const int32_t Pre = std::clamp(((SliceTable[i].m * Qp) >> 4) + SliceTable[i].n, 1, 126);
        Contexts[i] = static_cast<uint8_t>(Pre > 63 ? (Pre - 64) * 2 + 1 : (63 - Pre) * 2);
    }
    Contexts[kTerminateContext] = 63 * 2;
}

} // namespace UMC_H264_ENCODER
