// A slice group that is a rectangle is decoded as a picture of its size would be: intra pictures of another encoder, of
// any coding tool, become the groups of one picture. What lies beyond the rectangle is not there for them.
#include "tests/decoder/encoded_noise.h"
#include "tests/decoder/random_stream.h"
#include "tests/decoder/regrouped_stream.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

constexpr uint32_t kWidth = 7, kHeight = 6; // map units
constexpr size_t kPictures = 6;

struct Tile {
    uint32_t X, Y, Width, Height; // map units
};
struct Tiling {
    const char* pName;
    std::vector<Tile> Tiles;
    SliceGroups Groups;
    uint32_t ChangeCycle = 0;
};

std::vector<Tiling> Tilings()
{
    const std::vector<Tile> Quarters{{0, 0, 3, 2}, {3, 0, 4, 2}, {0, 2, 3, 4}, {3, 2, 4, 4}};
    SliceGroups Explicit{.count = 4, .map_type = 6};
    for (uint32_t i = 0; i < kWidth * kHeight; ++i) { // a group each
        constexpr uint32_t kIds[2][2] = {{2, 0}, {3, 1}};
        Explicit.group_id.push_back(kIds[i / kWidth >= 2][i % kWidth >= 3]);
    }
    return {
        {"Foreground",
         {{0, 0, 3, 3}, {3, 0, 4, 3}, {0, 3, 7, 3}},
         {.count = 3, .map_type = 2, .top_left = {3, 0}, .bottom_right = {20, 16}}},
        {"Explicit", Quarters, Explicit},
    };
}

// One picture after the other, each slice of which is one of a stream.
class Composer
{
public:
    Composer(const Tiling& Tiling, const std::vector<Bytes>& Streams)
    {
        for (size_t i = 0; i < Streams.size(); ++i) Take(Streams[i], Tiling, Tiling.Tiles[i], i == 0);
        std::mt19937 Random(5);
        for (std::vector<Bytes>& Slices : m_Slices) {
            std::shuffle(Slices.begin(), Slices.end(), Random);
            for (const Bytes& Slice : Slices) m_Out += Slice;
        }
    }
    const Bytes& Stream() const { return m_Out; }

private:
    void Take(const Bytes& Stream, const Tiling& Tiling, const Tile& Tile, bool IsFirst)
    {
        size_t Picture = 0;
        HeaderReader Reader;
        for (const Bytes& Unit : SplitUnits(Stream)) {
            if ((Unit[0] & 31) == 7) Reader.TakeSequenceSet(Unit);
            if ((Unit[0] & 31) == 8) {
                Reader.TakePictureSet(Unit);
                if (IsFirst) WriteSets(Reader, Tiling, Unit);
            }
            if (HeaderReader::IsSlice(Unit[0])) m_Slices[Picture++].push_back(Place(Reader, Tiling, Tile, Unit));
        }
        EXPECT_EQ(Picture, kPictures) << "one slice a picture";
    }
    void WriteSets(const HeaderReader& Reader, const Tiling& Tiling, const Bytes& PictureSet)
    {
        const UMC::H264SeqParamSet& s = Reader.SequenceSet();
        m_Seq = {.profile_idc = s.profile_idc,
                 .chroma_format_idc = s.chroma_format_idc,
                 .bit_depth = s.bit_depth_luma,
                 .log2_max_frame_num = s.log2_max_frame_num,
                 .poc_type = s.pic_order_cnt_type,
                 .num_ref_frames = 1,
                 .width_mbs = kWidth,
                 .height_map_units = kHeight,
                 .frame_mbs_only = s.frame_mbs_only_flag != 0,
                 .mbaff = s.mb_adaptive_frame_field_flag != 0};
        if (s.pic_order_cnt_type == 0) m_Seq.log2_max_poc_lsb = s.log2_max_pic_order_cnt_lsb;
        const Bytes Old = PayloadBits(PictureSet);
        BitWriter Groups;
        for (size_t i = 0; i < 4; ++i) Groups.U(1, Old[i]); // both numbers are 0
        WriteSliceGroups(Groups, Tiling.Groups);
        Bytes Bits = Groups.Bits();
        Bits.insert(Bits.end(), Old.begin() + 5, Old.end());
        m_Out += Write(m_Seq) + UnitOf(PictureSet[0], Bits);
    }
    // Another first_mb_in_slice and disable_deblocking_filter_idc.
    Bytes Place(const HeaderReader& Reader, const Tiling& Tiling, const Tile& Tile, const Bytes& Unit) const
    {
        UMC::SliceHeaderFields Header;
        const size_t HeaderBits = Reader.Read(Unit, Header);
        const Bytes Old = PayloadBits(Unit);
        EXPECT_EQ(Header.first_mb_in_slice, 0);
        EXPECT_EQ(Header.disable_deblocking_filter_idc, 0u);
        EXPECT_EQ(Header.slice_alpha_c0_offset | Header.slice_beta_offset, 0);
        const uint32_t RowsOfMbs = m_Seq.frame_mbs_only || m_Seq.mbaff ? 1 : 2;
        BitWriter First, Filter;
        First.UE(Tile.Y * RowsOfMbs * kWidth + Tile.X);
        Filter.UE(2);
        Filter.SE(0);
        Filter.SE(0);
        WriteSliceGroupChange(Filter, m_Seq, Tiling.Groups, Tiling.ChangeCycle);
        Bytes Bits = First.Bits();
        Bits.insert(Bits.end(), Old.begin() + 1, Old.begin() + static_cast<ptrdiff_t>(HeaderBits) - 3);
        Bits += Filter.Bits();
        Reader.AppendData(Bits, Old, HeaderBits);
        return UnitOf(Unit[0], Bits);
    }

    SeqParamSet m_Seq;
    std::vector<Bytes> m_Slices[kPictures];
    Bytes m_Out;
};

struct Coding {
    const char* pName;
    const char* pOptions;
    uint32_t UnitHeight = 16;
    size_t SampleBytes = 1;
    bool Is422 = false;
};
constexpr Coding kCodings[] = {
    {"Cavlc", "--no-cabac --8x8dct --qp 24"},
    {"Cabac", "--8x8dct --qp 26"},
    {"FramesOfFields", "--fake-interlaced --qp 26", 32},
    {"PairsCabac", "--tff --qp 26", 32},
    {"PairsCavlc", "--tff --no-cabac --qp 32", 32},
    {"Deep422", "--output-depth 10 --qp 30", 16, 2, true},
    {"DeepPairs", "--output-depth 10 --tff --no-cabac --qp 30", 32, 2},
};

class Tiles : public testing::TestWithParam<Coding>
{
protected:
    // Puts the picture of a tile into its place.
    static void Copy(Bytes& Whole, const Bytes& Part, const Tile& Tile)
    {
        size_t To = 0, From = 0;
        for (size_t Plane = 0; Plane < 3; ++Plane) {
            const size_t Width = (Plane ? 8 : 16) * GetParam().SampleBytes;
            const size_t Height = GetParam().UnitHeight / (Plane && !GetParam().Is422 ? 2 : 1);
            for (size_t y = 0; y < Tile.Height * Height; ++y, From += Tile.Width * Width)
                std::copy_n(Part.begin() + static_cast<ptrdiff_t>(From), Tile.Width * Width,
                            Whole.begin() +
                                static_cast<ptrdiff_t>(To + (Tile.Y * Height + y) * kWidth * Width + Tile.X * Width));
            To += kHeight * Height * kWidth * Width;
        }
    }
};

TEST_P(Tiles, AreThePicturesThatTheyWereCodedAs)
{
    for (const Tiling& Tiling : Tilings()) {
        SCOPED_TRACE(Tiling.pName);
        const size_t Chroma = GetParam().Is422 ? 256 : 128;
        std::vector<Bytes> Expected(
            kPictures, Bytes(kWidth * kHeight * GetParam().UnitHeight / 16 * (256 + Chroma) * GetParam().SampleBytes));
        std::vector<Bytes> Streams;
        for (const Tile& Tile : Tiling.Tiles) {
            const auto Seed = static_cast<uint32_t>(Streams.size() + 1);
            Streams.push_back(EncodeNoise(
                std::string("--slices 1 --keyint 1 ") + GetParam().pOptions, static_cast<int>(Tile.Width * 16),
                static_cast<int>(Tile.Height * GetParam().UnitHeight), GetParam().Is422, Seed));
            const std::vector<Bytes> Pictures = DecodeAll(Streams.back());
            ASSERT_EQ(Pictures.size(), kPictures);
            for (size_t i = 0; i < kPictures; ++i) Copy(Expected[i], Pictures[i], Tile);
        }
        EXPECT_EQ(DecodeAll(Composer(Tiling, Streams).Stream()), Expected);
    }
}

INSTANTIATE_TEST_SUITE_P(SliceGroups, Tiles, testing::ValuesIn(kCodings),
                         [](const auto& Info) { return std::string(Info.param.pName); });

} // namespace
