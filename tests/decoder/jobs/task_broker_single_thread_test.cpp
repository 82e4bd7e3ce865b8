// The order in which the single-thread broker hands out work, and when it hands out any.
#include "decoder/jobs/task_broker_single_thread.h"

#include "decoder/jobs/segment_decoder.h"
#include "decoder/slice/picture_slices.h"

#include <gmock/gmock.h>

#include <memory>
#include <type_traits>

namespace {

using namespace UMC;
using testing::ElementsAre;

class Broker : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Broker.Init(1)); }
    // A picture of slices of four macroblocks each.
    std::unique_ptr<H264DecoderFrame> Picture(std::vector<uint32_t> DeblockingIdc, bool UsesSliceGroups = false);

    SlicePool m_Pool;
    TaskBrokerSingleThread m_Broker;
};

std::unique_ptr<H264DecoderFrame> Broker::Picture(std::vector<uint32_t> DeblockingIdc, bool UsesSliceGroups)
{
    auto pFrame = std::make_unique<H264DecoderFrame>();
    H264DecoderFrameInfo& Au = pFrame->m_Au[0];
    Au.m_Status = AuStatus::Ready;
    Au.m_UsesSliceGroups = UsesSliceGroups;
    for (const uint32_t Idc : DeblockingIdc) {
        H264Slice* const pSlice = m_Pool.Allocate();
        const auto Index = static_cast<int32_t>(Au.m_Slices.size());
        pSlice->m_Header.disable_deblocking_filter_idc = Idc;
        pSlice->m_SliceNumber = Index + 1;
        pSlice->m_FirstMbNumber = Index * 4;
        pSlice->m_MaxMbNumber = Index * 4 + 4;
        pSlice->m_Progress.MbBudget = 100;
        pSlice->m_MbWidth = 4;
        pSlice->m_MbHeight = static_cast<int32_t>(DeblockingIdc.size());
        pSlice->m_UsesSliceGroups = UsesSliceGroups;
        pSlice->m_Progress.Deblocked = Idc == 1;
        Au.m_NeedsDeblocking |= Idc != 1;
        Au.m_Slices.push_back(pSlice);
    }
    return pFrame;
}

// Runs everything; a task as its id times 100 plus its first macroblock.
std::vector<int> RunAll(TaskBroker& Broker, H264DecoderFrame* pFirst)
{
    std::vector<int> Tasks;
    EXPECT_TRUE(Broker.PrepareFrames(pFirst, false));
    Broker.Start(pFirst, false);
    H264Task Task;
    while (Broker.GetNextTask(Task)) {
        Tasks.push_back(Task.TaskId * 100 + Task.FirstMb);
        Broker.TaskDone(Task);
    }
    return Tasks;
}

TEST_F(Broker, SlicesFirstThenTheirDeblocking)
{
    const auto pFrame = Picture({0, 0});
    EXPECT_THAT(RunAll(m_Broker, pFrame.get()), ElementsAre(0, 4, 300, 304));
    EXPECT_TRUE(IsComplete(pFrame->m_Au[0]));
    EXPECT_EQ(pFrame->m_Au[0].m_Status, AuStatus::InBroker);
}

TEST_F(Broker, SlicesThatFilterWithinThemselvesNeedNoSecondTask)
{
    const auto pFrame = Picture({2, 2});
    EXPECT_THAT(RunAll(m_Broker, pFrame.get()), ElementsAre(0, 4));
    EXPECT_TRUE(pFrame->m_Au[0].m_Slices[0]->m_Progress.DeblockFromTask);
    EXPECT_TRUE(IsComplete(pFrame->m_Au[0]));
}

TEST_F(Broker, UnfilteredSlicesAreDoneWhenDecoded)
{
    const auto pFrame = Picture({1, 1});
    EXPECT_THAT(RunAll(m_Broker, pFrame.get()), ElementsAre(0, 4));
    EXPECT_TRUE(IsComplete(pFrame->m_Au[0]));
}

TEST_F(Broker, MixedSlices)
{
    const auto pFrame = Picture({0, 2, 0, 1});
    EXPECT_THAT(RunAll(m_Broker, pFrame.get()), ElementsAre(0, 4, 8, 12, 300, 308));
}

TEST_F(Broker, SliceGroupsAreDeblockedAsAPicture)
{
    const auto pFrame = Picture({0, 0}, true);
    EXPECT_THAT(RunAll(m_Broker, pFrame.get()), ElementsAre(0, 4, 600));
    EXPECT_TRUE(IsComplete(pFrame->m_Au[0]));
}

TEST_F(Broker, WhatASliceLeavesOfTheMacroblocksBoundsTheNextOne)
{
    const auto pFrame = Picture({1, 1, 1, 1}, true);
    for (H264Slice* const pSlice : pFrame->m_Au[0].m_Slices) {
        pSlice->m_MaxMbNumber = 16;
        pSlice->m_Progress.MbBudget = 16;
    }
    ASSERT_TRUE(m_Broker.PrepareFrames(pFrame.get(), false));
    m_Broker.Start(pFrame.get(), false);
    std::vector<int> Budgets;
    H264Task Task;
    while (m_Broker.GetNextTask(Task)) {
        Budgets.push_back(Task.MbCount);
        Task.MbCount = std::min(Task.MbCount, 7); // done
        m_Broker.TaskDone(Task);
    }
    EXPECT_THAT(Budgets, ElementsAre(16, 9, 2, 0));
}

TEST_F(Broker, OneFrameARun)
{
    const auto pFirst = Picture({1}), pSecond = Picture({1, 1});
    pFirst->m_pNext = pSecond.get();
    EXPECT_THAT(RunAll(m_Broker, pFirst.get()), ElementsAre(0));
    EXPECT_THAT(RunAll(m_Broker, pSecond.get()), ElementsAre(0, 4));
}

TEST_F(Broker, BothFieldsOfAFrameInOneRun)
{
    const auto pFrame = Picture({1}), pSecond = Picture({1, 1});
    pFrame->m_PictureStructure = TOP_FIELD;
    pFrame->m_Au[1].m_Status = AuStatus::SecondFieldExpected;
    EXPECT_FALSE(m_Broker.PrepareFrames(pFrame.get(), false));
    EXPECT_TRUE(m_Broker.PrepareFrames(pFrame.get(), true)) << "one field is enough when forced";
    pFrame->m_Au[1].m_Slices.swap(pSecond->m_Au[0].m_Slices);
    pFrame->m_Au[1].m_Status = AuStatus::Ready;
    EXPECT_THAT(RunAll(m_Broker, pFrame.get()), ElementsAre(0, 0, 4));
}

TEST_F(Broker, TasksGiveASliceToReadAndItsProgressToWrite)
{
    static_assert(std::is_same_v<decltype(H264Task::pSlice), const H264Slice*>);
    static_assert(std::is_same_v<decltype(H264SegmentDecoder::m_pSlice), const H264Slice*>);
    for (const bool UsesSliceGroups : {false, true}) {
        const auto pFrame = Picture({0, 0}, UsesSliceGroups);
        ASSERT_TRUE(m_Broker.PrepareFrames(pFrame.get(), false));
        m_Broker.Start(pFrame.get(), false);
        H264Task Task;
        int Count = 0;
        for (; m_Broker.GetNextTask(Task); ++Count) {
            EXPECT_EQ(Task.pProgress, &Task.pSlice->m_Progress);
            EXPECT_TRUE(Task.pProgress->InWork);
            m_Broker.TaskDone(Task);
            EXPECT_FALSE(Task.pProgress->InWork);
        }
        EXPECT_EQ(Count, UsesSliceGroups ? 3 : 4);
    }
}

TEST_F(Broker, NothingReadyNothingStarted)
{
    EXPECT_FALSE(m_Broker.PrepareFrames(nullptr, true));
    const auto pFrame = Picture({0});
    pFrame->m_Au[0].m_Status = AuStatus::Empty;
    EXPECT_FALSE(m_Broker.PrepareFrames(pFrame.get(), true));
    H264Task Task;
    EXPECT_FALSE(m_Broker.GetNextTask(Task));
}

TEST_F(Broker, SeveralConsumersWaitForAsManyPictures)
{
    ASSERT_TRUE(m_Broker.Init(2));
    const auto pFirst = Picture({1}), pSecond = Picture({1});
    EXPECT_FALSE(m_Broker.PrepareFrames(pFirst.get(), false));
    EXPECT_TRUE(m_Broker.PrepareFrames(pFirst.get(), true));
    pFirst->m_pNext = pSecond.get();
    EXPECT_TRUE(m_Broker.PrepareFrames(pFirst.get(), false));
}

TEST_F(Broker, ResetEndsTheTasks)
{
    const auto pFrame = Picture({0, 0});
    ASSERT_TRUE(m_Broker.PrepareFrames(pFrame.get(), false));
    m_Broker.Start(pFrame.get(), false);
    m_Broker.Reset();
    H264Task Task;
    EXPECT_FALSE(m_Broker.GetNextTask(Task));
}

} // namespace
