// The seventeen slots of IVideoProcess in the order that a client of another compiler knows, called through the bare
// table.
#include "quilvex/Quilvex.h"
#include "tests/process/video_process_fixture.h"
#include "tests/support/interface_slots.h"
#include "tests/support/raw_table.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <type_traits>

namespace {

static_assert(!std::is_destructible_v<IVideoProcess>);

class CountedProcess : public OpenProcess
{
public:
    ~CountedProcess() override { ++s_Destroyed; }
    static void* operator new(size_t Size) { return ::operator new(Size); }
    static void* operator new(size_t, void* pPlace) { return pPlace; }
    static void operator delete(void* p)
    {
        ++s_Freed;
        ::operator delete(p);
    }

    static inline int s_Destroyed = 0, s_Freed = 0;
};

class VideoProcessTable : public testing::Test
{
protected:
    VideoProcessTable() { CountedProcess::s_Destroyed = CountedProcess::s_Freed = 0; }
    void TearDown() override { EXPECT_EQ(CallSlot<int32_t>(p, kProcessRelease), 0); }
    int32_t Treat(RgbPicture& Picture)
    {
        return CallSlot<int32_t>(p, kProcessFrame, Picture.Width, Picture.Height, Picture.Bytes.data(), Picture.Pitch);
    }

    void* const p = CreateVideoProcess();
};

// Keying, smoothing and brightness at work: all buffers exist.
void UseEverything(void* p)
{
    RgbPicture Frame = Solid(32, 16, {69, 250, 92});
    CallSlot<int32_t>(p, kSetKeyingEnabled, 1);
    CallSlot<int32_t>(p, kSetSmoothingEnabled, 1);
    CallSlot<int32_t>(p, kSetBrightness, 0.5f);
    CallSlot<int32_t>(p, kSetBackgroundImage, 32, 16, static_cast<const uint8_t*>(Frame.Bytes.data()), Frame.Pitch);
    CallSlot<int32_t>(p, kProcessFrame, 32, 16, Frame.Bytes.data(), Frame.Pitch);
}

} // namespace

TEST_F(VideoProcessTable, CountsAnswerInTheirSlots)
{
    EXPECT_EQ(CallSlot<int32_t>(p, kProcessAddRef), 2);
    EXPECT_EQ(CallSlot<int32_t>(p, kProcessAddRef), 3);
    EXPECT_EQ(CallSlot<int32_t>(p, kProcessRelease), 2);
    EXPECT_EQ(CallSlot<int32_t>(p, kProcessRelease), 1);
}

TEST_F(VideoProcessTable, EverySettingIsReadBackThroughItsOwnSlot)
{
    EXPECT_EQ(CallSlot<int32_t>(p, kSetKeyingEnabled, 3), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kSetSmoothingEnabled, 5), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kSetKeyDistance, 47), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kSetBrightness, 0.125f), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kGetKeyingEnabled), 3);
    EXPECT_EQ(CallSlot<int32_t>(p, kGetSmoothingEnabled), 5);
    EXPECT_EQ(CallSlot<float>(p, kGetBrightness), 0.125f);
    int32_t Distance = 0, Default = 0;
    EXPECT_EQ(CallSlot<int32_t>(p, kGetKeyDistance, &Distance), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kGetDefaultKeyDistance, &Default), 1);
    EXPECT_EQ(Distance, 47);
    EXPECT_EQ(Default, 60);
}

// A caller may leave anything in the upper bits of an argument of 8 bits.
TEST_F(VideoProcessTable, KeyColoursAreEightBitsOfTheirArguments)
{
    EXPECT_EQ(CallSlot<int32_t>(p, kSetKeyColor, 0xDEADBE11u, 0xFFFFFF22u, 0x12345633u), 1);
    uint8_t Color[5] = {0xEE, 0, 0, 0, 0xEE}, Default[3] = {};
    EXPECT_EQ(CallSlot<int32_t>(p, kGetKeyColor, &Color[1], &Color[2], &Color[3]), 1);
    EXPECT_EQ(std::vector<uint8_t>(Color, Color + 5), (std::vector<uint8_t>{0xEE, 0x11, 0x22, 0x33, 0xEE}));
    EXPECT_EQ(CallSlot<int32_t>(p, kGetDefaultKeyColor, &Default[0], &Default[1], &Default[2]), 1);
    EXPECT_EQ(std::vector<uint8_t>(Default, Default + 3), (std::vector<uint8_t>{69, 250, 92}));
}

TEST_F(VideoProcessTable, AKeyedFrameShowsTheBackground)
{
    RgbPicture Frame = Solid(32, 16, {69, 250, 92});
    const RgbPicture Background = Solid(32, 16, {200, 10, 30});
    EXPECT_EQ(CallSlot<int32_t>(p, kSetBackgroundImage, 32, 16, static_cast<const uint8_t*>(nullptr), 96), 0);
    EXPECT_EQ(CallSlot<int32_t>(p, kSetBackgroundImage, 32, 16, Background.Bytes.data(), Background.Pitch), 1);
    EXPECT_EQ(CallSlot<int32_t>(p, kSetKeyingEnabled, 1), 1);
    EXPECT_EQ(Treat(Frame), 1);
    EXPECT_EQ(Frame, Background);
}

TEST_F(VideoProcessTable, SlotZeroWithTheFlagDestroysAndFrees)
{
    void* const pOwn = static_cast<IVideoProcess*>(new CountedProcess);
    UseEverything(pOwn);
    EXPECT_EQ(CallSlot<void*>(pOwn, kProcessDestroy, 1u), pOwn); // the leak checker watches the buffers
    EXPECT_EQ(CountedProcess::s_Destroyed, 1);
    EXPECT_EQ(CountedProcess::s_Freed, 1);
}

TEST_F(VideoProcessTable, SlotZeroWithoutTheFlagLeavesTheMemory)
{
    alignas(CountedProcess) std::byte Place[sizeof(CountedProcess)];
    void* const pPlaced = static_cast<IVideoProcess*>(new (Place) CountedProcess);
    UseEverything(pPlaced);
    EXPECT_EQ(CallSlot<void*>(pPlaced, kProcessDestroy, 0xFFFFFFFEu), pPlaced);
    EXPECT_EQ(CountedProcess::s_Destroyed, 1);
    EXPECT_EQ(CountedProcess::s_Freed, 0);
}

TEST_F(VideoProcessTable, ReleaseDestroysOnce)
{
    void* const pOwn = static_cast<IVideoProcess*>(new CountedProcess);
    UseEverything(pOwn);
    EXPECT_EQ(CallSlot<int32_t>(pOwn, kProcessAddRef), 2);
    EXPECT_EQ(CallSlot<int32_t>(pOwn, kProcessRelease), 1);
    EXPECT_EQ(CountedProcess::s_Destroyed, 0);
    EXPECT_EQ(CallSlot<int32_t>(pOwn, kProcessRelease), 0);
    EXPECT_EQ(CountedProcess::s_Destroyed, 1);
    EXPECT_EQ(CountedProcess::s_Freed, 1);
}
