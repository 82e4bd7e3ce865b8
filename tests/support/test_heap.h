// The allocator under the tests' own operator new and malloc: the system's, or on Windows one that keeps the promise of
// that system's 32-bit heap to the letter.
//
// There a block lies at a multiple of 8, and whether it is a multiple of 16 too is chance. Here it never is, so an
// object that needs 16 and was not allocated for it fails at its first aligned access, in every run.
#pragma once

#include <cstddef>

namespace test_heap {

void* Allocate(size_t Size);
void* AllocateZeroed(size_t Count, size_t Size);
void* Reallocate(void* p, size_t Size);
void* AllocateAligned(size_t Alignment, size_t Size); ///< Size is a multiple of Alignment

/// Null is ignored. Where the system has two ways to give a block back, the wrong one of them ends the program.
void Free(void* p);
void FreeAligned(void* p);

size_t UsableSize(void* p);

/// A pointer of each thread's own, null at first. Takes no memory from the functions above, as a thread_local does
/// where the compiler emulates them.
void* ThreadValue();
void SetThreadValue(void* pValue);

} // namespace test_heap
