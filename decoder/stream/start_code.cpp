#include "decoder/stream/start_code.h"

#include "decoder/stream/swapper.h"

#include <cstring>

namespace UMC {

uint32_t FindStartCode(const uint8_t*& p, size_t& Left)
{
    if (Left < 4) return 0;
    // The 1 of the prefix is looked for: it is as rare as any byte, and most of the buffer is passed by memchr.
    const uint8_t* const pEnd = p + Left;
    for (const uint8_t* pOne = p + 2; pEnd - pOne >= 2; ++pOne) {
        pOne = static_cast<const uint8_t*>(std::memchr(pOne, 1, static_cast<size_t>(pEnd - pOne - 1)));
        if (!pOne) break;
        if (pOne[-1] == 0 && pOne[-2] == 0) {
            p = pOne - 2;
            Left = static_cast<size_t>(pEnd - p);
            return ReadBigEndian(p, 4);
        }
    }
    p = pEnd - 3;
    Left = 3;
    return 0;
}

uint32_t StartCodeIteratorBase::Init(MediaData* pMedia)
{
    m_pSource = static_cast<const uint8_t*>(pMedia->GetDataPointer());
    m_Left = pMedia->GetDataSize();
    return 0;
}

uint32_t StartCodeIterator::Init(MediaData* pMedia)
{
    StartCodeIteratorBase::Init(pMedia);
    return FindStartCode(m_pSource, m_Left);
}

uint32_t StartCodeIterator::Next()
{
    const size_t Prefix = m_Left < 3 ? m_Left : 3;
    m_pSource += Prefix;
    m_Left -= Prefix;
    return FindStartCode(m_pSource, m_Left);
}

uint32_t StartCodeIteratorMP4::CodeHere() const { return m_Left > m_LengthSize ? m_pSource[m_LengthSize] : 0; }

uint32_t StartCodeIteratorMP4::Init(MediaData* pMedia)
{
    StartCodeIteratorBase::Init(pMedia);
    return CodeHere();
}

uint32_t StartCodeIteratorMP4::Next()
{
    if (m_Left <= m_LengthSize) return 0;
    const uint64_t Step = uint64_t{ReadBigEndian(m_pSource, m_LengthSize)} + m_LengthSize;
    if (Step >= m_Left) return 0;
    m_pSource += Step;
    m_Left -= static_cast<size_t>(Step);
    return CodeHere();
}

} // namespace UMC
