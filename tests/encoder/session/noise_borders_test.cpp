// Repair of borders: every rule of every edge, at its limits and in every state.
#include "encoder/session/noise_borders.h"
#include "tests/encoder/noise_testing.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC_H264_ENCODER;

// An edge of a picture of 8x8 by its lines, counted from the edge. Chroma lines are 1, 2, 3, 4 from the edge on in one
// plane, and ten times that in the other.
enum class Edge { Top, Left, Bottom };
template <class Sample>
using Picture = noise_testing::Picture<Sample>;

template <class Sample>
void FillLine(noise_testing::Plane<Sample>& p, Edge e, int32_t Line, int Value)
{
    if (e == Edge::Left)
        p.FillColumn(Line, Value);
    else
        p.FillRow(e == Edge::Top ? Line : p.Height() - 1 - Line, Value);
}

template <class Sample>
Picture<Sample> WithLines(Edge e, const std::vector<int>& Luma, const std::vector<int>& Chroma)
{
    Picture<Sample> p(8, 8, Luma.back());
    for (size_t i = 0; i < Luma.size(); ++i) FillLine(p.Y, e, static_cast<int32_t>(i), Luma[i]);
    for (size_t i = 0; i < Chroma.size(); ++i) {
        FillLine(p.U, e, static_cast<int32_t>(i), Chroma[i]);
        FillLine(p.V, e, static_cast<int32_t>(i), 10 * Chroma[i]);
    }
    return p;
}

// What becomes of the lines of one edge; the others are trusted. Only that edge's state may change.
struct Outcome {
    std::vector<int> Luma;
    bool IsChromaCopied;
    int32_t State;
};

template <class Sample>
void Expect(Edge e, int32_t State, const std::vector<int>& Luma, const Outcome& o, bool IsHalf = false)
{
    Picture<Sample> p = WithLines<Sample>(e, Luma, {1, 2, 3, 4});
    NoiseBorders b{.top_state = 0, .left_state = 0, .bottom_state = 0, .half_scale = IsHalf};
    int32_t& s = e == Edge::Top ? b.top_state : e == Edge::Left ? b.left_state : b.bottom_state;
    s = State;
    b.Repair(p.View());
    EXPECT_TRUE(p == WithLines<Sample>(e, o.Luma, {o.IsChromaCopied ? 2 : 1, 2, 3, 4}));
    EXPECT_EQ(s, o.State);
    EXPECT_EQ(b.top_state + b.left_state + b.bottom_state, s);
}

template <class Sample>
class NoiseBorder : public testing::Test
{
protected:
    static void Expect(Edge e, int32_t State, const std::vector<int>& Luma, const Outcome& o, bool IsHalf = false)
    {
        ::Expect<Sample>(e, State, Luma, o, IsHalf);
    }
};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(NoiseBorder, SampleTypes);

// Eight columns: t is 32, a difference of lines of 4 in each; line 2 is bright from a sum of 1200 on.
TYPED_TEST(NoiseBorder, TopIsTrustedWhenItIsBrightAndSmooth)
{
    for (const int32_t State : {2, 1}) {
        this->Expect(Edge::Top, State, {180, 178, 176, 174}, {{180, 178, 176, 174}, false, 0});
        this->Expect(Edge::Top, State, {152, 151, 151, 151}, {{152, 151, 151, 151}, false, 0});
        // |s01 - s12| of 3 and 4 a column
        this->Expect(Edge::Top, State, {183, 178, 176, 174}, {{183, 178, 176, 174}, false, 0});
        this->Expect(Edge::Top, State, {184, 178, 176, 174}, {{178, 178, 176, 174}, true, 1});
        // no brighter than line 2
        this->Expect(Edge::Top, State, {176, 178, 176, 174}, {{178, 178, 176, 174}, true, 1});
        // line 2 not bright
        this->Expect(Edge::Top, State, {152, 151, 150, 150}, {{151, 151, 150, 150}, true, 1});
    }
}

TYPED_TEST(NoiseBorder, TopOfOneBadLineIsCopiedFromTheNext)
{
    for (const int32_t State : {2, 1}) {
        this->Expect(Edge::Top, State, {0, 100, 100, 100}, {{100, 100, 100, 100}, true, 1});
        this->Expect(Edge::Top, State, {0, 90, 93, 99}, {{90, 90, 93, 99}, true, 1}); // |s23 - s12| of 3 a column
    }
    // After one such repair no second line is taken for bad.
    this->Expect(Edge::Top, 1, {0, 0, 100, 100}, {{0, 0, 100, 100}, true, 1});
}

TYPED_TEST(NoiseBorder, TopOfTwoBadLinesIsCopiedFromTheThirdAndStaysUnknown)
{
    this->Expect(Edge::Top, 2, {0, 0, 100, 100}, {{100, 100, 100, 100}, true, 2});
    this->Expect(Edge::Top, 2, {0, 90, 93, 100}, {{93, 93, 93, 100}, true, 2}); // |s23 - s12| of 4 a column
}

TYPED_TEST(NoiseBorder, TopAtHalfScale)
{
    // t is 16, 2 a column, and bright from 600 on.
    this->Expect(Edge::Top, 2, {78, 77, 76, 75}, {{78, 77, 76, 75}, false, 0}, true);
    this->Expect(Edge::Top, 2, {77, 76, 75, 74}, {{76, 76, 75, 74}, true, 1}, true);
    this->Expect(Edge::Top, 2, {0, 90, 91, 93}, {{90, 90, 91, 93}, true, 1}, true);
    this->Expect(Edge::Top, 2, {0, 90, 91, 94}, {{91, 91, 91, 94}, true, 2}, true);
}

// The left and the bottom edge have the same test: t1 is 160 and t2 32, of sums 20 and 4 a place; line 1 is bright from
// a sum of 1200 on, and more than one bright place makes the edge trusted.
TYPED_TEST(NoiseBorder, LeftAndBottomAreTrustedWhenTheyAreBright)
{
    for (const Edge e : {Edge::Left, Edge::Bottom})
        for (const int32_t State : {2, 1}) {
            this->Expect(e, State, {151, 100, 160, 160}, {{151, 100, 160, 160}, false, 0});
            this->Expect(e, State, {150, 100, 100, 100}, {{100, 100, 100, 100}, true, State}); // not above 150
            this->Expect(e, State, {151, 161, 161, 161}, {{161, 161, 161, 161}, true, 1});     // darker by the step
            this->Expect(e, State, {151, 161, 160, 160}, {{151, 161, 160, 160}, false, 0});
        }
}

TYPED_TEST(NoiseBorder, LeftAndBottomOfTwoBadLinesAreCopiedFromTheThirdAndStayUnknown)
{
    for (const Edge e : {Edge::Left, Edge::Bottom}) {
        this->Expect(e, 2, {10, 10, 25, 25}, {{25, 25, 25, 25}, true, 2});
        this->Expect(e, 2, {10, 10, 29, 29}, {{29, 29, 29, 29}, true, 2}); // |d01 - d12| of 19 a place
        this->Expect(e, 2, {10, 10, 30, 30}, {{10, 10, 30, 30}, true, 2}); // and of 20: one line
        this->Expect(e, 2, {10, 10, 14, 14}, {{14, 14, 14, 14}, true, 2}); // |d23 - d12| of 4
        this->Expect(e, 2, {10, 10, 13, 13}, {{10, 10, 13, 13}, true, 2}); // and of 3
        // After a repair of one line no second one is taken for bad.
        this->Expect(e, 1, {10, 12, 27, 27}, {{12, 12, 27, 27}, true, 1});
    }
}

TYPED_TEST(NoiseBorder, LeftAndBottomOfOneBadLineAreCopiedFromTheNext)
{
    for (const Edge e : {Edge::Left, Edge::Bottom}) {
        this->Expect(e, 2, {0, 150, 150, 150}, {{150, 150, 150, 150}, true, 2}); // not bright: unknown still
        this->Expect(e, 2, {0, 151, 151, 151}, {{151, 151, 151, 151}, true, 1});
        this->Expect(e, 1, {0, 100, 100, 100}, {{100, 100, 100, 100}, true, 1});
    }
}

TYPED_TEST(NoiseBorder, LeftAndBottomAtHalfScale)
{
    for (const Edge e : {Edge::Left, Edge::Bottom}) {
        this->Expect(e, 2, {76, 50, 80, 80}, {{76, 50, 80, 80}, false, 0}, true);
        this->Expect(e, 2, {75, 50, 50, 50}, {{50, 50, 50, 50}, true, 2}, true);
        this->Expect(e, 2, {76, 81, 81, 81}, {{81, 81, 81, 81}, true, 1}, true); // and bright: above 75
        this->Expect(e, 2, {10, 10, 19, 19}, {{19, 19, 19, 19}, true, 2}, true); // |d01 - d12| of 9 a place
        this->Expect(e, 2, {10, 10, 20, 20}, {{10, 10, 20, 20}, true, 2}, true);
        this->Expect(e, 2, {10, 10, 12, 12}, {{12, 12, 12, 12}, true, 2}, true); // |d23 - d12| of 2
        this->Expect(e, 2, {10, 10, 11, 11}, {{10, 10, 11, 11}, true, 2}, true);
    }
}

// One bright place of eight is not enough, two are, wherever they lie: both halves of the rows are seen.
TYPED_TEST(NoiseBorder, LeftSeesAllRowsAndCountsBrightPlaces)
{
    for (int32_t First = 0; First < 8; ++First)
        for (int32_t Second = 0; Second < 8; ++Second) {
            Picture<TypeParam> p(8, 8, 100);
            p.Y.At(0, First) = p.Y.At(0, Second) = 151;
            NoiseBorders b{.top_state = 0, .bottom_state = 0};
            b.Repair(p.View());
            EXPECT_EQ(b.left_state, First == Second ? 2 : 0) << First << ' ' << Second;
            EXPECT_EQ(p.Y.At(0, First), First == Second ? 100 : 151);
        }
}

TYPED_TEST(NoiseBorder, BottomCountsBrightPlaces)
{
    for (int32_t First = 0; First < 8; ++First)
        for (int32_t Second = 0; Second < 8; ++Second) {
            Picture<TypeParam> p(8, 8, 100);
            p.Y.At(First, 7) = p.Y.At(Second, 7) = 151;
            NoiseBorders b{.top_state = 0, .left_state = 0};
            b.Repair(p.View());
            EXPECT_EQ(b.bottom_state, First == Second ? 2 : 0) << First << ' ' << Second;
        }
}

// Every column enters the sums of the top.
TYPED_TEST(NoiseBorder, TopSeesBothColumnsOfEachPair)
{
    for (int32_t x = 0; x < 8; ++x) {
        Picture<TypeParam> p(8, 8, 170);
        p.Y.FillRow(0, 171);
        NoiseBorders Smooth{.left_state = 0, .bottom_state = 0}, Rough = Smooth;
        Smooth.Repair(p.View());
        EXPECT_EQ(Smooth.top_state, 0);
        p.Y.FillRow(0, 171);
        p.Y.At(x, 0) = static_cast<TypeParam>(171 + 40);
        Rough.Repair(p.View());
        EXPECT_EQ(Rough.top_state, 1) << x;
    }
}

TYPED_TEST(NoiseBorder, ATrustedEdgeIsLeftAlone)
{
    std::mt19937 Rng(6);
    Picture<TypeParam> p(16, 12);
    p.FillRandom(Rng, 0, 100);
    const Picture<TypeParam> Then = p;
    NoiseBorders b{.top_state = 0, .left_state = 0, .bottom_state = 0};
    b.Repair(p.View());
    EXPECT_TRUE(p == Then);
    b = NoiseBorders{};
    b.Repair(p.View());
    EXPECT_FALSE(p == Then);
}

// The edges in their order, each seeing what the one before has made; luma alone, too.
TYPED_TEST(NoiseBorder, TopComesBeforeLeftBeforeBottom)
{
    for (const bool HasChroma : {true, false}) {
        Picture<TypeParam> p(8, 8, 100, 50, 60);
        p.Y.FillRow(0, 0);
        p.Y.FillColumn(0, 0);
        p.Y.FillRow(7, 0);
        p.Y.At(1, 0) = 30;
        p.U.At(0, 0) = p.U.At(0, 3) = p.V.At(1, 0) = 9;
        NoisePicture<TypeParam> v = p.View();
        if (!HasChroma) v.U = v.V = {};
        NoiseBorders b;
        b.Repair(v);
        Picture<TypeParam> Expected(8, 8, 100, 50, 60);
        if (!HasChroma) Expected.U.At(0, 0) = Expected.U.At(0, 3) = Expected.V.At(1, 0) = 9;
        EXPECT_TRUE(p == Expected);
        EXPECT_EQ(b.top_state, 1);
        EXPECT_EQ(b.left_state, 2);
        EXPECT_EQ(b.bottom_state, 2);
    }
}

TEST(NoiseBorderOf16Bits, SumsHoldTheLargestSamples)
{
    // 40000 columns of 65535: 2.6 thousand million.
    Picture<uint16_t> p(40000, 8, 65534);
    p.Y.FillRow(0, 65535);
    NoiseBorders b{.left_state = 0};
    b.Repair(p.View());
    EXPECT_EQ(b.top_state, 0);
    EXPECT_EQ(b.bottom_state, 0);
}

} // namespace
