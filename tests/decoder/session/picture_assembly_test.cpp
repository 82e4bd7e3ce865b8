// Pictures that lost slices or hold damaged ones: what stands in their place, what is shown, and how display comes
// back.
#include "tests/decoder/random_stream.h"
#include "tests/support/cabac_encoder.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;

constexpr int kWidth = 3, kMbs = 9;
constexpr uint8_t kReceived = 77;

// Pictures of 3 x 3 macroblocks: a first one of noise, then a damaged one, then one that shows what that has become.
class LostSlices : public testing::TestWithParam<bool>
{
protected:
    LostSlices()
    {
        m_Seq.profile_idc = 77;
        m_Seq.width_mbs = m_Seq.height_map_units = kWidth;
        m_Data = Write(m_Seq) + Write(m_Plain) + Write(m_Cabac) + Idr();
        m_Noise = DecodeAll(m_Data).front();
    }
    Bytes Idr(uint32_t Id = 0)
    {
        Slice s{.nal_unit_type = 5, .idr_pic_id = Id};
        return RandomMacroblocks(7 + Id).Intra(m_Seq, m_Plain, s);
    }
    Slice At(uint32_t FrameNum, uint32_t FirstMb = 0) const
    {
        return {.first_mb = FirstMb, .frame_num = FrameNum, .poc_lsb = 2 * FrameNum};
    }
    // Macroblocks of one value with the parameter set under test: CABAC or not.
    Bytes Received(Slice s, int Count) const
    {
        s.pps_id = GetParam();
        return GetParam() ? CabacPcmSlice(m_Seq, m_Cabac, s, kReceived, Count)
                          : PcmSlice(m_Seq, m_Plain, s, kReceived, Count);
    }
    Bytes Copy(uint32_t FrameNum) const { return CopySlice(m_Seq, m_Plain, At(FrameNum), 0, kMbs); }

    // Decodes the stream with a copy of its damaged second picture behind it, which must be all that is shown beside
    // the first one. Expected gives a sample's value by its macroblock, its place in raster order against other
    // macroblocks and the sample of the first picture there; a negative one means any.
    template <class F>
    void ExpectCopy(F&& Expected)
    {
        const auto Pictures = DecodeAll(m_Data + Copy(2));
        ASSERT_EQ(Pictures.size(), 2u) << "the damaged picture is not shown, its copy is";
        EXPECT_EQ(Pictures[0], m_Noise);
        size_t i = 0;
        for (int Plane = 0; Plane < 3; ++Plane) {
            const int Side = Plane == 0 ? 16 : 8;
            for (int y = 0; y < kWidth * Side; ++y)
                for (int x = 0; x < kWidth * Side; ++x, ++i) {
                    const int Mb = y / Side * kWidth + x / Side;
                    const auto IsBefore = [&](int Other) { // in raster order of memory
                        const int Top = Other / kWidth * Side, Left = Other % kWidth * Side;
                        return y < Top || (y == Top && x < Left);
                    };
                    const int Value = Expected(Mb, IsBefore, int{m_Noise[i]});
                    if (Value < 0) continue;
                    ASSERT_EQ(Pictures[1][i], Value) << Plane << ": " << x << ", " << y;
                }
        }
    }

    SeqParamSet m_Seq;
    PicParamSet m_Plain{}, m_Cabac{.id = 1, .cabac = true};
    Bytes m_Data, m_Noise;
};

TEST_P(LostSlices, AreMissedByNothingInWholePictures)
{
    Slice Second = At(1), Third = At(2);
    Third.pps_id = GetParam();
    Third.slice_type = 5;
    const Bytes Skipped =
        GetParam() ? CabacSkipSlice(m_Seq, m_Cabac, Third, kMbs) : SkipSlice(m_Seq, m_Plain, Third, kMbs);
    ExpectAsFfmpeg(m_Data + Received(Second, kMbs) + Skipped + Copy(3), 4);
}

TEST_P(LostSlices, LastSliceIsRestoredToTheEndOfThePicture)
{
    for (const int Count : {3, 5, 8}) {
        const Bytes Start = m_Data;
        m_Data += Received(At(1), Count);
        ExpectCopy([&](int, auto&& IsBefore, int Noise) { return IsBefore(Count) ? int{kReceived} : Noise; });
        m_Data = Start;
    }
}

TEST_P(LostSlices, FirstSliceIsRestoredUpToTheSecond)
{
    for (const uint32_t First : {3u, 5u}) {
        const Bytes Start = m_Data;
        m_Data += Received(At(1, First), kMbs - static_cast<int>(First));
        ExpectCopy([&](int Mb, auto&& IsBefore, int Noise) {
            if (Mb >= static_cast<int>(First)) return int{kReceived};
            return IsBefore(static_cast<int>(First)) ? Noise : -1; // the rest stays as the memory was
        });
        m_Data = Start;
    }
}

TEST_P(LostSlices, MiddleSliceIsRestoredUpToTheNext)
{
    m_Data += Received(At(1), 2) + Received(At(1, 6), 3);
    ExpectCopy([&](int Mb, auto&& IsBefore, int Noise) {
        if (Mb >= 6) return int{kReceived};
        return IsBefore(2) ? int{kReceived} : Noise;
    });
}

TEST_P(LostSlices, InEveryPictureShowNothingAndStopNothing)
{
    for (uint32_t i = 1; i < 20; ++i) m_Data += Received(At(i & 15, i % 2 ? 4 : 0), i % 2 ? 5 : 4);
    EXPECT_EQ(DecodeAll(m_Data).size(), 1u) << "the first picture";
    // An intact picture is shown, though predicted from a concealed one, and so is everything from an IDR picture on.
    EXPECT_EQ(DecodeAll(m_Data + Copy(20 & 15)).size(), 2u);
    const auto Pictures = DecodeAll(m_Data + Idr(1) + Copy(1));
    ASSERT_EQ(Pictures.size(), 3u);
    EXPECT_NE(Pictures[1], m_Noise);
    EXPECT_EQ(Pictures[2], Pictures[1]);
}

TEST_P(LostSlices, SliceEndsWhereTheNextBeginsWhateverItHolds)
{
    // Six macroblocks and nothing behind them; the slice that follows states a macroblock too early.
    m_Data += Received(At(1), 6) + Received(At(1, 4), 5);
    const auto Pictures = DecodeAll(m_Data);
    ASSERT_EQ(Pictures.size(), 2u) << "nothing was missing";
    for (const uint8_t Sample : Pictures[1]) ASSERT_EQ(Sample, kReceived);
}

INSTANTIATE_TEST_SUITE_P(Coder, LostSlices, testing::Bool(),
                         [](const auto& Info) { return Info.param ? "Cabac" : "Cavlc"; });

// Damage inside a slice.
class DamagedSlices : public LostSlices
{
protected:
    // Count sound macroblocks in a P slice, then a damaged one.
    void ExpectRestoredFrom(int Count, const Macroblock& Damaged, uint32_t ActiveRefs = 1)
    {
        Slice p = At(1);
        p.slice_type = 5;
        p.num_ref_idx[0] = ActiveRefs;
        MacroblockWriter Writer(m_Seq, m_Plain, p);
        Macroblock Pcm{.intra = true, .mb_type = 25};
        Pcm.pcm.fill(kReceived);
        for (int i = 0; i < Count; ++i) Writer.Put(Pcm);
        Writer.Put(Damaged);
        for (int i = Count + 1; i < kMbs; ++i) Writer.Put(Pcm);
        m_Data += Writer.Finish();
        ExpectCopy([&](int, auto&& IsBefore, int Noise) { return IsBefore(Count) ? int{kReceived} : Noise; });
    }
};

TEST_P(DamagedSlices, EndAtAReferenceIndexOutOfRange)
{
    Macroblock Damaged;
    Damaged.ref_idx[0][0] = 3;
    ExpectRestoredFrom(4, Damaged, 3);
}

TEST_P(DamagedSlices, EndAtCodedBlockPatternCode48) { ExpectRestoredFrom(5, {.coded_block_pattern = 0xFF}); }

TEST_P(DamagedSlices, EndAtAnUnknownMacroblockType) { ExpectRestoredFrom(2, {.intra = true, .mb_type = 26}); }

INSTANTIATE_TEST_SUITE_P(Cavlc, DamagedSlices, testing::Values(false), [](const auto&) { return "Slices"; });

// A frame made up for a gap stands first in the list, and has nothing to give.
TEST(LostSlicesBehindAGap, AreRestoredFromTheLastPictureThatWasSent)
{
    const SeqParamSet Seq{.profile_idc = 77, .gaps_allowed = true, .width_mbs = kWidth, .height_map_units = kWidth};
    const PicParamSet Pic;
    Slice Damaged{.frame_num = 2, .poc_lsb = 4, .num_ref_idx = {2, 0}};
    const auto Pictures =
        DecodeAll(Write(Seq) + Write(Pic) + RandomMacroblocks(9).Intra(Seq, Pic, {.nal_unit_type = 5}) +
                  CopySlice(Seq, Pic, Damaged, 1, 5) + CopySlice(Seq, Pic, {.frame_num = 3, .poc_lsb = 6}, 0, kMbs));
    ASSERT_EQ(Pictures.size(), 2u) << "the first one and the copy of the damaged one";
    EXPECT_EQ(Pictures[1], Pictures[0]);
}

} // namespace
