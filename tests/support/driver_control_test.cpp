// The substitutes' shared part: what a script makes of a call, the trace, the ledger, and the codec inside.
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/drivers/stand_in_codec.h"
#include "tests/support/failing_allocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DriverControl, ACallGoesOnUnlessTheScriptSaysOtherwise)
{
    DriverScript Script;
    Script.Answer("open", 7, 2);
    int64_t Status = -1;
    EXPECT_EQ(DriverEnter("open", &Status), 1);
    EXPECT_EQ(DriverEnter("open", &Status), 0);
    EXPECT_EQ(Status, 7);
    EXPECT_EQ(DriverEnter("open", &Status), 1);
    Script.Answer("open", 9);
    EXPECT_EQ(DriverEnter("open", &Status), 0);
    EXPECT_EQ(Status, 9);
    EXPECT_EQ(Script.Calls("open"), 4);
    EXPECT_EQ(Script.Calls("close"), 0);
}

TEST(DriverControl, TheTraceHasALineForACallAndTheFieldsOfEachThread)
{
    DriverScript Script;
    int64_t Status;
    DriverEnter("open", &Status);
    std::thread([] {
        int64_t Unused;
        DriverEnter("other", &Unused);
        DriverField("n", 3);
    }).join();
    DriverField("width", 320);
    DriverText("name", "a b");
    EXPECT_THAT(Script.Trace(), ElementsAre("open width=320 name=a b", "other n=3"));
    EXPECT_THAT(Script.Trace("open "), ElementsAre("open width=320 name=a b"));
    EXPECT_THAT(Script.Operations(), ElementsAre("open", "other"));
}

TEST(DriverControl, SettingsAreGivenInTurnAndTheLastAgain)
{
    DriverScript Script;
    EXPECT_EQ(DriverSetting("count", 5), 5);
    Script.Set("count", 1, 2);
    EXPECT_EQ(DriverSetting("count", 5), 1);
    EXPECT_EQ(DriverSetting("count", 5), 2);
    EXPECT_EQ(DriverSetting("count", 5), 2);
}

TEST(DriverControl, TheLedgerKnowsWhatIsOpenAndWhatIsMisused)
{
    DriverScript Script;
    auto* const pHandle = static_cast<uint8_t*>(DriverOpen("context", 4));
    EXPECT_EQ(pHandle[3], 0);
    EXPECT_EQ(Script.Live("context"), 1);
    EXPECT_EQ(Script.Live(), 1);
    EXPECT_EQ(DriverUse("context", pHandle), 1);
    EXPECT_EQ(DriverUse("surface", pHandle), 0);
    EXPECT_EQ(DriverClose("context", pHandle), 1);
    EXPECT_EQ(pHandle[3], 0xDD);
    EXPECT_EQ(Script.Live(), 0);
    EXPECT_EQ(DriverUse("context", pHandle), 0);
    EXPECT_EQ(DriverClose("context", pHandle), 0);
    EXPECT_THAT(Script.Misuses(), ElementsAre("no surface", "closed context", "closed context"));
}

TEST(DriverControl, WhatIsCurrentIsAThreadsOwn)
{
    DriverScript Script;
    int Context = 0;
    EXPECT_EQ(DriverCurrent("context"), nullptr);
    DriverSetCurrent("context", &Context);
    EXPECT_EQ(DriverCurrent("context"), &Context);
    EXPECT_EQ(DriverCurrent("surface"), nullptr);
    std::thread([] { EXPECT_EQ(DriverCurrent("context"), nullptr); }).join();
    DriverReset();
    EXPECT_EQ(DriverCurrent("context"), nullptr);
}

TEST(DriverControl, AScriptForgetsAtItsEnd)
{
    {
        DriverScript Script;
        Script.Answer("open", 7);
        DriverOpen("context", 1);
        DriverMisuse("wrong");
    }
    DriverScript Fresh;
    int64_t Status;
    EXPECT_EQ(DriverEnter("open", &Status), 1);
    EXPECT_EQ(Fresh.Live(), 0);
    EXPECT_THAT(Fresh.Misuses(), IsEmpty());
}

TEST(DriverControl, WhatSubstitutesTakeIsLeftOutOfACount)
{
    DriverScript Script;
    DriverVisits(FailingAllocation::Suspend, FailingAllocation::Resume);
    {
        const FailingAllocation Fail(1, FailingAllocation::After::Fail);
        int64_t Status;
        DriverEnter("an operation whose name needs memory of its own", &Status);
        DriverField("a field whose name needs memory of its own", 1);
        DriverText("text", "a text that needs memory of its own");
        void* const pHandle = DriverOpen("a kind whose name needs memory of its own", 100);
        DriverClose("a kind whose name needs memory of its own", pHandle);
        DriverMisuse("a misuse whose text needs memory of its own");
        void* const pEncoder = StandInEncoderOpen(64, 48, 15, 100);
        EXPECT_NE(pEncoder, nullptr);
        StandInEncoderClose(pEncoder);
        EXPECT_EQ(FailingAllocation::Requests(), 0u);
        delete new (std::nothrow) std::vector<int>; // and counts again
        EXPECT_EQ(FailingAllocation::Requests(), 1u);
    }
    DriverVisits(nullptr, nullptr);
    EXPECT_EQ(Script.Trace().size(), 1u);
}

TEST(StandInCodec, GivesBackThePicturesThatItCoded)
{
    constexpr int32_t kWidth = 64, kHeight = 48;
    void* const pEncoder = StandInEncoderOpen(kWidth, kHeight, 15, 1000);
    void* const pDecoder = StandInDecoderOpen();
    ASSERT_TRUE(pEncoder && pDecoder);
    std::vector<uint8_t> Nv12(kWidth * kHeight * 3 / 2), Stream(Nv12.size() * 2);
    StandInFormat Format{};
    EXPECT_EQ(StandInDecoderFormat(pDecoder, &Format), 0);
    for (int n = 0; n < 3; ++n) {
        for (size_t i = 0; i < Nv12.size(); ++i)
            Nv12[i] = static_cast<uint8_t>(100 + i % 64 / 4 + static_cast<size_t>(n) * 8);
        int32_t Type = 0;
        const int32_t Length = StandInEncoderPut(pEncoder, Nv12.data(), kWidth, &Nv12[kWidth * kHeight], kWidth, n == 2,
                                                 Stream.data(), static_cast<int32_t>(Stream.size()), &Type);
        ASSERT_GT(Length, 0);
        EXPECT_EQ(Type, n == 1 ? 2 : 1);
        EXPECT_EQ(StandInDecoderPut(pDecoder, Stream.data(), Length, 1), 1);
        StandInPicture Picture{};
        ASSERT_EQ(StandInDecoderNext(pDecoder, &Picture), 1) << n;
        EXPECT_EQ(Picture.Width, kWidth);
        EXPECT_EQ(Picture.Height, kHeight);
        EXPECT_EQ(Picture.FrameType, Type);
        int Worst = 0;
        for (size_t i = 0; i < Nv12.size(); ++i) Worst = std::max(Worst, std::abs(Picture.pNv12[i] - Nv12[i]));
        EXPECT_LT(Worst, 24);
        EXPECT_EQ(StandInDecoderNext(pDecoder, &Picture), 0);
    }
    EXPECT_EQ(StandInDecoderFormat(pDecoder, &Format), 1);
    EXPECT_EQ(Format.CodedWidth, 64);
    EXPECT_EQ(Format.CodedHeight, 48);
    EXPECT_EQ(Format.BitDepth, 8);
    StandInEncoderClose(pEncoder);
    StandInDecoderClose(pDecoder);
}
