#include "tests/support/failing_allocation.h"

#include "tests/support/test_heap.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <new>

namespace {

// What is known of the thread that made a FailingAllocation; the other threads have none.
struct Watch {
    bool bFailed = false;
    bool bRestFails;
    size_t FailAt;
    size_t Requests = 0;
    ptrdiff_t Held = 0;
    ptrdiff_t Bytes = 0, MostBytes = 0;
};
Watch* Own() { return static_cast<Watch*>(test_heap::ThreadValue()); }

// Counts a request and says whether it is to be granted.
bool Granted()
{
    Watch* const w = Own();
    if (!w) return true;
    ++w->Requests;
    if (w->FailAt == 0 || (w->bRestFails ? w->Requests < w->FailAt : w->Requests != w->FailAt)) return true;
    w->bFailed = true;
    return false;
}

void* Counted(void* p)
{
    Watch* const w = p ? Own() : nullptr;
    if (!w) return p;
    ++w->Held;
    w->Bytes += static_cast<ptrdiff_t>(test_heap::UsableSize(p));
    w->MostBytes = std::max(w->MostBytes, w->Bytes);
    return p;
}

// Before it goes.
void Uncounted(void* p)
{
    Watch* const w = p ? Own() : nullptr;
    if (!w) return;
    --w->Held;
    w->Bytes -= static_cast<ptrdiff_t>(test_heap::UsableSize(p));
}

void* Allocate(size_t Size) { return Granted() ? Counted(test_heap::Allocate(Size ? Size : 1)) : nullptr; }

void* AllocateAligned(size_t Size, size_t Alignment)
{
    const size_t Whole = (Size + Alignment - 1) / Alignment * Alignment;
    return Granted() ? Counted(test_heap::AllocateAligned(Alignment, Whole ? Whole : Alignment)) : nullptr;
}

void* OrThrow(void* p)
{
    if (!p) throw std::bad_alloc();
    return p;
}

void GiveBack(void* p)
{
    Uncounted(p);
    test_heap::Free(p);
}

void GiveBackAligned(void* p)
{
    Uncounted(p);
    test_heap::FreeAligned(p);
}

} // namespace

FailingAllocation::FailingAllocation(size_t FailAt, After Rest)
{
    assert(!Own());
    void* const pPlace = test_heap::Allocate(sizeof(Watch));
    if (!pPlace) std::abort();
    test_heap::SetThreadValue(new (pPlace) Watch{.bRestFails = Rest == After::Fail, .FailAt = FailAt});
}

FailingAllocation::~FailingAllocation()
{
    Watch* const w = Own();
    test_heap::SetThreadValue(nullptr);
    test_heap::Free(w);
}

size_t FailingAllocation::Requests() { return Own() ? Own()->Requests : 0; }
ptrdiff_t FailingAllocation::BlocksHeld() { return Own() ? Own()->Held : 0; }
ptrdiff_t FailingAllocation::BytesHeld() { return Own() ? Own()->Bytes : 0; }
ptrdiff_t FailingAllocation::MostBytesHeld() { return Own() ? Own()->MostBytes : 0; }
bool FailingAllocation::Failed() const { return Own()->bFailed; }

void* FailingAllocation::Suspend()
{
    void* const pSuspended = test_heap::ThreadValue();
    test_heap::SetThreadValue(nullptr);
    return pSuspended;
}
void FailingAllocation::Resume(void* pSuspended) { test_heap::SetThreadValue(pSuspended); }

// What --wrap makes of the calls in the program and its static libraries. Not hidden: where the system's functions have
// no version, under the sanitizers, the linker looks for these names on behalf of shared libraries too. Those call the
// system's all the same.
#pragma GCC visibility push(default)
extern "C" {
void* __wrap_malloc(size_t Size);
void* __wrap_calloc(size_t Count, size_t Size);
void* __wrap_realloc(void* p, size_t Size);
void* __wrap_aligned_alloc(size_t Alignment, size_t Size);
void __wrap_free(void* p);

void* __wrap_malloc(size_t Size) { return Granted() ? Counted(test_heap::Allocate(Size)) : nullptr; }
void* __wrap_calloc(size_t Count, size_t Size)
{
    return Granted() ? Counted(test_heap::AllocateZeroed(Count, Size)) : nullptr;
}
void* __wrap_aligned_alloc(size_t Alignment, size_t Size)
{
    return Granted() ? Counted(test_heap::AllocateAligned(Alignment, Size)) : nullptr;
}
void* __wrap_realloc(void* p, size_t Size)
{
    if (!Granted()) return nullptr;
    Uncounted(p); // a block that moves stays one block
    void* const pNew = test_heap::Reallocate(p, Size);
    if (!pNew && Size != 0) Counted(p); // it stays where it was
    return Counted(pNew);
}
void __wrap_free(void* p) { GiveBack(p); }
}
#pragma GCC visibility pop

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
void operator delete(void* p, std::align_val_t) noexcept { GiveBackAligned(p); }
void operator delete[](void* p, std::align_val_t) noexcept { GiveBackAligned(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { GiveBackAligned(p); }
void operator delete[](void* p, size_t, std::align_val_t) noexcept { GiveBackAligned(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { GiveBackAligned(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { GiveBackAligned(p); }
