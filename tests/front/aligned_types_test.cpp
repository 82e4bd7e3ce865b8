// Every type that needs more alignment than the heap of 32-bit Windows gives to a block, made in every way that the
// library makes objects. There the heap under this program never gives more than it promises (test_heap.h).
#include "decoder/jobs/segment_decoder.h"
#include "decoder/stream/heap_objects.h"
#include "encoder/session/encoder_core.h"
#include "kernels/bilateral/bilateral_context.h"
#include "kernels/memory/memory.h"
#include "kernels/transform/transform.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <tuple>
#include <vector>

namespace {

// A compiler may leave out a new whose result nobody sees, and what it knows of a type's alignment makes a remainder 0.
[[gnu::noinline]] uintptr_t AddressOf(const volatile void* p)
{
    uintptr_t Address = reinterpret_cast<uintptr_t>(p);
    asm volatile("" : "+r"(Address) : : "memory");
    return Address;
}

template <class T>
void ExpectAligned(const T* p)
{
    ASSERT_TRUE(p);
    EXPECT_EQ(AddressOf(p) % alignof(T), 0u);
}

// A class-wide operator new would take the place of the one that aligns.
template <class T>
constexpr bool kUsesGlobalNew = !requires
{
    T::operator new(sizeof(T));
}
&&!requires { T::operator new[](sizeof(T)); };

// What the library's pool takes.
template <class T>
struct Pooled : T {
    void Reset() {}
};

template <class T, class... Args>
void MakeFrom(Args... Of)
{
    static_assert(kUsesGlobalNew<T> && alignof(T) > 8);
    const std::unique_ptr<T> One(new T(Of...)), Nothrow(new (std::nothrow) T(Of...)), Made = std::make_unique<T>(Of...);
    const auto Shared = std::make_shared<T>(Of...);
    for (const T* const p : {One.get(), Nothrow.get(), Made.get(), Shared.get()}) ExpectAligned(p);
    for (const size_t Count : {1, 2, 3}) {
        std::allocator<T> Of3;
        T* const p = Of3.allocate(Count);
        ExpectAligned(p);
        Of3.deallocate(p, Count);
    }
}

template <class T>
void Make()
{
    MakeFrom<T>();
    const std::unique_ptr<T[]> Several(new T[3]), MadeSeveral = std::make_unique<T[]>(3);
    for (const T* const p : {Several.get(), MadeSeveral.get()}) ExpectAligned(p);
    ExpectAligned(std::vector<T>(3).data());

    UMC::H264_Heap_Objects<Pooled<T>> Pool;
    Pooled<T>* p = Pool.Allocate();
    ExpectAligned(p);
    Pool.Free(p);
    ExpectAligned(p = Pool.Allocate());
    Pool.Free(p);
}

template <class T>
void ExpectRoomInBlocks()
{
    UMC::DefaultMemoryAllocator Allocator;
    UMC::MemID Mid;
    ASSERT_EQ(Allocator.Alloc(&Mid, sizeof(T), 0, alignof(T)), UMC::StatusOk);
    ExpectAligned(static_cast<const T*>(Allocator.Lock(Mid)));
}

TEST(AlignedTypes, AreAlignedHoweverTheyAreMade)
{
#define ALIGNED_TYPE(...)                                                                                              \
    {                                                                                                                  \
        SCOPED_TRACE(#__VA_ARGS__);                                                                                    \
        Make<__VA_ARGS__>();                                                                                           \
        ExpectRoomInBlocks<__VA_ARGS__>();                                                                             \
    }
#define ALIGNED_TYPE_FROM(Arguments, ...)                                                                              \
    {                                                                                                                  \
        SCOPED_TRACE(#__VA_ARGS__);                                                                                    \
        std::apply([](auto... a) { MakeFrom<__VA_ARGS__>(a...); }, std::tuple Arguments);                              \
        ExpectRoomInBlocks<__VA_ARGS__>();                                                                             \
    }
#define ALIGNED_BASE(...) static_assert(kUsesGlobalNew<__VA_ARGS__> && alignof(__VA_ARGS__) > 8);
#define LOCAL_ALIGNED_TYPE(...)
#include "tests/front/aligned_types.def"
#undef ALIGNED_TYPE
#undef ALIGNED_TYPE_FROM
#undef ALIGNED_BASE
#undef LOCAL_ALIGNED_TYPE
}

#ifdef _WIN32
// Without this the test above shows nothing.
TEST(AlignedTypes, MeetAHeapThatAlignsNoMoreThanTheSystemPromises)
{
    for (const size_t Size : {1, 16, 100, 4096, 1 << 20}) {
        void* const p = std::malloc(Size);
        EXPECT_EQ(AddressOf(p) % 16, 8u);
        void* const pLarger = std::realloc(p, Size + 16);
        EXPECT_EQ(AddressOf(pLarger) % 16, 8u);
        std::free(pLarger);
        const std::unique_ptr<char[]> Bytes(new char[Size]);
        EXPECT_EQ(AddressOf(Bytes.get()) % 16, 8u);
    }
}
#endif

} // namespace
