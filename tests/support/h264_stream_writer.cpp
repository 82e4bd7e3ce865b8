#include "tests/support/h264_stream_writer.h"

#include "Common/h264/chroma_geometry.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace test {

void BitWriter::UE(uint32_t Value)
{
    const uint64_t Code = uint64_t{Value} + 1;
    const int Length = static_cast<int>(std::bit_width(Code));
    U(Length - 1, 0);
    if (Length == 33) {
        U(1, 1);
        U(32, static_cast<uint32_t>(Code));
    } else {
        U(Length, static_cast<uint32_t>(Code));
    }
}

Bytes BitWriter::Bits() const
{
    Bytes All;
    for (const uint8_t Byte : m_Data)
        for (int i = 7; i >= 0; --i) All.push_back(static_cast<uint8_t>(Byte >> i & 1));
    All.resize(All.size() - static_cast<size_t>(m_Free));
    return All;
}

Bytes NalUnit(uint32_t nal_ref_idc, uint32_t nal_unit_type, const Bytes& Payload)
{
    Bytes Unit{0, 0, 0, 1, static_cast<uint8_t>(nal_ref_idc << 5 | nal_unit_type)};
    int Zeros = 0;
    for (const uint8_t Byte : Payload) {
        if (Zeros >= 2 && Byte <= 3) {
            Unit.push_back(3);
            Zeros = 0;
        }
        Unit.push_back(Byte);
        Zeros = Byte == 0 ? Zeros + 1 : 0;
    }
    return Unit;
}

uint32_t PictureMbs(const SeqParamSet& Seq, const Slice& s)
{
    return Seq.width_mbs * Seq.height_map_units * (Seq.frame_mbs_only || s.field ? 1 : 2);
}

uint32_t ActiveRefs(const PicParamSet& Pic, const Slice& s, int List)
{
    return s.num_ref_idx[0] != 0 ? s.num_ref_idx[List] : Pic.num_ref_idx[List];
}

Bytes ReorderVui(uint32_t num_reorder_frames, uint32_t max_dec_frame_buffering)
{
    BitWriter b;
    b.U(8, 0); // nothing up to pic_struct_present_flag
    b.U(1, 1); // bitstream_restriction_flag
    b.U(1, 1); // motion_vectors_over_pic_boundaries_flag
    for (int i = 0; i < 2; ++i) b.UE(0);
    for (int i = 0; i < 2; ++i) b.UE(16); // log2_max_mv_length
    b.UE(num_reorder_frames);
    b.UE(max_dec_frame_buffering);
    return b.Bits();
}

namespace {

void WriteScalingLists(BitWriter& b, const ScalingLists& Lists, size_t Count) // clause 7.3.2.1.1.1
{
    b.U(1, !Lists.empty());
    for (size_t i = 0; i < Count && !Lists.empty(); ++i) {
        const bool IsPresent = i < Lists.size() && !Lists[i].empty();
        b.U(1, IsPresent);
        if (!IsPresent) continue;
        int32_t Last = 8;
        for (const int32_t Value : Lists[i]) {
            b.SE(static_cast<int8_t>(Value - Last));
            Last = Value;
        }
        if (Last != 0 && Lists[i].size() < (i < 6 ? 16u : 64u)) b.SE(static_cast<int8_t>(-Last));
    }
}

} // namespace

Bytes Write(const SeqParamSet& Set)
{
    BitWriter b;
    b.U(8, Set.profile_idc);
    b.U(8, 0);
    b.U(8, Set.level_idc);
    b.UE(Set.id);
    if (Set.profile_idc == 100 || Set.profile_idc == 110 || Set.profile_idc == 122 || Set.profile_idc == 144) {
        b.UE(Set.chroma_format_idc);
        if (Set.chroma_format_idc == 3) b.U(1, Set.residual_colour_transform);
        b.UE(Set.bit_depth - 8);
        b.UE((Set.bit_depth_chroma ? Set.bit_depth_chroma : Set.bit_depth) - 8);
        b.U(1, Set.transform_bypass);
        WriteScalingLists(b, Set.scaling, 8);
    }
    b.UE(Set.log2_max_frame_num - 4);
    b.UE(Set.poc_type);
    if (Set.poc_type == 0) b.UE(Set.log2_max_poc_lsb - 4);
    if (Set.poc_type == 1) {
        b.U(1, Set.delta_pic_order_always_zero);
        b.SE(Set.offset_for_non_ref_pic);
        b.SE(Set.offset_for_top_to_bottom);
        b.UE(static_cast<uint32_t>(Set.offset_for_ref_frame.size()));
        for (const int32_t Offset : Set.offset_for_ref_frame) b.SE(Offset);
    }
    b.UE(Set.num_ref_frames);
    b.U(1, Set.gaps_allowed);
    b.UE(Set.width_mbs - 1);
    b.UE(Set.height_map_units - 1);
    b.U(1, Set.frame_mbs_only);
    if (!Set.frame_mbs_only) b.U(1, Set.mbaff);
    b.U(1, Set.direct_8x8_inference);
    b.U(1, Set.cropping);
    if (Set.cropping)
        for (const uint32_t Offset : Set.crop) b.UE(Offset);
    b.U(1, !Set.vui.empty());
    for (const uint8_t Bit : Set.vui) b.U(1, Bit);
    b.TrailingBits();
    return NalUnit(3, 7, b.Data());
}

Bytes Write(const SeqParamSetExtension& Set)
{
    BitWriter b;
    b.UE(Set.id);
    b.UE(Set.aux_format_idc);
    if (Set.aux_format_idc != 0) {
        b.UE(Set.bit_depth_aux - 8);
        b.U(1, Set.alpha_incr);
        for (const uint32_t Value : {Set.alpha_opaque, Set.alpha_transparent})
            b.U(static_cast<int>(Set.bit_depth_aux) + 1, Value);
    }
    b.U(1, 0);
    b.TrailingBits();
    return NalUnit(3, 13, b.Data());
}

void WriteSliceGroups(BitWriter& b, const SliceGroups& g)
{
    b.UE(g.count - 1);
    if (g.count == 1) return;
    b.UE(g.map_type);
    if (g.map_type == 0) {
        for (const uint32_t Length : g.run_length) b.UE(Length - 1);
    } else if (g.map_type == 2) {
        for (uint32_t i = 0; i + 1 < g.count; ++i) {
            b.UE(g.top_left[i]);
            b.UE(g.bottom_right[i]);
        }
    } else if (g.map_type >= 3 && g.map_type <= 5) {
        b.U(1, g.change_direction);
        b.UE(g.change_rate - 1);
    } else if (g.map_type == 6) {
        b.UE(static_cast<uint32_t>(g.group_id.size()) - 1);
        for (const uint32_t Id : g.group_id) b.U(g.count > 4 ? 3 : g.count > 2 ? 2 : 1, Id);
    }
}

void WriteSliceGroupChange(BitWriter& b, const SeqParamSet& Seq, const SliceGroups& g, uint32_t Cycle)
{
    if (g.count == 1 || g.map_type < 3 || g.map_type > 5) return;
    const double Steps = static_cast<double>(Seq.width_mbs * Seq.height_map_units) / g.change_rate; // clause 7.4.3
    b.U(static_cast<int>(std::ceil(std::log2(Steps + 1))), Cycle);
}

Bytes Write(const PicParamSet& Set)
{
    BitWriter b;
    b.UE(Set.id);
    b.UE(Set.seq_id);
    b.U(1, Set.cabac);
    b.U(1, Set.pic_order_present);
    WriteSliceGroups(b, Set.groups);
    b.UE(Set.num_ref_idx[0] - 1);
    b.UE(Set.num_ref_idx[1] - 1);
    b.U(1, Set.weighted_pred);
    b.U(2, Set.weighted_bipred_idc);
    b.SE(Set.pic_init_qp - 26);
    b.SE(0);
    b.SE(Set.chroma_qp_index_offset);
    b.U(1, Set.deblocking_control);
    b.U(1, Set.constrained_intra_pred);
    b.U(1, Set.redundant_pic_cnt_present);
    if (Set.has_transform_extension) {
        b.U(1, Set.transform_8x8_mode);
        WriteScalingLists(b, Set.scaling, Set.transform_8x8_mode ? 8 : 6);
        b.SE(Set.second_chroma_qp_index_offset);
    }
    b.TrailingBits();
    return NalUnit(3, 8, b.Data());
}

namespace {

void WriteReferences(BitWriter& b, const Slice& s, uint32_t Type)
{
    if (Type == 2) return;
    if (Type == 1) b.U(1, s.spatial_direct);
    const bool Override = s.num_ref_idx[0] != 0;
    b.U(1, Override);
    if (Override) b.UE(s.num_ref_idx[0] - 1);
    if (Override && Type == 1) b.UE(s.num_ref_idx[1] - 1);
    for (uint32_t List = 0; List <= (Type == 1 ? 1u : 0u); ++List) {
        b.U(1, !s.reordering[List].empty());
        for (const auto& [Operation, Value] : s.reordering[List]) {
            b.UE(Operation);
            b.UE(Value);
        }
        if (!s.reordering[List].empty()) b.UE(3);
    }
}

void WriteWeights(BitWriter& b, bool HasChroma, const PicParamSet& Pic, const Slice& s, uint32_t Type)
{
    if (Type == 2 || (Type == 1 ? Pic.weighted_bipred_idc != 1 : !Pic.weighted_pred)) return;
    b.UE(s.luma_log2_weight_denom);
    if (HasChroma) b.UE(s.chroma_log2_weight_denom);
    for (int List = 0; List <= (Type == 1 ? 1 : 0); ++List)
        for (uint32_t i = 0; i < ActiveRefs(Pic, s, List); ++i) {
            const Weight w = i < s.weights[List].size() ? s.weights[List][i] : Weight{};
            b.U(1, w.luma);
            if (w.luma) {
                b.SE(w.luma_weight);
                b.SE(w.luma_offset);
            }
            if (HasChroma) b.U(1, w.chroma);
            for (int Plane = 0; HasChroma && w.chroma && Plane < 2; ++Plane) {
                b.SE(w.chroma_weight[Plane]);
                b.SE(w.chroma_offset[Plane]);
            }
        }
}

void WriteMarking(BitWriter& b, const Slice& s)
{
    if (s.nal_ref_idc == 0) return;
    if (s.nal_unit_type == 5) {
        b.U(1, 0);
        b.U(1, s.long_term_reference);
        return;
    }
    b.U(1, !s.marking.empty());
    for (const auto& Command : s.marking)
        for (const uint32_t Value : Command) b.UE(Value);
    if (!s.marking.empty()) b.UE(0);
}

} // namespace

BitWriter Header(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& s)
{
    BitWriter b;
    const uint32_t Type = s.slice_type % 5;
    b.UE(s.first_mb);
    b.UE(s.slice_type);
    b.UE(s.pps_id);
    b.U(static_cast<int>(Seq.log2_max_frame_num), s.frame_num);
    if (!Seq.frame_mbs_only) {
        b.U(1, s.field);
        if (s.field) b.U(1, s.bottom);
    }
    if (s.nal_unit_type == 5) b.UE(s.idr_pic_id);
    if (Seq.poc_type == 0) {
        b.U(static_cast<int>(Seq.log2_max_poc_lsb), s.poc_lsb);
        if (Pic.pic_order_present && !s.field) b.SE(s.delta_poc_bottom);
    }
    if (Seq.poc_type == 1 && !Seq.delta_pic_order_always_zero) {
        b.SE(s.delta_pic_order_cnt[0]);
        if (Pic.pic_order_present && !s.field) b.SE(s.delta_pic_order_cnt[1]);
    }
    if (Pic.redundant_pic_cnt_present) b.UE(s.redundant_pic_cnt);
    WriteReferences(b, s, Type);
    WriteWeights(b, Seq.chroma_format_idc != 0, Pic, s, Type);
    WriteMarking(b, s);
    if (Pic.cabac && Type != 2) b.UE(s.cabac_init_idc);
    b.SE(s.qp_delta);
    if (Pic.deblocking_control) {
        b.UE(s.disable_deblocking);
        if (s.disable_deblocking != 1) {
            b.SE(s.alpha);
            b.SE(s.beta);
        }
    }
    WriteSliceGroupChange(b, Seq, Pic.groups, s.slice_group_change_cycle);
    return b;
}

Bytes Finish(BitWriter& Bits, const Slice& s)
{
    Bits.TrailingBits();
    return NalUnit(s.nal_ref_idc, s.nal_unit_type, Bits.Data());
}

Bytes PcmSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, uint8_t Value, int Count)
{
    s.slice_type = 7;
    BitWriter b = Header(Seq, Pic, s);
    for (int Mb = 0; Mb < Count; ++Mb) {
        b.UE(25); // I_PCM
        b.Align();
        const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[Seq.chroma_format_idc];
        for (int i = 0; i < 256; ++i) b.U(static_cast<int>(Seq.bit_depth), Value);
        for (int i = 0; i < 2 * Chroma.MbWidth * Chroma.MbHeight; ++i)
            b.U(static_cast<int>(Seq.bit_depth_chroma ? Seq.bit_depth_chroma : Seq.bit_depth), Value);
    }
    return Finish(b, s);
}

Bytes CopySlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, uint32_t RefIdx, int Count)
{
    s.slice_type = 5;
    const uint32_t Active = ActiveRefs(Pic, s, 0);
    BitWriter b = Header(Seq, Pic, s);
    for (int Mb = 0; Mb < Count; ++Mb) {
        b.UE(0); // mb_skip_run
        b.UE(0); // P_L0_16x16
        if (Active == 2) b.U(1, RefIdx == 0);
        if (Active > 2) b.UE(RefIdx);
        b.SE(0); // mvd: all vectors are 0, so are their predictions
        b.SE(0);
        b.UE(0); // coded_block_pattern 0
    }
    return Finish(b, s);
}

Bytes SkipSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, int Count)
{
    BitWriter b = Header(Seq, Pic, s);
    b.UE(static_cast<uint32_t>(Count));
    return Finish(b, s);
}

Bytes operator+(Bytes a, const Bytes& b) { return a += b; }
Bytes& operator+=(Bytes& a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Units SplitUnits(const Bytes& Stream)
{
    Units Result;
    static constexpr uint8_t kCode[] = {0, 0, 1};
    auto At = std::search(Stream.begin(), Stream.end(), std::begin(kCode), std::end(kCode));
    while (At != Stream.end()) {
        const auto Begin = At + 3;
        At = std::search(Begin, Stream.end(), std::begin(kCode), std::end(kCode));
        auto End = At;
        while (End != Begin && End[-1] == 0) --End;
        if (Begin != End) Result.emplace_back(Begin, End);
    }
    return Result;
}

Bytes JoinUnits(const Units& Units)
{
    Bytes Stream;
    for (const Bytes& Unit : Units) Stream += Bytes{0, 0, 0, 1} + Unit;
    return Stream;
}

} // namespace test
