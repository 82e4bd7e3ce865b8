// Parameter sets and SEI as they come, and the slices that are read by them.
#include "decoder/session/stream_headers.h"

#include "Common/h264/nal_unit_type.h"
#include "tests/decoder/parsed_unit.h"
#include "tests/decoder/random_stream.h"

namespace {

using namespace UMC;
using test::Bytes;

class SaidSoFar : public testing::Test
{
protected:
    // A unit as the splitter hands it over, from its start code on.
    struct Piece {
        Piece(H264_Heap& Heap, const Bytes& Data) : m_Heap(Heap)
        {
            const test::Unit Unit(Data);
            m_pPiece = Heap.Allocate(static_cast<uint32_t>(Unit.Words.size() * 4));
            std::copy(Unit.Words.begin(), Unit.Words.end(), m_pPiece->m_pData);
            m_pPiece->m_Size = Unit.Bits.UnitSize();
            m_Bits.Reset(m_pPiece->m_pData, m_pPiece->m_Size);
        }
        ~Piece() { m_Heap.Free(m_pPiece); }
        H264_Heap& m_Heap;
        H264HeapPiece* m_pPiece;
        H264Bitstream m_Bits;
    };

    Status Read(uint32_t Type, const Bytes& Data)
    {
        Piece Unit(m_Heap, Data);
        return m_Headers.ReadParameterSet(Type, Unit.m_Bits, true);
    }
    void ReadSets()
    {
        EXPECT_EQ(Read(h264::NAL_SEQ_PARAM_SET, Write(m_Seq)), StatusOk);
        EXPECT_EQ(Read(h264::NAL_PIC_PARAM_SET, Write(m_Pic)), StatusOk);
    }
    bool IsRead(test::Slice s) // of a P slice
    {
        s.slice_type = 5;
        const Piece Unit(m_Heap, test::SkipSlice(m_Seq, m_Pic, s));
        m_Slice.Reset();
        return m_Headers.ReadSlice(m_Slice, *Unit.m_pPiece, 1.5);
    }
    bool IsIntraRead()
    {
        const Piece Unit(m_Heap, test::PcmSlice(m_Seq, m_Pic, {.nal_unit_type = 5}, 10));
        m_Slice.Reset();
        return m_Headers.ReadSlice(m_Slice, *Unit.m_pPiece, 1.5);
    }
    void ReadRecoveryPoint()
    {
        Piece Unit(m_Heap, test::NalUnit(0, 6, {6, 1, 0xC4, 0x80})); // recovery_frame_cnt 0
        m_Headers.ReadSei(Unit.m_Bits);
    }

    H264_Heap m_Heap;
    test::SeqParamSet m_Seq;
    test::PicParamSet m_Pic;
    StreamHeaders m_Headers;
    H264Slice m_Slice;
};

TEST_F(SaidSoFar, NothingBeforeTheFirstSets)
{
    EXPECT_EQ(m_Headers.CurrentSeqParamSet(), nullptr);
    EXPECT_EQ(m_Headers.CurrentPicParamSet(), nullptr);
    EXPECT_FALSE(IsIntraRead());
    ReadSets();
    ASSERT_NE(m_Headers.CurrentSeqParamSet(), nullptr);
    ASSERT_NE(m_Headers.CurrentPicParamSet(), nullptr);
    EXPECT_TRUE(IsIntraRead());
    EXPECT_EQ(m_Slice.m_pSeqParamSet, m_Headers.CurrentSeqParamSet());
    EXPECT_EQ(m_Slice.m_NalTime, 1.5);
}

TEST_F(SaidSoFar, SlicesWaitForOneThatDecodingMayStartWith)
{
    ReadSets();
    EXPECT_FALSE(IsRead({.frame_num = 1}));
    EXPECT_TRUE(IsIntraRead());
    EXPECT_TRUE(IsRead({.frame_num = 1}));
    m_Headers.WaitForRandomAccess(true);
    EXPECT_FALSE(IsRead({.frame_num = 1}));
    ReadRecoveryPoint();
    EXPECT_TRUE(IsRead({.frame_num = 1})) << "a recovery point";
    m_Headers.WaitForRandomAccess(true);
    EXPECT_FALSE(IsRead({.frame_num = 1})) << "of one picture only";
}

TEST_F(SaidSoFar, ResetKeepsTheSetsAndCloseDoesNot)
{
    ReadSets();
    EXPECT_TRUE(IsIntraRead());
    m_Headers.Reset();
    EXPECT_FALSE(IsRead({.frame_num = 1}));
    EXPECT_TRUE(IsIntraRead());
    m_Slice.Reset();
    m_Headers.Close();
    EXPECT_FALSE(IsIntraRead());
    EXPECT_EQ(m_Headers.CurrentSeqParamSet(), nullptr);
}

TEST_F(SaidSoFar, BadSetLeavesTheOldOneCurrent)
{
    ReadSets();
    const H264SeqParamSet* const pOld = m_Headers.CurrentSeqParamSet();
    test::SeqParamSet Bad = m_Seq;
    Bad.id = 32;
    EXPECT_NE(Read(h264::NAL_SEQ_PARAM_SET, Write(Bad)), StatusOk);
    EXPECT_EQ(m_Headers.CurrentSeqParamSet(), pOld);
}

// What a picture set takes from its sequence set is fixed when it comes.
TEST_F(SaidSoFar, PictureSetsKeepTheTablesOfTheSequenceSetThatTheyCameBehind)
{
    m_Seq.profile_idc = 100;
    m_Pic.has_transform_extension = true;
    const auto ListsOf = [](int32_t Value) { return test::ScalingLists(8, {Value}); };
    m_Seq.scaling = ListsOf(20);
    m_Pic.scaling = test::ScalingLists(6); // absent: those of the sequence set
    ReadSets();
    const H264LevelScale Old = m_Headers.CurrentPicParamSet()->level_scale;
    m_Seq.scaling = ListsOf(40);
    ASSERT_EQ(Read(h264::NAL_SEQ_PARAM_SET, Write(m_Seq)), StatusOk);
    EXPECT_TRUE(IsIntraRead());
    EXPECT_TRUE(m_Slice.m_pPicParamSet->level_scale == Old) << "a later sequence set does not reach it";
    EXPECT_TRUE(m_Slice.m_pSeqParamSet == m_Headers.CurrentSeqParamSet()) << "which is in force all the same";
    ASSERT_EQ(Read(h264::NAL_PIC_PARAM_SET, Write(m_Pic)), StatusOk);
    EXPECT_TRUE(IsIntraRead());
    EXPECT_FALSE(m_Slice.m_pPicParamSet->level_scale == Old) << "the same set once more does take it over";
}

TEST_F(SaidSoFar, PictureSetsNeedTheirSequenceSetWhenTheyCome)
{
    m_Pic.seq_id = 3;
    EXPECT_EQ(Read(h264::NAL_PIC_PARAM_SET, Write(m_Pic)), StatusInvalidParams);
    m_Seq.id = 3;
    EXPECT_EQ(Read(h264::NAL_SEQ_PARAM_SET, Write(m_Seq)), StatusOk);
    EXPECT_FALSE(IsIntraRead()) << "the set that came too early is not kept";
    EXPECT_EQ(Read(h264::NAL_PIC_PARAM_SET, Write(m_Pic)), StatusOk);
    EXPECT_TRUE(IsIntraRead());
}

} // namespace
