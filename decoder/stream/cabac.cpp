#include "decoder/stream/cabac.h"

#include <algorithm>

namespace UMC {

using h264::kTransIdxLps;
using h264::kTransIdxMps;

CabacTables::CabacTables()
{
    for (uint32_t State = 0; State < 64; ++State)
        for (uint32_t Mps = 0; Mps < 2; ++Mps) {
            const uint32_t i = State * 2 + Mps;
            std::copy_n(h264::kRangeLps[State], 4, RangeLps + i * 4);
            Next[i] = static_cast<CabacContext>(kTransIdxMps[State] * 2u + Mps);
            const uint32_t MpsAfterLps = State == 0 ? Mps ^ 1 : Mps;
            Next[128 + i] = static_cast<CabacContext>(kTransIdxLps[State] * 2u + MpsAfterLps);
        }
}

const CabacTables g_CabacTables;

void CabacDecoder::InitContexts(int SliceQp, int InitRow)
{
    const int Qp = std::clamp(SliceQp, 0, 51);
    for (int i = 0; i < h264::kContextCount; ++i) {
        const h264::ContextInit& Init = h264::kContextInit[InitRow][i];
        const int PreState = std::clamp(((Init.m * Qp) >> 4) + Init.n, 1, 126);
        m_Contexts[i] = static_cast<CabacContext>(PreState > 63 ? 2 * PreState - 127 : 2 * (63 - PreState));
    }
    m_Contexts[276] = static_cast<CabacContext>(126);
}

void CabacDecoder::Start(const H264Bitstream& Bitstream)
{
    const uint32_t* const pWord = Bitstream.Word();
    const int32_t WordBits = Bitstream.BitOffset() + 1; // unread bits of the current word: 8, 16, 24 or 32
    m_pBase = pWord - Bitstream.BitsDecoded() / 32;
    m_EndBits = (Bitstream.BytesDecoded() + static_cast<uint32_t>(std::max(Bitstream.BytesLeft(), 0))) * 8;
    m_Engine.m_CabacRange = uint64_t{510} << CabacEngine::kRangeShift;
    m_Engine.m_CabacOffset = uint64_t{pWord[0]} << (64 - WordBits);
    m_Engine.m_CabacBits = WordBits;
    m_Engine.m_CabacStream = pWord + 1;
    m_Engine.Consume(9);
}

} // namespace UMC
