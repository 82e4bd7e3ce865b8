// Macroblocks written twice: each in a slice of its own in raster order, and in slices of slice groups in any order.
// There they are predicted from neighbours of their slice, which a model of clause 8.4.1.3 says; the pictures are the
// same, for the edge filter goes across all slices.
#include "tests/decoder/random_stream.h"
#include "tests/support/slice_group_model.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

namespace {

using namespace test;

using Vector = std::array<int32_t, 2>;

// Motion of one list in a macroblock; no reference: not used, or intra.
struct Motion {
    int RefIdx = -1;
    Vector Mv{};
};
// What a macroblock is, whichever way it is predicted.
struct Wanted {
    Macroblock Mb;
    Motion List[2];
    int Qp = 26;
    Slice Of; // the slice it stands in, as far as all of that slice's macroblocks share it
};

class Mosaic
{
public:
    Mosaic(const SeqParamSet& Seq, const PicParamSet& Pic, uint32_t Seed)
        : m_Seq(Seq), m_Grouped(Pic), m_Plain(Pic), m_Random(Seed)
    {
        m_Plain.groups = {};
        Plain = Write(Seq) + Write(m_Plain);
        Grouped = Write(Seq) + Write(m_Grouped);
    }
    // A picture of PCM in both forms.
    void Start(const Slice& s)
    {
        const std::vector<int> Map = MbToSliceGroupMap(m_Seq, m_Grouped, s);
        m_Mbs.assign(Map.size(), {});
        for (Wanted& w : m_Mbs) {
            w.Mb.mb_type = 25;
            w.Mb.intra = true;
            for (uint8_t& Sample : w.Mb.pcm) Sample = static_cast<uint8_t>(60 + Upto(100));
            w.Of = s;
            w.Of.slice_type = 7;
        }
        std::vector<Bytes> Slices;
        for (size_t First = 0; First < Map.size(); ++First) {
            if (std::find(Map.begin(), Map.begin() + static_cast<ptrdiff_t>(First), Map[First]) !=
                Map.begin() + static_cast<ptrdiff_t>(First))
                continue;
            MacroblockWriter Writer(m_Seq, m_Grouped, At(m_Mbs[First].Of, First));
            while (Writer.Mb() < static_cast<int>(Map.size())) Writer.Put(m_Mbs[static_cast<size_t>(Writer.Mb())].Mb);
            Slices.push_back(Writer.Finish());
        }
        EndPicture(Slices);
    }
    // A picture of slices of the type of s, or of P and B slices.
    void Inter(const Slice& s, bool IsMixed)
    {
        const std::vector<int> Map = MbToSliceGroupMap(m_Seq, m_Grouped, s);
        m_Mbs.assign(Map.size(), {});
        std::vector<bool> Taken(Map.size());
        std::vector<Bytes> Slices;
        for (size_t First = 0; First < Map.size(); ++First) {
            if (Taken[First]) continue;
            Slice Of = s;
            if (IsMixed) Of.slice_type = Upto(1) ? 5 : 6;
            Of.disable_deblocking = Upto(4) == 0;
            Of.alpha = Upto(6) - 3;
            Of.beta = Upto(6) - 3;
            Of.qp_delta = Upto(16) - 8;
            MacroblockWriter Writer(m_Seq, m_Grouped, At(Of, First));
            int Qp = m_Plain.pic_init_qp + Of.qp_delta;
            for (int Left = 1 + Upto(12); Left > 0 && Writer.Mb() < static_cast<int>(Map.size()); --Left) {
                const auto Number = static_cast<size_t>(Writer.Mb());
                Taken[Number] = true;
                m_Mbs[Number].Of = Of;
                Writer.Put(Choose(Writer, m_Mbs[Number], Qp));
            }
            Slices.push_back(Writer.Finish());
        }
        EndPicture(Slices);
    }

    Bytes Plain, Grouped;

private:
    Slice At(Slice s, size_t First) const
    {
        s.first_mb = static_cast<uint32_t>(First);
        return s;
    }
    int Upto(int Limit) { return static_cast<int>(m_Random() % static_cast<uint32_t>(Limit + 1)); }

    // The macroblock as it is written in its group. QP is that of the one before.
    Macroblock Choose(const MacroblockWriter& Writer, Wanted& w, int& Qp)
    {
        const bool IsB = w.Of.slice_type == 6;
        const std::optional<Vector> Skip = IsB ? std::nullopt : std::optional(SkipVector(Writer));
        const int Draw = Upto(9);
        if (Draw == 0 || (Draw == 1 && HasNoneBeside(Writer))) {
            w.Mb.intra = true;
            w.Mb.mb_type = Draw == 0 ? 25 : 3; // PCM, or Intra_16x16 of grey
            for (uint8_t& Sample : w.Mb.pcm) Sample = static_cast<uint8_t>(100 + Upto(20));
        } else if (Skip && Draw < 5) {
            w.List[0] = {0, *Skip};
        } else {
            w.Mb.mb_type = IsB ? static_cast<uint32_t>(1 + Upto(2)) : 0;
            for (int List = 0; List < 2; ++List)
                if (IsB ? w.Mb.mb_type >> List & 1 : List == 0)
                    w.List[List] = {Upto(1), {Upto(2) ? Upto(24) - 12 : 0, Upto(2) ? Upto(24) - 12 : 0}};
        }
        const bool IsSkipped = Skip && !w.Mb.intra && w.List[0].RefIdx == 0 && w.List[0].Mv == *Skip && Upto(3);
        if (!IsSkipped && w.Mb.mb_type != 25 && (Upto(1) || w.Mb.intra)) {
            AddResidual(w.Mb);
            w.Mb.mb_qp_delta = std::clamp(Qp + Upto(12) - 6, 14, 40) - Qp;
            Qp += w.Mb.mb_qp_delta;
        }
        w.Qp = Qp;
        Macroblock Mb = w.Mb;
        Mb.skip = IsSkipped;
        for (int List = 0; List < 2 && !w.Mb.intra; ++List) {
            if (w.List[List].RefIdx < 0) continue;
            const Vector p = Predict(Writer, List, w.List[List].RefIdx);
            Mb.ref_idx[List][0] = static_cast<uint32_t>(w.List[List].RefIdx);
            for (size_t i = 0; i < 2; ++i) Mb.mvd[List][0][0][i] = w.List[List].Mv[i] - p[i];
        }
        return Mb;
    }
    void AddResidual(Macroblock& Mb)
    {
        if (!Mb.intra) Mb.coded_block_pattern = 1 + static_cast<uint32_t>(Upto(m_Seq.chroma_format_idc ? 46 : 14));
        for (auto& Block : Mb.luma)
            for (int i = Upto(3); i > 0; --i) Block[static_cast<size_t>(Upto(15))] = Upto(6) - 3;
        for (int Plane = 0; Plane < 2; ++Plane) {
            for (int i = 0; i < 4; ++i) Mb.chroma_dc[Plane][static_cast<size_t>(i)] = Upto(4) - 2;
            for (auto& Block : Mb.chroma_ac[Plane]) Block[static_cast<size_t>(Upto(14))] = Upto(2) - 1;
        }
        for (int& Level : Mb.luma_dc) Level = Upto(2) - 1;
    }
    const Wanted* Beside(const MacroblockWriter& Writer, int X, int Y) const
    {
        const int Width = static_cast<int>(m_Seq.width_mbs);
        const int x = Writer.Mb() % Width + X, y = Writer.Mb() / Width + Y;
        if (x < 0 || x >= Width || y < 0 || !Writer.Has(y * Width + x)) return nullptr;
        return &m_Mbs[static_cast<size_t>(y * Width + x)];
    }
    bool HasNoneBeside(const MacroblockWriter& Writer) const
    {
        return !Beside(Writer, -1, 0) && !Beside(Writer, 0, -1);
    }
    Vector SkipVector(const MacroblockWriter& Writer) const // clause 8.4.1.1
    {
        for (const Wanted* const p : {Beside(Writer, -1, 0), Beside(Writer, 0, -1)})
            if (!p || (p->List[0].RefIdx == 0 && p->List[0].Mv == Vector{})) return {};
        return Predict(Writer, 0, 0);
    }
    Vector Predict(const MacroblockWriter& Writer, int List, int RefIdx) const // clause 8.4.1.3
    {
        const Wanted *const pA = Beside(Writer, -1, 0), *const pB = Beside(Writer, 0, -1);
        const Wanted* pC = Beside(Writer, 1, -1);
        if (!pC) pC = Beside(Writer, -1, -1);
        if (pA && !pB && !pC) return pA->List[List].Mv;
        Motion m[3];
        int Same = 0;
        Vector Only{};
        for (int i = 0; i < 3; ++i) {
            const Wanted* const p = i == 0 ? pA : i == 1 ? pB : pC;
            if (p) m[i] = p->List[List];
            if (m[i].RefIdx != RefIdx) continue;
            ++Same;
            Only = m[i].Mv;
        }
        if (Same == 1) return Only;
        Vector Median;
        for (size_t i = 0; i < 2; ++i)
            Median[i] =
                std::max(std::min(m[0].Mv[i], m[1].Mv[i]), std::min(std::max(m[0].Mv[i], m[1].Mv[i]), m[2].Mv[i]));
        return Median;
    }
    void EndPicture(std::vector<Bytes>& Slices)
    {
        std::shuffle(Slices.begin(), Slices.end(), m_Random);
        for (const Bytes& Slice : Slices) Grouped += Slice;
        for (size_t i = 0; i < m_Mbs.size(); ++i) {
            const Wanted& w = m_Mbs[i];
            Macroblock Mb = w.Mb;
            Slice s = At(w.Of, i);
            s.qp_delta = w.Qp - m_Plain.pic_init_qp;
            Mb.mb_qp_delta = 0;
            for (int List = 0; List < 2; ++List) { // nothing to predict from
                Mb.ref_idx[List][0] = static_cast<uint32_t>(std::max(w.List[List].RefIdx, 0));
                std::copy(w.List[List].Mv.begin(), w.List[List].Mv.end(), Mb.mvd[List][0][0]);
            }
            MacroblockWriter Writer(m_Seq, m_Plain, s);
            Writer.Put(Mb);
            Plain += Writer.Finish();
        }
    }

    SeqParamSet m_Seq;
    PicParamSet m_Grouped, m_Plain;
    std::mt19937 m_Random;
    std::vector<Wanted> m_Mbs;
};

struct Form {
    const char* pName;
    SliceGroups (*pGroups)();
    uint32_t ChangeCycle = 0;
};
constexpr uint32_t kWidth = 5, kHeight = 6; // map units
constexpr Form kForms[] = {
    {"OneGroup", [] { return SliceGroups{}; }}, // arbitrary order alone
    {"Interleaved",
     [] {
         return SliceGroups{.count = 3, .run_length = {2, 1, 4}};
     }},
    {"Dispersed2", [] { return SliceGroups{.count = 2, .map_type = 1}; }},
    {"Dispersed5", [] { return SliceGroups{.count = 5, .map_type = 1}; }},
    {"Foreground",
     [] {
         return SliceGroups{.count = 3, .map_type = 2, .top_left = {6, 2}, .bottom_right = {17, 24}};
     }},
    {"Box", [] { return SliceGroups{.count = 2, .map_type = 3, .change_rate = 4}; }, 3},
    {"BoxTheOtherWay",
     [] { return SliceGroups{.count = 2, .map_type = 3, .change_direction = true, .change_rate = 7}; }, 2},
    {"Raster", [] { return SliceGroups{.count = 2, .map_type = 4, .change_rate = 8}; }, 2},
    {"RasterTheOtherWay",
     [] { return SliceGroups{.count = 2, .map_type = 4, .change_direction = true, .change_rate = 3}; }, 4},
    {"Wiped", [] { return SliceGroups{.count = 2, .map_type = 5, .change_rate = 5}; }, 3},
    {"WipedTheOtherWay",
     [] { return SliceGroups{.count = 2, .map_type = 5, .change_direction = true, .change_rate = 1}; }, 9},
    {"Explicit",
     [] {
         SliceGroups g{.count = 8, .map_type = 6};
         for (uint32_t i = 0; i < kWidth * kHeight; ++i) g.group_id.push_back(i * i / 3 % 8);
         return g;
     }},
};

class Mosaics : public testing::TestWithParam<Form>
{
protected:
    static PicParamSet Pictures()
    {
        return {.pic_order_present = true, .groups = GetParam().pGroups(), .num_ref_idx = {2, 2}};
    }
    static SeqParamSet Sequence(SeqParamSet s)
    {
        s.num_ref_frames = 2;
        s.width_mbs = kWidth;
        s.height_map_units = kHeight;
        s.vui = ReorderVui(0, 2);
        return s;
    }
    static Slice Numbered(uint32_t Number)
    {
        Slice s = test::Numbered(Number, 2 * Number);
        s.nal_unit_type = Number == 0 ? 5 : 1;
        s.slice_type = Number % 2 ? 6 : 5;
        s.disable_deblocking = 0;
        s.delta_poc_bottom = 1;
        s.slice_group_change_cycle = GetParam().ChangeCycle;
        return s;
    }
    static Mosaic Frames(const SeqParamSet& Seq, bool IsMixed = false)
    {
        Mosaic m(Sequence(Seq), Pictures(), 11);
        for (uint32_t i = 0; i < 5; ++i) i < 2 ? m.Start(Numbered(i)) : m.Inter(Numbered(i), IsMixed);
        return m;
    }
    static void ExpectSame(const Mosaic& m)
    {
        const std::vector<Bytes> Expected = DecodeAll(m.Plain);
        EXPECT_EQ(Expected.size(), 5u);
        EXPECT_EQ(DecodeAll(m.Grouped), Expected);
    }
};

TEST_P(Mosaics, OfFrames)
{
    const Mosaic m = Frames({.profile_idc = 77});
    ExpectAsFfmpeg(m.Plain, 5);
    ExpectSame(m);
}
// Where a P slice meets a B slice ffmpeg compares list 0 alone and is no judge.
TEST_P(Mosaics, OfSlicesOfBothTypes) { ExpectSame(Frames({.profile_idc = 77}, true)); }
TEST_P(Mosaics, OfFramesOfFields) { ExpectSame(Frames({.profile_idc = 77, .frame_mbs_only = false}, true)); }
TEST_P(Mosaics, OfFramesWithoutChroma) { ExpectSame(Frames({.profile_idc = 100, .chroma_format_idc = 0}, true)); }
TEST_P(Mosaics, OfFramesOf422) { ExpectSame(Frames({.profile_idc = 122, .chroma_format_idc = 2}, true)); }

// The maps of the two fields of a frame differ.
TEST_P(Mosaics, OfFields)
{
    Mosaic m(Sequence({.profile_idc = 77, .frame_mbs_only = false}), Pictures(), 12);
    for (uint32_t i = 0; i < 5; ++i)
        for (const bool IsBottom : {false, true}) {
            Slice s = Numbered(i);
            s.field = true;
            s.bottom = IsBottom;
            if (IsBottom) s.nal_unit_type = 1;
            s.poc_lsb += IsBottom;
            s.delta_poc_bottom = 0;
            if (IsBottom && s.slice_group_change_cycle > 0) --s.slice_group_change_cycle;
            i < 2 ? m.Start(s) : m.Inter(s, false);
        }
    ExpectAsFfmpeg(m.Plain, 5);
    ExpectSame(m);
}

INSTANTIATE_TEST_SUITE_P(SliceGroups, Mosaics, testing::ValuesIn(kForms),
                         [](const auto& Info) { return std::string(Info.param.pName); });

} // namespace
