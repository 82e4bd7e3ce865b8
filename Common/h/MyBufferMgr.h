// A pool of reusable buffers, so that an intermediate picture costs no allocation in the steady state.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

struct ISyncObject;

/// A block with 16-byte alignment, from malloc. Null when memory is exhausted.
void* AlignedAlloc(uint32_t Size);
/// Frees a block of AlignedAlloc(); null is ignored.
void AlignedFree(void* pBlock);

/// Buffers with 16-byte alignment. Safe from any thread. A buffer never shrinks.
class CMyBufferMgr
{
public:
    CMyBufferMgr();
    ~CMyBufferMgr();
    CMyBufferMgr(const CMyBufferMgr&) = delete;
    CMyBufferMgr& operator=(const CMyBufferMgr&) = delete;

    /// The buffer idle for longest, made larger when it does not hold Size bytes, or a new one. Null, with a line in
    /// the log, when memory is exhausted. The caller gives it back with FreeBuffer().
    uint8_t* GetBuffer(uint32_t Size);
    /// Keeps the buffer for the next GetBuffer(), or frees it when ten are idle or memory is exhausted. Null writes a
    /// line in the log.
    void FreeBuffer(uint8_t* pBuffer);
    /// Frees every idle buffer and forgets how many are in use.
    void FreeAll();

    int32_t InUse() const { return m_InUse; } ///< requests not matched by FreeBuffer(), failed ones included
    size_t IdleCount() const { return m_Idle.size(); }

private:
    struct Header;
    static uint8_t* NewBuffer(uint32_t Size);

    uint32_t m_MaxPooled = 10;
    std::unique_ptr<ISyncObject> m_pLock; // guards m_Idle
    std::deque<Header*> m_Idle;           // oldest at the front
    std::atomic<int32_t> m_InUse{0};
};

/// The pool of the process, for the intermediate pictures of its engines.
CMyBufferMgr& GetMyBufferMgr();
