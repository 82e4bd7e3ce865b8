// Samples with length fields of every size through the whole decoder: the pictures of the byte stream.
#include "decoder/stream/nal_splitter_mp4.h"

#include "tests/decoder/random_fields.h"

namespace {

using namespace test;

class SamplesOfLengthSize : public testing::TestWithParam<uint32_t>
{
protected:
    void Put(uint32_t Size, const Bytes& Unit, Bytes& To) const
    {
        ASSERT_EQ(Unit.size() >> (8 * Size - 1) >> 1, 0u) << "a length that the field cannot tell";
        for (uint32_t i = Size; i > 0; --i) To.push_back(static_cast<uint8_t>(Unit.size() >> (8 * (i - 1))));
        To += Unit;
    }
    Bytes Sample(const Bytes& Stream) const
    {
        Bytes Data;
        for (const Bytes& Unit : SplitUnits(Stream)) Put(GetParam(), Unit, Data);
        return Data;
    }
    Bytes Record() const
    {
        Bytes Data{1, 77, 0, 40, static_cast<uint8_t>(0xFC | (GetParam() - 1)), 0xE1};
        Put(2, SplitUnits(Write(m_Seq)).front(), Data);
        Data.push_back(1);
        Put(2, SplitUnits(Write(m_Pic)).front(), Data);
        return Data;
    }
    // A frame, or a pair of fields, of I or P slices; small enough for length fields of one byte.
    Bytes Picture(uint32_t Index, bool IsField)
    {
        Bytes Data;
        for (int Field = 0; Field <= IsField; ++Field) {
            Slice s = Numbered(Index, 2 * Index + static_cast<uint32_t>(Field));
            s.field = IsField;
            s.bottom = Field != 0;
            s.delta_poc_bottom = IsField ? 0 : 1;
            if (Index == 0 && Field == 0) s.nal_unit_type = 5;
            const auto Mbs = static_cast<int>(PictureMbs(m_Seq, s));
            if (Index % 4 != 0) {
                s.slice_type = 5;
                Data += m_Random.Inter(m_Seq, m_Pic, s, Mbs, {.intra = 0});
                continue;
            }
            MacroblockWriter Intra(m_Seq, m_Pic, s);
            for (int Mb = 0; Mb < Mbs; ++Mb)
                Intra.Put({.intra = true, .mb_type = 3, .luma_dc = {m_Random.Within(20), m_Random.Within(20)}});
            Data += Intra.Finish();
        }
        return Data;
    }

    const SeqParamSet m_Seq = Interlaced({.profile_idc = 77});
    const PicParamSet m_Pic{.pic_order_present = true};
    RandomMacroblocks m_Random{static_cast<uint32_t>(GetParam())};
};

TEST_P(SamplesOfLengthSize, GiveThePicturesOfTheByteStream)
{
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, true);
    Bytes Stream = Write(m_Seq) + Write(m_Pic);
    Decoder.Feed(Record());
    for (uint32_t i = 0; i < 12; ++i) {
        Bytes Data = Picture(i, i % 3 != 0);
        if (i % 5 == 2) Data = Write(m_Seq) + Write(m_Pic) + Data; // parameter sets may stand in samples, too
        Stream += Data;
        Decoder.Feed(Sample(Data));
    }
    Decoder.Drain();
    EXPECT_EQ(Decoder.LastFault(), UMC::StatusOk);
    EXPECT_EQ(Pictures.size(), 12u);
    EXPECT_TRUE(Pictures == DecodeAll(Stream));
}

TEST_P(SamplesOfLengthSize, AreReadBehindAResetWithoutTheRecord)
{
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, true);
    Decoder.Feed(Record());
    Decoder.Feed(Sample(Picture(1, true)));
    ASSERT_EQ(Decoder.Decoder().Reset(), UMC::StatusOk);
    const Bytes Data = Picture(0, false) + Picture(1, true);
    Decoder.Feed(Sample(Data));
    Decoder.Drain();
    EXPECT_TRUE(Pictures == DecodeAll(Write(m_Seq) + Write(m_Pic) + Data));
    EXPECT_EQ(Pictures.size(), 2u);
}

TEST_P(SamplesOfLengthSize, ThatAreCutLoseNoPictureBehindThem)
{
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, true);
    Decoder.Feed(Record());
    const Bytes Whole = Sample(Picture(1, true));
    for (size_t Size = 1; Size < Whole.size(); ++Size)
        Decoder.Feed(Bytes(Whole.begin(), Whole.begin() + static_cast<ptrdiff_t>(Size)));
    Decoder.Drain();
    Pictures.clear();
    const Bytes Data = Picture(0, true);
    Decoder.Feed(Sample(Data));
    Decoder.Drain();
    EXPECT_TRUE(Pictures == DecodeAll(Write(m_Seq) + Write(m_Pic) + Data));
    EXPECT_EQ(Pictures.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Bytes, SamplesOfLengthSize, testing::Values(1u, 2u, 3u, 4u));

} // namespace
