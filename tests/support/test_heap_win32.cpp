#include "tests/support/test_heap.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#define WIN32_LEAN_AND_MEAN
#include <pthread.h>
#include <windows.h>

// The allocator behind the linker's --wrap.
extern "C" {
void* __real_malloc(size_t Size);
void* __real_realloc(void* p, size_t Size);
void __real_free(void* p);
}

namespace test_heap {
namespace {

// In front of a block. Without it a block is the system's own: a library that is not linked into the program made it.
struct Tag {
    uint32_t Kind;
    uint32_t Check; // of the address, so that stale bytes are not taken for a tag
    void* pSystem;
    size_t Size;
};
constexpr uint32_t kPlain = 0x51564C50, kAligned = 0x51564C41;
constexpr size_t kSkew = 8, kSkewModulo = 16;

uint32_t CheckOf(const void* p) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p)) ^ 0xA5C3965A; }

// A block that lies Skew bytes behind a multiple of Alignment.
void* Make(size_t Size, size_t Alignment, size_t Skew, uint32_t Kind)
{
    const size_t Spare = sizeof(Tag) + Alignment + Skew;
    if (Size > SIZE_MAX - Spare) return nullptr;
    void* const pSystem = __real_malloc(Size + Spare);
    if (!pSystem) return nullptr;
    const uintptr_t First = reinterpret_cast<uintptr_t>(pSystem) + sizeof(Tag);
    const uintptr_t Place = (First + Alignment - 1) / Alignment * Alignment + Skew;
    auto* const p = reinterpret_cast<uint8_t*>(Place);
    const Tag Of{Kind, CheckOf(p), pSystem, Size};
    std::memcpy(p - sizeof Of, &Of, sizeof Of);
    return p;
}

bool ReadTag(const void* p, Tag& Of)
{
    std::memcpy(&Of, static_cast<const uint8_t*>(p) - sizeof Of, sizeof Of);
    return (Of.Kind == kPlain || Of.Kind == kAligned) && Of.Check == CheckOf(p);
}

void GiveBack(void* p, uint32_t Kind)
{
    Tag Of;
    if (!p) return;
    if (!ReadTag(p, Of)) return __real_free(p);
    if (Of.Kind != Kind) { // with the system's two allocators the heap would be damaged
        std::fputs("a block went back another way than it came\n", stderr);
        std::abort();
    }
    std::memset(static_cast<uint8_t*>(p) - sizeof Of, 0, sizeof Of);
    __real_free(Of.pSystem);
}

} // namespace

void* Allocate(size_t Size) { return Make(Size, kSkewModulo, kSkew, kPlain); }
void* AllocateAligned(size_t Alignment, size_t Size)
{
    return Make(Size, std::max(Alignment, kSkewModulo), 0, kAligned);
}

void* AllocateZeroed(size_t Count, size_t Size)
{
    if (Size && Count > SIZE_MAX / Size) return nullptr;
    void* const p = Allocate(Count * Size);
    return p ? std::memset(p, 0, Count * Size) : nullptr;
}

void* Reallocate(void* p, size_t Size)
{
    Tag Of;
    if (!p) return Allocate(Size);
    if (!ReadTag(p, Of)) return __real_realloc(p, Size);
    if (Size == 0) {
        Free(p);
        return nullptr;
    }
    void* const pNew = Allocate(Size);
    if (!pNew) return nullptr;
    std::memcpy(pNew, p, std::min(Size, Of.Size));
    Free(p);
    return pNew;
}

void Free(void* p) { GiveBack(p, kPlain); }
void FreeAligned(void* p) { GiveBack(p, kAligned); }

size_t UsableSize(void* p)
{
    Tag Of;
    return ReadTag(p, Of) ? Of.Size : 0;
}

static constinit std::atomic<DWORD> s_Slot = TLS_OUT_OF_INDEXES;

void* ThreadValue()
{
    const DWORD Slot = s_Slot;
    if (Slot == TLS_OUT_OF_INDEXES) return nullptr;
    const DWORD LastError = GetLastError(); // freeing a block is no reason to lose it
    void* const pValue = TlsGetValue(Slot);
    SetLastError(LastError);
    return pValue;
}

void SetThreadValue(void* pValue)
{
    DWORD Unset = TLS_OUT_OF_INDEXES;
    if (s_Slot == TLS_OUT_OF_INDEXES)
        if (const DWORD Slot = TlsAlloc(); !s_Slot.compare_exchange_strong(Unset, Slot)) TlsFree(Slot);
    TlsSetValue(s_Slot, pValue);
}

} // namespace test_heap

// The C++ run time is linked into the program, with its own requests: for an exception and the way it takes, and for a
// mutex or a thread's variable at the first use. A test of a lack of memory neither counts nor refuses them, as where
// the run time is a library of its own.
namespace {
class Unwatched
{
public:
    Unwatched() { test_heap::SetThreadValue(nullptr); }
    ~Unwatched() { test_heap::SetThreadValue(m_pBefore); }
    Unwatched(const Unwatched&) = delete;
    Unwatched& operator=(const Unwatched&) = delete;

private:
    void* const m_pBefore = test_heap::ThreadValue();
};
} // namespace

#define LEAVE_UNWATCHED(Result, Name, Parameters, Arguments)                                                           \
    extern "C" Result __real_##Name Parameters;                                                                        \
    extern "C" Result __wrap_##Name Parameters;                                                                        \
    extern "C" Result __wrap_##Name Parameters                                                                         \
    {                                                                                                                  \
        const Unwatched Now;                                                                                           \
        return __real_##Name Arguments;                                                                                \
    }
LEAVE_UNWATCHED(void*, __cxa_allocate_exception, (size_t Size), (Size))
LEAVE_UNWATCHED(void, __cxa_free_exception, (void* p), (p))
LEAVE_UNWATCHED(const void*, _Unwind_Find_FDE, (void* p, void* pBases), (p, pBases))
LEAVE_UNWATCHED(void*, __emutls_get_address, (void* p), (p))
LEAVE_UNWATCHED(int, pthread_once, (pthread_once_t * p, void (*pWork)()), (p, pWork))
LEAVE_UNWATCHED(int, pthread_mutex_lock, (pthread_mutex_t * p), (p))
LEAVE_UNWATCHED(int, pthread_create,
                (pthread_t * p, const pthread_attr_t* pAttributes, void* (*pEntry)(void*), void* pArgument),
                (p, pAttributes, pEntry, pArgument))
LEAVE_UNWATCHED(int, pthread_join, (pthread_t t, void** pResult), (t, pResult))
LEAVE_UNWATCHED(int, pthread_cond_wait, (pthread_cond_t * p, pthread_mutex_t* pMutex), (p, pMutex))
LEAVE_UNWATCHED(int, pthread_cond_signal, (pthread_cond_t * p), (p))
LEAVE_UNWATCHED(int, pthread_cond_broadcast, (pthread_cond_t * p), (p))
#undef LEAVE_UNWATCHED
