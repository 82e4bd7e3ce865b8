// The allocator of a codec that was given none.
#pragma once

#include "media/os/os_section.h"
#include "media/umc_memory_allocator.h"

namespace UMC {

/// Keeps a freed block with its record and finds it again, so that a codec that is set up anew at the same size reaches
/// no system allocator. A block of more than twice the size is not taken, and the free ones go when a new block has to
/// be made or when they are kMaxKept bytes more than what is in use: what a codec holds is of its present size. Safe
/// from any thread.
class DefaultMemoryAllocator : public MemoryAllocator
{
public:
    UMC_DERIVED_CLASS(DefaultMemoryAllocator, MemoryAllocator, "DefaultMemoryAllocator")
    static constexpr size_t kMaxKept = size_t{32} << 20;

    ~DefaultMemoryAllocator() override;

    Status Close() override;
    Status Alloc(MemID* pMid, size_t Size, uint32_t Flags, uint32_t Align) override;
    void* Lock(MemID Mid) override;
    Status Unlock(MemID Mid) override;
    Status Free(MemID Mid) override;
    Status DeallocateMem(MemID Mid) override;

    int32_t GetCapacity() const { return m_Capacity; } ///< block records that the table has room for

private:
    struct Block {
        uint8_t* pMemory; // from the kernel allocator; null: no block
        size_t Size;      // bytes of it
        MemID MID;        // 0 when the record is free
        uint32_t Alignment;
        int32_t LocksCount;
        int32_t InvalidatedFlag; // 1 when the client has freed the handle
    };

    Block* FindBlock(MemID Mid); // null for 0 and for an unknown handle
    Block* TakeRecord(size_t Size, uint32_t Align);
    bool Grow();
    void Retire(Block& Freed);
    void ReleaseFreeBlocks();
    MemID NewHandle();

    Mutex m_Guard; // guards everything below
    Block* m_pBlocks = nullptr;
    int32_t m_Capacity = 0;
    int32_t m_Used = 0; // records that have ever been in use
    MemID m_LastHandle = 0;
};

} // namespace UMC
