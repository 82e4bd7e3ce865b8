#include "media/umc_default_memory_allocator.h"

#include "kernels/memory/memory.h"

#include <algorithm>
#include <climits>

namespace UMC {

static uint8_t* AlignUp(uint8_t* p, uint32_t Align)
{
    const auto Misfit = reinterpret_cast<uintptr_t>(p) & (Align - 1);
    return Misfit ? p + (Align - Misfit) : p;
}

static bool Holds(uint8_t* pMemory, size_t Capacity, size_t Size, uint32_t Align)
{
    const auto Skip = static_cast<size_t>(AlignUp(pMemory, Align) - pMemory);
    return Skip <= Capacity && Capacity - Skip >= Size;
}

DefaultMemoryAllocator::~DefaultMemoryAllocator() { DefaultMemoryAllocator::Close(); }

Status DefaultMemoryAllocator::Close()
{
    const AutomaticMutex Held(m_Guard);
    for (int32_t i = 0; i < m_Used; ++i) kernels::Free(m_pBlocks[i].pMemory);
    kernels::Free(m_pBlocks);
    m_pBlocks = nullptr;
    m_Capacity = m_Used = 0;
    return StatusOk;
}

Status DefaultMemoryAllocator::Alloc(MemID* pMid, size_t Size, uint32_t /*Flags*/, uint32_t Align)
{
    if (!pMid) return StatusNullPointer;
    *pMid = 0;
    if (!Size || !Align || Align > 1048576 || (Align & (Align - 1))) return StatusInvalidParamsExt;
    if (Size > size_t{INT_MAX} - Align) return StatusAllocFailed;

    const AutomaticMutex Held(m_Guard);
    Block* const pBlock = TakeRecord(Size, Align);
    if (!pBlock) return StatusAllocFailed;
    if (!pBlock->pMemory || !Holds(pBlock->pMemory, pBlock->Size, Size, Align)) {
        ReleaseFreeBlocks();
        pBlock->Size = Size + Align;
        pBlock->pMemory = kernels::Malloc8u(static_cast<int32_t>(pBlock->Size));
        if (!pBlock->pMemory) return StatusAllocFailed;
    }
    pBlock->Alignment = Align;
    pBlock->LocksCount = 0;
    pBlock->InvalidatedFlag = 0;
    *pMid = pBlock->MID = NewHandle();
    return StatusOk;
}

// The block stays with its record for the next Alloc(), unless too much would be kept.
void DefaultMemoryAllocator::Retire(Block& Freed)
{
    Freed.MID = 0;
    size_t Used = kMaxKept, Kept = 0;
    for (int32_t i = 0; i < m_Used; ++i)
        if (m_pBlocks[i].pMemory) (m_pBlocks[i].MID ? Used : Kept) += m_pBlocks[i].Size;
    if (Kept > Used) ReleaseFreeBlocks();
}

void DefaultMemoryAllocator::ReleaseFreeBlocks()
{
    for (int32_t i = 0; i < m_Used; ++i) {
        if (m_pBlocks[i].MID) continue;
        kernels::Free(m_pBlocks[i].pMemory);
        m_pBlocks[i].pMemory = nullptr;
    }
}

// The record for a new block: a free one whose block fits well, an unused one, any free one, or one of a larger table.
DefaultMemoryAllocator::Block* DefaultMemoryAllocator::TakeRecord(size_t Size, uint32_t Align)
{
    Block* pLastFree = nullptr;
    for (int32_t i = 0; i < m_Used; ++i) {
        Block& Record = m_pBlocks[i];
        if (Record.MID) continue;
        if (Record.pMemory && Record.Size / 2 <= Size + Align && Holds(Record.pMemory, Record.Size, Size, Align))
            return &Record;
        pLastFree = &Record; // also one that could not get its block
    }
    if (m_Used < m_Capacity) return &m_pBlocks[m_Used++];
    if (pLastFree) {
        kernels::Free(pLastFree->pMemory);
        *pLastFree = Block{};
        return pLastFree;
    }
    return Grow() ? &m_pBlocks[m_Used++] : nullptr;
}

bool DefaultMemoryAllocator::Grow()
{
    const int32_t NewCapacity = std::max(8, 2 * m_Capacity);
    const size_t Bytes = static_cast<size_t>(NewCapacity) * sizeof(Block);
    if (Bytes > INT_MAX) return false;
    auto* const pNew = reinterpret_cast<Block*>(kernels::Malloc8u(static_cast<int32_t>(Bytes)));
    if (!pNew) return false;
    std::copy_n(m_pBlocks, m_Used, pNew);
    std::fill_n(pNew + m_Used, NewCapacity - m_Used, Block{});
    kernels::Free(m_pBlocks);
    m_pBlocks = pNew;
    m_Capacity = NewCapacity;
    return true;
}

MemID DefaultMemoryAllocator::NewHandle()
{
    do ++m_LastHandle;
    while (!m_LastHandle || FindBlock(m_LastHandle));
    return m_LastHandle;
}

DefaultMemoryAllocator::Block* DefaultMemoryAllocator::FindBlock(MemID Mid)
{
    for (int32_t i = 0; Mid && i < m_Used; ++i)
        if (m_pBlocks[i].MID == Mid) return &m_pBlocks[i];
    return nullptr;
}

void* DefaultMemoryAllocator::Lock(MemID Mid)
{
    const AutomaticMutex Held(m_Guard);
    Block* const pBlock = FindBlock(Mid);
    if (!pBlock || !pBlock->pMemory) return nullptr;
    ++pBlock->LocksCount;
    return AlignUp(pBlock->pMemory, pBlock->Alignment);
}

Status DefaultMemoryAllocator::Unlock(MemID Mid)
{
    const AutomaticMutex Held(m_Guard);
    Block* const pBlock = FindBlock(Mid);
    if (!pBlock || !pBlock->pMemory || pBlock->LocksCount < 1) return StatusFailed;
    if (--pBlock->LocksCount == 0 && pBlock->InvalidatedFlag) Retire(*pBlock);
    return StatusOk;
}

Status DefaultMemoryAllocator::Free(MemID Mid)
{
    const AutomaticMutex Held(m_Guard);
    Block* const pBlock = FindBlock(Mid);
    if (!pBlock || !pBlock->pMemory || pBlock->InvalidatedFlag) return StatusFailed;
    pBlock->InvalidatedFlag = 1;
    if (pBlock->LocksCount == 0) Retire(*pBlock);
    return StatusOk;
}

Status DefaultMemoryAllocator::DeallocateMem(MemID Mid)
{
    if (!Mid) return StatusFailed;
    const AutomaticMutex Held(m_Guard);
    if (Block* const pBlock = FindBlock(Mid)) {
        pBlock->InvalidatedFlag = 1;
        pBlock->LocksCount = 0;
        Retire(*pBlock);
    }
    return StatusOk;
}

} // namespace UMC
