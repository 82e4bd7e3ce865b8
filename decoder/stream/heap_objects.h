// A pool of objects of one class.
#pragma once

#include <cstdint>

namespace UMC {

// Lends objects that have a Reset(), and owns all of them, lent or free.
template <class T>
class H264_Heap_Objects
{
public:
    static constexpr uint32_t kMaxFree = 128;

    H264_Heap_Objects() = default;
    ~H264_Heap_Objects()
    {
        Destroy(m_Free);
        Destroy(m_Lent);
    }
    H264_Heap_Objects(const H264_Heap_Objects&) = delete;
    H264_Heap_Objects& operator=(const H264_Heap_Objects&) = delete;

    T* Allocate() // throws std::bad_alloc
    {
        Entry* const pEntry = m_Free.m_pNext ? static_cast<Entry*>(m_Free.m_pNext) : new Entry;
        if (m_Free.m_pNext) {
            Unlink(*pEntry);
            --m_FreeCount;
        }
        PushFront(m_Lent, *pEntry);
        return pEntry;
    }
    void Free(T* pObject) // one that is lent; null is ignored
    {
        if (!pObject) return;
        auto* const pEntry = static_cast<Entry*>(pObject);
        pObject->Reset();
        Unlink(*pEntry);
        if (m_FreeCount == kMaxFree) {
            delete pEntry;
            return;
        }
        PushFront(m_Free, *pEntry);
        ++m_FreeCount;
    }
    void Reset() // destroys what is free
    {
        Destroy(m_Free);
        m_FreeCount = 0;
    }

private:
    struct Link {
        Link *m_pNext = nullptr, *m_pPrev = nullptr;
    };
    struct Entry : T, Link {
    };

    static void PushFront(Link& List, Link& New)
    {
        New.m_pPrev = &List;
        New.m_pNext = List.m_pNext;
        if (List.m_pNext) List.m_pNext->m_pPrev = &New;
        List.m_pNext = &New;
    }
    static void Unlink(Link& Old)
    {
        Old.m_pPrev->m_pNext = Old.m_pNext;
        if (Old.m_pNext) Old.m_pNext->m_pPrev = Old.m_pPrev;
    }
    static void Destroy(Link& List)
    {
        while (List.m_pNext) {
            auto* const pEntry = static_cast<Entry*>(List.m_pNext);
            Unlink(*pEntry);
            delete pEntry;
        }
    }

    Link m_Free, m_Lent; // heads
    uint32_t m_FreeCount = 0;
};

} // namespace UMC
