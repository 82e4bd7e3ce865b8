// Decodes one flood and prints what it cost in memory, and what the rule allows it: flood_driver NAME [COUNT]. Without
// a name it lists the floods with their counts. Instructions are counted from outside, over DecodeFlood.
#include "tests/decoder/floods.h"
#include "tools/h264_decode/stream_decoder.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>

extern "C" {
void* __real_malloc(size_t Size);
void* __real_calloc(size_t Count, size_t Size);
void* __real_realloc(void* p, size_t Size);
void* __real_aligned_alloc(size_t Alignment, size_t Size);
void __real_free(void* p);
void* __wrap_malloc(size_t Size);
void* __wrap_calloc(size_t Count, size_t Size);
void* __wrap_realloc(void* p, size_t Size);
void* __wrap_aligned_alloc(size_t Alignment, size_t Size);
void __wrap_free(void* p);
void DecodeFlood(tools::StreamDecoder& Decoder, const test::Bytes& Stream);
}

namespace {

size_t s_Live = 0, s_Peak = 0; // bytes; the program has one thread

void* Taken(void* p)
{
    s_Live += p ? malloc_usable_size(p) : 0;
    s_Peak = std::max(s_Peak, s_Live);
    return p;
}
void* Left(void* p)
{
    s_Live -= p ? malloc_usable_size(p) : 0;
    return p;
}

} // namespace

void* __wrap_malloc(size_t Size) { return Taken(__real_malloc(Size)); }
void* __wrap_calloc(size_t Count, size_t Size) { return Taken(__real_calloc(Count, Size)); }
void* __wrap_realloc(void* p, size_t Size) { return Taken(__real_realloc(Left(p), Size)); }
void* __wrap_aligned_alloc(size_t Alignment, size_t Size) { return Taken(__real_aligned_alloc(Alignment, Size)); }
void __wrap_free(void* p) { __real_free(Left(p)); }

void* operator new(size_t Size)
{
    if (void* const p = __wrap_malloc(Size)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t Size, std::align_val_t Alignment)
{
    const auto a = static_cast<size_t>(Alignment);
    if (void* const p = __wrap_aligned_alloc(a, (Size + a - 1) / a * a)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t Size, const std::nothrow_t&) noexcept { return __wrap_malloc(Size); }
void* operator new[](size_t Size, const std::nothrow_t&) noexcept { return __wrap_malloc(Size); }
void* operator new[](size_t Size) { return operator new(Size); }
void operator delete(void* p) noexcept { __wrap_free(p); }
void operator delete(void* p, size_t) noexcept { __wrap_free(p); }
void operator delete(void* p, std::align_val_t) noexcept { __wrap_free(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { __wrap_free(p); }
void operator delete[](void* p) noexcept { __wrap_free(p); }
void operator delete[](void* p, size_t) noexcept { __wrap_free(p); }

[[gnu::noinline]] void DecodeFlood(tools::StreamDecoder& Decoder, const test::Bytes& Stream)
{
    Decoder.Feed(Stream);
    Decoder.Drain();
}

namespace {

test::Flood MakeFlood(const std::string& Name, int Argc, char** Argv)
{
    for (const test::FloodKind& Kind : test::AllFloods())
        if (Name == Kind.Name) return Kind.Make(Argc > 2 ? static_cast<uint32_t>(std::atoi(Argv[2])) : Kind.Count);
    if (Name == "36864 slices") return test::OneMacroblockSlices();
    if (Name == "100000 slices") return test::TooManySlices();
    if (Name == "90000 macroblocks") return test::TooLargePicture();
    if (Name == "largest parameter sets") return test::LargestParameterSets();
    if (Name == "long slices") return test::LongSlices();
    if (Name == "lists of their own") return test::ListsOfTheirOwn();
    if (Name == "many sizes") return test::ManySizes();
    if (Name == "a small size behind a large one") return test::SmallBehindLarge();
    throw std::runtime_error("no flood named " + Name);
}

} // namespace

int main(int Argc, char** Argv)
try {
    if (Argc < 2) {
        for (const test::FloodKind& Kind : test::AllFloods()) std::printf("%u %s\n", Kind.Count, Kind.Name);
        return 0;
    }
    const test::Flood Flood = MakeFlood(Argv[1], Argc, Argv);
    int Pictures = 0;
    const size_t Before = s_Live;
    s_Peak = s_Live;
    {
        tools::StreamDecoder Decoder([&](const UMC::VideoData&) { ++Pictures; }, 1, false);
        DecodeFlood(Decoder, Flood.Stream);
        std::printf("{\"bytes\": %zu, \"macroblocks\": %llu, \"pictures\": %d, \"peak\": %zu, \"left\": %zu}\n",
                    Flood.Stream.size(), static_cast<unsigned long long>(Flood.Macroblocks), Pictures, s_Peak - Before,
                    s_Live - Before);
    }
    return 0;
} catch (const std::exception& e) {
    std::fprintf(stderr, "flood_driver: %s\n", e.what());
    return 1;
}
