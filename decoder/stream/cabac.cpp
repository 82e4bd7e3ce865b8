#include "decoder/stream/cabac.h"

#include <algorithm>

namespace UMC {

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
