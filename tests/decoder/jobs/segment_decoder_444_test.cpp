// Streams of 4:4:4, which no other decoder at hand takes in this form. Where chroma is coded as Intra_16x16 luma is,
// and moves by whole samples, each plane is that of a monochrome stream with the same levels at the same QP.
#include "Common/h264/h264_tables.h"
#include "tests/decoder/random_fields.h"
#include "tests/support/cabac_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

using namespace test;

constexpr uint32_t kTypeP = 5, kTypeB = 6, kTypeI = 7, kHigh444 = 144;
constexpr uint32_t kWidth = 3, kRows = 4; // macroblocks of a frame

enum class Pictures { Frames, Fields, Pairs };
struct Kind {
    const char* pName;
    Pictures Structure;
    uint32_t Depth, ChromaDepth;
    bool IsCabac = false;
};

// QP of a plane that belongs to QPY (clause 8.5.8).
int PlaneQp(const PicParamSet& Pic, int ChromaDepth, int Plane, int QpLuma)
{
    if (Plane == 0) return QpLuma;
    const int Offset = Plane == 1 ? Pic.chroma_qp_index_offset : Pic.second_chroma_qp_index_offset;
    const int Index = std::clamp(QpLuma + Offset, -6 * (ChromaDepth - 8), 51);
    return Index < 0 ? Index : h264::kChromaQp[Index];
}

// A stream of 4:4:4, and one for each of its planes alone.
class PlaneStreams
{
public:
    PlaneStreams(const Kind& k, uint32_t Seed, bool IsBypassed = false) : m_Kind(k), m_Random(Seed)
    {
        m_Seq = {.profile_idc = kHigh444,
                 .chroma_format_idc = 3,
                 .bit_depth = k.Depth,
                 .bit_depth_chroma = k.ChromaDepth,
                 .transform_bypass = IsBypassed,
                 .width_mbs = kWidth,
                 .height_map_units = k.Structure == Pictures::Frames ? kRows : kRows / 2,
                 .frame_mbs_only = k.Structure == Pictures::Frames,
                 .mbaff = k.Structure == Pictures::Pairs,
                 .vui = ReorderVui(0, 4)};
        m_Pic = {.cabac = k.IsCabac,
                 .weighted_pred = true,
                 .weighted_bipred_idc = Seed % 3,
                 .pic_init_qp = IsBypassed ? LowestQp(0) : 26,
                 .chroma_qp_index_offset = 3,
                 .has_transform_extension = true,
                 .scaling = {Flat(16), Flat(13), Flat(20), {}, {}, {}},
                 .second_chroma_qp_index_offset = -5};
        m_Pic.scaling[1][3] = 30; // not symmetrical, and of one plane alone
        m_Bypassed = IsBypassed;
        for (int i = 0; i < 4; ++i) {
            m_SeqOf[i] = m_Seq;
            m_PicOf[i] = m_Pic;
            if (i < 3) OfPlane(i);
            Data[i] = Write(m_SeqOf[i]) + Write(m_PicOf[i]);
        }
    }
    // A B picture is no reference, stands before the last one and is the last to be sent.
    void AddPicture(uint32_t Type)
    {
        for (int Field = 0; Field <= (m_Kind.Structure == Pictures::Fields); ++Field) {
            Slice s{.nal_unit_type = m_FrameNum == 0 && Field == 0 ? 5u : 1u, .slice_type = Type};
            s.nal_ref_idc = Type != kTypeB;
            s.frame_num = m_FrameNum;
            s.poc_lsb = 4 * m_FrameNum - (Type == kTypeB ? 6 : 0) + static_cast<uint32_t>(Field);
            s.field = m_Kind.Structure == Pictures::Fields;
            s.bottom = Field == 1;
            s.disable_deblocking = 0;
            s.alpha = s.beta = m_Bypassed ? 0 : 2;
            s.luma_log2_weight_denom = s.chroma_log2_weight_denom = 5;
            s.weights[0] = {{.luma = true,
                             .chroma = true,
                             .luma_weight = 30,
                             .luma_offset = 3,
                             .chroma_weight = {37, 28},
                             .chroma_offset = {-4, 6}}};
            s.weights[1] = s.weights[0];
            s.weights[1][0].luma_weight = 41;
            s.weights[1][0].chroma_weight[1] = 19;
            if (m_Kind.Structure != Pictures::Pairs)
                AddWhole(s);
            else if (Type == kTypeI)
                AddPairs(s);
            else
                AddSlicePerPair(s);
        }
        ++m_FrameNum;
    }

    Bytes Data[4]; // by plane, and of all of them together

private:
    static constexpr int kAll = 3;
    using Four = std::array<Macroblock, 4>;

    static std::vector<int32_t> Flat(int32_t Value) { return std::vector<int32_t>(16, Value); }
    int Upto(int Limit) { return static_cast<int>(m_Random() % static_cast<uint32_t>(Limit + 1)); }
    int LowestQp(int Plane) const
    {
        return -6 * (static_cast<int>(Plane == 0 ? m_Kind.Depth : m_Kind.ChromaDepth) - 8);
    }
    int QpOf(int Plane, int QpLuma) const
    {
        if (Plane == kAll) return QpLuma;
        return m_Bypassed ? LowestQp(Plane) : PlaneQp(m_Pic, static_cast<int>(m_Kind.ChromaDepth), Plane, QpLuma);
    }
    void OfPlane(int Plane)
    {
        m_SeqOf[Plane].profile_idc = 122;
        m_SeqOf[Plane].chroma_format_idc = 0;
        m_SeqOf[Plane].bit_depth = m_SeqOf[Plane].bit_depth_chroma = Plane == 0 ? m_Kind.Depth : m_Kind.ChromaDepth;
        m_PicOf[Plane].pic_init_qp = QpOf(Plane, m_Pic.pic_init_qp);
        m_PicOf[Plane].scaling[0] = m_Pic.scaling[static_cast<size_t>(Plane)];
    }
    Slice SliceOf(int Plane, Slice s) const
    {
        if (Plane == 1 || Plane == 2)
            for (auto& List : s.weights) {
                List[0].luma_weight = List[0].chroma_weight[Plane - 1];
                List[0].luma_offset = List[0].chroma_offset[Plane - 1];
            }
        return s;
    }
    void AddWhole(const Slice& s)
    {
        std::vector<Macroblock> Mbs[4];
        m_Qp = m_Pic.pic_init_qp;
        for (uint32_t Mb = 0; Mb < PictureMbs(m_Seq, s); ++Mb) {
            const Four One = Any(s, Mb % kWidth != 0, Mb >= kWidth);
            for (size_t i = 0; i < 4; ++i) Mbs[i].push_back(One[i]);
        }
        Send(s, Mbs);
    }
    void Send(const Slice& s, const std::vector<Macroblock> (&Mbs)[4])
    {
        for (int i = 0; i < 4; ++i) {
            if (m_Kind.IsCabac) {
                Data[i] += CabacIntra16x16Slice(m_SeqOf[i], m_PicOf[i], SliceOf(i, s), Mbs[i]);
                continue;
            }
            MacroblockWriter Writer(m_SeqOf[i], m_PicOf[i], SliceOf(i, s));
            for (const Macroblock& m : Mbs[i]) Writer.Put(m);
            Data[i] += Writer.Finish();
        }
    }
    // Pairs of frame and field macroblocks, any beside any.
    void AddPairs(const Slice& s)
    {
        std::vector<Macroblock> Mbs[4];
        m_Qp = m_Pic.pic_init_qp;
        for (uint32_t Pair = 0; Pair < kWidth * kRows / 2; ++Pair) {
            const bool IsField = Upto(1), HasLeft = Pair % kWidth != 0, HasTop = Pair >= kWidth;
            for (const bool IsLower : {false, true}) {
                Four One = Any(s, HasLeft, HasTop || (IsLower && !IsField));
                for (size_t i = 0; i < 4; ++i) {
                    One[i].field_decoding = IsField;
                    Mbs[i].push_back(One[i]);
                }
            }
        }
        Send(s, Mbs);
    }
    // A slice for each pair: beside one of the other kind vertical motion would be halved, down to parts of samples.
    void AddSlicePerPair(Slice s)
    {
        for (uint32_t Pair = 0; Pair < kWidth * kRows / 2; ++Pair) {
            s.first_mb = Pair;
            m_Qp = m_Pic.pic_init_qp;
            const bool IsField = Upto(1);
            const Four Upper = Any(s, false, false), Lower = Any(s, false, !IsField);
            for (int i = 0; i < 4; ++i) {
                MacroblockWriter Writer(m_SeqOf[i], m_PicOf[i], SliceOf(i, s));
                for (const Four* const p : {&Upper, &Lower}) {
                    Macroblock Mb = (*p)[static_cast<size_t>(i)];
                    Mb.field_decoding = IsField;
                    Writer.Put(Mb);
                }
                Data[i] += Writer.Finish();
            }
        }
    }
    // The same macroblock for each stream.
    Four Any(const Slice& s, bool HasLeft, bool HasTop)
    {
        Four Result;
        if (s.slice_type != kTypeI && Upto(2) != 0) {
            Macroblock Mb;
            Mb.skip = m_Kind.Structure != Pictures::Pairs && Upto(2) == 0;
            // P_L0_16x16 and those of two partitions; direct and those of either list and of both
            Mb.mb_type = Mb.skip ? 0 : static_cast<uint32_t>(Upto(s.slice_type == kTypeP ? 2 : 3));
            for (auto& List : Mb.mvd)
                for (auto& Part : List)
                    for (int32_t& Component : Part[0]) Component = 4 * (Upto(10) - 5);
            Result.fill(Mb);
            return Result;
        }
        // Without neighbours DC is the same for both sorts of blocks, and else it is not.
        const int Luma = Mode(HasLeft, HasTop), Chroma = Mode(HasLeft, HasTop);
        constexpr uint32_t kChromaMode[4] = {2, 1, 0, 3}; // of vertical, horizontal, DC and plane
        const int ChromaPattern = Upto(2), HasAc = Upto(1), Delta = m_Bypassed ? 0 : Upto(8) - 4;
        const int Before = m_Qp, After = m_Qp = std::clamp(Before + Delta, 16, 34);
        std::array<int, 16> Dc[3] = {}, Ac[3][16] = {};
        for (int Plane = 0; Plane < 3; ++Plane) {
            if (Plane == 0 || ChromaPattern > 0) Fill(Dc[Plane], 0);
            for (auto& Block : Ac[Plane])
                if (Plane == 0 ? HasAc != 0 : ChromaPattern == 2) Fill(Block, 1);
        }
        for (int i = 0; i < 4; ++i) {
            Macroblock& Mb = Result[static_cast<size_t>(i)];
            const auto Plane = static_cast<size_t>(i % kAll);
            const bool OwnAc = Plane == 0 ? HasAc != 0 : ChromaPattern == 2;
            Mb.intra = true;
            Mb.mb_type = static_cast<uint32_t>(1 + (Plane == 0 ? Luma : Chroma) + 12 * OwnAc);
            Mb.mb_qp_delta = m_Bypassed ? 0 : QpOf(i, After) - QpOf(i, Before);
            Mb.luma_dc = Dc[Plane];
            std::copy_n(Ac[Plane], 16, Mb.luma);
            if (i != kAll) continue;
            Mb.mb_type += static_cast<uint32_t>(4 * ChromaPattern);
            Mb.intra_chroma_pred_mode = kChromaMode[Chroma];
            for (size_t c = 0; c < 2; ++c) {
                Mb.chroma_dc[c] = Dc[1 + c];
                for (size_t b = 0; b < 16; ++b)
                    std::copy(Ac[1 + c][b].begin() + 1, Ac[1 + c][b].end(), Mb.chroma_ac[c][b].begin());
            }
        }
        return Result;
    }
    int Mode(bool HasLeft, bool HasTop)
    {
        constexpr int kWhole[3] = {0, 1, 3};
        return HasLeft && HasTop ? kWhole[Upto(2)] : HasLeft ? 1 : HasTop ? 0 : 2;
    }
    void Fill(std::array<int, 16>& Levels, size_t First)
    {
        for (int Left = Upto(1) ? Upto(5) : Upto(1) * 12; Left > 0; --Left)
            Levels[First + static_cast<size_t>(Upto(static_cast<int>(15 - First)))] =
                Upto(9) ? Upto(4) - 2 : Upto(20) - 10;
    }

    const Kind m_Kind;
    std::mt19937 m_Random;
    bool m_Bypassed = false;
    SeqParamSet m_Seq, m_SeqOf[4];
    PicParamSet m_Pic, m_PicOf[4];
    uint32_t m_FrameNum = 0;
    int m_Qp = 26;
};

// The samples of one plane, of as many as fill a frame.
std::vector<int> PlaneAt(const Bytes& Picture, size_t Plane, size_t SampleBytes)
{
    constexpr size_t kSamples = kWidth * kRows * 256;
    std::vector<int> Samples;
    for (size_t i = Plane * kSamples; i < (Plane + 1) * kSamples; ++i)
        Samples.push_back(SampleBytes == 1 ? Picture.at(i) : Picture.at(2 * i) + 256 * Picture.at(2 * i + 1));
    return Samples;
}

void ExpectPlanes(const PlaneStreams& In, const Kind& k, size_t Count)
{
    const size_t Deep = std::max(k.Depth, k.ChromaDepth) > 8 ? 2 : 1;
    const auto All = DecodeAll(In.Data[3]);
    ASSERT_EQ(All.size(), Count);
    for (size_t Plane = 0; Plane < 3; ++Plane) {
        const auto Alone = DecodeAll(In.Data[Plane]);
        ASSERT_EQ(Alone.size(), Count);
        bool HasContent = false;
        for (size_t n = 0; n < Count; ++n) {
            ASSERT_EQ(All[n].size(), kWidth * kRows * 256 * 3 * Deep);
            const auto Got = PlaneAt(All[n], Plane, Deep);
            const auto Want = PlaneAt(Alone[n], 0, (Plane == 0 ? k.Depth : k.ChromaDepth) > 8 ? 2 : 1);
            HasContent |= std::any_of(Want.begin(), Want.end(), [&](int Sample) { return Sample != Want.front(); });
            const auto First = std::mismatch(Got.begin(), Got.end(), Want.begin());
            ASSERT_EQ(First.first, Got.end())
                << "picture " << n << ", plane " << Plane << ": " << (First.first - Got.begin()) % (kWidth * 16) << ", "
                << (First.first - Got.begin()) / (kWidth * 16);
        }
        EXPECT_TRUE(HasContent);
    }
}

class PlanesOf444 : public testing::TestWithParam<Kind>
{
};
class PredictedPlanesOf444 : public testing::TestWithParam<Kind>
{
};

TEST_P(PlanesOf444, OfIntraPicturesAreThoseOfMonochromeStreams)
{
    for (uint32_t Seed = 1; Seed <= 4; ++Seed) {
        SCOPED_TRACE(Seed);
        PlaneStreams In(GetParam(), Seed);
        for (int i = 0; i < 3; ++i) In.AddPicture(kTypeI);
        ExpectPlanes(In, GetParam(), 3);
    }
}

TEST_P(PredictedPlanesOf444, WithWeightsByWholeSamplesAreThoseOfMonochromeStreams)
{
    for (uint32_t Seed = 1; Seed <= 4; ++Seed) {
        SCOPED_TRACE(Seed);
        PlaneStreams In(GetParam(), Seed);
        for (const uint32_t Type : {kTypeI, kTypeP, kTypeP, kTypeB}) In.AddPicture(Type);
        ExpectPlanes(In, GetParam(), 4);
    }
}

TEST_P(PlanesOf444, OfBypassedMacroblocksAreThoseOfMonochromeStreams)
{
    for (uint32_t Seed = 1; Seed <= 2; ++Seed) {
        SCOPED_TRACE(Seed);
        PlaneStreams In(GetParam(), Seed, true);
        for (int i = 0; i < 2; ++i) In.AddPicture(kTypeI);
        ExpectPlanes(In, GetParam(), 2);
    }
}

constexpr Kind kInCavlc[]{{"Frames", Pictures::Frames, 8, 8},     {"Frames10", Pictures::Frames, 10, 10},
                          {"Frames14", Pictures::Frames, 14, 14}, {"Frames8And12", Pictures::Frames, 8, 12},
                          {"Fields", Pictures::Fields, 8, 8},     {"Fields9And14", Pictures::Fields, 9, 14},
                          {"Pairs", Pictures::Pairs, 8, 8},       {"Pairs10", Pictures::Pairs, 10, 10},
                          {"Pairs14And8", Pictures::Pairs, 14, 8}};
constexpr Kind kInCabac[]{
    {"FramesInCabac", Pictures::Frames, 8, 8, true}, {"Frames13And8InCabac", Pictures::Frames, 13, 8, true},
    {"FieldsInCabac", Pictures::Fields, 8, 8, true}, {"Fields10InCabac", Pictures::Fields, 10, 10, true},
    {"PairsInCabac", Pictures::Pairs, 8, 8, true},   {"Pairs12InCabac", Pictures::Pairs, 12, 12, true}};
std::string NameOf(const testing::TestParamInfo<Kind>& Info) { return Info.param.pName; }
INSTANTIATE_TEST_SUITE_P(Cavlc, PlanesOf444, testing::ValuesIn(kInCavlc), NameOf);
INSTANTIATE_TEST_SUITE_P(Cabac, PlanesOf444, testing::ValuesIn(kInCabac), NameOf);
INSTANTIATE_TEST_SUITE_P(Cavlc, PredictedPlanesOf444, testing::ValuesIn(kInCavlc), NameOf);

} // namespace
