// In the steady state a picture costs no allocation.
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int64_t> s_Allocations{0};

void* Allocate(size_t Size) noexcept
{
    ++s_Allocations;
    return std::malloc(Size ? Size : 1);
}

void* AllocateOrThrow(size_t Size)
{
    if (void* const p = Allocate(Size)) return p;
    throw std::bad_alloc();
}

} // namespace

void* operator new(size_t Size) { return AllocateOrThrow(Size); }
void* operator new[](size_t Size) { return AllocateOrThrow(Size); }
void* operator new(size_t Size, const std::nothrow_t&) noexcept { return Allocate(Size); }
void* operator new[](size_t Size, const std::nothrow_t&) noexcept { return Allocate(Size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace {

using namespace encoder_testing;

TEST(SteadyState, APictureCostsNoAllocation)
{
    UMC::H264EncoderParams p = SizedParams(176, 144);
    p.num_slices = 2;
    p.key_frame_interval = 4;
    p.idr_interval = 1;
    UMC::H264VideoEncoder e;
    ASSERT_EQ(e.Init(&p), UMC::StatusOk);
    auto Clip = MakeClip(Scene::Mixed, 176, 144, 12);
    UMC::VideoData Input;
    Input.Init(176, 144, UMC::YUV420, 8);
    UMC::MediaData Output(1 << 20);
    int64_t Before = 0;
    for (size_t i = 0; i < Clip.size(); ++i) {
        if (i == 3) Before = s_Allocations;
        Input.SetBufferPointer(Clip[i].data(), Clip[i].size());
        Input.SetTime(static_cast<double>(i));
        Output.Reset();
        const UMC::Status s = e.GetFrame(&Input, &Output);
        if (s != UMC::StatusOk) FAIL() << s;
    }
    EXPECT_EQ(s_Allocations - Before, 0);
}

} // namespace
