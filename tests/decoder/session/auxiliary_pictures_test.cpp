// Auxiliary pictures (alpha): decoded beside their primary pictures, as a stream of luma alone would be, and without
// any say in which pictures begin, end and leave.
#include "decoder/picture/picture_view.h"
#include "decoder/session/task_supplier.h"
#include "media/umc_default_memory_allocator.h"
#include "process/video_processing.h"
#include "tests/decoder/random_fields.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace test;

constexpr int kWidth = 64, kHeight = 64;

Bytes Extension(uint32_t aux_format_idc, uint32_t Depth)
{
    BitWriter b;
    b.UE(0);
    b.UE(aux_format_idc);
    if (aux_format_idc != 0) {
        b.UE(Depth - 8);
        b.U(1, 0);
        b.U(static_cast<int>(Depth) + 1, 255);
        b.U(static_cast<int>(Depth) + 1, 0);
    }
    b.U(1, 0);
    b.TrailingBits();
    return NalUnit(3, 13, b.Data());
}
Bytes AsAuxiliary(Bytes Unit)
{
    Unit[4] = static_cast<uint8_t>((Unit[4] & 0xE0) | 19);
    return Unit;
}

// The luma of the auxiliary pictures in the buffer when a stream is over, by order count.
std::map<int, Bytes> AuxiliaryPicturesOf(const Bytes& Stream)
{
    UMC::DefaultMemoryAllocator Allocator;
    UMC::VideoData Shown, Out;
    UMC::VideoProcessing Processing;
    UMC::BaseCodec* pConverter = &Processing;
    UMC::TaskSupplier Supplier(&Shown, &pConverter, &Allocator);
    UMC::VideoDecoderParams Params;
    Params.m_NumThreads = 1;
    EXPECT_EQ(Supplier.Init(Params), UMC::StatusOk);
    EXPECT_EQ(Out.Init(kWidth, kHeight, UMC::YUV420, 8), UMC::StatusOk);
    EXPECT_EQ(Out.Alloc(), UMC::StatusOk);
    Bytes Data = Stream;
    UMC::MediaData In;
    In.SetBufferPointer(Data.data(), Data.size());
    In.SetDataSize(Data.size());
    while (In.GetDataSize() > 4) {
        Out.SetDataSize(0);
        Supplier.ConsumeSource(&In, &Out);
    }
    Out.SetDataSize(0);
    Supplier.ConsumeSource(nullptr, &Out);
    std::map<int, Bytes> Pictures;
    for (const UMC::H264DecoderFrame* p = Supplier.Dpb()->Head(); p; p = p->m_pNext) {
        if (!p->m_pAuxiliary || !p->m_pAuxiliary->HasSlices()) continue;
        const UMC::PictureView View = ViewPicture(*p->m_pAuxiliary, UMC::FRAME_PICTURE);
        EXPECT_EQ(View.ChromaFormat, 0);
        Bytes& Luma = Pictures[p->PicOrderCnt()];
        for (int y = 0; y < kHeight; ++y) {
            const uint8_t* const pRow = View.pPlane[0] + y * View.PitchLuma;
            Luma.insert(Luma.end(), pRow, pRow + kWidth * View.SampleBytes);
        }
    }
    return Pictures;
}

// Four pictures, all of them references, as three streams.
struct AlphaStream {
    SeqParamSet Seq{.profile_idc = 100, .num_ref_frames = 4, .width_mbs = 4, .height_map_units = 4};
    SeqParamSet AlphaSeq;
    PicParamSet Pic{.num_ref_idx = {2, 1}};
    RandomMacroblocks Random{5}, AlphaRandom{6};
    Bytes Primary, Alpha, Both;

    explicit AlphaStream(uint32_t Depth = 8, bool IsInterlaced = false)
    {
        if (IsInterlaced) Seq = Interlaced(Seq);
        if (IsInterlaced) Seq.height_map_units = 2;
        AlphaSeq = Seq;
        AlphaSeq.profile_idc = Depth > 8 ? 110 : 100;
        AlphaSeq.chroma_format_idc = 0;
        AlphaSeq.bit_depth = Depth;
        AlphaSeq.bit_depth_chroma = 8;
        Primary = Write(Seq) + Write(Pic);
        Alpha = Write(AlphaSeq) + Write(Pic);
        Both = Primary + Extension(1, Depth);
    }
    Bytes Picture(RandomMacroblocks& From, const SeqParamSet& Set, const Slice& s) const
    {
        return s.slice_type % 5 == 2 ? From.Intra(Set, Pic, s)
                                     : From.Inter(Set, Pic, s, static_cast<int>(PictureMbs(Set, s)));
    }
    void Add(Slice s)
    {
        s.disable_deblocking = 0;
        if (s.slice_type == 7) s.nal_unit_type = s.frame_num == 0 && !s.bottom ? 5 : 1;
        const Bytes Unit = Picture(Random, Seq, s), AlphaUnit = Picture(AlphaRandom, AlphaSeq, s);
        Primary += Unit;
        Alpha += AlphaUnit;
        Both += Unit + AsAuxiliary(AlphaUnit);
    }
    void AddFrames()
    {
        Add(Typed(7, 0, 0));
        Add(Typed(7, 1, 4));
        Add(Typed(5, 2, 8));
        Add(Typed(6, 3, 6));
    }
    void AddFields()
    {
        for (uint32_t i = 0; i < 4; ++i)
            for (const bool IsBottom : {false, true}) {
                Slice s = Typed(i < 2 ? 7 : 5, i, 4 * i + IsBottom);
                s.field = true;
                s.bottom = IsBottom;
                Add(s);
            }
    }
};

void ExpectAlpha(const AlphaStream& In, size_t Count = 4)
{
    const std::vector<Bytes> Expected = DecodeAll(In.Alpha);
    const std::map<int, Bytes> Alpha = AuxiliaryPicturesOf(In.Both);
    ASSERT_EQ(Expected.size(), Count);
    ASSERT_EQ(Alpha.size(), Count);
    size_t i = 0;
    for (const auto& [OrderCount, Luma] : Alpha) {
        EXPECT_TRUE(std::equal(Luma.begin(), Luma.end(), Expected[i].begin())) << "order count " << OrderCount;
        ++i;
    }
    EXPECT_EQ(DecodeAll(In.Both), DecodeAll(In.Primary));
}

TEST(AuxiliaryPictures, OfFramesAreDecodedBesideThem)
{
    AlphaStream In;
    In.AddFrames();
    ExpectAlpha(In);
}

TEST(AuxiliaryPictures, HaveADepthOfTheirOwn)
{
    AlphaStream In(10);
    In.AddFrames();
    ExpectAlpha(In);
}

TEST(AuxiliaryPictures, OfFieldsAreFields)
{
    AlphaStream In(8, true);
    In.AddFields();
    ExpectAlpha(In);
}

TEST(AuxiliaryPictures, WithoutAnExtensionThatNamesThemArePassedOver)
{
    for (const uint32_t aux_format_idc : {0u, 3u}) {
        AlphaStream In;
        In.Both += Extension(aux_format_idc, 8);
        In.AddFrames();
        EXPECT_TRUE(AuxiliaryPicturesOf(In.Both).empty());
        EXPECT_EQ(DecodeAll(In.Both), DecodeAll(In.Primary));
    }
}

// In front of the first picture, behind a delimiter, and of another picture.
TEST(AuxiliaryPictures, ThatGoWithNoPictureInHandAreDropped)
{
    AlphaStream In;
    const auto Stray = [&](uint32_t FrameNum, uint32_t PocLsb) {
        return AsAuxiliary(In.Picture(In.AlphaRandom, In.AlphaSeq, Typed(5, FrameNum, PocLsb)));
    };
    In.Both += Stray(0, 0);
    In.Add(Typed(7, 0, 0));
    const Bytes Delimiter = NalUnit(0, 9, {0x10});
    In.Both += Stray(1, 2) + Delimiter + Stray(0, 0) + Stray(1, 4);
    In.Add(Typed(7, 1, 4));
    In.Both += Stray(1, 6) + Stray(2, 4);
    ExpectAlpha(In, 2);
}

// A picture whose references have none is patched, and the primary picture is shown all the same.
TEST(AuxiliaryPictures, WithoutReferencesHarmNothing)
{
    AlphaStream In;
    In.Both = In.Primary + Write(In.Pic);
    In.Add(Typed(7, 0, 0));
    In.Both += Extension(2, 8);
    In.Add(Typed(7, 1, 4));
    In.Add(Typed(5, 2, 8));
    AlphaStream Late;
    Late.Both = Late.Primary;
    Late.Add(Typed(7, 0, 0));
    Late.Both += Extension(2, 8);
    Late.Add(Typed(5, 1, 4));
    for (const AlphaStream* const p : {&In, &Late}) EXPECT_EQ(DecodeAll(p->Both), DecodeAll(p->Primary));
    EXPECT_EQ(AuxiliaryPicturesOf(Late.Both).size(), 1u);
}

} // namespace
