// Records of macroblocks, lent by turns.
#include "decoder/session/local_mb_pool.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC;

H264DecoderFrame* Begun(H264DecoderFrame& Frame, LocalMbPool& Pool)
{
    Frame.m_Format = PictureFormat::Make({32, 16}, 1, 8, 8);
    Frame.m_ResourceIndex = Pool.NextResource();
    return &Frame;
}

TEST(LocalMbPool, PicturesByTurnsTakeTheEntriesOfTheThreads)
{
    LocalMbPool Pool;
    Pool.Init(2);
    EXPECT_EQ(Pool.NextResource(), 0);
    EXPECT_EQ(Pool.NextResource(), 1);
    EXPECT_EQ(Pool.NextResource(), 0);
    Pool.Init(2);
    EXPECT_EQ(Pool.NextResource(), 0);
}

TEST(LocalMbPool, OneMemoryServesOnePictureAfterTheOther)
{
    LocalMbPool Pool;
    Pool.Init(1);
    H264DecoderFrame First, Second;
    const LocalMbMemory* const pMemory = Pool.Prepare(*Begun(First, Pool)).get();
    EXPECT_EQ(Pool.Prepare(*Begun(Second, Pool)).get(), pMemory);
}

TEST(LocalMbPool, PictureThatStillWaitsKeepsItsOwn)
{
    LocalMbPool Pool;
    Pool.Init(1);
    H264DecoderFrame First, Second;
    First.m_pLocalMemory = Pool.Prepare(*Begun(First, Pool));
    EXPECT_NE(Pool.Prepare(*Begun(Second, Pool)), First.m_pLocalMemory);
    EXPECT_EQ(Pool.Prepare(First), First.m_pLocalMemory) << "for its second field";
}

} // namespace
