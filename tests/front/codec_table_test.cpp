// The eleven slots of IVCodec in the order that a client of another compiler knows, called through the bare table.
#include "front/VCodec_H264.h"
#include "tests/support/interface_slots.h"
#include "tests/support/raw_table.h"
#include "tools/common/camera_scene.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <type_traits>
#include <vector>

namespace {

static_assert(!std::is_destructible_v<IVCodec>); // a client that says `delete` does not compile

constexpr FrameSize kSize{64, 48};

constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};

// Tells the two tags apart, which the software engine's do not, and counts what becomes of it.
class TaggedCodec : public CVCodec_H264
{
public:
    TaggedCodec() = default;
    ~TaggedCodec() override { ++s_Destroyed; }
    uint32_t GetBackendTag() override { return kBackendAmd; }

    static void operator delete(void* p)
    {
        ++s_Freed;
        ::operator delete(p);
    }

    static inline int s_Destroyed = 0, s_Freed = 0;
};

void* New() { return static_cast<IVCodec*>(new TaggedCodec); }

// An object whose memory is not its own.
class PlacedCodec
{
public:
    void* Get() { return m_pCodec; }

private:
    alignas(TaggedCodec) std::byte m_Place[sizeof(TaggedCodec)];
    IVCodec* m_pCodec = ::new (m_Place) TaggedCodec;
};

struct CodecTable : testing::Test {
    CodecTable() { TaggedCodec::s_Destroyed = TaggedCodec::s_Freed = 0; }
    int Destroyed() const { return TaggedCodec::s_Destroyed; }
    int Freed() const { return TaggedCodec::s_Freed; }
};

bool InitBothSides(void* p)
{
    return CallSlot<int32_t>(p, kInitEncoder, kSize.Width, kSize.Height, 15, 75, 100) == 1 &&
           CallSlot<int32_t>(p, kInitDecoder, kSize.Width, kSize.Height) == 1;
}

} // namespace

TEST_F(CodecTable, TagsCountsAndResetAnswerInTheirSlots)
{
    void* const p = New();
    EXPECT_EQ(CallSlot<uint32_t>(p, kGetFamilyTag), 0x495050u);
    EXPECT_EQ(CallSlot<uint32_t>(p, kGetBackendTag), 0x414D44u);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecAddRef), 2);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecAddRef), 3);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecRelease), 2);
    EXPECT_EQ(CallSlot<int32_t>(p, kReset), 0);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecRelease), 1);
    EXPECT_EQ(Destroyed(), 0);
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecRelease), 0);
    EXPECT_EQ(Destroyed(), 1);
    EXPECT_EQ(Freed(), 1);
}

TEST_F(CodecTable, APictureGoesThroughTheSlotsOfBothSides)
{
    void *const pEncoder = New(), *const pDecoder = New();
    ASSERT_EQ(CallSlot<int32_t>(pEncoder, kInitEncoder, kSize.Width, kSize.Height, 15, 75, 100), 1);
    ASSERT_EQ(CallSlot<int32_t>(pDecoder, kInitDecoder, kSize.Width, kSize.Height), 1);

    std::vector<uint8_t> Source, Unit(kSize.LumaBytes() * 3), Picture(kSize.LumaBytes() * 3 / 2);
    CameraScene(kSize, 15).Render(0, Source);
    int32_t Length = -7, Type = -7;
    const auto Encode = [&](int32_t bForceKey) {
        return CallSlot<int32_t>(pEncoder, kEncode, Source.data(), Unit.data(), &Length, bForceKey, &Type);
    };
    const auto Decode = [&](const uint8_t* pBytes, int32_t Bytes) {
        return CallSlot<int32_t>(pDecoder, kDecode, pBytes, Bytes, Picture.data(), &Type);
    };
    ASSERT_EQ(Encode(0), 1);
    EXPECT_EQ(Type, kFrameI);
    ASSERT_GT(Length, 0);
    Type = -7;
    EXPECT_EQ(Decode(Unit.data(), Length), 1); // the stand-in
    EXPECT_EQ(Type, -7);
    EXPECT_EQ(Decode(kDelimiter, sizeof kDelimiter), 1);
    EXPECT_EQ(Type, kFrameI);
    EXPECT_NE(Picture, std::vector<uint8_t>(Picture.size(), Picture[0]));

    EXPECT_EQ(Encode(0), 1);
    EXPECT_EQ(Type, kFrameP);
    EXPECT_EQ(Encode(1), 1);
    EXPECT_EQ(Type, kFrameI);
    EXPECT_EQ(CallSlot<int32_t>(pEncoder, kSetBitrate, 0), 0);
    EXPECT_EQ(Encode(0), 1);
    EXPECT_EQ(Type, kFrameP);
    EXPECT_EQ(CallSlot<int32_t>(pEncoder, kSetBitrate, 50), 1);
    EXPECT_EQ(Encode(0), 1);
    EXPECT_EQ(Type, kFrameI); // a new stream

    EXPECT_EQ(CallSlot<int32_t>(pEncoder, kCodecRelease), 0);
    EXPECT_EQ(CallSlot<int32_t>(pDecoder, kCodecRelease), 0);
}

TEST_F(CodecTable, SlotZeroWithTheFlagTearsDownAndFrees)
{
    void* const p = New();
    ASSERT_TRUE(InitBothSides(p));
    EXPECT_EQ(CallSlot<void*>(p, kCodecDestroy, 1u), p); // the leak checker watches
    EXPECT_EQ(Destroyed(), 1);
    EXPECT_EQ(Freed(), 1);
}

TEST_F(CodecTable, SlotZeroWithoutTheFlagTearsDownAndLeavesTheMemory)
{
    PlacedCodec Placed;
    void* const p = Placed.Get();
    ASSERT_TRUE(InitBothSides(p));
    EXPECT_EQ(CallSlot<void*>(p, kCodecDestroy, 0u), p);
    EXPECT_EQ(Destroyed(), 1);
    EXPECT_EQ(Freed(), 0);
}

TEST_F(CodecTable, OnlyTheLowestFlagOfSlotZeroFrees)
{
    PlacedCodec Placed;
    void *const pPlaced = Placed.Get(), *const p = New();
    EXPECT_EQ(CallSlot<void*>(pPlaced, kCodecDestroy, 0xFFFFFFFEu), pPlaced);
    EXPECT_EQ(Freed(), 0);
    EXPECT_EQ(CallSlot<void*>(p, kCodecDestroy, 0xFFFFFFFFu), p);
    EXPECT_EQ(Freed(), 1);
    EXPECT_EQ(Destroyed(), 2);
}

TEST_F(CodecTable, ReleaseTearsBothSidesDown)
{
    void* const p = New();
    ASSERT_TRUE(InitBothSides(p));
    EXPECT_EQ(CallSlot<int32_t>(p, kCodecRelease), 0); // the leak checker watches
    EXPECT_EQ(Destroyed(), 1);
    EXPECT_EQ(Freed(), 1);
}
