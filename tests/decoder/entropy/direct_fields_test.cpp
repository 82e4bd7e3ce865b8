// Direct prediction in fields and in frames whose co-located picture is of either kind, as ffmpeg has it.
#include "tests/decoder/direct_mixes.h"
#include "tests/decoder/random_fields.h"

namespace {

using namespace test;

constexpr uint32_t kP = 5, kB = 6;

struct DirectCase {
    bool Spatial, BottomFirst;
    uint32_t Weighting; // weighted_bipred_idc
};
// All references of a co-located picture stand in list 0 of the B picture, as clause 8.4.1.2.3 asks for.
class DirectInFields : public testing::TestWithParam<DirectCase>
{
protected:
    static FieldStream Open(uint32_t Seed, uint32_t Reordered = 1)
    {
        return {{.profile_idc = 77, .num_ref_frames = 4, .vui = ReorderVui(Reordered, 4)},
                {.num_ref_idx = {3, 1}, .weighted_bipred_idc = GetParam().Weighting},
                Seed};
    }
    static Slice P(uint32_t FrameNum, uint32_t Poc, bool IsField)
    {
        Slice p = Typed(kP, FrameNum & 15, Poc & 255);
        p.bottom = GetParam().BottomFirst;
        p.num_ref_idx[0] = IsField ? 5 : 3;
        return p;
    }
    static Slice B(uint32_t FrameNum, uint32_t Poc, bool IsField, uint32_t RefIdc = 0)
    {
        Slice b = Typed(kB, FrameNum & 15, Poc & 255, RefIdc);
        b.bottom = GetParam().BottomFirst;
        b.num_ref_idx[0] = IsField ? 8 : 4;
        b.num_ref_idx[1] = IsField ? 2 : 1;
        b.spatial_direct = GetParam().Spatial;
        return b;
    }
    void Expect(bool ColIsField, bool IsField, uint32_t Seed)
    {
        FieldStream In = Open(Seed);
        In.StartPairs(4);
        for (uint32_t i = 0; i < 6; ++i) {
            const Slice p = P(4 + i, 12 + 4 * i, ColIsField), b = B(5 + i, 10 + 4 * i, IsField);
            const MacroblockMix& Mix = i % 2 ? kFast : kSlow;
            ColIsField ? In.Pair(p, Mix) : In.Frame(p, Mix);
            IsField ? In.Pair(b, kDirect) : In.Frame(b, kDirect);
        }
        In.ExpectAsFfmpeg();
    }
};

TEST_P(DirectInFields, FromFields) { Expect(true, true, 71); }
TEST_P(DirectInFields, FromAFrameThatWasCodedAsOne) { Expect(false, true, 72); }
TEST_P(DirectInFields, OfAFrameFromOneOfTwoFields) { Expect(true, false, 73); }
TEST_P(DirectInFields, OfAFrameFromAFrame) { Expect(false, false, 74); }

// The first picture of list 1 is then a field of either parity, or the one that is nearer in a frame.
TEST_P(DirectInFields, FromAFieldOfTheOtherParity)
{
    FieldStream In = Open(75);
    In.StartPairs(4);
    for (uint32_t i = 0; i < 6; ++i) {
        Slice b = B(5 + i, 10 + 4 * i, true);
        In.Pair(P(4 + i, 12 + 4 * i, true), i % 2 ? kFast : kSlow);
        b.field = true;
        for (const bool Second : {false, true}) {
            b.bottom = Second != GetParam().BottomFirst;
            b.poc_lsb = (10 + 4 * i + Second) & 255;
            // The last reference's field of the other parity: CurrPicNum is 2 * frame_num + 1, its number 3 below.
            b.reordering[1] = {{0, 2}};
            In.Add(b, kDirect);
        }
        ++In.Pictures;
    }
    In.ExpectAsFfmpeg();
}

// Its frame's records are left from a picture that stood still.
TEST_P(DirectInFields, FromAnIntraPictureOfTheOtherKind)
{
    FieldStream In = Open(77);
    In.StartPairs(4);
    uint32_t FrameNum = 4, Poc = 8;
    for (int i = 0; i < 24; ++i, Poc += 2)
        In.Pair(P(FrameNum++, Poc, true), {.skip = 8, .direct = 0, .intra = 0, .max_mvd = 1});
    for (const bool IsField : {true, false, true, false}) {
        const Slice Intra = Typed(7, FrameNum++ & 15, Poc + 2), b = B(FrameNum, Poc, IsField);
        IsField ? In.Frame(Intra).Pair(b, kDirect) : In.Pair(Intra).Frame(b, kDirect);
        Poc += 4;
    }
    In.ExpectAsFfmpeg();
}

// B fields that are references themselves, and the second one predicted from the first.
TEST_P(DirectInFields, FromBFields)
{
    FieldStream In = Open(76, 2);
    In.StartPairs(4);
    for (uint32_t i = 0; i < 3; ++i) {
        Slice Middle = B(5 + 2 * i, 14 + 8 * i, true, 1), Last = B(6 + 2 * i, 12 + 8 * i, true);
        Middle.num_ref_idx[0] = 4;
        In.Pair(P(4 + 2 * i, 18 + 8 * i, true), kFast).Pair(Middle, kFast).Pair(Last, kDirect);
    }
    In.ExpectAsFfmpeg(false);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DirectInFields,
                         testing::Values(DirectCase{true, false, 0}, DirectCase{true, true, 2},
                                         DirectCase{false, false, 2}, DirectCase{false, true, 0}),
                         [](const auto& Info) {
                             return std::string(Info.param.Spatial ? "Spatial" : "Temporal") +
                                    (Info.param.BottomFirst ? "BottomFirst" : "TopFirst") +
                                    (Info.param.Weighting == 2 ? "Weighted" : "");
                         });

} // namespace
