// Members of the family that no stream selects yet, on streams that are not filtered: deep samples, 4:2:2 and fields.
#include "decoder/entropy/mb_decoder.h"
#include "decoder/macroblock/inter_prediction.inc"
#include "decoder/macroblock/intra_prediction.inc"
#include "decoder/macroblock/mb_reconstructor.h"
#include "decoder/stream/headers_store.h"
#include "decoder/stream/nal_splitter.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/decoder/parsed_unit.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/random_macroblocks.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace UMC {
namespace {

using test::Bytes;
using test::operator+;
using test::operator+=;

template <class Sample, int color_format, bool is_field>
class Member : MBDecoder<typename CodecTraits<Sample>::Coeffs, Sample, Sample, color_format, is_field, true>,
               MBReconstructor<Sample, color_format, true>
{
public:
    using SampleType = Sample;
    static void Decode(SliceCursor& c)
    {
        if (c.Slice.pHeader->slice_type == SLICE_P)
            Run<SLICE_P>(c);
        else
            Run<SLICE_I>(c);
    }

private:
    template <SliceType kSlice>
    static void Run(SliceCursor& c)
    {
        const PictureView& Picture = c.Slice.Picture;
        const bool IsCabac = c.Slice.pPictureSet->entropy_coding_mode_flag != 0;
        MbPlace Place = PlaceOf<false>(0, Picture.MbWidth);
        for (int32_t i = 0; i < Picture.MbCount(); ++i, Place = NextPlace<false>(Place, Picture.MbWidth)) {
            c.BeginMacroblock<false>(i, Place.X, Place.Y);
            if (IsCabac)
                Member::template DecodeMbCABAC<kSlice, false>(c);
            else
                Member::template DecodeMbCAVLC<kSlice, false>(c);
            Member::ReconstructInter(c.Slice, c.Mb, c.Coeffs, c.Scratch);
            if (IsCabac) {
                ASSERT_EQ(c.Entropy.Cabac.m_Engine.Terminate(), i + 1u == static_cast<uint32_t>(Picture.MbCount()))
                    << i;
            }
        }
    }
};

// Pictures of one slice each, or of two fields with one; P pictures refer to the picture before, fields to its field of
// their parity or, in the first frame, to the first field.
class UnfilteredStream
{
public:
    template <class M>
    Bytes Decode(const Bytes& Stream)
    {
        static constexpr uint8_t kStart[] = {0, 0, 1};
        for (auto At = std::search(Stream.begin(), Stream.end(), kStart, kStart + 3); At != Stream.end();) {
            const auto Next = std::search(At + 3, Stream.end(), kStart, kStart + 3);
            TakeUnit<M>(Bytes(At, Next));
            At = Next;
        }
        return std::move(m_Pictures);
    }

private:
    template <class M>
    void TakeUnit(const Bytes& Data)
    {
        test::Unit Unit(Data);
        switch (Data[3] & 31) {
        case 7: {
            H264SeqParamSet Set{};
            ASSERT_EQ(ReadSeqParamSet(Unit.Bits, Set), StatusOk);
            m_Headers.m_SeqParamSets.Add(Set, true);
            break;
        }
        case 8: {
            auto pSet = std::make_unique<H264PicParamSet>();
            ASSERT_EQ(ReadPicParamSet(Unit.Bits, m_Headers, *pSet), StatusOk);
            m_Headers.m_PicParamSets.Add(*pSet, true);
            break;
        }
        case 1:
        case 5: DecodeSlice<M>(Data); break;
        default: break;
        }
    }
    template <class M>
    void DecodeSlice(const Bytes& Data)
    {
        H264HeapPiece Piece(static_cast<uint32_t>(Data.size()));
        uint32_t Size = 0;
        Swapper().SwapMemory(Piece.m_pData, Size, Data.data(), static_cast<uint32_t>(Data.size()));
        Piece.Seal(Size);
        H264Slice Slice;
        ASSERT_TRUE(Slice.ReadStart(Piece));
        Slice.m_pPicParamSet = m_Headers.m_PicParamSets.Get(Slice.m_Header.pic_parameter_set_id);
        ASSERT_NE(Slice.m_pPicParamSet, nullptr);
        Slice.m_pSeqParamSet = m_Headers.m_SeqParamSets.Get(Slice.m_pPicParamSet->seq_parameter_set_id);
        SliceHeaderTables Tables;
        ASSERT_TRUE(Slice.Init(Tables));
        ASSERT_EQ(Slice.m_Header.disable_deblocking_filter_idc, 1u) << "the members here do not filter";
        Place(Slice);
        const auto pCursor = std::make_unique<SliceCursor>();
        pCursor->View(Slice);
        pCursor->Begin(Slice);
        pCursor->BeginReading(Slice, nullptr);
        M::Decode(*pCursor);
        if (!Slice.m_Header.field_pic_flag || Slice.m_Header.bottom_field_flag)
            Store<typename M::SampleType>(*Slice.m_pFrame);
    }
    // Gives the slice its frame, its records and its list.
    void Place(H264Slice& Slice)
    {
        const bool IsField = Slice.m_Header.field_pic_flag, IsBottom = Slice.m_Header.bottom_field_flag;
        if (!IsBottom) ++m_FrameCount;
        H264DecoderFrame& Frame = m_Frames[m_FrameCount % 2];
        if (!IsBottom) {
            Frame.SetAllocator(&m_Allocator);
            ASSERT_EQ(Frame.Allocate(PictureFormat::Of(*Slice.m_pSeqParamSet)), StatusOk);
            ASSERT_EQ(Frame.AllocateMbInfo(Frame.m_Format.MbCount()), StatusOk);
            Frame.ClearMbInfo();
            m_Local.Allocate(Frame.m_Format.MbCount());
        }
        m_Lists = {};
        const bool IsOfFirst = IsBottom && m_FrameCount == 1;
        m_Lists.List[0].Frame[0] = IsOfFirst ? &Frame : &m_Frames[(m_FrameCount + 1) % 2];
        const int Field = !IsField ? -1 : IsBottom && !IsOfFirst;
        m_Lists.List[0].Flag[0] = static_cast<uint8_t>(kRefFlagShortTerm | (Field & 7));
        Slice.m_pFrame = &Frame;
        Slice.m_pRefPicList = &m_Lists;
        Slice.m_pLocal = &m_Local.Buffers();
        Slice.m_SliceNumber = 1 + IsBottom;
    }
    template <class Sample>
    void Store(const H264DecoderFrame& Frame)
    {
        const PictureView View = ViewPicture(Frame, FRAME_PICTURE);
        for (int i = 0; i < (View.ChromaFormat == 0 ? 1 : 3); ++i) {
            const PictureSize Size = i == 0 ? Frame.m_Format.Size : Frame.m_Format.ChromaSize();
            for (int y = 0; y < Size.Height; ++y) {
                const uint8_t* const pRow = View.pPlane[i] + y * (i == 0 ? View.PitchLuma : View.PitchChroma);
                m_Pictures.insert(m_Pictures.end(), pRow, pRow + Size.Width * static_cast<int>(sizeof(Sample)));
            }
        }
    }

    Headers m_Headers;
    DefaultMemoryAllocator m_Allocator;
    H264DecoderFrame m_Frames[2];
    LocalMbMemory m_Local;
    H264DecoderRefPicList m_Lists{};
    int m_FrameCount = 0;
    Bytes m_Pictures;
};

template <class M>
void ExpectAsFfmpeg(const Bytes& Stream, const char* pPixelFormat)
{
    const auto Expected = ffmpeg_oracle::Decode(Stream, pPixelFormat);
    EXPECT_EQ(Expected.Messages, "");
    ASSERT_FALSE(Expected.Pictures.empty());
    const Bytes Ours = UnfilteredStream().Decode<M>(Stream);
    ASSERT_EQ(Ours.size(), Expected.Pictures.size());
    const auto First = std::mismatch(Ours.begin(), Ours.end(), Expected.Pictures.begin());
    EXPECT_EQ(First.first, Ours.end()) << "first at byte " << First.first - Ours.begin() << " of " << Ours.size();
}

// Six pictures of moving noise and slopes, an I picture and two P pictures twice.
Bytes EncodeByX264(const std::string& Options, bool Is422)
{
    constexpr int kWidth = 64, kHeight = 48;
    const TemporaryFolder Folder;
    const std::string In = Folder.File("in.yuv"), Out = Folder.File("out.264");
    Bytes Source;
    std::minstd_rand Random(7);
    for (int t = 0; t < 6; ++t)
        for (int Plane = 0; Plane < 3; ++Plane)
            for (int y = 0; y < (Plane && !Is422 ? kHeight / 2 : kHeight); ++y)
                for (int x = 0; x < (Plane ? kWidth / 2 : kWidth); ++x) {
                    const int Noise = (x + t) / 16 % 2 ? static_cast<int>(Random() >> 8) % 60 : 0;
                    Source.push_back(static_cast<uint8_t>(40 + x + 2 * y / (Plane + 1) + 3 * t + Noise));
                }
    std::ofstream(In, std::ios::binary)
        .write(reinterpret_cast<const char*>(Source.data()), static_cast<std::streamsize>(Source.size()));
    const std::string Command =
        "x264 --quiet --threads 1 --slices 1 --bframes 0 --ref 1 --weightp 0 --keyint 3 --min-keyint 3 --no-deblock "
        "--demuxer raw --input-res 64x48 --input-csp " +
        std::string(Is422 ? "i422 --output-csp i422 " : "i420 ") + Options + " -o " + Out + " " + In +
        " > /dev/null 2>&1";
    EXPECT_EQ(test_system::RunCommand(Command), 0) << Command;
    std::ifstream File(Out, std::ios::binary);
    return {std::istreambuf_iterator<char>(File), {}};
}

class UnselectedMember : public testing::TestWithParam<const char*>
{
};

TEST_P(UnselectedMember, OfDeepSamplesGivesFfmpegsPictures)
{
    for (const char* const pQp : {" --qp 3", " --qp 30"})
        ExpectAsFfmpeg<Member<uint16_t, 1, false>>(
            EncodeByX264(std::string("--output-depth 10") + pQp + GetParam(), false), "yuv420p10le");
}

TEST_P(UnselectedMember, Of422GivesFfmpegsPictures)
{
    for (const char* const pQp : {" --qp 12", " --qp 34 --chroma-qp-offset 5"})
        ExpectAsFfmpeg<Member<uint8_t, 2, false>>(
            EncodeByX264(std::string("--output-depth 8") + pQp + GetParam(), true), "yuv422p");
}

TEST_P(UnselectedMember, OfDeep422GivesFfmpegsPictures)
{
    for (const char* const pQp : {" --qp 2", " --qp 36 --chroma-qp-offset -4"})
        ExpectAsFfmpeg<Member<uint16_t, 2, false>>(
            EncodeByX264(std::string("--output-depth 10") + pQp + GetParam(), true), "yuv422p10le");
}

INSTANTIATE_TEST_SUITE_P(Codings, UnselectedMember,
                         testing::Values(" --no-cabac --8x8dct", " --8x8dct", " --no-8x8dct"), [](const auto& Info) {
                             return std::string(Info.index == 0 ? "Cavlc" : Info.index == 1 ? "Cabac" : "Cabac4x4");
                         });

// Random macroblocks of every inter type and intra ones, with levels all over, in two frames of two fields each.
TEST(FieldMember, GivesFfmpegsPictures)
{
    for (const bool Is8x8 : {false, true}) {
        const test::SeqParamSet Seq{.profile_idc = 100,
                                    .num_ref_frames = 2,
                                    .width_mbs = 4,
                                    .height_map_units = 3,
                                    .frame_mbs_only = false,
                                    .vui = test::ReorderVui(0, 2)};
        const test::PicParamSet Pic{.has_transform_extension = true, .transform_8x8_mode = Is8x8};
        test::RandomMacroblocks Random(8);
        Bytes Stream = test::Write(Seq) + test::Write(Pic);
        for (uint32_t i = 0; i < 4; ++i) {
            const test::Slice s{.nal_unit_type = i == 0 ? 5u : 1u,
                                .slice_type = i == 0 ? 7u : 5u,
                                .frame_num = i / 2,
                                .poc_lsb = i,
                                .field = true,
                                .bottom = i % 2 != 0};
            Stream += i == 0 ? Random.Intra(Seq, Pic, s) : Random.Inter(Seq, Pic, s, 12, {.intra = 4});
        }
        ExpectAsFfmpeg<Member<uint8_t, 1, true>>(Stream, "yuv420p");
    }
}

} // namespace
} // namespace UMC
