// Pools of the decoder: the word buffers that NAL units are unpacked into, and the objects that are reused for every
// slice. Both only grow, so a steady stream allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace UMC {

// One buffer for one unpacked NAL unit: 32-bit words, first byte of the stream topmost.
struct H264HeapPiece {
    H264HeapPiece(uint32_t Capacity);
    ~H264HeapPiece();
    H264HeapPiece(const H264HeapPiece&) = delete;
    H264HeapPiece& operator=(const H264HeapPiece&) = delete;

    // Declares the unit complete: Size bytes of it, with nothing behind them written since the last call. Leaves
    // H264Bitstream::kReadPadding zero bytes behind it; remembers which bytes are zero already and clears only others.
    void Seal(uint32_t Size);

    uint32_t* m_pData = nullptr; // null when memory was exhausted
    uint32_t m_Capacity = 0;     // bytes that a unit may take
    uint32_t m_Size = 0;         // bytes in use
    H264HeapPiece* m_pNext = nullptr;

private:
    uint32_t m_ZeroBegin = 0, m_ZeroEnd = 0; // bytes known to be zero
};

// Lends pieces. Every piece belongs to the heap and dies with it.
class H264_Heap
{
public:
    H264_Heap() = default;
    ~H264_Heap();
    H264_Heap(const H264_Heap&) = delete;
    H264_Heap& operator=(const H264_Heap&) = delete;

    // The first free piece that takes Size bytes, or a new one; null when memory is exhausted.
    H264HeapPiece* Allocate(uint32_t Size);
    void Free(H264HeapPiece* pPiece); // null is ignored
    void Reset();                     // takes back every piece

private:
    H264HeapPiece *m_pUsed = nullptr, *m_pUsedTail = nullptr;
    H264HeapPiece* m_pFree = nullptr;
};

// Lends objects with an m_pNextFree link and a Reset(). The objects on the free list belong to the pool.
template <class T>
class H264_Heap_Objects
{
public:
    H264_Heap_Objects() = default;
    ~H264_Heap_Objects() { Reset(); }
    H264_Heap_Objects(const H264_Heap_Objects&) = delete;
    H264_Heap_Objects& operator=(const H264_Heap_Objects&) = delete;

    T* Allocate()
    {
        if (!m_pFree) return new T;
        T* const pObject = m_pFree;
        m_pFree = pObject->m_pNextFree;
        pObject->m_pNextFree = nullptr;
        return pObject;
    }
    void Free(T* pObject)
    {
        if (!pObject) return;
        pObject->Reset();
        pObject->m_pNextFree = m_pFree;
        m_pFree = pObject;
    }
    void Reset() // destroys what is free
    {
        while (m_pFree) {
            const std::unique_ptr<T> Object(m_pFree);
            m_pFree = Object->m_pNextFree;
        }
    }

private:
    T* m_pFree = nullptr;
};

} // namespace UMC
