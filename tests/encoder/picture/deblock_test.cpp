// Boundary strengths and edges that the encoder's filter is given, from records that the tests write.
#include "Common/h264/deblocking_thresholds.h"
#include "encoder/picture/deblock.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/dispatch/kernels.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

using Edges = std::array<int, 4>; // strengths of edges 0..3 whose four pieces are alike; -1 where they differ

Edges EdgesOf(const kernels::EdgeParams& p)
{
    Edges Found{};
    for (size_t e = 0; e < 4; ++e) {
        const uint8_t* const s = p.Strength + 4 * e;
        Found[e] = std::count(s, s + 4, s[0]) == 4 ? s[0] : -1;
    }
    return Found;
}

// Calls of the filter, in their order.
struct Filtered {
    bool IsLuma, IsVertical, Is422;
    kernels::EdgeParams Params;
};
std::vector<Filtered> s_Filtered;

template <bool kVertical>
void Luma(uint8_t*, ptrdiff_t, const kernels::EdgeParams* p)
{
    s_Filtered.push_back({true, kVertical, false, *p});
}
template <bool kVertical, bool k422>
void Chroma(uint8_t*, uint8_t*, ptrdiff_t, const kernels::EdgeParams* p, const kernels::EdgeParams*)
{
    s_Filtered.push_back({false, kVertical, k422, *p});
}

// Two macroblocks side by side, of which the second is looked at.
class EdgeStrengths : public testing::Test
{
protected:
    EdgeStrengths()
    {
        auto& k = kernels::g_Kernels;
        k.FilterLumaVertical = Luma<true>;
        k.FilterLumaHorizontal = Luma<false>;
        k.FilterChromaVertical = Chroma<true, false>;
        k.FilterChromaHorizontal = Chroma<false, false>;
        k.FilterChroma422Vertical = Chroma<true, true>;
        k.FilterChroma422Horizontal = Chroma<false, true>;
        s_Filtered.clear();
    }
    ~EdgeStrengths() override { kernels::g_Kernels = m_Kernels; }

    void Start(int32_t SliceType, int32_t Chroma = 1)
    {
        UMC::H264EncoderParams p = SizedParams(32, 16);
        p.profile_idc = 100;
        p.chroma_format_idc = Chroma;
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        ASSERT_EQ(m_Frame.Allocate(c.Settings.Layout), UMC::StatusOk);
        c.Job.Begin(m_Frame, {STRUCTURE_FRAME}, CLASS_REFERENCE);
        m_Slice = {};
        m_Slice.slice_type = SliceType;
        m_Slice.Syntax.chroma_format_idc = Chroma;
        m_Slice.Syntax.BitDepthLuma = m_Slice.Syntax.BitDepthChroma = 8;
        for (int32_t Mb = 0; Mb < 2; ++Mb) {
            m_Frame.mb_global[Mb] = {0, MB_INTER16X16, 30, 30};
            c.Job.LocalMacroblocks[static_cast<size_t>(Mb)] = {};
            for (int List = 0; List < 2; ++List) Move(Mb, List, -1, {0, 0});
            Move(Mb, 0, 0, {0, 0});
        }
        // Two pictures, which stand in list 1 in the other order.
        auto& Ids = m_Frame.reference_ids[0];
        Ids[0][0] = Ids[1][1] = 10;
        Ids[0][1] = Ids[1][0] = 20;
    }
    void Move(int32_t Mb, int List, int8_t Ref, MotionVector v)
    {
        for (int32_t b = 0; b < 16; ++b) MoveBlock(Mb, List, b, Ref, v);
    }
    void MoveBlock(int32_t Mb, int List, int32_t Raster, int8_t Ref, MotionVector v)
    {
        m_Frame.mb_reference[List][16 * Mb + Raster] = Ref;
        m_Frame.mb_motion[List][16 * Mb + Raster] = v;
    }
    GlobalMacroblock& Global(int32_t Mb) { return m_Frame.mb_global[Mb]; }
    LocalMacroblock& Local(size_t Mb) { return c.Job.LocalMacroblocks[Mb]; }

    // Filters both; what is left of the calls are those of the second.
    void Filter()
    {
        DeblockSlice(c.Settings, c.Job, m_Slice, 1);
        s_Filtered.clear();
        DeblockSlice(c.Settings, c.Job, m_Slice, 2);
    }
    // Strengths of luma; nothing of what was not filtered.
    Edges Of(bool IsVertical)
    {
        for (const Filtered& f : s_Filtered)
            if (f.IsLuma && f.IsVertical == IsVertical) return EdgesOf(f.Params);
        return {};
    }
    Edges Vertical()
    {
        Filter();
        return Of(true);
    }
    Edges Horizontal()
    {
        Filter();
        return Of(false);
    }
    static long ChromaCalls(bool IsVertical, bool Is422)
    {
        return std::count_if(s_Filtered.begin(), s_Filtered.end(), [=](const Filtered& f) {
            return !f.IsLuma && f.IsVertical == IsVertical && f.Is422 == Is422;
        });
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    H264EncoderFrame<uint8_t> m_Frame{&m_Allocator};
    SliceFacts<uint8_t> m_Slice;
    kernels::KernelSlots m_Kernels = kernels::g_Kernels;
};

// ---- B pictures: which pictures are referred to counts, not by which list -------------------------------------

constexpr MotionVector kV{12, -8}, kW{-20, 4}, kFarV{16, -8}; // the last a whole sample from the first

TEST_F(EdgeStrengths, OfBPicturesCountThePictureAndNotTheList)
{
    Start(h264::SLICE_B);
    Move(0, 0, 0, kV); // the first picture, by list 0
    Move(1, 0, -1, {0, 0});
    Move(1, 1, 1, kV); // the same by list 1
    EXPECT_EQ(Vertical(), Edges{});
    Move(1, 1, 1, kFarV);
    EXPECT_EQ(Vertical(), (Edges{1, 0, 0, 0}));
    Move(1, 1, 0, kV); // the other picture
    EXPECT_EQ(Vertical(), (Edges{1, 0, 0, 0}));
}

TEST_F(EdgeStrengths, OfTwoPicturesAreThoseOfTheVectorsIntoEach)
{
    Start(h264::SLICE_B);
    Move(0, 0, 0, kV), Move(0, 1, 0, kW); // first picture kV, second kW
    Move(1, 0, 1, kW), Move(1, 1, 1, kV);
    EXPECT_EQ(Vertical(), Edges{});
    Move(1, 0, 1, kV), Move(1, 1, 1, kW); // the vectors of the other picture
    EXPECT_EQ(Vertical(), (Edges{1, 0, 0, 0}));
    Move(1, 0, 0, kV), Move(1, 1, 0, kW);
    EXPECT_EQ(Vertical(), Edges{});
    Move(1, 1, 0, kV);
    EXPECT_EQ(Vertical(), (Edges{1, 0, 0, 0}));
}

TEST_F(EdgeStrengths, OfOnePictureTwiceTakeItsVectorsInEitherOrder)
{
    Start(h264::SLICE_B);
    Move(0, 0, 0, kV), Move(0, 1, 1, kW);
    Move(1, 0, 0, kW), Move(1, 1, 1, kV);
    EXPECT_EQ(Vertical(), Edges{});
    Move(1, 1, 1, kFarV);
    EXPECT_EQ(Vertical(), (Edges{1, 0, 0, 0}));
}

TEST_F(EdgeStrengths, OfOnePictureBesideTwoAreOne)
{
    Start(h264::SLICE_B);
    Move(0, 0, 0, kV);
    Move(1, 0, 0, kV), Move(1, 1, 0, kV);
    EXPECT_EQ(Vertical(), (Edges{1, 0, 0, 0}));
}

// ---- Inner edges -----------------------------------------------------------------------------------------------

TEST_F(EdgeStrengths, OfPartsLieOnTheirBorders)
{
    Start(h264::SLICE_P);
    Global(1).Type = MB_INTER8X16;
    for (const int32_t b : {2, 3, 6, 7, 10, 11, 14, 15}) MoveBlock(1, 0, b, 0, {4, 0});
    EXPECT_EQ(Vertical(), (Edges{0, 0, 1, 0}));
    EXPECT_EQ(Horizontal(), Edges{});
    Move(1, 0, 0, {0, 0});
    Global(1).Type = MB_INTER16X8;
    for (const int32_t Mb : {0, 1}) // another picture, on both sides of the left edge
        for (int32_t b = 8; b < 16; ++b) MoveBlock(Mb, 0, b, 1, {0, 0});
    EXPECT_EQ(Horizontal(), (Edges{0, 0, 1, 0}));
    EXPECT_EQ(Vertical(), Edges{});
}

TEST_F(EdgeStrengths, OfSmallPartsLieInTheirQuadrant)
{
    Start(h264::SLICE_P);
    Global(1).Type = MB_INTER8X8_REF0;
    for (const int32_t b : {1, 5, 9, 13}) MoveBlock(1, 0, b, 0, {0, 4}); // a column of 4x8 parts
    EXPECT_EQ(Vertical(), (Edges{0, 1, 1, 0}));
    MoveBlock(1, 0, 5, 0, {0, 3}); // less than a whole sample
    Filter();
    const Filtered& f = s_Filtered.front();
    ASSERT_TRUE(f.IsLuma && f.IsVertical);
    EXPECT_EQ(f.Params.Strength[4], 1);
    EXPECT_EQ(f.Params.Strength[5], 0);
    EXPECT_EQ(f.Params.Strength[6], 1);
}

TEST_F(EdgeStrengths, OfOneMotionHaveNoInnerOnesBeyondCoefficients)
{
    Start(h264::SLICE_P);
    MoveBlock(1, 0, 5, 0, {100, 0}); // not looked at, as the type says that all are alike
    EXPECT_EQ(Vertical(), Edges{});
    Local(1).Coded = 0xFFFF;
    EXPECT_EQ(Vertical(), (Edges{2, 2, 2, 2}));
}

// Lines of a field lie twice as far apart.
TEST_F(EdgeStrengths, OfFieldsTakeHalfTheVerticalDistance)
{
    Start(h264::SLICE_P);
    for (const bool IsField : {false, true}) {
        m_Slice.IsField = IsField;
        for (int16_t Far = 1; Far <= 4; ++Far) {
            Move(1, 0, 0, {0, Far});
            EXPECT_EQ(Vertical(), Far >= (IsField ? 2 : 4) ? (Edges{1, 0, 0, 0}) : Edges{}) << IsField << ' ' << Far;
            Move(1, 0, 0, {Far, 0});
            EXPECT_EQ(Vertical(), Far >= 4 ? (Edges{1, 0, 0, 0}) : Edges{}) << IsField << ' ' << Far;
        }
    }
}

// ---- Thresholds ------------------------------------------------------------------------------------------------

// Of the outer edge by the mean of both sides, rounded up; chroma by its own QPs.
TEST_F(EdgeStrengths, TakeThresholdsByTheMeanQpAndTheOffsets)
{
    Start(h264::SLICE_P);
    Local(1).Coded = 0xFFFF;
    Global(0).Qp = 30, Global(1).Qp = 33;
    Global(0).QpChroma = 26, Global(1).QpChroma = 29;
    m_Slice.deblock_alpha = 4;
    m_Slice.deblock_beta = -6;
    Filter();
    ASSERT_TRUE(std::any_of(s_Filtered.begin(), s_Filtered.end(), [](const Filtered& f) { return !f.IsLuma; }));
    for (const Filtered& f : s_Filtered) {
        if (!f.IsVertical) continue;
        const int32_t Qps[2]{f.IsLuma ? 32 : 28, f.IsLuma ? 33 : 29};
        for (size_t Slot : {0u, 1u}) {
            const h264::DeblockingThresholds t = h264::FindDeblockingThresholds(Qps[Slot], 4, -6);
            EXPECT_EQ(f.Params.Alpha[Slot], t.Alpha) << f.IsLuma;
            EXPECT_EQ(f.Params.Beta[Slot], t.Beta) << f.IsLuma;
        }
    }
}

// ---- 8x8 transform and 4:2:2 -----------------------------------------------------------------------------------

TEST_F(EdgeStrengths, OfThe8x8TransformLeaveOutTheOddEdgesOfLuma)
{
    Start(h264::SLICE_P);
    Global(1).Flags = kFlagTransform8x8;
    Local(1).Coded = 0xFFFF;
    EXPECT_EQ(Vertical(), (Edges{2, 0, 2, 0}));
    EXPECT_EQ(Horizontal(), (Edges{0, 0, 2, 0}));
    Global(1).Type = MB_INTRA4X4;
    EXPECT_EQ(Vertical(), (Edges{4, 0, 3, 0}));
}

TEST_F(EdgeStrengths, OfChroma422HaveTheOddEdgesWhateverTheTransform)
{
    for (const int32_t Format : {1, 2}) {
        SCOPED_TRACE(Format);
        Start(h264::SLICE_P, Format);
        Global(1).Flags = kFlagTransform8x8;
        Local(1).Coded = 0xFFFF;
        Filter();
        EXPECT_EQ(ChromaCalls(true, Format == 2), 1);
        EXPECT_EQ(ChromaCalls(false, Format == 2), 1);
        EXPECT_EQ(s_Filtered.size(), 4u);
        EXPECT_EQ(EdgesOf(s_Filtered[3].Params), (Edges{0, 2, 2, 2}));
    }
}

TEST_F(EdgeStrengths, OfAnOddRowAloneMatterToChroma422Only)
{
    for (const int32_t Format : {0, 1, 2}) {
        SCOPED_TRACE(Format);
        Start(h264::SLICE_P, Format);
        Global(1).Type = MB_INTER8X8_REF0;
        for (int32_t b = 12; b < 16; ++b) MoveBlock(1, 0, b, 0, {0, 8}); // below edge 3
        EXPECT_EQ(Horizontal(), (Edges{0, 0, 0, 1}));
        EXPECT_EQ(ChromaCalls(false, true), Format == 2);
        EXPECT_EQ(ChromaCalls(false, false), 0);
    }
}

// ---- Whole pictures --------------------------------------------------------------------------------------------

class FilteredPictures : public EdgeStrengths
{
protected:
    // Calls for each picture in coding order.
    std::vector<size_t> Calls(const UMC::H264EncoderParams& p, int Pictures)
    {
        Driver d(p);
        EXPECT_EQ(d.InitResult(), UMC::StatusOk);
        std::vector<size_t> Found;
        const auto Note = [&](const AccessUnit& u) {
            if (!u.Bytes.empty()) Found.push_back(s_Filtered.size());
            s_Filtered.clear();
            return u.Result == UMC::StatusOk;
        };
        for (Picture& Source : MakeClip(Scene::Noise, 48, 48, Pictures)) Note(d.Encode(Source));
        while (Note(d.Flush())) {
        }
        return Found;
    }
};

TEST_F(FilteredPictures, AreNotThoseThatNoneRefersTo)
{
    UMC::H264EncoderParams p = SizedParams(48, 48);
    p.num_b_frames = 1;
    const std::vector<size_t> Disposable = Calls(p, 5);
    ASSERT_EQ(Disposable.size(), 5u); // I P B P B
    for (const size_t i : {0u, 1u, 3u}) EXPECT_GT(Disposable[i], 0u) << i;
    for (const size_t i : {2u, 4u}) EXPECT_EQ(Disposable[i], 0u) << i;
    p.b_ref_mode = 2;
    for (const size_t n : Calls(p, 5)) EXPECT_GT(n, 0u);
    p.deblocking_filter_idc = 1;
    for (const size_t n : Calls(p, 5)) EXPECT_EQ(n, 0u);
}

class FilteredSlices : public FilteredPictures
{
protected:
    // The calls that filter a picture of two slices.
    static void Filter(int Idc, int32_t Width, int32_t Height)
    {
        UMC::H264EncoderParams p = SizedParams(Width, Height);
        p.num_slices = 2;
        p.deblocking_filter_idc = static_cast<uint8_t>(Idc);
        Driver d(p);
        s_Filtered.clear();
        std::vector<Picture> Clip = MakeClip(Scene::Noise, Width, Height, 1);
        d.Encode(Clip[0]);
    }
};

TEST_F(FilteredSlices, HaveNoEdgesBetweenThemWithIdc2)
{
    for (const int Idc : {0, 2}) {
        Filter(Idc, 16, 32);
        // Of each macroblock luma and chroma, vertical edges first.
        ASSERT_EQ(s_Filtered.size(), 8u);
        EXPECT_EQ(EdgesOf(s_Filtered[2].Params)[0], 0);
        EXPECT_EQ(EdgesOf(s_Filtered[6].Params)[0], Idc == 2 ? 0 : 4);
    }
}

// Of six macroblocks in two columns the fourth begins the second slice, beside and below the first one's.
TEST_F(FilteredSlices, HaveNoEdgesBetweenMacroblocksOfARowWithIdc2)
{
    for (const int Idc : {0, 2}) {
        Filter(Idc, 32, 48);
        ASSERT_EQ(s_Filtered.size(), 24u);
        EXPECT_EQ(EdgesOf(s_Filtered[4].Params)[0], 4); // of the second, whose left one is of its slice
        EXPECT_EQ(EdgesOf(s_Filtered[12].Params)[0], Idc == 2 ? 0 : 4);
        EXPECT_EQ(EdgesOf(s_Filtered[14].Params)[0], Idc == 2 ? 0 : 4);
    }
}

} // namespace
