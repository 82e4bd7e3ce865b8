#include "Common/h264/cabac_contexts.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace h264 {

namespace {

CabacTables MakeTables()
{
    CabacTables t{};
    for (uint32_t Context = 0; Context < 128; ++Context) {
        const uint32_t State = Context >> 1, Mps = Context & 1;
        std::copy_n(kRangeLps[State], 4, t.RangeLps + Context * 4);
        t.Next[Context] = PackContext(kTransIdxMps[State], Mps);
        t.Next[Context + 128] = PackContext(kTransIdxLps[State], State == 0 ? 1 - Mps : Mps);
    }
    for (uint32_t Eighth = 0; Eighth < std::size(t.LpsShift); ++Eighth)
        t.LpsShift[Eighth] = static_cast<uint8_t>(6 - std::bit_width(Eighth));
    return t;
}

} // namespace

const CabacTables g_CabacTables = MakeTables();

void InitCabacContexts(CabacContexts& Contexts, const ContextInit (&SliceTable)[kContextCount], int32_t SliceQp)
{
    const int32_t Qp = std::clamp(SliceQp, 0, 51);
    for (size_t i = 0; i < kContextCount; ++i) {
        const auto Pre = static_cast<uint32_t>(std::clamp(((SliceTable[i].m * Qp) >> 4) + SliceTable[i].n, 1, 126));
        Contexts[i] = Pre > 63 ? PackContext(Pre - 64, 1) : PackContext(63 - Pre, 0);
    }
    Contexts[CtxIdxOffset::kTerminate] = PackContext(63, 0); // has no row: it never changes
}

} // namespace h264
