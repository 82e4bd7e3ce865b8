// Pools of the decoder: the word buffers that NAL units are unpacked into, and the objects that are reused for every
// slice. A steady stream allocates nothing; what a flood has left behind goes back to the system, since both keep no
// more than a constant of what is not lent out.
#pragma once

#include <cstddef>
#include <cstdint>

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
    H264HeapPiece *m_pPrev = nullptr, *m_pNext = nullptr;

private:
    uint32_t m_ZeroBegin = 0, m_ZeroEnd = 0; // bytes known to be zero
};

// Lends pieces. Every piece belongs to the heap and dies with it.
class H264_Heap
{
public:
    static constexpr uint32_t kMaxFreePieces = 16;       // also bounds the search for one that fits
    static constexpr uint32_t kMaxFreeBytes = 4u << 20u; // of capacity

    H264_Heap() = default;
    ~H264_Heap();
    H264_Heap(const H264_Heap&) = delete;
    H264_Heap& operator=(const H264_Heap&) = delete;

    // The first free piece that takes Size bytes, or a new one; null when memory is exhausted.
    H264HeapPiece* Allocate(uint32_t Size);
    void Free(H264HeapPiece* pPiece); // one that is lent out; null is ignored
    void Reset();                     // takes back every piece
    uint32_t FreePieces() const { return m_FreePieces; }

private:
    struct List {
        H264HeapPiece *m_pHead = nullptr, *m_pTail = nullptr;
        void PushFront(H264HeapPiece* pPiece);
        void Unlink(H264HeapPiece* pPiece);
    };
    void TakeFromFree(H264HeapPiece* pPiece);

    List m_Used, m_Free; // free: the one that came back last stands first
    uint32_t m_FreePieces = 0;
    uint64_t m_FreeBytes = 0;
};

} // namespace UMC
