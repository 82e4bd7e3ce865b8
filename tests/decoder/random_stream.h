// A stream of random macroblocks under way, and its comparison with ffmpeg.
#pragma once

#include "tests/support/decode_helper.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/random_macroblocks.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace test {

// Every picture that the decoder gives is ffmpeg's, and ffmpeg has nothing to say.
inline void ExpectAsFfmpeg(const Bytes& Stream, size_t PictureCount, bool InOrder = true,
                           const std::string& PixelFormat = "yuv420p")
{
    const auto Expected = ffmpeg_oracle::Decode(Stream, PixelFormat);
    EXPECT_EQ(Expected.Messages, "");
    std::vector<Bytes> Ours = DecodeAll(Stream);
    ASSERT_EQ(Ours.size(), PictureCount);
    const size_t Size = Ours.front().size();
    ASSERT_EQ(Expected.Pictures.size(), PictureCount * Size);
    std::vector<Bytes> Theirs;
    for (auto At = Expected.Pictures.begin(); At != Expected.Pictures.end(); At += static_cast<ptrdiff_t>(Size))
        Theirs.emplace_back(At, At + static_cast<ptrdiff_t>(Size));
    if (!InOrder) {
        EXPECT_TRUE(std::is_permutation(Ours.begin(), Ours.end(), Theirs.begin(), Theirs.end()));
        return;
    }
    for (size_t i = 0; i < PictureCount; ++i) {
        const auto First = std::mismatch(Ours[i].begin(), Ours[i].end(), Theirs[i].begin());
        ASSERT_EQ(First.first, Ours[i].end())
            << "picture " << i << " of " << PictureCount << " differs first at byte " << First.first - Ours[i].begin();
    }
}

struct RandomStream {
    static constexpr int kMbs = 4 * 3;

    SeqParamSet Seq;
    PicParamSet Pic;
    RandomMacroblocks Random;
    Bytes Data;
    size_t Pictures = 0;

    RandomStream(const SeqParamSet& s, const PicParamSet& p, uint32_t Seed) : Seq(s), Pic(p), Random(Seed)
    {
        Seq.width_mbs = 4;
        Seq.height_map_units = 3;
        if (Seq.vui.empty()) Seq.vui = ReorderVui(Seq.profile_idc == 66 ? 0 : 1, std::max(Seq.num_ref_frames, 1u));
        Data = Write(Seq) + Write(Pic);
    }
    RandomStream& Use(const PicParamSet& p) // another picture parameter set from now on
    {
        Pic = p;
        Data += Write(Pic);
        return *this;
    }
    RandomStream& Idr(Slice s = {})
    {
        s.nal_unit_type = 5;
        return Intra(s);
    }
    // As many pictures as there are references, so that none is missing; frame_num and poc_lsb go on behind them.
    RandomStream& Start(uint32_t Count)
    {
        Idr();
        for (uint32_t i = 1; i < Count; ++i) Intra({.frame_num = i, .poc_lsb = 2 * i});
        return *this;
    }
    RandomStream& Intra(const Slice& s)
    {
        Data += Random.Intra(Seq, Pic, s);
        return Counted();
    }
    RandomStream& P(Slice s, const MacroblockMix& Mix = {})
    {
        s.slice_type = 5;
        Data += Random.Inter(Seq, Pic, s, kMbs, Mix);
        return Counted();
    }
    RandomStream& B(Slice s, const MacroblockMix& Mix = {})
    {
        s.slice_type = 6;
        Data += Random.Inter(Seq, Pic, s, kMbs, Mix);
        return Counted();
    }
    void ExpectAsFfmpeg(bool InOrder = true) const { test::ExpectAsFfmpeg(Data, Pictures, InOrder); }

private:
    RandomStream& Counted()
    {
        ++Pictures;
        return *this;
    }
};

// A slice of a picture by number; a second slice type is what RandomStream writes.
inline Slice Numbered(uint32_t FrameNum, uint32_t PocLsb, uint32_t RefIdc = 1)
{
    return {.nal_ref_idc = RefIdc, .frame_num = FrameNum, .poc_lsb = PocLsb};
}

} // namespace test
