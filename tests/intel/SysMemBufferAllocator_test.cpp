// Buffers of the Media SDK: the block's layout and every status, by the class and by its table.
#include "intel/SysMemBufferAllocator.h"

#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr mfxU16 kType = MFX_MEMTYPE_SYSTEM_MEMORY | MFX_MEMTYPE_FROM_ENCODE;

class Buffers : public testing::Test
{
protected:
    ~Buffers() override { EXPECT_EQ(m_Held.BlocksHeld(), 0); }

    const FailingAllocation m_Held{0};
    SysMemBufferAllocator m_Allocator;
};

} // namespace

TEST_F(Buffers, ABlockBeginsWithItsHeader)
{
    for (const mfxU32 Size : {0u, 1u, 100u, 4096u}) {
        mfxMemId mid = nullptr;
        ASSERT_EQ(m_Allocator.AllocBuffer(Size, kType, &mid), MFX_ERR_NONE);
        const auto* const pBlock = static_cast<const uint8_t*>(mid);
        EXPECT_EQ(std::memcmp(pBlock, "BUFF", 4), 0);
        uint32_t StoredSize;
        uint16_t StoredType;
        std::memcpy(&StoredSize, pBlock + 4, 4);
        std::memcpy(&StoredType, pBlock + 8, 2);
        EXPECT_EQ(StoredSize, Size);
        EXPECT_EQ(StoredType, kType);

        mfxU8* pData = nullptr;
        ASSERT_EQ(m_Allocator.LockBuffer(mid, &pData), MFX_ERR_NONE);
        const auto Block = reinterpret_cast<uintptr_t>(pBlock);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(pData), (Block + 63) & ~uintptr_t{31});
        for (const uint8_t* p = pBlock + 10; p < pData + Size; ++p) ASSERT_EQ(*p, 0);
        std::memset(pData, 0xA5, Size); // all of it is there: a sanitizer sees one byte too far
        EXPECT_EQ(m_Allocator.UnlockBuffer(mid), MFX_ERR_NONE);
        EXPECT_EQ(m_Allocator.FreeBuffer(mid), MFX_ERR_NONE);
    }
}

TEST_F(Buffers, EachRefusalHasItsStatus)
{
    mfxMemId mid = nullptr;
    mfxU8* pData = nullptr;
    alignas(8) char Foreign[64] = "BUFG";
    EXPECT_EQ(m_Allocator.AllocBuffer(16, kType, nullptr), MFX_ERR_NULL_PTR);
    EXPECT_EQ(m_Allocator.AllocBuffer(16, MFX_MEMTYPE_FROM_ENCODE, &mid), MFX_ERR_UNSUPPORTED);
    EXPECT_EQ(m_Allocator.LockBuffer(Foreign, nullptr), MFX_ERR_NULL_PTR);
    EXPECT_EQ(m_Allocator.LockBuffer(nullptr, &pData), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.LockBuffer(Foreign, &pData), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.UnlockBuffer(nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.UnlockBuffer(Foreign), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.FreeBuffer(nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.FreeBuffer(Foreign), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(pData, nullptr);
}

TEST(BuffersOutOfMemory, AreRefused)
{
    const FailingAllocation Fail(1);
    SysMemBufferAllocator Allocator;
    mfxMemId mid = nullptr;
    EXPECT_EQ(Allocator.AllocBuffer(16, kType, &mid), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(mid, nullptr);
    if (sizeof(size_t) == 4) { // a sum beyond what there are numbers for
        EXPECT_EQ(Allocator.AllocBuffer(0xFFFFFFF0u, kType, &mid), MFX_ERR_MEMORY_ALLOC);
    }
}

TEST_F(Buffers, TheTableCallsTheClass)
{
    mfxBufferAllocator& Table = m_Allocator;
    mfxMemId mid = nullptr;
    mfxU8* pData = nullptr;
    EXPECT_EQ(Table.Alloc(Table.pthis, 16, kType, &mid), MFX_ERR_NONE);
    EXPECT_EQ(Table.Lock(Table.pthis, mid, &pData), MFX_ERR_NONE);
    EXPECT_NE(pData, nullptr);
    EXPECT_EQ(Table.Unlock(Table.pthis, mid), MFX_ERR_NONE);
    EXPECT_EQ(Table.Unlock(Table.pthis, nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(Table.Free(Table.pthis, mid), MFX_ERR_NONE);
    EXPECT_EQ(Table.Free(Table.pthis, nullptr), MFX_ERR_INVALID_HANDLE);
}

TEST_F(Buffers, TheTableRefusesANullThis)
{
    const mfxBufferAllocator& Table = m_Allocator;
    mfxMemId mid = nullptr;
    mfxU8* pData = nullptr;
    EXPECT_EQ(Table.Alloc(nullptr, 16, kType, &mid), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.Lock(nullptr, mid, &pData), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.Unlock(nullptr, mid), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.Free(nullptr, mid), MFX_ERR_MEMORY_ALLOC);
}
