// Frames of the Media SDK: what each format's memory and planes are, who shares frames, and every status.
#include "intel/SysMemFrameAllocator.h"

#include "intel/SysMemBufferAllocator.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr mfxU16 kEncoder = 0x142; // what the encoder asks for
constexpr mfxU16 kDecoder = MFX_MEMTYPE_EXTERNAL_FRAME | MFX_MEMTYPE_FROM_DECODE | MFX_MEMTYPE_SYSTEM_MEMORY;

mfxFrameAllocRequest Request(mfxU32 FourCC = MFX_FOURCC_NV12, mfxU16 Width = 320, mfxU16 Height = 240,
                             mfxU16 Type = kEncoder, mfxU16 Frames = 2)
{
    mfxFrameAllocRequest r{};
    r.Info.FourCC = FourCC;
    r.Info.Width = Width;
    r.Info.Height = Height;
    r.Info.CropW = Width;
    r.Info.CropH = Height;
    r.Type = Type;
    r.NumFrameSuggested = Frames;
    return r;
}

// Buffers that are watched, and can be told to fail.
class WatchedBuffers : public SysMemBufferAllocator
{
public:
    mfxStatus AllocBuffer(mfxU32 nbytes, mfxU16 type, mfxMemId* mid) override
    {
        Sizes.push_back(nbytes);
        Types.push_back(type);
        if (static_cast<int>(Sizes.size()) == FailAllocAt) return MFX_ERR_MEMORY_ALLOC;
        const mfxStatus Status = SysMemBufferAllocator::AllocBuffer(nbytes, type, mid);
        if (Status == MFX_ERR_NONE) Live.push_back(*mid);
        return Status;
    }
    mfxStatus LockBuffer(mfxMemId mid, mfxU8** ptr) override
    {
        ++Locks;
        return Locks == FailLockAt ? MFX_ERR_LOCK_MEMORY : SysMemBufferAllocator::LockBuffer(mid, ptr);
    }
    mfxStatus UnlockBuffer(mfxMemId mid) override
    {
        ++Unlocks;
        return Unlocks == FailUnlockAt ? MFX_ERR_LOCK_MEMORY : SysMemBufferAllocator::UnlockBuffer(mid);
    }
    mfxStatus FreeBuffer(mfxMemId mid) override
    {
        if (bFailFree) return MFX_ERR_UNKNOWN;
        const mfxStatus Status = SysMemBufferAllocator::FreeBuffer(mid);
        if (Status == MFX_ERR_NONE) std::erase(Live, mid);
        return Status;
    }

    std::vector<mfxU32> Sizes;
    std::vector<mfxU16> Types;
    std::vector<mfxMemId> Live;
    int Locks = 0, Unlocks = 0, FailAllocAt = 0, FailLockAt = 0, FailUnlockAt = 0;
    bool bFailFree = false;
};

class Frames : public testing::Test
{
protected:
    Frames()
    {
        SysMemAllocatorParams Params;
        Params.pBufferAllocator = &m_Buffers;
        EXPECT_EQ(m_Allocator.Init(&Params), MFX_ERR_NONE);
    }

    mfxStatus Alloc(mfxFrameAllocRequest r, mfxFrameAllocResponse& Response)
    {
        return m_Allocator.AllocFrames(&r, &Response);
    }

    WatchedBuffers m_Buffers;
    SysMemFrameAllocator m_Allocator;
};

struct Format {
    mfxU32 FourCC;
    uint64_t Bytes;                         // of a frame of 320 by 240, in memory 320 by 256
    int64_t Plane0, Plane1, Plane2, Plane3; // where the four pointers stand, from the frame's beginning; -1: not set
    mfxU16 Pitch;
};
constexpr int64_t kLuma = 320 * 256;
const Format s_Formats[] = {{MFX_FOURCC_NV12, 122880, 0, kLuma, kLuma + 1, -1, 320},
                            {MFX_FOURCC_YV12, 122880, 0, kLuma + 160 * 128, kLuma, -1, 320},
                            {MFX_FOURCC_YUY2, 163840, 0, 1, 3, -1, 640},
                            {MFX_FOURCC_RGB3, 245760, 2, 1, 0, -1, 960},
                            {MFX_FOURCC_RGB4, 327680, 2, 1, 0, 3, 1280},
                            {MFX_FOURCC_A2RGB10, 327680, 2, 1, 0, 3, 1280},
                            {MFX_FOURCC_R16, 163840, 0, -1, -1, -1, 640},
                            {MFX_FOURCC_P010, 245760, 0, kLuma * 2, kLuma * 2 + 2, -1, 640}};
class FrameFormats : public Frames, public testing::WithParamInterface<Format>
{
};

} // namespace

TEST_P(FrameFormats, HaveTheirBytesAndPlanes)
{
    const Format& f = GetParam();
    mfxFrameAllocResponse Response{};
    ASSERT_EQ(Alloc(Request(f.FourCC), Response), MFX_ERR_NONE);
    ASSERT_EQ(Response.NumFrameActual, 2);
    EXPECT_EQ(m_Buffers.Sizes, (std::vector<mfxU32>(2, static_cast<mfxU32>(f.Bytes + 96))));
    EXPECT_EQ(m_Buffers.Types, (std::vector<mfxU16>(2, kEncoder)));

    mfxU8* pBlock = nullptr;
    ASSERT_EQ(m_Buffers.LockBuffer(Response.mids[1], &pBlock), MFX_ERR_NONE);
    EXPECT_EQ(std::memcmp(pBlock, "FRME", 4), 0);
    const mfxFrameInfo Stored = Request(f.FourCC).Info;
    EXPECT_EQ(std::memcmp(pBlock + 4, &Stored, 68), 0);
    for (int i = 72; i < 96; ++i) EXPECT_EQ(pBlock[i], 0) << i;

    mfxFrameData Data{};
    ASSERT_EQ(m_Allocator.LockFrame(Response.mids[1], &Data), MFX_ERR_NONE);
    const auto Place = [&](const mfxU8* p) { return p ? p - (pBlock + 96) : -1; };
    EXPECT_EQ(Place(Data.Y), f.Plane0);
    EXPECT_EQ(Place(Data.U), f.Plane1);
    EXPECT_EQ(Place(Data.V), f.Plane2);
    EXPECT_EQ(Place(Data.A), f.Plane3);
    EXPECT_EQ(Data.Pitch, f.Pitch);
    EXPECT_EQ(m_Allocator.UnlockFrame(Response.mids[1], &Data), MFX_ERR_NONE);
    EXPECT_TRUE(!Data.Y && !Data.U && !Data.V && !Data.A && Data.Pitch == 0);
    EXPECT_EQ(m_Allocator.UnlockFrame(Response.mids[1], nullptr), MFX_ERR_NONE);
    EXPECT_EQ(m_Allocator.FreeFrames(&Response), MFX_ERR_NONE);
    EXPECT_EQ(Response.mids, nullptr);
    EXPECT_TRUE(m_Buffers.Live.empty());
}
INSTANTIATE_TEST_SUITE_P(All, FrameFormats, testing::ValuesIn(s_Formats));

TEST_F(Frames, SizesAreRoundedUpTo32)
{
    mfxFrameAllocResponse Response{};
    ASSERT_EQ(Alloc(Request(MFX_FOURCC_NV12, 33, 1), Response), MFX_ERR_NONE);
    EXPECT_EQ(m_Buffers.Sizes.front(), 64u * 32 * 3 / 2 + 96);
    mfxFrameData Data{};
    ASSERT_EQ(m_Allocator.LockFrame(Response.mids[0], &Data), MFX_ERR_NONE);
    EXPECT_EQ(Data.Pitch, 64);
    EXPECT_EQ(Data.UV - Data.Y, 64 * 32);
    m_Allocator.FreeFrames(&Response);
}

TEST_F(Frames, AFormatThatIsNotKnownIsRefusedAtBothEnds)
{
    mfxFrameAllocResponse Response{};
    EXPECT_EQ(Alloc(Request(MFX_MAKEFOURCC('I', '4', '2', '0')), Response), MFX_ERR_UNSUPPORTED);
    ASSERT_EQ(Alloc(Request(), Response), MFX_ERR_NONE);
    mfxU8* pBlock = nullptr;
    ASSERT_EQ(m_Buffers.LockBuffer(Response.mids[0], &pBlock), MFX_ERR_NONE);
    std::memcpy(pBlock + 4 + 32, "I420", 4);
    mfxFrameData Data{};
    EXPECT_EQ(m_Allocator.LockFrame(Response.mids[0], &Data), MFX_ERR_UNSUPPORTED);
    EXPECT_EQ(m_Allocator.FreeFrames(&Response), MFX_ERR_NONE);
}

TEST_F(Frames, EachRefusedRequestHasItsStatus)
{
    mfxFrameAllocResponse Response{};
    mfxFrameAllocRequest Good = Request();
    EXPECT_EQ(m_Allocator.AllocFrames(nullptr, &Response), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(m_Allocator.AllocFrames(&Good, nullptr), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Alloc(Request(MFX_FOURCC_NV12, 320, 240, kEncoder, 0), Response), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Alloc(Request(MFX_FOURCC_NV12, 320, 240, 0x42), Response), MFX_ERR_UNSUPPORTED);  // for no codec
    EXPECT_EQ(Alloc(Request(MFX_FOURCC_NV12, 320, 240, 0x102), Response), MFX_ERR_UNSUPPORTED); // not system memory
    EXPECT_EQ(Alloc(Request(MFX_FOURCC_RGB4, 65535, 65535), Response), MFX_ERR_MEMORY_ALLOC);   // beyond 32 bits
    EXPECT_TRUE(m_Buffers.Sizes.empty());
}

TEST_F(Frames, LockingAndUnlockingRefuseWhatIsNoFrame)
{
    mfxFrameData Data{};
    mfxHDL Handle = nullptr;
    mfxMemId mid = nullptr;
    ASSERT_EQ(m_Buffers.AllocBuffer(200, kEncoder, &mid), MFX_ERR_NONE);
    EXPECT_EQ(m_Allocator.LockFrame(mid, nullptr), MFX_ERR_NULL_PTR);
    EXPECT_EQ(m_Allocator.LockFrame(nullptr, &Data), MFX_ERR_INVALID_HANDLE);
    const int Unlocks = m_Buffers.Unlocks;
    EXPECT_EQ(m_Allocator.LockFrame(mid, &Data), MFX_ERR_INVALID_HANDLE); // a buffer, and unlocked again
    EXPECT_EQ(m_Buffers.Unlocks, Unlocks + 1);
    EXPECT_EQ(m_Allocator.UnlockFrame(nullptr, &Data), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.GetFrameHDL(mid, &Handle), MFX_ERR_UNSUPPORTED);
    m_Buffers.FreeBuffer(mid);
}

TEST_F(Frames, ALockThatFailsBelowIsTold)
{
    mfxFrameAllocResponse Response{};
    ASSERT_EQ(Alloc(Request(), Response), MFX_ERR_NONE);
    mfxFrameData Data{};
    m_Buffers.FailLockAt = m_Buffers.Locks + 1;
    EXPECT_EQ(m_Allocator.LockFrame(Response.mids[0], &Data), MFX_ERR_LOCK_MEMORY);
    Data.Pitch = 7;
    m_Buffers.FailUnlockAt = m_Buffers.Unlocks + 1;
    EXPECT_EQ(m_Allocator.UnlockFrame(Response.mids[0], &Data), MFX_ERR_LOCK_MEMORY);
    EXPECT_EQ(Data.Pitch, 7);
    m_Allocator.FreeFrames(&Response);
}

TEST_F(Frames, AnEncodersFramesAreNotShared)
{
    mfxFrameAllocResponse First{}, Second{};
    ASSERT_EQ(Alloc(Request(), First), MFX_ERR_NONE);
    ASSERT_EQ(Alloc(Request(), Second), MFX_ERR_NONE);
    EXPECT_NE(First.mids, Second.mids);
    EXPECT_EQ(m_Buffers.Live.size(), 4u);
    EXPECT_EQ(m_Allocator.FreeFrames(&First), MFX_ERR_NONE);
    EXPECT_EQ(m_Buffers.Live.size(), 2u);
    EXPECT_EQ(m_Allocator.FreeFrames(&Second), MFX_ERR_NONE);
    EXPECT_EQ(m_Allocator.FreeFrames(&Second), MFX_ERR_INVALID_HANDLE); // not listed any more
}

TEST_F(Frames, ADecodersFramesAreSharedByTheSameCropAndType)
{
    mfxFrameAllocResponse First{}, Second{}, More{}, Other{}, OtherType{};
    const auto Ask = [&](mfxU16 Width, mfxU16 Height, mfxU16 Type, mfxU16 Count, mfxFrameAllocResponse& Out) {
        return Alloc(Request(MFX_FOURCC_NV12, Width, Height, Type, Count), Out);
    };
    ASSERT_EQ(Ask(64, 48, kDecoder, 3, First), MFX_ERR_NONE);
    EXPECT_EQ(Ask(64, 48, kDecoder, 2, Second), MFX_ERR_NONE);
    EXPECT_EQ(Second.mids, First.mids);
    EXPECT_EQ(Second.NumFrameActual, 3);
    EXPECT_EQ(Ask(64, 48, kDecoder, 4, More), MFX_ERR_MEMORY_ALLOC); // more than there are
    EXPECT_EQ(Ask(64, 32, kDecoder, 1, Other), MFX_ERR_NONE);
    EXPECT_NE(Other.mids, First.mids);
    EXPECT_EQ(Ask(64, 48, kDecoder | MFX_MEMTYPE_FROM_VPPIN, 1, OtherType), MFX_ERR_NONE);
    EXPECT_NE(OtherType.mids, First.mids);
    EXPECT_EQ(m_Buffers.Live.size(), 5u);

    EXPECT_EQ(m_Allocator.FreeFrames(&First), MFX_ERR_NONE);
    EXPECT_EQ(m_Buffers.Live.size(), 5u); // the second owner is left
    EXPECT_EQ(m_Allocator.FreeFrames(&Second), MFX_ERR_NONE);
    EXPECT_EQ(m_Buffers.Live.size(), 2u);
    EXPECT_EQ(m_Allocator.FreeFrames(&Other), MFX_ERR_NONE);
    EXPECT_EQ(m_Allocator.FreeFrames(&OtherType), MFX_ERR_NONE);
    EXPECT_TRUE(m_Buffers.Live.empty());
}

TEST_F(Frames, ADecodersInternalFramesAreNotShared)
{
    mfxFrameAllocResponse First{}, Second{};
    constexpr mfxU16 kType = MFX_MEMTYPE_FROM_DECODE | MFX_MEMTYPE_SYSTEM_MEMORY | MFX_MEMTYPE_INTERNAL_FRAME;
    ASSERT_EQ(Alloc(Request(MFX_FOURCC_NV12, 64, 48, kType), First), MFX_ERR_NONE);
    ASSERT_EQ(Alloc(Request(MFX_FOURCC_NV12, 64, 48, kType), Second), MFX_ERR_NONE);
    EXPECT_NE(First.mids, Second.mids);
}

TEST_F(Frames, FreeingRefusesWhatIsNotListed)
{
    mfxFrameAllocResponse Foreign{};
    mfxMemId Ids[1] = {};
    Foreign.mids = Ids;
    Foreign.NumFrameActual = 1;
    EXPECT_EQ(m_Allocator.FreeFrames(nullptr), MFX_ERR_INVALID_HANDLE);
    EXPECT_EQ(m_Allocator.FreeFrames(&Foreign), MFX_ERR_INVALID_HANDLE);
}

TEST_F(Frames, TheFirstBufferThatCannotBeFreedEndsTheRelease)
{
    for (const mfxU16 Type : {kEncoder, kDecoder}) {
        mfxFrameAllocResponse Response{};
        ASSERT_EQ(Alloc(Request(MFX_FOURCC_NV12, 64, 48, Type), Response), MFX_ERR_NONE);
        const mfxFrameAllocResponse Kept = Response;
        m_Buffers.bFailFree = true;
        EXPECT_EQ(m_Allocator.FreeFrames(&Response), MFX_ERR_UNKNOWN);
        EXPECT_EQ(Response.mids, Kept.mids);
        EXPECT_EQ(m_Allocator.FreeFrames(&Response), MFX_ERR_INVALID_HANDLE); // erased all the same
        m_Buffers.bFailFree = false;
        for (int i = 0; i < 2; ++i) m_Buffers.FreeBuffer(Kept.mids[i]);
        delete[] Kept.mids;
    }
}

// Deliberate: the array of ids goes, the frames that had been made stay.
TEST_F(Frames, TooFewFramesAreLeftBehind)
{
    const auto FreeAll = [&] {
        while (!m_Buffers.Live.empty()) m_Buffers.FreeBuffer(m_Buffers.Live.back());
    };
    const auto Ask = [&](size_t LeftBehind) {
        mfxFrameAllocResponse Response{};
        EXPECT_EQ(Alloc(Request(MFX_FOURCC_NV12, 64, 48, kEncoder, 3), Response), MFX_ERR_MEMORY_ALLOC);
        EXPECT_EQ(m_Buffers.Live.size(), LeftBehind);
        EXPECT_EQ(Response.mids, nullptr);
        EXPECT_EQ(m_Allocator.FreeFrames(&Response), MFX_ERR_INVALID_HANDLE);
        FreeAll();
    };
    m_Buffers.FailAllocAt = static_cast<int>(m_Buffers.Sizes.size()) + 3;
    Ask(2);
    m_Buffers.FailAllocAt = 0;
    m_Buffers.FailLockAt = m_Buffers.Locks + 2;
    Ask(2);
    m_Buffers.FailUnlockAt = m_Buffers.Unlocks + 1;
    Ask(1);
}

TEST_F(Frames, ClosingGivesBackAllThatIsListed)
{
    mfxFrameAllocResponse First{}, Second{};
    ASSERT_EQ(Alloc(Request(), First), MFX_ERR_NONE);
    ASSERT_EQ(Alloc(Request(MFX_FOURCC_NV12, 64, 48, kDecoder), Second), MFX_ERR_NONE);
    EXPECT_EQ(m_Allocator.Close(), MFX_ERR_NONE);
    EXPECT_TRUE(m_Buffers.Live.empty());
    EXPECT_EQ(m_Allocator.FreeFrames(&First), MFX_ERR_INVALID_HANDLE);
}

TEST(FrameAllocator, BeforeInitNothingWorks)
{
    SysMemFrameAllocator Allocator;
    mfxFrameAllocRequest r = Request();
    mfxFrameAllocResponse Response{};
    mfxFrameData Data{};
    EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_NOT_INITIALIZED);
    EXPECT_EQ(Allocator.LockFrame(nullptr, &Data), MFX_ERR_NOT_INITIALIZED);
    EXPECT_EQ(Allocator.UnlockFrame(nullptr, &Data), MFX_ERR_NOT_INITIALIZED);
    EXPECT_EQ(Allocator.Close(), MFX_ERR_NONE);
}

TEST(FrameAllocator, ClosedItHasNoBuffersOfItsOwnUntilTheNextInit)
{
    SysMemFrameAllocator Allocator;
    mfxFrameAllocRequest r = Request();
    mfxFrameAllocResponse Response{};
    ASSERT_EQ(Allocator.Init(nullptr), MFX_ERR_NONE);
    EXPECT_EQ(Allocator.Close(), MFX_ERR_NONE);
    EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_NOT_INITIALIZED);
    ASSERT_EQ(Allocator.Init(nullptr), MFX_ERR_NONE);
    EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_NONE);
}

TEST(FrameAllocator, MakesItsOwnBuffersOrTakesThoseNamed)
{
    const FailingAllocation Held(0);
    {
        WatchedBuffers Named;
        SysMemFrameAllocator Allocator;
        SysMemAllocatorParams Params;
        struct : mfxAllocatorParams {
        } Foreign;
        mfxFrameAllocRequest r = Request();
        mfxFrameAllocResponse Response{};
        EXPECT_EQ(Allocator.Init(&Foreign), MFX_ERR_NOT_INITIALIZED); // of another kind
        EXPECT_EQ(Allocator.Init(nullptr), MFX_ERR_NONE);
        EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_NONE);
        Params.pBufferAllocator = &Named;
        EXPECT_EQ(Allocator.Init(&Params), MFX_ERR_NONE); // what stood before is given back
        EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_NONE);
        EXPECT_EQ(Named.Live.size(), 2u);
        Params.pBufferAllocator = nullptr; // one of its own again
        EXPECT_EQ(Allocator.Init(&Params), MFX_ERR_NONE);
        EXPECT_TRUE(Named.Live.empty());
        EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_NONE);
    }
    EXPECT_EQ(Held.BlocksHeld(), 0);
}

TEST(FrameAllocator, WithoutMemoryAnswersItsStatus)
{
    SysMemFrameAllocator NoBuffers;
    {
        const FailingAllocation Fail(1);
        EXPECT_EQ(NoBuffers.Init(nullptr), MFX_ERR_MEMORY_ALLOC);
    }
    for (const mfxU16 Type : {kEncoder, kDecoder})
        for (size_t n = 1; n <= 2; ++n) { // the entry of the list, the array of ids
            SysMemFrameAllocator Allocator;
            ASSERT_EQ(Allocator.Init(nullptr), MFX_ERR_NONE);
            mfxFrameAllocRequest r = Request(MFX_FOURCC_NV12, 64, 48, Type);
            mfxFrameAllocResponse Response{};
            const FailingAllocation Fail(n);
            EXPECT_EQ(Allocator.AllocFrames(&r, &Response), MFX_ERR_MEMORY_ALLOC);
            EXPECT_TRUE(Fail.Failed());
            EXPECT_EQ(Fail.BlocksHeld(), 0) << n;
        }
}

TEST_F(Frames, TheTableCallsTheClass)
{
    mfxFrameAllocator& Table = m_Allocator;
    mfxFrameAllocRequest r = Request();
    mfxFrameAllocResponse Response{};
    mfxFrameData Data{};
    mfxHDL Handle = nullptr;
    ASSERT_EQ(Table.Alloc(Table.pthis, &r, &Response), MFX_ERR_NONE);
    EXPECT_EQ(Table.Lock(Table.pthis, Response.mids[0], &Data), MFX_ERR_NONE);
    EXPECT_EQ(Data.Pitch, 320);
    EXPECT_EQ(Table.Unlock(Table.pthis, Response.mids[0], &Data), MFX_ERR_NONE);
    EXPECT_EQ(Data.Pitch, 0);
    EXPECT_EQ(Table.GetHDL(Table.pthis, Response.mids[0], &Handle), MFX_ERR_UNSUPPORTED);
    EXPECT_EQ(Table.Free(Table.pthis, &Response), MFX_ERR_NONE);
    EXPECT_TRUE(m_Buffers.Live.empty());
}

TEST_F(Frames, TheTableRefusesANullThis)
{
    const mfxFrameAllocator& Table = m_Allocator;
    mfxFrameAllocRequest r = Request();
    mfxFrameAllocResponse Response{};
    EXPECT_EQ(Table.Alloc(nullptr, &r, &Response), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.Lock(nullptr, nullptr, nullptr), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.Unlock(nullptr, nullptr, nullptr), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.GetHDL(nullptr, nullptr, nullptr), MFX_ERR_MEMORY_ALLOC);
    EXPECT_EQ(Table.Free(nullptr, &Response), MFX_ERR_MEMORY_ALLOC);
}
