// Types of pictures by what they have in common with those around them. No setting asks for it: the core's flags do.
#include "tests/encoder/stream_check.h"
#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace encoder_testing;
using namespace UMC_H264_ENCODER;
using UMC::H264EncoderParams;

constexpr uint32_t kTypes = ENC_ANALYSE_FRAME_TYPE, kTypesAndCuts = ENC_ANALYSE_FRAME_TYPE | ENC_ANALYSE_SCENE_CUT;

H264EncoderParams ParamsOf(int32_t Width, int32_t Height, int32_t BPictures)
{
    H264EncoderParams p = SizedParams(Width, Height);
    p.num_b_frames = BPictures;
    p.num_ref_frames = 3;
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = p.quant_b = 28;
    return p;
}

template <class Sample = uint8_t>
std::string OrderOf(const H264EncoderParams& p, uint32_t Flags, const std::vector<Picture>& Clip)
{
    CoreDriver<Sample> d(p, Flags);
    d.EncodeAll(Clip);
    EXPECT_EQ(d.Reconstruction.size(), Clip.size());
    ExpectDecodesToReconstruction(d);
    return d.Order();
}

// ---- Thresholds, on pictures that differ by whole macroblocks --------------------------------------------------

constexpr int32_t kMbWidth = 32, kMbHeight = 16, kMacroblocks = kMbWidth * kMbHeight;
static_assert(kMacroblocks == 512); // in which the shares are told

// Rough texture, the same in every macroblock, and some that are flat: these are better off intra where those of the
// picture before were rough, and all of them at one cost where they lie apart. What is alike in both is skipped at
// none.
Picture Rough(const std::vector<int>& Flat)
{
    Picture p(static_cast<size_t>(kMacroblocks * 384), 128);
    uint8_t Tile[256];
    std::mt19937 Rng(3);
    for (uint8_t& Sample : Tile) Sample = Rng() & 1 ? 255 : 0;
    for (int y = 0; y < 16 * kMbHeight; ++y)
        for (int x = 0; x < 16 * kMbWidth; ++x) {
            const int Mb = y / 16 * kMbWidth + x / 16;
            if (std::find(Flat.begin(), Flat.end(), Mb) != Flat.end()) continue;
            p[static_cast<size_t>(y * 16 * kMbWidth + x)] = Tile[y % 16 * 16 + x % 16];
        }
    return p;
}

// The first ones in raster order.
Picture FirstFlat(int Count)
{
    std::vector<int> Flat(static_cast<size_t>(Count));
    for (int i = 0; i < Count; ++i) Flat[static_cast<size_t>(i)] = i;
    return Rough(Flat);
}

// Apart from each other, which costs more than side by side.
Picture ScatteredFlat(int Count)
{
    std::vector<int> Flat;
    for (int i = 0; i < Count; ++i) Flat.push_back(2 * i + (2 * i / kMbWidth & 1));
    return Rough(Flat);
}

// Apart from each other and from the edges; First is one of 3 rows.
Picture ApartFlat(int First, int Count)
{
    std::vector<int> Flat;
    for (int i = 0; i < Count; ++i) Flat.push_back((2 * First + 1) * kMbWidth + 1 + 2 * i);
    return Rough(Flat);
}

// The same in samples of 10 bits.
Picture Deepened(const Picture& p)
{
    Picture Deep;
    for (const uint8_t Sample : p) {
        Deep.push_back(static_cast<uint8_t>(Sample << 2));
        Deep.push_back(Sample >> 6);
    }
    return Deep;
}

template <class Sample>
class LookAheadLimits : public testing::Test
{
protected:
    static std::string Order(int32_t BPictures, uint32_t Flags, std::vector<Picture> Clip)
    {
        H264EncoderParams p = ParamsOf(16 * kMbWidth, 16 * kMbHeight, BPictures);
        if (sizeof(Sample) == 1) return OrderOf<Sample>(p, Flags, Clip);
        p.profile_idc = 100;
        p.bit_depth_luma = p.bit_depth_chroma = 10;
        for (Picture& Source : Clip) Source = Deepened(Source);
        return OrderOf<Sample>(p, Flags, Clip);
    }
};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(LookAheadLimits, SampleTypes);

// The picture behind the first must not cost more from the anchor than from the first.
TYPED_TEST(LookAheadLimits, TheFirstIsABPictureWhereTheNextCostsNoMoreWithoutIt)
{
    const Picture None = Rough({}), One = ApartFlat(0, 1);
    EXPECT_EQ(this->Order(1, kTypes, {None, One, None}), "Ka Pc bb"); // less
    EXPECT_EQ(this->Order(1, kTypes, {None, None, One}), "Ka Pc bb"); // the same
    EXPECT_EQ(this->Order(1, kTypes, {None, One, One}), "Ka Pb Pc");  // more
}

TYPED_TEST(LookAheadLimits, TheFirstIsABPictureWithLessThanHalfOfItIntra)
{
    const Picture None = Rough({});
    EXPECT_EQ(this->Order(1, kTypes, {None, FirstFlat(kMacroblocks / 2 - 1), None}), "Ka Pc bb");
    EXPECT_EQ(this->Order(1, kTypes, {None, FirstFlat(kMacroblocks / 2), None}), "Ka Pb Pc");
}

TYPED_TEST(LookAheadLimits, ARunGoesOnAtTwiceItsCost)
{
    const Picture None = Rough({});
    EXPECT_EQ(this->Order(2, kTypes, {None, ApartFlat(0, 1), ApartFlat(1, 2), None}), "Ka Pd bb bc");
    EXPECT_EQ(this->Order(2, kTypes, {None, ApartFlat(0, 1), ApartFlat(1, 3), None}), "Ka Pc bb Pd");
    // That of all its pictures.
    EXPECT_EQ(this->Order(3, kTypes, {None, ApartFlat(0, 1), ApartFlat(1, 1), ApartFlat(2, 4), None}),
              "Ka Pe bb bc bd");
    EXPECT_EQ(this->Order(3, kTypes, {None, ApartFlat(0, 1), ApartFlat(1, 1), ApartFlat(2, 5), None}),
              "Ka Pd bb bc Pe");
}

TYPED_TEST(LookAheadLimits, ARunGoesOnUpTo180Of512Intra)
{
    const Picture None = Rough({}), First = ScatteredFlat(240);
    EXPECT_EQ(this->Order(2, kTypes, {None, First, FirstFlat(180), None}), "Ka Pd bb bc");
    EXPECT_EQ(this->Order(2, kTypes, {None, First, FirstFlat(181), None}), "Ka Pc bb Pd");
}

TYPED_TEST(LookAheadLimits, ASceneBeginsAbove505Of512Intra)
{
    const Picture None = Rough({});
    EXPECT_EQ(this->Order(1, kTypesAndCuts, {None, None, FirstFlat(505), FirstFlat(505)}), "Ka Pc bb Pd");
    EXPECT_EQ(this->Order(1, kTypesAndCuts, {None, None, FirstFlat(506), FirstFlat(506)}), "Ka Pb Kc Pd");
    EXPECT_EQ(this->Order(0, kTypesAndCuts, {None, None, FirstFlat(506), FirstFlat(506)}), "Ka Pb Kc Pd");
    EXPECT_EQ(this->Order(1, kTypes, {None, None, FirstFlat(506), FirstFlat(506)}), "Ka Pc bb Pd");
}

// ---- Whole streams -----------------------------------------------------------------------------------------------

constexpr int32_t kWidth = 96, kHeight = 80;

std::vector<Picture> Still(int Count) { return MakeClip(Scene::Still, kWidth, kHeight, Count); }

// Smooth shades, better off intra than from any other picture.
Picture Shades(int Darkest)
{
    Picture p = Still(1)[0];
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            p[static_cast<size_t>(y * kWidth + x)] = static_cast<uint8_t>(Darkest + (x + y) / 4);
    return p;
}

// Dark ones, and bright ones from picture At on.
std::vector<Picture> WithCut(int Count, int At)
{
    std::vector<Picture> Clip(static_cast<size_t>(Count), Shades(20));
    std::fill(Clip.begin() + At, Clip.end(), Shades(200));
    return Clip;
}

std::string OrderOf(int32_t BPictures, uint32_t Flags, const std::vector<Picture>& Clip)
{
    return OrderOf(ParamsOf(kWidth, kHeight, BPictures), Flags, Clip);
}

TEST(LookAhead, StaticPicturesMakeTheLongestRuns)
{
    EXPECT_EQ(OrderOf(0, kTypesAndCuts, Still(4)), "Ka Pb Pc Pd");
    EXPECT_EQ(OrderOf(1, kTypesAndCuts, Still(6)), "Ka Pc bb Pe bd Pf");
    EXPECT_EQ(OrderOf(2, kTypesAndCuts, Still(7)), "Ka Pd bb bc Pg be bf");
    EXPECT_EQ(OrderOf(3, kTypesAndCuts, Still(7)), "Ka Pe bb bc bd Pg bf");
}

// Leftovers of other pictures beyond the visible samples do not count.
TEST(LookAhead, StaticPicturesOfOddSizesAreStaticToo)
{
    for (const auto& [Width, Height] : {std::pair{50, 34}, {33, 47}, {18, 16}})
        for (const int32_t CodingType : {0, 1}) {
            SCOPED_TRACE(testing::Message() << Width << 'x' << Height << ' ' << CodingType);
            H264EncoderParams p = ParamsOf(Width, Height, 2);
            p.coding_type = CodingType;
            CoreDriver<uint8_t> d(p, kTypesAndCuts);
            d.EncodeAll(MakeClip(Scene::Still, Width, Height, 10));
            EXPECT_EQ(d.Order(), "Ka Pd bb bc Pg be bf Pj bh bi");
        }
}

TEST(LookAhead, AFadeIsPredictedStepByStep)
{
    std::vector<Picture> Clip = Still(6);
    for (size_t i = 0; i < Clip.size(); ++i)
        for (uint8_t& Sample : Clip[i]) Sample = static_cast<uint8_t>(Sample * (8 - i) / 8);
    EXPECT_EQ(OrderOf(2, kTypesAndCuts, Clip), "Ka Pb Pc Pd Pe Pf");
}

TEST(LookAhead, APanIsPredictedStepByStep)
{
    EXPECT_EQ(OrderOf(2, kTypesAndCuts, MakeClip(Scene::Pan, kWidth, kHeight, 6)), "Ka Pb Pc Pd Pe Pf");
}

// A picture that flickers is passed over by the anchors.
TEST(LookAhead, AFlickerIsABPicture)
{
    std::vector<Picture> Clip = Still(6);
    for (const size_t i : {1u, 3u})
        for (uint8_t& Sample : Clip[i]) Sample = static_cast<uint8_t>(Sample + 6);
    EXPECT_EQ(OrderOf(1, kTypes, Clip), "Ka Pc bb Pe bd Pf");
}

TEST(LookAhead, ASceneCutIsAnIdrPictureWhereverItFalls)
{
    for (const auto& [At, Wanted] : {std::pair{1, "Ka Kb Pe bc bd Ph bf bg"},
                                     {2, "Ka Pb Kc Pf bd be Ph bg"},
                                     {3, "Ka Pb Pc Kd Pg be bf Ph"},
                                     {4, "Ka Pd bb bc Ke Ph bf bg"},
                                     {5, "Ka Pd bb bc Pe Kf Ph bg"},
                                     {6, "Ka Pd bb bc Pe Pf Kg Ph"},
                                     {7, "Ka Pd bb bc Pg be bf Kh"}})
        EXPECT_EQ(OrderOf(2, kTypesAndCuts, WithCut(8, At)), Wanted) << At;
}

TEST(LookAhead, ASceneCutIsFoundWithItsFlagAlone)
{
    EXPECT_EQ(OrderOf(2, kTypes, WithCut(8, 3)).find_first_of("KI", 1), std::string::npos);
    CoreDriver<uint8_t> d(ParamsOf(kWidth, kHeight, 2), ENC_ANALYSE_SCENE_CUT);
    d.EncodeAll(WithCut(8, 4));
    EXPECT_EQ(d.Order(), "Ka Pd bb bc Pg be bf Ph");
}

TEST(LookAhead, ScenesByTurnsAreAllCuts)
{
    const Picture Dark = Shades(20), Bright = Shades(200);
    const std::vector<Picture> Clip{Dark, Bright, Dark, Bright, Dark, Bright};
    EXPECT_EQ(OrderOf(1, kTypesAndCuts, Clip), "Ka Kb Kc Kd Ke Kf");
}

// B pictures that wait for two anchors get but one where a scene ends.
TEST(LookAhead, ACutIsNotOvertakenByBPicturesThatWait)
{
    H264EncoderParams p = ParamsOf(kWidth, kHeight, 2);
    p.num_ref_to_start_b = 2;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(8, 4)), "Ka Pd bb bc Ke Ph bf bg");
}

// ---- The key frame rule --------------------------------------------------------------------------------------------

TEST(LookAhead, TheKeyFrameRuleCountsFromACut)
{
    H264EncoderParams p = ParamsOf(kWidth, kHeight, 2);
    p.key_frame_interval = 6;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(13, 2)), "Ka Pb Kc Pf bd be Ii bg bh Pl bj bk Pm");
    p.idr_interval = 1;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, Still(9)), "Ka Pd bb bc Pg be bf Kh Pi");
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(13, 2)), "Ka Pb Kc Pf bd be Pi bg bh Kj Pm bk bl");
    p.key_frame_interval = 0;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(7, 2)), "Ka Pb Kc Pf bd be Pg");
}

// A key picture that is no IDR picture is the anchor of the run ahead of it.
TEST(LookAhead, AKeyPictureEndsARun)
{
    H264EncoderParams p = ParamsOf(kWidth, kHeight, 3);
    p.key_frame_interval = 3;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, Still(8)), "Ka Id bb bc Ig be bf Ph");
    p.idr_interval = 2;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, Still(10)), "Ka Id bb bc Ph be bf bg Ki Pj");
}

// The picture of the rule stays one, whatever lies beside it, and a cut at it makes it an IDR picture.
TEST(LookAhead, ACutBesideAKeyPicture)
{
    H264EncoderParams p = ParamsOf(kWidth, kHeight, 2);
    p.key_frame_interval = 3;
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(9, 2)), "Ka Pb Kc Id Ig be bf Pi bh");
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(9, 3)), "Ka Pb Pc Kd Ig be bf Pi bh");
    EXPECT_EQ(OrderOf(p, kTypesAndCuts, WithCut(9, 4)), "Ka Id bb bc Ke Ig bf Pi bh");
}

// ---- References among B pictures -----------------------------------------------------------------------------------

TEST(LookAhead, TheMiddleOfMoreThanThreeBPicturesIsAReferenceInEitherMode)
{
    for (const auto& [BPictures, Wanted] : {std::pair{2, "Ka Pd bb bc"},
                                            {3, "Ka Pe bb bc bd"},
                                            {4, "Ka Pf Bc bb bd be"},
                                            {5, "Ka Pg Bd bb bc be bf"},
                                            {6, "Ka Ph Bd bb bc be bf bg"}})
        for (const int32_t Mode : {1, 2}) {
            SCOPED_TRACE(testing::Message() << BPictures << " in mode " << Mode);
            H264EncoderParams p = ParamsOf(kWidth, kHeight, BPictures);
            p.b_ref_mode = Mode;
            EXPECT_EQ(OrderOf(p, kTypesAndCuts, Still(BPictures + 2)), Wanted);
        }
    EXPECT_EQ(OrderOf(5, kTypesAndCuts, Still(7)), "Ka Pg bb bc bd be bf");
}

// ---- The end of the stream -----------------------------------------------------------------------------------------

TEST(LookAhead, AFlushDecidesWhateverWaits)
{
    const char* const kWanted[]{"Ka", "Ka Pb", "Ka Pc bb", "Ka Pd bb bc", "Ka Pe bb bc bd", "Ka Pe bb bc bd Pf"};
    for (int Count = 1; Count <= 6; ++Count) EXPECT_EQ(OrderOf(3, kTypesAndCuts, Still(Count)), kWanted[Count - 1]);
}

TEST(LookAhead, NothingIsCodedBeforeItsTypeIsKnown)
{
    CoreDriver<uint8_t> d(ParamsOf(kWidth, kHeight, 3), kTypesAndCuts);
    const std::vector<Picture> Clip = Still(6);
    for (const char* const pWanted : {"Ka", "Ka", "Ka", "Ka", "Ka Pe", "Ka Pe bb"}) {
        EXPECT_EQ(d.Encode(Clip[0]), UMC::StatusOk);
        EXPECT_EQ(d.Order(), pWanted);
    }
    d.FlushAll();
    EXPECT_EQ(d.Order(), "Ka Pe bb bc bd Pf");
}

TEST(LookAhead, GoesOnBehindAFlushAtEveryFill)
{
    for (int Count = 0; Count <= 6; ++Count) {
        SCOPED_TRACE(Count);
        CoreDriver<uint8_t> d(ParamsOf(kWidth, kHeight, 3), kTypesAndCuts);
        EXPECT_EQ(d.Flush(), UMC::StatusEndOfSegment);
        d.EncodeAll(Still(Count));
        d.EncodeAll(Still(Count + 1));
        d.EncodeAll(WithCut(5, 4));
        ASSERT_EQ(d.Reconstruction.size(), static_cast<size_t>(2 * Count + 6));
        ExpectDecodesToReconstruction(d);
    }
}

// ---- What comes between
// ----------------------------------------------------------------------------------------------

// A type that the client asks for stands. What waited ahead of it ends as the stream would.
TEST(LookAhead, ATypeOfTheClientEndsTheWait)
{
    const auto Order = [](const std::string& Asked) {
        CoreDriver<uint8_t> d(ParamsOf(kWidth, kHeight, 3), kTypesAndCuts);
        for (const char c : Asked)
            EXPECT_EQ(d.Encode(Still(1)[0], c == 'I'   ? UMC::I_PICTURE
                                            : c == 'P' ? UMC::P_PICTURE
                                            : c == 'B' ? UMC::B_PICTURE
                                                       : 0),
                      UMC::StatusOk);
        d.FlushAll();
        EXPECT_EQ(d.Reconstruction.size(), Asked.size());
        ExpectDecodesToReconstruction(d);
        return d.Order();
    };
    EXPECT_EQ(Order("---P----"), "Ka Pc bb Pd Ph be bf bg");
    EXPECT_EQ(Order("---I----"), "Ka Pc bb Kd Ph be bf bg");
    EXPECT_EQ(Order("---B----"), "Ka Pc bb Ph bd be bf bg");
    EXPECT_EQ(Order("-P-BB"), "Ka Pb Pc Pe bd");
}

TEST(LookAhead, ARefusedPictureLeavesTheWaitingOnesAlone)
{
    CoreDriver<uint8_t> d(ParamsOf(kWidth, kHeight, 2), kTypesAndCuts);
    const std::vector<Picture> Clip = WithCut(7, 5);
    EXPECT_EQ(d.Encode(Clip[0], UMC::B_PICTURE), UMC::StatusNotEnoughData);
    UMC::VideoData NoPixels;
    NoPixels.Init(kWidth, kHeight, UMC::YUV420, 8);
    UMC::MediaData Out(1000);
    for (const Picture& p : Clip) {
        EXPECT_EQ(FrameStep(*d.pCore, &NoPixels, &Out), UMC::StatusInvalidParams);
        EXPECT_EQ(d.Encode(p), UMC::StatusOk);
    }
    d.FlushAll();
    EXPECT_EQ(d.Order(), "Ka Pd bb bc Pe Kf Pg");
    EXPECT_EQ(d.Order(), OrderOf(2, kTypesAndCuts, Clip));
}

// Whichever picture is lost, all others are delivered and decode.
TEST(LookAhead, ALostPictureLeavesAStreamThatDecodes)
{
    const std::vector<Picture> Clip = WithCut(10, 5);
    for (const int32_t BPictures : {0, 3})
        for (size_t Lost = 0; Lost < Clip.size() + 3; ++Lost) {
            SCOPED_TRACE(testing::Message() << BPictures << " lost at " << Lost);
            CoreDriver<uint8_t> d(ParamsOf(kWidth, kHeight, BPictures), kTypesAndCuts);
            size_t Failed = 0, Turn = 0;
            for (const Picture& p : Clip)
                Failed += d.Encode(p, 0, Turn++ == Lost ? 4 : SIZE_MAX) == UMC::StatusNotEnoughBuffer;
            for (UMC::Status s = UMC::StatusOk; s != UMC::StatusEndOfSegment;) {
                s = d.Flush(Turn++ == Lost ? 4 : SIZE_MAX);
                Failed += s == UMC::StatusNotEnoughBuffer;
                ASSERT_TRUE(s == UMC::StatusOk || s == UMC::StatusEndOfSegment || Turn == Lost + 1) << s;
            }
            EXPECT_EQ(d.Reconstruction.size(), Clip.size() - Failed) << d.Order();
            ExpectDecodesToReconstruction(d);
        }
}

// At every request of the core's making and of the pictures behind it.
TEST(LookAhead, MemoryThatRunsOutIsAStatus)
{
    const H264EncoderParams Params = ParamsOf(48, 48, 2);
    const std::vector<Picture> Clip = MakeClip(Scene::Still, 48, 48, 6);
    UMC::VideoData Input;
    InitInput(Params, Input);
    std::vector<uint8_t> Buffer(1 << 16);
    std::vector<UMC::Status> Statuses(16);
    const auto Live = [&](size_t FailAt) {
        Statuses.clear();
        const FailingAllocation Memory(FailAt);
        try {
            UMC::DefaultMemoryAllocator Allocator;
            Core8 c;
            UMC::Status s = MakeSettings<uint8_t>(Params, c.Settings);
            c.Settings.AnalysisFlags |= kTypesAndCuts;
            if (s == UMC::StatusOk) s = BuildCore(c, &Allocator);
            Statuses.push_back(s);
            for (size_t i = 0; s == UMC::StatusOk && i < Clip.size(); ++i) {
                Input.SetBufferPointer(const_cast<uint8_t*>(Clip[i].data()), Clip[i].size());
                UMC::MediaData Output;
                Output.SetBufferPointer(Buffer.data(), Buffer.size());
                const UMC::Status OfPicture = FrameStep(c, &Input, &Output);
                Statuses.push_back(c.State & STATE_NEED_INPUT ? UMC::StatusOk : OfPicture);
            }
        } catch (const std::bad_alloc&) { // of the core's making alone
            EXPECT_TRUE(Statuses.empty());
            Statuses.push_back(UMC::StatusAllocFailed);
        }
        return FailingAllocation::Requests();
    };
    const size_t Requests = Live(0);
    ASSERT_GT(Requests, 20u);
    EXPECT_EQ(Statuses, std::vector<UMC::Status>(7, UMC::StatusOk));
    for (size_t FailAt = 1; FailAt <= Requests; ++FailAt) {
        Live(FailAt);
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 0) << FailAt;
        EXPECT_EQ(std::count(Statuses.begin(), Statuses.end(), UMC::StatusAllocFailed), 1) << FailAt;
        EXPECT_EQ(std::count(Statuses.begin(), Statuses.end(), UMC::StatusOk),
                  static_cast<ptrdiff_t>(Statuses.size()) - 1)
            << FailAt;
    }
}

TEST(LookAhead, WithoutItsFlagIsNotThere)
{
    EXPECT_FALSE(CoreDriver<uint8_t>(ParamsOf(kWidth, kHeight, 2)).pCore->pLookAhead);
    EXPECT_FALSE(CoreDriver<uint8_t>(ParamsOf(kWidth, kHeight, 2), ENC_ANALYSE_SCENE_CUT).pCore->pLookAhead);
    EXPECT_TRUE(CoreDriver<uint8_t>(ParamsOf(kWidth, kHeight, 2), kTypes).pCore->pLookAhead);
}

// ---- With other tools
// ------------------------------------------------------------------------------------------------

struct ToolCase {
    const char* Title;
    void (*pSet)(H264EncoderParams&);
};
void PrintTo(const ToolCase& c, std::ostream* pOut) { *pOut << c.Title; }

// A static part, a scene of its own, and one that moves.
std::vector<Picture> Programme(const ClipFormat& f)
{
    std::vector<Picture> Clip = MakeClip(Scene::Still, kWidth, kHeight, 6, f);
    const std::vector<Picture> Cut = MakeClip(Scene::Cut, kWidth, kHeight, 8, f),
                               Pan = MakeClip(Scene::Pan, kWidth, kHeight, 6, f);
    Clip.insert(Clip.end(), Cut.begin() + 3, Cut.end());
    Clip.insert(Clip.end(), Pan.begin(), Pan.end());
    return Clip;
}

template <class Sample>
void ExpectProgrammeDecodes(const H264EncoderParams& p)
{
    for (const uint32_t Flags : {kTypes, kTypesAndCuts}) {
        CoreDriver<Sample> d(p, Flags);
        const std::vector<Picture> Clip = Programme(d.Format());
        d.EncodeAll(Clip);
        ASSERT_EQ(d.Reconstruction.size(), Clip.size());
        EXPECT_NE(d.Order().find('b'), std::string::npos) << d.Order();
        ASSERT_NO_FATAL_FAILURE(ExpectNoStartCodeInsideUnits(d));
        ExpectDecodesToReconstruction(d);
    }
}

class LookAheadWith : public testing::TestWithParam<ToolCase>
{
};
TEST_P(LookAheadWith, DecodesToTheReconstruction)
{
    H264EncoderParams p = ParamsOf(kWidth, kHeight, 3);
    GetParam().pSet(p);
    FormatOf(p).SampleBytes() == 2 ? ExpectProgrammeDecodes<uint16_t>(p) : ExpectProgrammeDecodes<uint8_t>(p);
}

#define TOOL(Title, ...)                                                                                               \
    ToolCase                                                                                                           \
    {                                                                                                                  \
#Title, [](H264EncoderParams & p) { __VA_ARGS__; }                                                             \
    }
#define HIGH(Chroma, Depth)                                                                                            \
    p.profile_idc = 100, p.chroma_format_idc = (Chroma), p.bit_depth_luma = p.bit_depth_chroma = (Depth)

const ToolCase kTools[] = {
    TOOL(Cavlc, p.entropy_coding_mode = 0),
    TOOL(Slices, p.num_slices = 3),
    TOOL(Rate, p.rate_control_method = 2; p.m_Info.m_Bitrate = 200000),
    TOOL(NoRateControl, p.rate_control_method = 0),
    TOOL(Parts, p.partition_level = 2; p.analysis_level = 1),
    TOOL(Trials, p.partition_level = 2; p.analysis_level = 3),
    TOOL(Transform8x8, HIGH(1, 8); p.transform_8x8_mode = 1),
    TOOL(Monochrome, HIGH(0, 8); p.analysis_level = 1),
    TOOL(Chroma422, HIGH(2, 8); p.analysis_level = 1),
    TOOL(Deep, HIGH(1, 10); p.analysis_level = 1),
    TOOL(Deep422, HIGH(2, 12); p.entropy_coding_mode = 0),
    TOOL(Lossless, p.profile_idc = 144; p.qpprime_y_zero_transform_bypass = 1; p.quant_i = p.quant_p = p.quant_b = 0),
    TOOL(Umbrella, p.search_method = 8),
    TOOL(SpatialDirect, p.direct_pred_mode = 1; p.use_implicit_weighted_bipred = 1),
    TOOL(ReferenceB, p.num_b_frames = 5; p.num_ref_frames = 4; p.b_ref_mode = 1),
    TOOL(ReferencesB, p.num_b_frames = 5; p.num_ref_frames = 4; p.b_ref_mode = 2; p.direct_pred_mode = 2),
    TOOL(TwoAnchors, p.num_ref_to_start_b = 2),
    TOOL(KeyPictures, p.key_frame_interval = 5),
    TOOL(IdrPictures, p.key_frame_interval = 5; p.idr_interval = 1),
    TOOL(Fields, p.coding_type = 1),
    TOOL(FieldsCavlc, p.coding_type = 1; p.entropy_coding_mode = 0; p.key_frame_interval = 7; p.idr_interval = 1)};
INSTANTIATE_TEST_SUITE_P(All, LookAheadWith, testing::ValuesIn(kTools));

} // namespace
