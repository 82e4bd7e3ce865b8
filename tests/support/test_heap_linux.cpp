#include "tests/support/test_heap.h"

#include <malloc.h>

// The allocator behind the linker's --wrap: the system's, or a sanitizer's.
extern "C" {
void* __real_malloc(size_t Size);
void* __real_calloc(size_t Count, size_t Size);
void* __real_realloc(void* p, size_t Size);
void* __real_aligned_alloc(size_t Alignment, size_t Size);
void __real_free(void* p);
}

namespace test_heap {

void* Allocate(size_t Size) { return __real_malloc(Size); }
void* AllocateZeroed(size_t Count, size_t Size) { return __real_calloc(Count, Size); }
void* Reallocate(void* p, size_t Size) { return __real_realloc(p, Size); }
void* AllocateAligned(size_t Alignment, size_t Size) { return __real_aligned_alloc(Alignment, Size); }
void Free(void* p) { __real_free(p); }
void FreeAligned(void* p) { __real_free(p); }
size_t UsableSize(void* p) { return malloc_usable_size(p); }

static thread_local constinit void* s_pThreadValue = nullptr;
void* ThreadValue() { return s_pThreadValue; }
void SetThreadValue(void* pValue) { s_pThreadValue = pValue; }

} // namespace test_heap
