// Writes small byte streams with what the encoders at hand cannot make, for the corpus of the fuzz targets and for
// mutations: written_streams FOLDER.
#include "tests/decoder/random_fields.h"
#include "tests/support/cabac_encoder.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <string>

namespace {

using namespace test;

constexpr MacroblockMix kIntra{.skip = 0, .direct = 0, .inter = 0, .intra = 1};
constexpr uint32_t kTypeP = 5, kTypeB = 6, kTypeI = 7;

// Pictures of 2 x 2 macroblocks, one slice each; those of field sequences have as many a field.
struct SmallStream {
    SeqParamSet Seq;
    PicParamSet Pic;
    RandomMacroblocks Random{5};
    Bytes Data;

    SmallStream(SeqParamSet s, const PicParamSet& p) : Seq(s), Pic(p)
    {
        Seq.width_mbs = Seq.height_map_units = 2;
        Data = Write(Seq) + Write(Pic);
    }
    SmallStream& Add(Slice s)
    {
        if (s.slice_type == kTypeI && s.frame_num == 0 && s.poc_lsb == 0 && s.nal_ref_idc != 0) s.nal_unit_type = 5;
        s.disable_deblocking = 0;
        const bool IsIntra = s.slice_type == kTypeI;
        Data += Random.Inter(Seq, Pic, s, static_cast<int>(PictureMbs(Seq, s)), IsIntra ? kIntra : MacroblockMix{});
        return *this;
    }
    SmallStream& Pair(Slice s, bool BottomFirst = false)
    {
        for (const bool IsSecond : {false, true}) {
            s.field = true;
            s.bottom = IsSecond != BottomFirst;
            s.poc_lsb += IsSecond;
            if (IsSecond) s.marking.clear();
            if (IsSecond && s.slice_type == kTypeI) {
                s.slice_type = kTypeP;
                s.num_ref_idx[0] = 1; // the first field is all that there is
            }
            Add(s);
        }
        return *this;
    }
};

SeqParamSet Format(uint32_t Chroma, uint32_t Luma, uint32_t ChromaDepth)
{
    return {.profile_idc = Chroma == 3 ? 144u : 122u,
            .chroma_format_idc = Chroma,
            .bit_depth = Luma,
            .bit_depth_chroma = ChromaDepth};
}

Bytes Frames(const SeqParamSet& Seq, const PicParamSet& Pic)
{
    SmallStream In(Seq, Pic);
    In.Add(Typed(kTypeI, 0, 0)).Add(Typed(kTypeP, 1, 4)).Add(Typed(kTypeB, 2, 2, 0)).Add(Typed(kTypeP, 2, 6));
    return In.Data;
}

Bytes Fields(const SeqParamSet& Seq, const PicParamSet& Pic, bool BottomFirst)
{
    SmallStream In(Interlaced(Seq), Pic);
    In.Pair(Typed(kTypeI, 0, 0), BottomFirst).Pair(Typed(kTypeP, 1, 8), BottomFirst);
    In.Pair(Typed(kTypeB, 2, 4, 0), BottomFirst).Pair(Typed(kTypeP, 2, 12), BottomFirst);
    return In.Data;
}

// Frames whose pairs are those of frame and of field macroblocks, one slice each.
Bytes Pairs(SeqParamSet Seq, const PicParamSet& Pic)
{
    Seq.mbaff = true;
    SmallStream In(Interlaced(Seq), Pic);
    for (const Slice& Of : {Typed(kTypeI, 0, 0), Typed(kTypeP, 1, 8), Typed(kTypeB, 2, 4, 0)}) {
        Slice s = Of;
        if (s.slice_type == kTypeI) s.nal_unit_type = 5;
        s.disable_deblocking = 0;
        MacroblockWriter Writer(In.Seq, In.Pic, s);
        for (uint32_t i = 0; i < PictureMbs(In.Seq, s); ++i) {
            Macroblock Mb =
                In.Random.Any(In.Seq, In.Pic, s, s.slice_type == kTypeI ? kIntra : MacroblockMix{.skip = 0});
            Mb.field_decoding = i % 4 >= 2;
            Writer.Put(Mb);
        }
        In.Data += Writer.Finish();
    }
    return In.Data;
}

// Fields, frames and a field alone.
Bytes FieldsAndFrames(PicParamSet Pic)
{
    Pic.pic_order_present = true;
    SmallStream In(Interlaced({.profile_idc = 100}), Pic);
    In.Pair(Typed(kTypeI, 0, 0)).Add(Typed(kTypeP, 1, 4)).Pair(Typed(kTypeP, 2, 8)).Add(Typed(kTypeB, 3, 6, 0));
    Slice Alone = Typed(kTypeP, 3, 10);
    Alone.field = true;
    In.Add(Alone).Add(Typed(kTypeP, 4, 12));
    return In.Data;
}

Bytes Bypass()
{
    SeqParamSet Seq = Format(2, 8, 8);
    Seq.transform_bypass = true;
    return Frames(Seq, {.pic_init_qp = 0, .has_transform_extension = true, .transform_8x8_mode = true});
}

Bytes Marking()
{
    SmallStream In({.profile_idc = 77, .gaps_allowed = true}, {.num_ref_idx = {3, 1}});
    Slice s = Typed(kTypeP, 1, 2);
    s.marking = {{4, 3}, {6, 1}};
    In.Add(Typed(kTypeI, 0, 0)).Add(s);
    s = Typed(kTypeP, 2, 4);
    s.marking = {{3, 1, 0}, {2, 1}};
    s.reordering[0] = {{2, 1}, {0, 1}};
    In.Add(s).Add(Typed(kTypeP, 5, 10)); // behind a gap
    s = Typed(kTypeP, 6, 12);
    s.marking = {{1, 0}, {5}};
    In.Add(s).Add(Typed(kTypeP, 1, 2));
    return In.Data;
}

Bytes OrderTypes(uint32_t Type)
{
    SeqParamSet Seq{.profile_idc = 77, .poc_type = Type, .delta_pic_order_always_zero = false};
    if (Type == 1) Seq.offset_for_ref_frame = {2, 4};
    SmallStream In(Seq, {.pic_order_present = true});
    Slice s = Typed(kTypeP, 1, 0);
    s.delta_pic_order_cnt[0] = 1;
    s.delta_pic_order_cnt[1] = -1;
    In.Add(Typed(kTypeI, 0, 0)).Add(s).Add(Typed(kTypeP, 2, 0, 0)).Add(Typed(kTypeP, 3, 0));
    return In.Data;
}

Bytes Weights()
{
    const Weight Some{.luma = true, .chroma = true, .luma_weight = 29, .luma_offset = -5, .chroma_weight = {37, 30}};
    SmallStream In({.profile_idc = 77}, {.num_ref_idx = {2, 2}, .weighted_pred = true, .weighted_bipred_idc = 1});
    Slice p = Typed(kTypeP, 1, 4), b = Typed(kTypeB, 2, 2, 0);
    p.weights[0] = b.weights[0] = b.weights[1] = {Some, Some};
    p.luma_log2_weight_denom = b.luma_log2_weight_denom = p.chroma_log2_weight_denom = b.chroma_log2_weight_denom = 5;
    In.Add(Typed(kTypeI, 0, 0)).Add(p).Add(b);
    return In.Data;
}

// A recovery point, SEI of every kind that is read, an extension of the set with an auxiliary picture, another size.
Bytes Units()
{
    SmallStream In({.profile_idc = 100, .vui = ReorderVui(1, 2)}, {});
    In.Data += Write(SeqParamSetExtension{});
    In.Data += NalUnit(0, 6, {6, 1, 0xC4, 4, 6, 181, 0, 49, 1, 2, 3, 5, 2, 7, 7, 0x80}) + NalUnit(0, 9, {0x10});
    In.Add(Typed(kTypeP, 3, 6)).Add(Typed(kTypeI, 0, 0));
    Slice Aux = Typed(kTypeI, 0, 0);
    Aux.nal_unit_type = 19;
    In.Data += PcmSlice(Format(0, 8, 8), In.Pic, Aux, 9, 1) + NalUnit(0, 12, {0xFF, 0x80});
    SeqParamSet Other{.profile_idc = 66, .id = 1, .width_mbs = 3, .height_map_units = 1, .cropping = true};
    Other.crop[1] = 5;
    const PicParamSet OtherPic{.id = 1, .seq_id = 1, .redundant_pic_cnt_present = true};
    In.Data += Write(Other) + Write(OtherPic);
    Slice s{.nal_unit_type = 5, .slice_type = kTypeI, .pps_id = 1, .idr_pic_id = 1};
    In.Data += In.Random.Inter(Other, OtherPic, s, 3, kIntra);
    s = {.slice_type = kTypeP, .pps_id = 1, .frame_num = 1, .poc_lsb = 2};
    In.Data += In.Random.Inter(Other, OtherPic, s, 3);
    s.redundant_pic_cnt = 1;
    In.Data += In.Random.Inter(Other, OtherPic, s, 3) + NalUnit(0, 10, {}) + NalUnit(0, 11, {});
    return In.Data;
}

// Slices of what stands first in either of two slice groups.
Bytes InSliceGroups(uint32_t Type)
{
    const SeqParamSet Seq{.profile_idc = 66, .width_mbs = 4, .height_map_units = 3};
    const PicParamSet Pic{.groups = {.count = 2,
                                     .map_type = Type,
                                     .run_length = {5, 2},
                                     .top_left = {1},
                                     .bottom_right = {6},
                                     .change_direction = Type == 4,
                                     .change_rate = 2,
                                     .group_id = {0, 1, 0, 1, 1, 0, 1, 0, 0, 0, 1, 1}}};
    Bytes Data = Write(Seq) + Write(Pic);
    for (uint32_t i = 0; i < 4; ++i) {
        Slice s{.slice_type = i < 2 ? kTypeI : kTypeP, .frame_num = i / 2, .poc_lsb = i / 2 * 2};
        s.nal_unit_type = i < 2 ? 5 : 1;
        s.first_mb = i % 2 * 5;
        s.slice_group_change_cycle = 3;
        BitWriter Bits = Header(Seq, Pic, s);
        if (i < 2)
            for (int Mb = 0; Mb < 6; ++Mb) {
                Bits.UE(3); // I_16x16, DC, no levels
                Bits.UE(0);
                Bits.SE(0);
                Bits.U(1, 1);
            }
        else
            Bits.UE(6);
        Data += Finish(Bits, s);
    }
    return Data;
}

// A frame of pairs whose references were made up for a gap.
Bytes PairsBehindAGap()
{
    SeqParamSet Seq = Interlaced({.profile_idc = 77, .gaps_allowed = true, .width_mbs = 1, .height_map_units = 2});
    Seq.mbaff = true;
    const PicParamSet Pic;
    Slice b = Typed(kTypeB, 6, 24, 0);
    b.spatial_direct = false;
    const Slice Idr{.nal_unit_type = 5, .slice_type = kTypeI};
    BitWriter Bits = Header(Seq, Pic, Idr);
    for (int Mb = 0; Mb < 4; ++Mb) {
        if (Mb % 2 == 0) Bits.U(1, 0); // mb_field_decoding_flag
        Bits.UE(3);                    // I_16x16, DC, no levels
        Bits.UE(0);
        Bits.SE(0);
        Bits.U(1, 1);
    }
    return Write(Seq) + Write(Pic) + Finish(Bits, Idr) + SkipSlice(Seq, Pic, b, 4);
}

Bytes CabacSlices()
{
    const SeqParamSet Seq = Interlaced({.profile_idc = 77});
    const PicParamSet Pic{.cabac = true};
    Bytes Data = Write(Seq) + Write(Pic);
    for (uint32_t i = 0; i < 4; ++i) {
        Slice s{.slice_type = i == 0 ? kTypeI : kTypeP, .frame_num = i / 2, .poc_lsb = i};
        s.nal_unit_type = i == 0 ? 5 : 1;
        s.field = true;
        s.bottom = i % 2 != 0;
        Data += i == 0 ? CabacPcmSlice(Seq, Pic, s, 70, 1) : CabacSkipSlice(Seq, Pic, s, 1);
    }
    return Data;
}

std::map<std::string, Bytes> AllStreams()
{
    const SeqParamSet Main{.profile_idc = 77};
    const PicParamSet High{.has_transform_extension = true, .transform_8x8_mode = true};
    std::map<std::string, Bytes> Streams{
        {"fields_top_first", Fields(Main, {.num_ref_idx = {2, 2}}, false)},
        {"fields_bottom_first", Fields(Main, {.num_ref_idx = {2, 1}, .weighted_bipred_idc = 2}, true)},
        {"fields_422_10", Fields(Format(2, 10, 10), High, false)},
        {"fields_deep_luma", Fields(Format(1, 14, 8), {}, false)},
        {"fields_and_frames", FieldsAndFrames({.num_ref_idx = {2, 1}})},
        {"fields_cabac", CabacSlices()},
        {"depths_8_12", Frames(Format(1, 8, 12), High)},
        {"monochrome_12", Frames(Format(0, 12, 12), {})},
        {"format_422", Frames(Format(2, 8, 8), {.chroma_qp_index_offset = 3})},
        {"format_444", Frames(Format(3, 8, 8), High)},
        {"fields_444_9_14", Fields(Format(3, 9, 14), {.chroma_qp_index_offset = -5}, false)},
        {"pairs_444", Pairs(Format(3, 8, 8), High)},
        {"bypass_422", Bypass()},
        {"marking", Marking()},
        {"order_type_1", OrderTypes(1)},
        {"order_type_2", OrderTypes(2)},
        {"weights", Weights()},
        {"pairs_behind_a_gap", PairsBehindAGap()},
        {"units", Units()}};
    for (uint32_t Type = 0; Type <= 6; ++Type) Streams["slice_groups_" + std::to_string(Type)] = InSliceGroups(Type);
    return Streams;
}

} // namespace

int main(int Argc, char** Argv)
{
    if (Argc != 2) return 2;
    for (const auto& [Name, Data] : AllStreams()) {
        std::ofstream File(std::string(Argv[1]) + "/" + Name + ".264", std::ios::binary);
        File.write(reinterpret_cast<const char*>(Data.data()), static_cast<std::streamsize>(Data.size()));
        if (!File) {
            std::fprintf(stderr, "written_streams: %s cannot be written\n", Name.c_str());
            return 1;
        }
    }
    return 0;
}
