#include "tests/support/failing_allocation.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <malloc.h>
#include <new>

// The allocator underneath: the system's, or a sanitizer's.
extern "C" {
void* __real_malloc(size_t Size);
void* __real_calloc(size_t Count, size_t Size);
void* __real_realloc(void* p, size_t Size);
void* __real_aligned_alloc(size_t Alignment, size_t Size);
void __real_free(void* p);
}

namespace {

// Constant-initialised and trivially destroyed, so that the first request of a thread needs no memory for it.
struct Watch {
    bool bArmed;
    bool bFailed;
    bool bRestFails;
    size_t FailAt;
    size_t Requests;
    ptrdiff_t Held;
    ptrdiff_t Bytes, MostBytes;
};
thread_local constinit Watch s_Watch{};

// Counts a request and says whether it is to be granted.
bool Granted()
{
    Watch& w = s_Watch;
    if (!w.bArmed) return true;
    ++w.Requests;
    if (w.FailAt == 0 || (w.bRestFails ? w.Requests < w.FailAt : w.Requests != w.FailAt)) return true;
    w.bFailed = true;
    return false;
}

void* Counted(void* p)
{
    Watch& w = s_Watch;
    if (!p || !w.bArmed) return p;
    ++w.Held;
    w.Bytes += static_cast<ptrdiff_t>(malloc_usable_size(p));
    w.MostBytes = std::max(w.MostBytes, w.Bytes);
    return p;
}

// Before it goes.
void Uncounted(void* p)
{
    if (!p || !s_Watch.bArmed) return;
    --s_Watch.Held;
    s_Watch.Bytes -= static_cast<ptrdiff_t>(malloc_usable_size(p));
}

void* Allocate(size_t Size) { return Granted() ? Counted(__real_malloc(Size ? Size : 1)) : nullptr; }

void* AllocateAligned(size_t Size, size_t Alignment)
{
    const size_t Whole = (Size + Alignment - 1) / Alignment * Alignment;
    return Granted() ? Counted(__real_aligned_alloc(Alignment, Whole ? Whole : Alignment)) : nullptr;
}

void* OrThrow(void* p)
{
    if (!p) throw std::bad_alloc();
    return p;
}

void GiveBack(void* p)
{
    Uncounted(p);
    __real_free(p);
}

} // namespace

FailingAllocation::FailingAllocation(size_t FailAt, After Rest)
{
    assert(!s_Watch.bArmed);
    s_Watch = {true, false, Rest == After::Fail, FailAt, 0, 0, 0, 0};
}

FailingAllocation::~FailingAllocation() { s_Watch = {}; }

size_t FailingAllocation::Requests() { return s_Watch.Requests; }
ptrdiff_t FailingAllocation::BlocksHeld() { return s_Watch.Held; }
ptrdiff_t FailingAllocation::BytesHeld() { return s_Watch.Bytes; }
ptrdiff_t FailingAllocation::MostBytesHeld() { return s_Watch.MostBytes; }
bool FailingAllocation::Failed() const { return s_Watch.bFailed; }

// What --wrap makes of the calls in the program and its static libraries.
extern "C" {
void* __wrap_malloc(size_t Size);
void* __wrap_calloc(size_t Count, size_t Size);
void* __wrap_realloc(void* p, size_t Size);
void* __wrap_aligned_alloc(size_t Alignment, size_t Size);
void __wrap_free(void* p);

void* __wrap_malloc(size_t Size) { return Granted() ? Counted(__real_malloc(Size)) : nullptr; }
void* __wrap_calloc(size_t Count, size_t Size) { return Granted() ? Counted(__real_calloc(Count, Size)) : nullptr; }
void* __wrap_aligned_alloc(size_t Alignment, size_t Size)
{
    return Granted() ? Counted(__real_aligned_alloc(Alignment, Size)) : nullptr;
}
void* __wrap_realloc(void* p, size_t Size)
{
    if (!Granted()) return nullptr;
    Uncounted(p); // a block that moves stays one block
    void* const pNew = __real_realloc(p, Size);
    if (!pNew && Size != 0) Counted(p); // it stays where it was
    return Counted(pNew);
}
void __wrap_free(void* p) { GiveBack(p); }
}

void* operator new(size_t Size) { return OrThrow(Allocate(Size)); }
void* operator new[](size_t Size) { return OrThrow(Allocate(Size)); }
void* operator new(size_t Size, const std::nothrow_t&) noexcept { return Allocate(Size); }
void* operator new[](size_t Size, const std::nothrow_t&) noexcept { return Allocate(Size); }
void* operator new(size_t Size, std::align_val_t a) { return OrThrow(AllocateAligned(Size, static_cast<size_t>(a))); }
void* operator new[](size_t Size, std::align_val_t a) { return OrThrow(AllocateAligned(Size, static_cast<size_t>(a))); }
void* operator new(size_t Size, std::align_val_t a, const std::nothrow_t&) noexcept
{
    return AllocateAligned(Size, static_cast<size_t>(a));
}
void* operator new[](size_t Size, std::align_val_t a, const std::nothrow_t&) noexcept
{
    return AllocateAligned(Size, static_cast<size_t>(a));
}
void operator delete(void* p) noexcept { GiveBack(p); }
void operator delete[](void* p) noexcept { GiveBack(p); }
void operator delete(void* p, size_t) noexcept { GiveBack(p); }
void operator delete[](void* p, size_t) noexcept { GiveBack(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { GiveBack(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { GiveBack(p); }
void operator delete(void* p, std::align_val_t) noexcept { GiveBack(p); }
void operator delete[](void* p, std::align_val_t) noexcept { GiveBack(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { GiveBack(p); }
void operator delete[](void* p, size_t, std::align_val_t) noexcept { GiveBack(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { GiveBack(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { GiveBack(p); }
