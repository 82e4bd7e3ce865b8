// MediaData and MediaDataEx: a run of bytes, owned or the caller's.
#include "media/umc_media_data.h"
#include "media/umc_media_data_ex.h"
#include "media/umc_video_data.h"

#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

using namespace UMC;

TEST(MediaData, StartsEmpty)
{
    MediaData Data;
    double Start, End;
    Data.GetTime(Start, End);
    EXPECT_EQ(Start, -1.0);
    EXPECT_EQ(End, 0.0);
    EXPECT_EQ(Data.GetBufferPointer(), nullptr);
    EXPECT_EQ(Data.GetDataSize(), 0u);
    EXPECT_EQ(Data.GetFrameType(), NONE_PICTURE);
    EXPECT_EQ(Data.MoveDataPointer(0), StatusOk);
    EXPECT_EQ(Data.MoveDataPointer(1), StatusFailed);
    EXPECT_EQ(Data.MoveDataPointer(-1), StatusFailed);
    EXPECT_EQ(Data.SetDataSize(0), StatusNullPointer);
}

TEST(MediaData, OwnsWhatItAllocates)
{
    MediaData Data(100);
    EXPECT_EQ(Data.GetBufferSize(), 100u);
    EXPECT_NE(Data.GetBufferPointer(), nullptr);
    EXPECT_EQ(Data.Alloc(200), StatusOk);
    EXPECT_EQ(Data.GetBufferSize(), 200u);
    EXPECT_EQ(Data.GetDataPointer(), Data.GetBufferPointer());
    EXPECT_EQ(Data.Alloc(0), StatusOk);
    EXPECT_EQ(Data.GetBufferPointer(), nullptr);
    EXPECT_EQ(Data.Alloc(SIZE_MAX), StatusAllocFailed);
}

TEST(MediaData, DataSizeIsLimitedByTheRoomBehindTheDataPointer)
{
    uint8_t Bytes[10];
    MediaData Data;
    EXPECT_EQ(Data.SetBufferPointer(Bytes, sizeof Bytes), StatusOk);
    EXPECT_EQ(Data.SetDataSize(10), StatusOk);
    EXPECT_EQ(Data.MoveDataPointer(3), StatusOk);
    EXPECT_EQ(Data.GetDataSize(), 7u);
    EXPECT_EQ(Data.SetDataSize(8), StatusFailed);
    EXPECT_EQ(Data.GetDataSize(), 7u);
    EXPECT_EQ(Data.SetDataSize(7), StatusOk);
    EXPECT_EQ(Data.MoveDataPointer(-4), StatusFailed);
    EXPECT_EQ(Data.MoveDataPointer(-3), StatusOk);
    EXPECT_EQ(Data.GetDataSize(), 10u);
    EXPECT_EQ(Data.MoveDataPointer(11), StatusFailed);
    EXPECT_EQ(Data.GetDataPointer(), Bytes);
}

TEST(MediaData, ResetKeepsAForeignBuffer)
{
    uint8_t Bytes[4];
    MediaData Data;
    Data.SetBufferPointer(Bytes, sizeof Bytes);
    Data.SetDataSize(4);
    Data.MoveDataPointer(2);
    Data.SetFrameType(I_PICTURE);
    Data.SetTime(1.0, 2.0);
    EXPECT_EQ(Data.Reset(), StatusOk);
    double Start, End;
    Data.GetTime(Start, End);
    EXPECT_EQ(Start, -1.0);
    EXPECT_EQ(End, -1.0);
    EXPECT_EQ(Data.GetDataPointer(), Bytes);
    EXPECT_EQ(Data.GetBufferSize(), 4u);
    EXPECT_EQ(Data.GetDataSize(), 0u);
    EXPECT_EQ(Data.GetFrameType(), NONE_PICTURE);
}

TEST(MediaData, CloseForgetsAForeignBufferWithoutFreeingIt)
{
    std::array<uint8_t, 4> Bytes{1, 2, 3, 4};
    MediaData Data;
    Data.SetBufferPointer(Bytes.data(), Bytes.size());
    EXPECT_EQ(Data.Close(), StatusOk);
    EXPECT_EQ(Data.GetBufferPointer(), nullptr);
    EXPECT_EQ(Bytes[3], 4);
}

TEST(MediaData, AForeignBufferInThePlaceOfAnOwnedOneIsNeverFreed)
{
    const FailingAllocation Count(0);
    MediaData Owner(20);
    auto* const pForeign = static_cast<uint8_t*>(Owner.GetBufferPointer());
    {
        MediaData Data(10);
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 2);
        Data.SetBufferPointer(pForeign, 20);
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 1); // the owned one is
        ASSERT_EQ(Data.Alloc(30), StatusOk);
        ASSERT_EQ(FailingAllocation::BlocksHeld(), 2);
        Data.SetBufferPointer(pForeign, 20);
    }
    ASSERT_EQ(FailingAllocation::BlocksHeld(), 1);
}

TEST(MediaData, FrameTypesZeroToFourAreAccepted)
{
    MediaData Data;
    for (const int32_t Type : {0, 1, 2, 3, 4}) {
        EXPECT_EQ(Data.SetFrameType(Type), StatusOk);
        EXPECT_EQ(Data.GetFrameType(), Type);
    }
    EXPECT_EQ(Data.SetFrameType(5), StatusInvalidParams);
    EXPECT_EQ(Data.SetFrameType(-1), StatusInvalidParams);
    EXPECT_EQ(Data.GetFrameType(), 4);
}

TEST(MediaData, MoveDataToAppendsWhatFits)
{
    uint8_t From[6] = {1, 2, 3, 4, 5, 6}, To[5] = {9, 9};
    MediaData Source, Target;
    Source.SetBufferPointer(From, sizeof From);
    Source.SetDataSize(6);
    Source.SetTime(3.0, 4.0);
    Source.SetFrameType(P_PICTURE);
    Target.SetBufferPointer(To, sizeof To);
    Target.SetDataSize(2);
    EXPECT_EQ(Source.MoveDataTo(&Target), StatusOk);
    EXPECT_EQ(Target.GetDataSize(), 5u);
    EXPECT_EQ(0, std::memcmp(To, "\x09\x09\x01\x02\x03", 5));
    EXPECT_EQ(Source.GetDataSize(), 3u);
    EXPECT_EQ(*static_cast<uint8_t*>(Source.GetDataPointer()), 4);
    EXPECT_EQ(Target.GetTime(), 3.0);
    EXPECT_EQ(Target.GetFrameType(), P_PICTURE);
    EXPECT_EQ(Source.MoveDataTo(nullptr), StatusNullPointer);
}

TEST(MediaDataEx, PointsAtATableOfTwoThousandUnits)
{
    MediaDataEx::_MediaDataEx Table;
    EXPECT_EQ(Table.Limit, 2000u);
    EXPECT_EQ(Table.Count, 0u);
    EXPECT_EQ(Table.Index, 0u);
    ASSERT_NE(Table.Offsets, nullptr);
    ASSERT_NE(Table.Values, nullptr);
    MediaDataEx Data;
    EXPECT_EQ(Data.GetExData(), nullptr);
    Data.SetExData(&Table);
    EXPECT_EQ(Data.GetExData(), &Table);
}

TEST(CastScheme, KnowsAClassAndItsBasesByFunctionAndByName)
{
    VideoDataCrop Crop;
    MediaData* const pData = &Crop;
    EXPECT_EQ(DynamicCast<VideoData>(pData), &Crop);
    EXPECT_EQ(DynamicCast<VideoDataCrop>(pData), &Crop);
    EXPECT_EQ(DynamicCast<MediaDataEx>(pData), nullptr);
    EXPECT_EQ(DynamicCast<VideoData>(static_cast<MediaData*>(nullptr)), nullptr);
    EXPECT_TRUE(pData->IsTypeOf(&MediaData::ClassName));
    // Another copy of the class has another function with the same name.
    EXPECT_FALSE(pData->IsTypeOf(+[] { return "VideoData"; }));
    EXPECT_TRUE(pData->IsTypeOfName([] { return "VideoData"; }));
    EXPECT_TRUE(pData->IsTypeOfName([] { return "MediaData"; }));
    EXPECT_FALSE(pData->IsTypeOfName([] { return "MediaDataEx"; }));
    EXPECT_STREQ(MediaDataEx::_MediaDataEx::ClassName(), "_MediaDataEx");
}
