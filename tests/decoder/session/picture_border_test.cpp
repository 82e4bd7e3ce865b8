// Where one picture ends and the next begins: each element that clause 7.4.1.2.4 names, alone.
#include "tests/decoder/random_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;

// Two slices of a picture of 2 macroblocks, or of two pictures that each lost one. Another first macroblock is all that
// they do not share at first.
struct TwoSlices {
    SeqParamSet Seq{.log2_max_frame_num = 6, .width_mbs = 2};
    PicParamSet Pic[2] = {{.pic_order_present = true}, {.id = 1, .pic_order_present = true}};
    Slice a, b{.first_mb = 1};

    // Pictures that are shown whole: 1 when the two slices are one picture, 0 when each is a picture that lost a half.
    size_t WholePictures() const
    {
        Bytes Stream = Write(Seq) + Write(Pic[0]) + Write(Pic[1]);
        Slice First{.nal_unit_type = 5, .idr_pic_id = 9};
        Stream += PcmSlice(Seq, Pic[0], First, 10, 2);
        for (const Slice* const p : {&a, &b}) Stream += PcmSlice(Seq, Pic[p->pps_id], *p, 20);
        return DecodeAll(Stream).size() - 1;
    }
    bool AreOnePicture() const { return WholePictures() == 1; }
};

TwoSlices OfType(uint32_t PocType)
{
    TwoSlices t;
    t.Seq.poc_type = PocType;
    t.Seq.delta_pic_order_always_zero = false;
    t.a.frame_num = t.b.frame_num = 1;
    t.a.poc_lsb = t.b.poc_lsb = 8;
    return t;
}

TEST(PictureBorder, NoneBetweenSlicesThatShareEverything)
{
    for (const uint32_t Type : {0u, 1u, 2u}) {
        TwoSlices t = OfType(Type);
        EXPECT_TRUE(t.AreOnePicture()) << Type;
        t.a.nal_ref_idc = 3; // both are references
        EXPECT_TRUE(t.AreOnePicture());
        t.b.qp_delta = 3;
        t.b.disable_deblocking = 2;
        EXPECT_TRUE(t.AreOnePicture());
    }
}

TEST(PictureBorder, IdrPicIdAlone)
{
    TwoSlices t;
    t.a.nal_unit_type = t.b.nal_unit_type = 5;
    EXPECT_TRUE(t.AreOnePicture());
    t.b.idr_pic_id = 1;
    EXPECT_FALSE(t.AreOnePicture());
}

TEST(PictureBorder, KindOfUnitAlone)
{
    TwoSlices t;
    t.a.nal_unit_type = 5;
    EXPECT_FALSE(t.AreOnePicture());
}

TEST(PictureBorder, FrameNumAlone)
{
    TwoSlices t = OfType(0);
    t.b.frame_num = 2;
    EXPECT_FALSE(t.AreOnePicture());
}

TEST(PictureBorder, PicParameterSetAlone)
{
    TwoSlices t = OfType(0);
    t.b.pps_id = 1;
    EXPECT_FALSE(t.AreOnePicture());
}

TEST(PictureBorder, NoReferenceBesideAReference)
{
    TwoSlices t = OfType(0);
    t.b.nal_ref_idc = 0;
    EXPECT_FALSE(t.AreOnePicture());
    std::swap(t.a.nal_ref_idc, t.b.nal_ref_idc);
    EXPECT_FALSE(t.AreOnePicture());
}

TEST(PictureBorder, EachElementOfTheOrderCount)
{
    TwoSlices t = OfType(0);
    t.b.poc_lsb = 9;
    EXPECT_FALSE(t.AreOnePicture());
    t = OfType(0);
    t.b.delta_poc_bottom = 1;
    EXPECT_FALSE(t.AreOnePicture());
    for (const int i : {0, 1}) {
        t = OfType(1);
        t.b.delta_pic_order_cnt[i] = 1;
        EXPECT_FALSE(t.AreOnePicture()) << i;
    }
}

TEST(PictureBorder, ConsecutiveIdrPicturesOfSeveralSlices)
{
    const SeqParamSet Seq{.width_mbs = 2};
    const PicParamSet Pic;
    Bytes Stream = Write(Seq) + Write(Pic);
    std::vector<int> Expected;
    for (uint32_t i = 0; i < 6; ++i) {
        Slice s{.nal_unit_type = 5, .idr_pic_id = i % 2 ? 65535u : 0u};
        for (s.first_mb = 0; s.first_mb < 2; ++s.first_mb)
            Stream += PcmSlice(Seq, Pic, s, static_cast<uint8_t>(20 + i));
        Expected.push_back(static_cast<int>(20 + i));
    }
    EXPECT_EQ(DecodeValues(Stream), Expected);
    ExpectAsFfmpeg(Stream, 6);
}

TEST(IdrPicId, Has16Bits)
{
    const SeqParamSet Seq;
    const PicParamSet Pic;
    const auto PicturesWith = [&](uint32_t Id) {
        return DecodeAll(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5, .idr_pic_id = Id}, 10))
            .size();
    };
    EXPECT_EQ(PicturesWith(65535), 1u);
    EXPECT_EQ(PicturesWith(65536), 0u);
}

} // namespace
