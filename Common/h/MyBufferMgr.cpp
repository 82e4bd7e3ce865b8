#include "Common/h/MyBufferMgr.h"

#include "Common/h/WCritSec.h"
#include "Common/h/log.h"

#include <cstdlib>
#include <cstring>
#include <new>

#define QUILVEX_SOURCE "MyBufferMgr"

// In front of the client's bytes; 16 bytes, so that they are aligned as the block is.
struct CMyBufferMgr::Header {
    uint32_t Capacity; // client bytes
    uint32_t Unused[3];

    uint8_t* Bytes() { return reinterpret_cast<uint8_t*>(this + 1); }
    static Header* Of(uint8_t* pBytes) { return reinterpret_cast<Header*>(pBytes) - 1; }
};

namespace {

// What stands in front of an aligned block.
struct BlockTag {
    size_t Size;
    void* pMalloc;
};
constexpr size_t kAlignment = 16;
constexpr size_t kSpare = sizeof(BlockTag) + kAlignment - 1;

CMyBufferMgr g_MyBufferMgr;

} // namespace

void* AlignedAlloc(uint32_t Size)
{
    if (size_t{Size} > SIZE_MAX - kSpare) return nullptr;
    auto* const pMalloc = static_cast<uint8_t*>(std::malloc(Size + kSpare));
    if (!pMalloc) return nullptr;
    uint8_t* pBlock = pMalloc + kSpare;
    pBlock -= reinterpret_cast<uintptr_t>(pBlock) % kAlignment;
    const BlockTag Tag{Size, pMalloc};
    std::memcpy(pBlock - sizeof Tag, &Tag, sizeof Tag);
    return pBlock;
}

void AlignedFree(void* pBlock)
{
    if (!pBlock) return;
    BlockTag Tag;
    std::memcpy(&Tag, static_cast<uint8_t*>(pBlock) - sizeof Tag, sizeof Tag);
    std::free(Tag.pMalloc);
}

CMyBufferMgr::CMyBufferMgr() : m_pLock(std::make_unique<WCritSec>()) { static_assert(sizeof(Header) == kAlignment); }

CMyBufferMgr::~CMyBufferMgr() { FreeAll(); }

uint8_t* CMyBufferMgr::NewBuffer(uint32_t Size)
{
    void* const pBuffer = Size <= UINT32_MAX - sizeof(Header) ? AlignedAlloc(Size + uint32_t{sizeof(Header)}) : nullptr;
    ASSERT_OR_RETURN(pBuffer, nullptr);
    auto* const pHeader = static_cast<Header*>(pBuffer);
    pHeader->Capacity = Size;
    return pHeader->Bytes();
}

uint8_t* CMyBufferMgr::GetBuffer(uint32_t Size)
{
    const WLockGuard Held(m_pLock.get());
    ++m_InUse; // counts requests, so it stays when memory is exhausted
    if (m_Idle.empty()) return NewBuffer(Size);
    Header* const pBuffer = m_Idle.front();
    m_Idle.pop_front();
    ASSERT_OR_RETURN(pBuffer, nullptr);
    if (Size <= pBuffer->Capacity) return pBuffer->Bytes();
    AlignedFree(pBuffer);
    return NewBuffer(Size);
}

void CMyBufferMgr::FreeBuffer(uint8_t* pBuffer)
{
    ASSERT_OR_RETURN(pBuffer, );
    const WLockGuard Held(m_pLock.get());
    --m_InUse;
    try {
        if (m_Idle.size() < m_MaxPooled) return m_Idle.push_back(Header::Of(pBuffer));
    } catch (const std::bad_alloc&) { // no room to remember it
    }
    AlignedFree(Header::Of(pBuffer));
}

void CMyBufferMgr::FreeAll()
{
    const WLockGuard Held(m_pLock.get());
    m_InUse = 0;
    for (Header* const pBuffer : m_Idle) AlignedFree(pBuffer);
    m_Idle.clear();
}

CMyBufferMgr& GetMyBufferMgr() { return g_MyBufferMgr; }
