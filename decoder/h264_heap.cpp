#include "decoder/h264_heap.h"

#include "decoder/h264_bitstream.h"
#include "kernels/memory/memory.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace UMC {

H264HeapPiece::H264HeapPiece(uint32_t Capacity)
{
    if (Capacity > uint32_t{INT32_MAX} - H264Bitstream::kReadPadding - 4) return;
    m_ZeroEnd = (Capacity + 3) / 4 * 4 + H264Bitstream::kReadPadding;
    m_pData = reinterpret_cast<uint32_t*>(kernels::Malloc8u(static_cast<int32_t>(m_ZeroEnd)));
    if (!m_pData) return;
    std::memset(m_pData, 0, m_ZeroEnd);
    m_Capacity = Capacity;
}

H264HeapPiece::~H264HeapPiece() { kernels::Free(m_pData); }

void H264HeapPiece::Seal(uint32_t Size)
{
    auto* const pBytes = reinterpret_cast<uint8_t*>(m_pData);
    m_Size = Size;
    Size = (Size + 3) & ~3u; // the last word is whole, and its bytes do not lie in stream order
    const uint32_t End = Size + H264Bitstream::kReadPadding;
    m_ZeroBegin = std::max(m_ZeroBegin, Size);
    m_ZeroEnd = std::max(m_ZeroEnd, m_ZeroBegin);
    if (End < m_ZeroBegin) { // the unit and all that a reader can meet lie in front of the known zeros
        std::memset(pBytes + Size, 0, End - Size);
        m_ZeroBegin = Size;
        m_ZeroEnd = End;
        return;
    }
    std::memset(pBytes + Size, 0, m_ZeroBegin - Size);
    m_ZeroBegin = Size;
    if (End > m_ZeroEnd) {
        std::memset(pBytes + m_ZeroEnd, 0, End - m_ZeroEnd);
        m_ZeroEnd = End;
    }
}

H264_Heap::~H264_Heap()
{
    Reset();
    while (m_pFree) {
        H264HeapPiece* const pPiece = m_pFree;
        m_pFree = pPiece->m_pNext;
        delete pPiece;
    }
}

H264HeapPiece* H264_Heap::Allocate(uint32_t Size)
{
    H264HeapPiece** ppLink = &m_pFree;
    while (*ppLink && (*ppLink)->m_Capacity < Size) ppLink = &(*ppLink)->m_pNext;
    H264HeapPiece* pPiece = *ppLink;
    if (pPiece) {
        *ppLink = pPiece->m_pNext;
    } else {
        pPiece = new (std::nothrow) H264HeapPiece(Size);
        if (!pPiece || !pPiece->m_pData) {
            delete pPiece;
            return nullptr;
        }
    }
    pPiece->m_pNext = nullptr;
    pPiece->m_Size = 0;
    (m_pUsedTail ? m_pUsedTail->m_pNext : m_pUsed) = pPiece;
    m_pUsedTail = pPiece;
    return pPiece;
}

void H264_Heap::Free(H264HeapPiece* pPiece)
{
    if (!pPiece) return;
    H264HeapPiece* pBefore = nullptr;
    H264HeapPiece* pEntry = m_pUsed;
    while (pEntry && pEntry != pPiece) {
        pBefore = pEntry;
        pEntry = pEntry->m_pNext;
    }
    if (!pEntry) return; // lent out no longer: a reset has taken it back
    (pBefore ? pBefore->m_pNext : m_pUsed) = pPiece->m_pNext;
    if (m_pUsedTail == pPiece) m_pUsedTail = pBefore;
    pPiece->m_pNext = m_pFree;
    m_pFree = pPiece;
}

void H264_Heap::Reset()
{
    if (!m_pUsed) return;
    m_pUsedTail->m_pNext = m_pFree;
    m_pFree = m_pUsed;
    m_pUsed = m_pUsedTail = nullptr;
}

} // namespace UMC
