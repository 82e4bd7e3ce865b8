// One block of work memory, divided into parts.
#pragma once

#include "kernels/memory/memory.h"

#include <memory>

namespace kernels {

// Adds up the parts first, then allocates once and hands the parts out, each aligned to kPartAlignment bytes.
class ResizeWork
{
public:
    static constexpr int64_t kPartAlignment = 16;
    static_assert(kBlockAlignment % kPartAlignment == 0);

    // Reserves Count elements; the result is the part's place for At().
    template <class T>
    int64_t Reserve(int64_t Count)
    {
        const int64_t Place = m_Size;
        m_Size += (Count * static_cast<int64_t>(sizeof(T)) + kPartAlignment - 1) & ~(kPartAlignment - 1);
        return Place;
    }
    bool Allocate()
    {
        m_pBlock.reset(m_Size <= INT32_MAX ? Malloc8u(static_cast<int32_t>(m_Size)) : nullptr);
        return m_pBlock != nullptr;
    }
    template <class T>
    T* At(int64_t Place) const
    {
        static_assert(alignof(T) <= kPartAlignment);
        return reinterpret_cast<T*>(m_pBlock.get() + Place);
    }

private:
    struct Release {
        void operator()(uint8_t* pBlock) const { Free(pBlock); }
    };
    int64_t m_Size = 0;
    std::unique_ptr<uint8_t, Release> m_pBlock;
};

} // namespace kernels
