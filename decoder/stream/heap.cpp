#include "decoder/stream/heap.h"

#include "decoder/stream/bitstream.h"
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

void H264_Heap::List::PushFront(H264HeapPiece* pPiece)
{
    pPiece->m_pPrev = nullptr;
    pPiece->m_pNext = m_pHead;
    (m_pHead ? m_pHead->m_pPrev : m_pTail) = pPiece;
    m_pHead = pPiece;
}

void H264_Heap::List::Unlink(H264HeapPiece* pPiece)
{
    (pPiece->m_pPrev ? pPiece->m_pPrev->m_pNext : m_pHead) = pPiece->m_pNext;
    (pPiece->m_pNext ? pPiece->m_pNext->m_pPrev : m_pTail) = pPiece->m_pPrev;
}

H264_Heap::~H264_Heap()
{
    Reset();
    while (H264HeapPiece* const pPiece = m_Free.m_pHead) {
        m_Free.Unlink(pPiece);
        delete pPiece;
    }
}

void H264_Heap::TakeFromFree(H264HeapPiece* pPiece)
{
    m_Free.Unlink(pPiece);
    --m_FreePieces;
    m_FreeBytes -= pPiece->m_Capacity;
}

H264HeapPiece* H264_Heap::Allocate(uint32_t Size)
{
    H264HeapPiece* pPiece = m_Free.m_pHead;
    while (pPiece && pPiece->m_Capacity < Size) pPiece = pPiece->m_pNext;
    if (pPiece) {
        TakeFromFree(pPiece);
    } else {
        pPiece = new (std::nothrow) H264HeapPiece(Size);
        if (!pPiece || !pPiece->m_pData) {
            delete pPiece;
            return nullptr;
        }
    }
    pPiece->m_Size = 0;
    m_Used.PushFront(pPiece);
    return pPiece;
}

void H264_Heap::Free(H264HeapPiece* pPiece)
{
    if (!pPiece) return;
    m_Used.Unlink(pPiece);
    m_Free.PushFront(pPiece);
    ++m_FreePieces;
    m_FreeBytes += pPiece->m_Capacity;
    while (m_FreePieces > kMaxFreePieces || m_FreeBytes > kMaxFreeBytes) {
        H264HeapPiece* const pOldest = m_Free.m_pTail;
        TakeFromFree(pOldest);
        delete pOldest;
    }
}

void H264_Heap::Reset()
{
    while (m_Used.m_pHead) Free(m_Used.m_pHead);
}

} // namespace UMC
