#include "intel/SysMemBufferAllocator.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr mfxU32 kBufferId = MFX_MAKEFOURCC('B', 'U', 'F', 'F');
constexpr uintptr_t kAlign = 32;
constexpr uint64_t kRoom = 64; // bytes of a block for the header and for the alignment of the data

struct BufferHeader {
    mfxU32 Id;
    mfxU32 Size;
    mfxU16 Type;
};
static_assert(offsetof(BufferHeader, Type) == 8);

BufferHeader* HeaderOf(mfxMemId mid)
{
    auto* const pHeader = static_cast<BufferHeader*>(mid);
    return pHeader && pHeader->Id == kBufferId ? pHeader : nullptr;
}

} // namespace

mfxStatus SysMemBufferAllocator::AllocBuffer(mfxU32 nbytes, mfxU16 type, mfxMemId* mid)
{
    if (!mid) return MFX_ERR_NULL_PTR;
    if (!(type & MFX_MEMTYPE_SYSTEM_MEMORY)) return MFX_ERR_UNSUPPORTED;
    const uint64_t Bytes = nbytes + kRoom;
    const auto Size = static_cast<size_t>(Bytes);
    auto* const pHeader = Size == Bytes ? static_cast<BufferHeader*>(std::calloc(1, Size)) : nullptr;
    if (!pHeader) return MFX_ERR_MEMORY_ALLOC;
    pHeader->Id = kBufferId; // one by one: what is between them and the data stays zero
    pHeader->Size = nbytes;
    pHeader->Type = type;
    *mid = pHeader;
    return MFX_ERR_NONE;
}

mfxStatus SysMemBufferAllocator::LockBuffer(mfxMemId mid, mfxU8** ptr)
{
    if (!ptr) return MFX_ERR_NULL_PTR;
    if (!HeaderOf(mid)) return MFX_ERR_INVALID_HANDLE;
    const auto Block = reinterpret_cast<uintptr_t>(mid);
    *ptr = static_cast<mfxU8*>(mid) + (((Block + (kAlign * 2 - 1)) & ~(kAlign - 1)) - Block);
    return MFX_ERR_NONE;
}

mfxStatus SysMemBufferAllocator::UnlockBuffer(mfxMemId mid)
{
    return HeaderOf(mid) ? MFX_ERR_NONE : MFX_ERR_INVALID_HANDLE;
}

mfxStatus SysMemBufferAllocator::FreeBuffer(mfxMemId mid)
{
    if (!HeaderOf(mid)) return MFX_ERR_INVALID_HANDLE;
    std::free(mid);
    return MFX_ERR_NONE;
}
