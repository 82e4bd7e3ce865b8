#include "kernels/memory/memory.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace kernels {
namespace {

constexpr size_t kExtra = 36;

// The system's address stands in the pointer-sized place before the block. The system aligns its blocks to a pointer
// at least, so the aligned address lies sizeof(void*) to kBlockAlignment bytes in and the block ends inside the kExtra
// bytes.
static_assert(alignof(std::max_align_t) >= sizeof(void*) && kBlockAlignment <= kExtra);

uint8_t* AllocateAligned(size_t Size)
{
    auto* const pRaw = static_cast<uint8_t*>(std::malloc(Size + kExtra));
    if (!pRaw) return nullptr;
    uint8_t* const pFirst = pRaw + sizeof(void*);
    const size_t Past = reinterpret_cast<uintptr_t>(pFirst) % kBlockAlignment;
    uint8_t* const pBlock = pFirst + (Past ? kBlockAlignment - Past : 0);
    std::memcpy(pBlock - sizeof(void*), &pRaw, sizeof(void*));
    return pBlock;
}

} // namespace

uint8_t* Malloc8u(int32_t Size) { return Size > 0 ? AllocateAligned(static_cast<size_t>(Size)) : nullptr; }

float* Malloc32f(int32_t Count)
{
    if (Count <= 0 || static_cast<size_t>(Count) > (std::numeric_limits<size_t>::max() - kExtra) / sizeof(float))
        return nullptr;
    return reinterpret_cast<float*>(AllocateAligned(static_cast<size_t>(Count) * sizeof(float)));
}

void Free(void* pBlock)
{
    if (!pBlock) return;
    void* pRaw;
    std::memcpy(&pRaw, static_cast<uint8_t*>(pBlock) - sizeof(void*), sizeof(void*));
    std::free(pRaw);
}

} // namespace kernels
