#include "encoder/write/arithmetic_coder.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

constexpr size_t kTerminateContext = 276;

constexpr CabacContext Pack(uint32_t State, uint32_t Mps) { return static_cast<CabacContext>(State * 2 + Mps); }

CabacTables MakeTables()
{
    CabacTables t{};
    for (uint32_t Context = 0; Context < 128; ++Context) {
        const uint32_t State = Context >> 1, Mps = Context & 1;
        std::copy_n(h264::kRangeLps[State], 4, t.RangeLps + Context * 4);
        t.Next[Context] = Pack(h264::kTransIdxMps[State], Mps);
        t.Next[Context + 128] = Pack(h264::kTransIdxLps[State], State == 0 ? 1 - Mps : Mps);
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
        const auto Pre = static_cast<uint32_t>(std::clamp(((SliceTable[i].m * Qp) >> 4) + SliceTable[i].n, 1, 126));
        Contexts[i] = Pre > 63 ? Pack(Pre - 64, 1) : Pack(63 - Pre, 0);
    }
    Contexts[kTerminateContext] = Pack(63, 0);
}

StoredBytes::Tail StoredBytes::Keep() const
{
    Tail t{m_pOut, m_pOut, 0xFF};
    while (t.pFirst > m_pStart) {
        t.First = *--t.pFirst;
        if (t.First != 0xFF) break;
    }
    return t;
}

void StoredBytes::PutBack(const Tail& t)
{
    if (t.pFirst == t.pEnd) return;
    *t.pFirst = t.First;
    std::fill(t.pFirst + 1, t.pEnd, uint8_t{0xFF});
}

} // namespace UMC_H264_ENCODER
