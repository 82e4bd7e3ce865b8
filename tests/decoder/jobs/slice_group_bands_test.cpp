// Pictures whose slices are bands of whole rows, each in a slice group and in any order, are the pictures of the same
// slices without groups: every coding tool goes through the loops, the ends and the edge filter of slice groups.
#include "tests/decoder/encoded_noise.h"
#include "tests/decoder/random_stream.h"
#include "tests/decoder/regrouped_stream.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

// 5 x 8 macroblocks in four slices of two rows each.
constexpr int kWidth = 80, kHeight = 128;

struct Division {
    const char* pName;
    SliceGroups (*pGroups)(uint32_t Band); // map units of a slice
    uint32_t ChangeCycle;
};
SliceGroups Explicit(uint32_t Band)
{
    SliceGroups g{.count = 5, .map_type = 6}; // one of them has nothing
    for (const uint32_t Id : {3u, 0u, 4u, 2u}) g.group_id.insert(g.group_id.end(), Band, Id);
    return g;
}
constexpr Division kDivisions[] = {
    {"OneGroup", [](uint32_t) { return SliceGroups{}; }, 0}, // arbitrary order alone
    {"Interleaved",
     [](uint32_t Band) {
         return SliceGroups{.count = 2, .run_length = {Band, Band}};
     },
     0},
    {"InterleavedUnevenly",
     [](uint32_t Band) {
         return SliceGroups{.count = 3, .run_length = {Band, 2 * Band, Band}};
     },
     0},
    {"Foreground",
     [](uint32_t Band) {
         return SliceGroups{
             .count = 3, .map_type = 2, .top_left = {Band, 0}, .bottom_right = {2 * Band - 1, 3 * Band - 1}};
     },
     0},
    {"AllInTheBox", [](uint32_t Band) { return SliceGroups{.count = 2, .map_type = 3, .change_rate = 4 * Band}; }, 1},
    {"Raster", [](uint32_t Band) { return SliceGroups{.count = 2, .map_type = 4, .change_rate = Band}; }, 1},
    {"ReverseRaster",
     [](uint32_t Band) {
         return SliceGroups{.count = 2, .map_type = 4, .change_direction = true, .change_rate = Band};
     },
     3},
    {"NothingWiped", [](uint32_t Band) { return SliceGroups{.count = 2, .map_type = 5, .change_rate = Band}; }, 0},
    {"Explicit", Explicit, 0},
};

struct Coding {
    const char* pName;
    const char* pOptions;
    bool IsInterlaced; // map units are two macroblocks one above the other
    const char* pFormat = "yuv420p";
};
constexpr Coding kCodings[] = {
    {"Cavlc", "--no-cabac --bframes 0 --ref 3", false},
    {"CavlcB", "--no-cabac --bframes 2 --direct temporal --8x8dct", false},
    {"Cabac", "--bframes 2 --direct spatial --weightp 2 --ref 3", false},
    {"CabacFewBits", "--bframes 2 --direct temporal --qp 40", false},
    {"CavlcFewBits", "--no-cabac --bframes 1 --qp 44", false},
    {"FramesOfFields", "--fake-interlaced --bframes 1", true},
    {"FramesOfFieldsCavlc", "--fake-interlaced --no-cabac --bframes 1", true},
    {"PairsCabac", "--tff --bframes 2", true},
    {"PairsCavlc", "--tff --no-cabac --bframes 1 --qp 36", true},
    {"Deep422", "--output-depth 10 --bframes 1", false, "yuv422p10le"},
};

class Bands : public testing::TestWithParam<Coding>
{
};

TEST_P(Bands, AreTheSamePicturesInSliceGroups)
{
    const Coding& Coding = GetParam();
    const bool Is422 = std::string(Coding.pFormat) != "yuv420p";
    const Bytes Plain = EncodeNoise(std::string("--slices 4 --keyint 4 ") + Coding.pOptions, kWidth, kHeight, Is422);
    ExpectAsFfmpeg(Plain, 6, true, Coding.pFormat);
    const std::vector<Bytes> Expected = DecodeAll(Plain);
    for (const Division& Division : kDivisions) {
        const SliceGroups Groups = Division.pGroups(Coding.IsInterlaced ? 5 : 10);
        EXPECT_EQ(DecodeAll(Regrouper(Groups, Division.ChangeCycle, 3).Regroup(Plain)), Expected) << Division.pName;
    }
}

INSTANTIATE_TEST_SUITE_P(SliceGroups, Bands, testing::ValuesIn(kCodings),
                         [](const auto& Info) { return std::string(Info.param.pName); });

} // namespace
