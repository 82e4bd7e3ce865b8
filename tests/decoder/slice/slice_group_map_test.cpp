// The maps of slice groups, against the formulas of clause 8.2.2. Sets and headers go through the stream.
#include "decoder/slice/slice_group_map.h"

#include "decoder/stream/headers_store.h"
#include "tests/decoder/parsed_unit.h"
#include "tests/support/slice_group_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

namespace {

using namespace UMC;
using Map = std::vector<uint32_t>;

enum class Structure { Progressive, Field, BottomField, Pairs, FrameOfFields };
constexpr Structure kAll[] = {Structure::Progressive, Structure::Field, Structure::BottomField, Structure::Pairs,
                              Structure::FrameOfFields};

// A slice of a picture of width x height map units, and what the parsers make of it.
struct Case {
    test::SeqParamSet Seq;
    test::PicParamSet Pic;
    test::Slice Slice;

    Case(uint32_t Width, uint32_t Height, Structure s)
    {
        Seq.profile_idc = 77;
        Seq.width_mbs = Width;
        Seq.height_map_units = Height;
        Seq.frame_mbs_only = s == Structure::Progressive;
        Seq.mbaff = s == Structure::Pairs;
        Slice.bottom = s == Structure::BottomField;
        Slice.field = s == Structure::Field || Slice.bottom;
    }
    uint32_t Units() const { return Seq.width_mbs * Seq.height_map_units; }

    // By the sets and the header as they are parsed; Sequence replaces the sequence parameter set behind the other one.
    Map Next(const test::SeqParamSet* pSequence = nullptr) const
    {
        Headers Store;
        const auto AddSequence = [&](const test::SeqParamSet& s) {
            H264SeqParamSet Set{};
            test::Unit Unit(test::Write(s));
            EXPECT_EQ(ReadSeqParamSet(Unit.Bits, Set), StatusOk);
            Store.m_SeqParamSets.Add(Set, true);
        };
        AddSequence(Seq);
        const auto pPic = std::make_unique<H264PicParamSet>();
        test::Unit PicUnit(test::Write(Pic));
        EXPECT_EQ(ReadPicParamSet(PicUnit.Bits, Store, *pPic), StatusOk);
        if (pSequence) AddSequence(*pSequence);
        const H264SeqParamSet& Sequence = *Store.m_SeqParamSets.Get(0);

        SliceHeaderFields Header{};
        Header.nal_unit_type = 1;
        Header.nal_ref_idc = 1;
        SliceHeaderTables Tables;
        test::BitWriter Bits = test::Header(pSequence ? *pSequence : Seq, Pic, Slice);
        test::Unit Unit(test::Finish(Bits, Slice));
        EXPECT_TRUE(ReadSliceStart(Unit.Bits, Header) && ReadSliceRest(Unit.Bits, Sequence, *pPic, Header, Tables));

        std::vector<uint8_t> Scratch;
        Map Next(PictureMbs(Sequence, Header) + 1, 0xABCDEF01);
        FillNextMbMap(Sequence, *pPic, Header, Scratch, Next.data());
        EXPECT_EQ(Next.back(), 0xABCDEF01u);
        Next.pop_back();
        return Next;
    }
    Map NextByTheClause() const // 8.2.3
    {
        const std::vector<int> Groups = test::MbToSliceGroupMap(Seq, Pic, Slice);
        Map Next;
        for (size_t n = 0; n < Groups.size(); n++) {
            size_t i = n + 1;
            while (i < Groups.size() && Groups[i] != Groups[n]) i++;
            Next.push_back(static_cast<uint32_t>(i));
        }
        return Next;
    }
};

class SliceGroupMaps : public testing::TestWithParam<Structure>
{
protected:
    std::minstd_rand m_Random{1};
    uint32_t Upto(uint32_t Limit) { return static_cast<uint32_t>(m_Random() >> 4) % (Limit + 1); }

    Case Choose(uint32_t MaxSide, uint32_t Type) // what the parser lets through
    {
        Case c(1 + Upto(MaxSide - 1), 1 + Upto(MaxSide - 1), GetParam());
        const uint32_t Width = c.Seq.width_mbs, Height = c.Seq.height_map_units;
        test::SliceGroups& g = c.Pic.groups;
        g.map_type = Type;
        g.count = Type >= 3 && Type <= 5 ? 2 : 2 + Upto(6);
        for (uint32_t i = 0; i < g.count; ++i) {
            g.run_length.push_back(1 + Upto(c.Units() - 1));
            const uint32_t Left = Upto(Width - 1), Top = Upto(Height - 1);
            g.top_left.push_back(Top * Width + Left);
            g.bottom_right.push_back((Top + Upto(Height - 1 - Top)) * Width + Left + Upto(Width - 1 - Left));
        }
        g.change_rate = 1 + Upto(c.Units() - 1);
        g.change_direction = Upto(1) != 0;
        c.Slice.slice_group_change_cycle = Upto((c.Units() + g.change_rate - 1) / g.change_rate);
        for (uint32_t i = 0; i < c.Units(); ++i) g.group_id.push_back(Upto(g.count - 1));
        return c;
    }
};

TEST_P(SliceGroupMaps, AreThoseOfTheClauseForEveryType)
{
    for (uint32_t Type = 0; Type <= 6; ++Type)
        for (int Trial = 0; Trial < 100; ++Trial) {
            const Case c = Choose(9, Type);
            ASSERT_EQ(c.Next(), c.NextByTheClause())
                << "type " << Type << ", " << c.Seq.width_mbs << " x " << c.Seq.height_map_units;
        }
}

TEST_P(SliceGroupMaps, GrowUnitByUnitInBothDirections)
{
    constexpr uint32_t kSizes[][2] = {{1, 1}, {1, 7}, {7, 1}, {2, 9}, {9, 2}, {5, 5}, {6, 4}, {11, 9}};
    for (const auto& [Width, Height] : kSizes)
        for (uint32_t Type = 3; Type <= 5; ++Type)
            for (uint32_t Cycle = 0; Cycle <= 2 * Width * Height + 1; ++Cycle) {
                Case c(Width, Height, GetParam());
                c.Pic.groups = {.count = 2, .map_type = Type, .change_direction = Cycle % 2 != 0};
                c.Slice.slice_group_change_cycle = Cycle / 2;
                ASSERT_EQ(c.Next(), c.NextByTheClause())
                    << "type " << Type << ", " << Width << " x " << Height << ", " << Cycle / 2 << " units";
            }
}

// Each group is a chain through macroblocks of its own, whatever the sets say.
TEST_P(SliceGroupMaps, OfAnotherSizeAreCutToThePicture)
{
    for (uint32_t Type = 0; Type <= 6; ++Type)
        for (int Trial = 0; Trial < 100; ++Trial) {
            Case c = Choose(Trial % 2 ? 20 : 4, Type);
            test::SeqParamSet Sequence = c.Seq;
            Sequence.width_mbs = 1 + Upto(8);
            Sequence.height_map_units = 1 + Upto(8);
            c.Slice.slice_group_change_cycle = UINT32_MAX;
            const Map Next = c.Next(&Sequence);
            std::vector<int> Reached(Next.size() + 1);
            for (size_t i = 0; i < Next.size(); ++i) {
                ASSERT_GT(Next[i], i);
                ASSERT_LE(Next[i], Next.size());
                ++Reached[Next[i]];
            }
            for (size_t i = 0; i < Next.size(); ++i) EXPECT_LE(Reached[i], 1) << "two groups meet at " << i;
            EXPECT_LE(Reached.back(), 8);
        }
}

INSTANTIATE_TEST_SUITE_P(Structures, SliceGroupMaps, testing::ValuesIn(kAll));

// One row is the worst case of the walk around a box, for its ends lie ever farther apart.
TEST(FlatPictures, BoxesTakeStepsInProportionToTheirUnits)
{
    Case c(kMaxPictureMbs, 1, Structure::Progressive);
    c.Pic.groups = {.count = 2, .map_type = 3, .change_rate = kMaxPictureMbs - 10};
    c.Slice.slice_group_change_cycle = 1;
    for (int i = 0; i < 100; ++i) { // minutes, were every unit passed again in every round
        const Map Next = c.Next();
        ASSERT_EQ(std::count(Next.begin(), Next.end(), kMaxPictureMbs), 2);
        ASSERT_EQ(Next[4], kMaxPictureMbs - 5);
    }
}

} // namespace
