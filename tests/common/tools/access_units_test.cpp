#include "tools/common/access_units.h"

#include "tests/decoder/random_fields.h"

namespace {

using namespace test;

Bytes Joined(const std::vector<std::span<const uint8_t>>& Pieces)
{
    Bytes All;
    for (const auto Piece : Pieces) All.insert(All.end(), Piece.begin(), Piece.end());
    return All;
}

TEST(FrameCutting, KeepsTheFieldsOfAFrameTogether)
{
    FieldStream In({.profile_idc = 77}, {}, 1);
    In.StartPairs(2).Frame(Numbered(2, 8)).Pair(Numbered(3, 12)).Frame(Numbered(4, 16));
    const auto Frames = CutFrames(In.Data);
    EXPECT_EQ(Frames.size(), In.Pictures);
    EXPECT_EQ(CountFrames(In.Data), static_cast<int64_t>(In.Pictures));
    EXPECT_EQ(CutAccessUnits(In.Data).size(), In.Pictures + 3) << "pairs";
    EXPECT_EQ(Joined(Frames), In.Data);
}

TEST(FrameCutting, TakesALoneFieldForAFrame)
{
    FieldStream In({.profile_idc = 77}, {}, 1);
    In.StartPairs(1);
    Slice Lone = Numbered(1, 4);
    Lone.field = true;
    In.Add(Lone).Pair(Numbered(2, 8));
    EXPECT_EQ(CutFrames(In.Data).size(), 3u);
}

// A set of profile 144 has one bit more, but neither planes of their own nor scaling lists for both chroma planes.
TEST(PictureSize, StandsInSetsOfEveryChromaFormat)
{
    const std::vector<int32_t> kFlat(16, 16);
    for (const uint32_t Format : {0u, 1u, 2u, 3u})
        for (const bool HasLists : {false, true}) {
            SeqParamSet Set{.profile_idc = 144, .chroma_format_idc = Format, .width_mbs = 5, .height_map_units = 7};
            if (HasLists) Set.scaling = {kFlat, kFlat};
            const FrameSize Size = FindPictureSize(Write(Set));
            EXPECT_EQ(Size.Width, 80) << Format << HasLists;
            EXPECT_EQ(Size.Height, 112) << Format << HasLists;
        }
}

} // namespace
