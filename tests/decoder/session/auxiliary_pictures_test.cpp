// Auxiliary pictures (alpha): decoded beside their primary pictures, as a stream of luma alone would be, and without
// any say in which pictures begin, end and leave.
#include "decoder/picture/picture_view.h"
#include "decoder/session/task_supplier.h"
#include "media/umc_default_memory_allocator.h"
#include "process/video_processing.h"
#include "tests/decoder/alpha_stream.h"
#include "tests/decoder/encoded_noise.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace test;

constexpr int kWidth = 64, kHeight = 64;

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

// Of the same source in grey, so that slices and their headers are the same ones.
TEST(AuxiliaryPictures, OfFramesOfPairsAreOfPairs)
{
    const std::string Options =
        "--tff --profile high --qp 26 --bframes 1 --b-adapt 0 --no-scenecut --ref 6 --weightp 0 "
        "--no-psy --slices 2 --output-csp ";
    const Bytes Primary = EncodeNoise(Options + "i420", kWidth, kHeight),
                Alpha = EncodeNoise(Options + "i400", kWidth, kHeight);
    const Units AlphaUnits = SplitUnits(Alpha);
    Units Both;
    auto NextSlice = AlphaUnits.begin();
    for (const Bytes& Unit : SplitUnits(Primary)) {
        Both.push_back(Unit);
        if ((Unit[0] & 31) == 7) Both.push_back(SplitUnits(Write(SeqParamSetExtension{})).front());
        if (!IsSliceUnit(Unit)) continue;
        NextSlice = std::find_if(NextSlice, AlphaUnits.end(), IsSliceUnit);
        ASSERT_NE(NextSlice, AlphaUnits.end());
        Both.push_back(*NextSlice++);
        Both.back()[0] = static_cast<uint8_t>((Both.back()[0] & 0xE0) | 19);
    }
    const std::vector<Bytes> Expected = DecodeAll(Alpha);
    const std::map<int, Bytes> Found = AuxiliaryPicturesOf(JoinUnits(Both));
    ASSERT_EQ(Found.size(), 5u); // the frame of the first B picture, which has left, holds another one
    for (const auto& [OrderCount, Luma] : Found)
        EXPECT_TRUE(std::equal(Luma.begin(), Luma.end(), Expected[static_cast<size_t>(OrderCount / 2)].begin()))
            << "order count " << OrderCount;
    EXPECT_EQ(DecodeAll(JoinUnits(Both)), DecodeAll(Primary));
}

TEST(AuxiliaryPictures, WithoutAnExtensionThatNamesThemArePassedOver)
{
    for (const uint32_t aux_format_idc : {0u, 3u}) {
        AlphaStream In;
        In.Both += Write(SeqParamSetExtension{.aux_format_idc = aux_format_idc});
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
    In.Both += Write(SeqParamSetExtension{.aux_format_idc = 2});
    In.Add(Typed(7, 1, 4));
    In.Add(Typed(5, 2, 8));
    AlphaStream Late;
    Late.Both = Late.Primary;
    Late.Add(Typed(7, 0, 0));
    Late.Both += Write(SeqParamSetExtension{.aux_format_idc = 2});
    Late.Add(Typed(5, 1, 4));
    for (const AlphaStream* const p : {&In, &Late}) EXPECT_EQ(DecodeAll(p->Both), DecodeAll(p->Primary));
    EXPECT_EQ(AuxiliaryPicturesOf(Late.Both).size(), 1u);
}

} // namespace
