// What a picture may ask for: macroblocks, slices, bytes, and what becomes of more.
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/heap.h"
#include "tests/support/decode_helper.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using namespace UMC;
using test::Bytes;
using test::PcmSlice;
using test::PicParamSet;
using test::SeqParamSet;
using test::Slice;
using test::operator+;
using test::operator+=;
using testing::ElementsAre;

// The last fault of a stream.
Status FaultOf(const Bytes& Stream)
{
    tools::StreamDecoder Decoder([](const VideoData&) {}, 1, false);
    Decoder.Feed(Stream);
    return Decoder.LastFault();
}

// The first luma sample of each macroblock of the pictures, which are one macroblock high.
std::vector<std::vector<int>> Macroblocks(const Bytes& Stream, size_t Width)
{
    std::vector<std::vector<int>> Pictures;
    for (const Bytes& Samples : test::DecodeAll(Stream)) {
        Pictures.emplace_back();
        for (size_t Mb = 0; Mb < Width; ++Mb) Pictures.back().push_back(Samples[Mb * 16]);
    }
    return Pictures;
}

Bytes Pcm(const SeqParamSet& Seq, uint32_t FirstMb, uint8_t Value, int Count = 1)
{
    return PcmSlice(Seq, {}, {.nal_unit_type = 5, .first_mb = FirstMb}, Value, Count);
}

TEST(PictureSize, ThirtySixThousandMacroblocksAreTheMost)
{
    for (const bool FrameMbsOnly : {true, false}) {
        SeqParamSet Seq{.level_idc = 51, .width_mbs = 256, .height_map_units = FrameMbsOnly ? 144u : 72u};
        Seq.frame_mbs_only = FrameMbsOnly;
        EXPECT_EQ(FaultOf(Write(Seq)), StatusOk);
        ++Seq.width_mbs;
        EXPECT_EQ(FaultOf(Write(Seq)), StatusInvalidParams);
    }
    EXPECT_EQ(FaultOf(Write(SeqParamSet{.width_mbs = 36864})), StatusOk);
    EXPECT_EQ(FaultOf(Write(SeqParamSet{.width_mbs = 300, .height_map_units = 300})), StatusInvalidParams);
    EXPECT_EQ(FaultOf(Write(SeqParamSet{.width_mbs = 1u << 31, .height_map_units = 2})), StatusInvalidParams);
    SeqParamSet Doubled{.height_map_units = (1u << 31) + 1};
    Doubled.frame_mbs_only = false;
    EXPECT_EQ(FaultOf(Write(Doubled)), StatusInvalidParams) << "the doubled height does not fit into 32 bits";
}

TEST(OrderCycle, TwoHundredFiftyFiveEntriesAreTheMost)
{
    SeqParamSet Seq{.poc_type = 1};
    Seq.offset_for_ref_frame.assign(255, 1);
    EXPECT_EQ(FaultOf(Write(Seq)), StatusOk);
    Seq.offset_for_ref_frame.push_back(1);
    EXPECT_EQ(FaultOf(Write(Seq)), StatusInvalidParams);
}

TEST(Slices, MoreThanMacroblocksAreDropped)
{
    const SeqParamSet Seq{.width_mbs = 3};
    const Bytes Head = Write(Seq) + Write(PicParamSet{});
    Bytes Full = Head + Pcm(Seq, 0, 10) + Pcm(Seq, 1, 20) + Pcm(Seq, 2, 30);
    EXPECT_THAT(Macroblocks(Full, 3), ElementsAre(ElementsAre(10, 20, 30)));
    Full += Pcm(Seq, 2, 99);
    EXPECT_THAT(Macroblocks(Full, 3), ElementsAre(ElementsAre(10, 20, 30)));
    EXPECT_EQ(FaultOf(Full), StatusOk) << "as one with a bad header";
    Full += Pcm(Seq, 0, 40, 3);
    EXPECT_THAT(Macroblocks(Full, 3), ElementsAre(ElementsAre(10, 20, 30), ElementsAre(40, 40, 40)))
        << "the next picture has room again";
}

TEST(Slices, TheLastOfThoseThatBeginAlikeCounts)
{
    const SeqParamSet Seq{.width_mbs = 4};
    const Bytes Stream =
        Write(Seq) + Write(PicParamSet{}) + Pcm(Seq, 0, 10) + Pcm(Seq, 1, 20, 3) + Pcm(Seq, 1, 30) + Pcm(Seq, 2, 40, 2);
    EXPECT_THAT(Macroblocks(Stream, 4), ElementsAre(ElementsAre(10, 30, 40, 40)));
}

TEST(Slices, BytesBehindTheDataAreNoData)
{
    const SeqParamSet Seq{.width_mbs = 3};
    const Bytes Zeros(300000, 0);
    const Bytes Stream =
        Write(Seq) + Write(PicParamSet{}) + Pcm(Seq, 0, 10) + Zeros + Pcm(Seq, 1, 20) + Zeros + Pcm(Seq, 2, 30) + Zeros;
    EXPECT_THAT(Macroblocks(Stream, 3), ElementsAre(ElementsAre(10, 20, 30)));
}

// Units just below and above the length from which on a slice keeps the buffer that it was unpacked into.
TEST(Slices, UnitsOfEveryLengthAreRead)
{
    for (const int Count : {9, 10, 11, 12, 20, 40}) { // 384 bytes a macroblock
        const SeqParamSet Seq{.width_mbs = static_cast<uint32_t>(Count) + 1};
        const Bytes Stream =
            Write(Seq) + Write(PicParamSet{}) + Pcm(Seq, 0, 10, Count) + Pcm(Seq, static_cast<uint32_t>(Count), 20);
        std::vector<int> Want(static_cast<size_t>(Count), 10);
        Want.push_back(20);
        EXPECT_THAT(Macroblocks(Stream, Want.size()), ElementsAre(Want));
    }
}

// A picture keeps no more bytes than its macroblocks can need; the units that go beyond are dropped.
TEST(Slices, BytesBeyondAllMacroblocksAreDropped)
{
    const SeqParamSet Seq{.width_mbs = 3};
    Bytes Stream = Write(Seq) + Write(PicParamSet{}) + Pcm(Seq, 0, 10) + Bytes(60000, 0xFF);
    Stream += Pcm(Seq, 1, 20) + Bytes(60000, 0xFF) + Pcm(Seq, 2, 30);
    EXPECT_THAT(Macroblocks(Stream, 3), testing::IsEmpty()) << "the middle is lost and the picture not shown";
}

TEST(Pools, KeepAConstantOfWhatCameBack)
{
    H264_Heap Heap;
    std::vector<H264HeapPiece*> Pieces;
    for (uint32_t i = 0; i < 100; ++i) Pieces.push_back(Heap.Allocate(1000));
    for (H264HeapPiece* const pPiece : Pieces) Heap.Free(pPiece);
    EXPECT_EQ(Heap.FreePieces(), H264_Heap::kMaxFreePieces);
    H264HeapPiece* const pLarge = Heap.Allocate(H264_Heap::kMaxFreeBytes + 1);
    ASSERT_NE(pLarge, nullptr);
    Heap.Free(pLarge);
    EXPECT_EQ(Heap.FreePieces(), 0u) << "the piece alone is too large, and pushed the others out";
}

} // namespace
