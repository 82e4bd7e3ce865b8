// The numbers of chroma keying.
#include "process/chroma_key.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Chroma {
    int32_t U, V;
    bool operator==(const Chroma&) const = default;
};

Chroma ChromaOf(RgbColor Color)
{
    Chroma c{};
    KeyChromaOfColor(Color, c.U, c.V);
    return c;
}

struct Radii {
    int32_t Inner, Outer; // squared
    bool operator==(const Radii&) const = default;
};

Radii RadiiOf(int32_t iDistance)
{
    Radii r{};
    KeyRadiiOfDistance(iDistance, r.Inner, r.Outer);
    return r;
}

// Chroma planes of one colour in which single patches are painted.
struct Planes {
    int32_t Pitch, Height;
    std::vector<uint8_t> U, V;

    Planes(int32_t Pitch_, int32_t Height_, uint8_t u = 128, uint8_t v = 128)
        : Pitch(Pitch_), Height(Height_), U(static_cast<size_t>(Pitch_ * Height_), u),
          V(static_cast<size_t>(Pitch_ * Height_), v)
    {
    }
    void PaintPatch(int32_t Row, int32_t Column, uint8_t u, uint8_t v)
    {
        for (int32_t y = Row; y < Row + 3; ++y)
            for (int32_t x = Column; x < Column + 3; ++x) {
                U[static_cast<size_t>(y * Pitch + x)] = u;
                V[static_cast<size_t>(y * Pitch + x)] = v;
            }
    }
    bool Detect(ChromaKey& Found, const KeyThresholds& Thresholds = kDefaultKeyThresholds) const
    {
        return DetectKeyColor(Thresholds, Pitch, Height, U.data(), V.data(), Found);
    }
};

constexpr ChromaKey kGreen{85, 60, 3600, 4624}, kBlue{220, 80, 4900, 6400}, kNothing{-1, -2, -3, -4};

} // namespace

TEST(ColorOfChroma, GivesTheDefaultKeyColour) { EXPECT_EQ(ColorOfChroma(170, 85, 60), (RgbColor{69, 250, 92})); }

TEST(ColorOfChroma, GivesGreysAndClipsBothWays)
{
    EXPECT_EQ(ColorOfChroma(16, 128, 128), (RgbColor{0, 0, 0}));
    EXPECT_EQ(ColorOfChroma(235, 128, 128), (RgbColor{253, 253, 253}));
    EXPECT_EQ(ColorOfChroma(255, 255, 255), (RgbColor{255, 123, 255}));
    EXPECT_EQ(ColorOfChroma(0, 0, 0), (RgbColor{0, 135, 0}));
}

TEST(KeyChroma, TheDefaultColourIsASpecialCase)
{
    EXPECT_EQ(ChromaOf({69, 250, 92}), (Chroma{85, 60}));
    EXPECT_EQ((112 * 92 - 74 * 250 - 38 * 69 + 32896) >> 8, 86) << "where the formula would give another key";
}

TEST(KeyChroma, FollowsTheFormulaForEveryOtherColour)
{
    EXPECT_EQ(ChromaOf({0, 0, 0}), (Chroma{128, 128}));
    EXPECT_EQ(ChromaOf({255, 255, 255}), (Chroma{128, 128}));
    EXPECT_EQ(ChromaOf({0, 255, 0}), (Chroma{54, 34}));
    EXPECT_EQ(ChromaOf({0, 0, 255}), (Chroma{240, 110}));
    EXPECT_EQ(ChromaOf({255, 0, 0}), (Chroma{90, 240}));
    EXPECT_EQ(ChromaOf({69, 250, 94}), (Chroma{87, 60}));
    EXPECT_EQ(ChromaOf({68, 250, 92}), (Chroma{86, 59}));
}

TEST(KeyRadii, TheDefaultDistanceHasAStatedOuterRadius) { EXPECT_EQ(RadiiOf(60), (Radii{3600, 68 * 68})); }

TEST(KeyRadii, TheOuterRadiusIsATenthAndOneMoreCutToAWhole)
{
    EXPECT_EQ(RadiiOf(61), (Radii{3721, 4624}));
    EXPECT_EQ(RadiiOf(59), (Radii{3481, 65 * 65}));
    EXPECT_EQ(RadiiOf(0), (Radii{0, 1}));
    EXPECT_EQ(RadiiOf(1), (Radii{1, 4}));
    EXPECT_EQ(RadiiOf(9), (Radii{81, 100}));
    EXPECT_EQ(RadiiOf(10), (Radii{100, 144}));
    EXPECT_EQ(RadiiOf(100), (Radii{10000, 111 * 111}));
    EXPECT_EQ(RadiiOf(-20), (Radii{400, 441}));
}

TEST(KeyRadii, SquaresThatDoNotFitStayAtTheLargestNumber)
{
    EXPECT_EQ(RadiiOf(46340), (Radii{46340 * 46340, INT32_MAX}));
    EXPECT_EQ(RadiiOf(46341), (Radii{INT32_MAX, INT32_MAX}));
    EXPECT_EQ(RadiiOf(INT32_MAX), (Radii{INT32_MAX, INT32_MAX}));
    EXPECT_EQ(RadiiOf(INT32_MIN), (Radii{INT32_MAX, INT32_MAX}));
}

TEST(MatchKeyColor, TheInnerRadiusBelongsToTheKey)
{
    ChromaKey Found = kNothing;
    EXPECT_TRUE(MatchKeyColor(kDefaultKeyThresholds, 85 + 60, 60, Found));
    EXPECT_EQ(Found, kGreen);
    EXPECT_TRUE(MatchKeyColor(kDefaultKeyThresholds, 220, 80 + 70, Found));
    EXPECT_EQ(Found, kBlue);
    Found = kNothing;
    EXPECT_FALSE(MatchKeyColor(kDefaultKeyThresholds, 85, 60 + 61, Found));
    EXPECT_FALSE(MatchKeyColor(kDefaultKeyThresholds, 220 - 71, 80, Found));
    EXPECT_EQ(Found, kNothing);
}

TEST(MatchKeyColor, GreenComesFirstWhereBothFit)
{
    ChromaKey Found = kNothing;
    EXPECT_TRUE(MatchKeyColor({20000, 20001, 20002, 20003}, 150, 70, Found));
    EXPECT_EQ(Found, (ChromaKey{85, 60, 20000, 20001}));
}

TEST(DetectKeyColor, LooksNearEachCornerInTurn)
{
    constexpr int32_t Pitch = 40, Height = 30;
    constexpr int32_t kRows[] = {Height - 7, Height - 7, 3, 3}, kColumns[] = {3, Pitch - 7, 3, Pitch - 7};
    for (size_t First = 0; First < 4; ++First) {
        Planes Picture(Pitch, Height);
        for (size_t i = First; i < 4; ++i) // the first is found although blue stands in the later ones
            Picture.PaintPatch(kRows[i], kColumns[i], i == First ? 85 : 220, i == First ? 60 : 80);
        ChromaKey Found = kNothing;
        EXPECT_TRUE(Picture.Detect(Found)) << First;
        EXPECT_EQ(Found, kGreen) << First;
    }
}

TEST(DetectKeyColor, FindsTheBlueKeyAndItsThresholds)
{
    Planes Picture(40, 30);
    Picture.PaintPatch(3, 33, 220, 80);
    ChromaKey Found = kNothing;
    EXPECT_TRUE(Picture.Detect(Found, {1, 2, 3, 4}));
    EXPECT_EQ(Found, (ChromaKey{220, 80, 3, 4}));
}

TEST(DetectKeyColor, TakesTheMeanOfThePatchCut)
{
    Planes Picture(40, 30);
    Picture.PaintPatch(3, 3, 85, 60);
    Picture.V[3 * 40 + 3] = 60 + 8; // the mean of V is 60 8/9, cut to 60
    ChromaKey Found = kNothing;
    EXPECT_TRUE(Picture.Detect(Found, {0, 1, 0, 1}));
    Picture.V[3 * 40 + 3] = 60 + 9;
    EXPECT_FALSE(Picture.Detect(Found, {0, 1, 0, 1}));
}

TEST(DetectKeyColor, LooksAtThePatchesOnly)
{
    Planes Picture(40, 30, 85, 60);
    for (const int32_t Row : {23, 3})
        for (const int32_t Column : {3, 33}) Picture.PaintPatch(Row, Column, 128, 200);
    ChromaKey Found = kNothing;
    EXPECT_FALSE(Picture.Detect(Found));
    EXPECT_EQ(Found, kNothing);
}

TEST(DetectKeyColor, SmallPlanesHoldNoPatch)
{
    ChromaKey Found = kNothing;
    EXPECT_FALSE(Planes(6, 30, 85, 60).Detect(Found));
    EXPECT_FALSE(Planes(30, 6, 85, 60).Detect(Found));
    EXPECT_TRUE(Planes(7, 7, 85, 60).Detect(Found));
    EXPECT_FALSE(DetectKeyColor(kDefaultKeyThresholds, 30, 30, nullptr, nullptr, Found));
}
