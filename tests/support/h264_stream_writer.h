// Writes H.264 streams syntax element by syntax element, for tests that need a header the way no encoder makes it.
#pragma once

#include <cstdint>
#include <vector>

namespace test {

using Bytes = std::vector<uint8_t>;

// Bits, first bit topmost (clause 7.2).
class BitWriter
{
public:
    void U(int Count, uint32_t Value)
    {
        while (Count > 0) { // as many as the last byte takes, for whole bytes are most of a PCM stream
            if (m_Free == 0) {
                m_Data.push_back(0);
                m_Free = 8;
            }
            const int Taken = Count < m_Free ? Count : m_Free;
            Count -= Taken;
            m_Free -= Taken;
            m_Data.back() = static_cast<uint8_t>(m_Data.back() | (Value >> Count & ((1u << Taken) - 1)) << m_Free);
        }
    }
    void UE(uint32_t Value);
    void SE(int32_t Value) { UE(Value > 0 ? static_cast<uint32_t>(Value) * 2 - 1 : static_cast<uint32_t>(-Value) * 2); }
    void Align(uint32_t Filler = 0)
    {
        while (m_Free != 0) U(1, Filler);
    }
    void TrailingBits() // clause 7.3.2.11
    {
        U(1, 1);
        Align();
    }
    const Bytes& Data() const { return m_Data; }
    Bytes Bits() const; // one a byte

private:
    Bytes m_Data;
    int m_Free = 0; // bits of the last byte
};

// A NAL unit with a 4-byte start code and emulation prevention.
Bytes NalUnit(uint32_t nal_ref_idc, uint32_t nal_unit_type, const Bytes& Payload);

// Scaling lists in the order of clause 7.3.2: six of 4x4, then those of 8x8, each in scan order. An empty one is
// absent, one that ends early repeats its last value, and {0} asks for the default. No lists at all: no matrix.
using ScalingLists = std::vector<std::vector<int32_t>>;

struct SeqParamSet {
    uint32_t profile_idc = 66, level_idc = 40, id = 0;
    uint32_t chroma_format_idc = 1, bit_depth = 8; // written from profile 100 on
    uint32_t bit_depth_chroma = 0;                 // 0: as bit_depth
    bool transform_bypass = false;
    bool residual_colour_transform = false;
    ScalingLists scaling = {};
    uint32_t log2_max_frame_num = 4, poc_type = 0, log2_max_poc_lsb = 8;
    bool delta_pic_order_always_zero = true;        // type 1
    std::vector<int32_t> offset_for_ref_frame = {}; // type 1
    int32_t offset_for_non_ref_pic = 0, offset_for_top_to_bottom = 0;
    uint32_t num_ref_frames = 4;
    bool gaps_allowed = false;
    uint32_t width_mbs = 1, height_map_units = 1;
    bool frame_mbs_only = true, mbaff = false;
    bool direct_8x8_inference = true;
    bool cropping = false;
    uint32_t crop[4] = {}; // left, right, top, bottom
    Bytes vui = {};        // bits behind vui_parameters_present_flag, one a byte; empty: no VUI
};
// Of auxiliary pictures; without a format the rest is not written.
struct SeqParamSetExtension {
    uint32_t id = 0, aux_format_idc = 1, bit_depth_aux = 8;
    bool alpha_incr = false;
    uint32_t alpha_opaque = 255, alpha_transparent = 0;
};
// Slice groups under the names of clause 7.3.2.2; what the map type does not have is ignored.
struct SliceGroups {
    uint32_t count = 1, map_type = 0;
    std::vector<uint32_t> run_length = {};
    std::vector<uint32_t> top_left = {}, bottom_right = {};
    bool change_direction = false;
    uint32_t change_rate = 1;
    std::vector<uint32_t> group_id = {};
};
struct PicParamSet {
    uint32_t id = 0, seq_id = 0;
    bool cabac = false, pic_order_present = false;
    SliceGroups groups = {};
    uint32_t num_ref_idx[2] = {1, 1}; // active
    bool weighted_pred = false;
    uint32_t weighted_bipred_idc = 0;
    int32_t pic_init_qp = 26;
    int32_t chroma_qp_index_offset = 0;
    bool deblocking_control = true, constrained_intra_pred = false, redundant_pic_cnt_present = false;
    bool has_transform_extension = false; // what follows is written
    bool transform_8x8_mode = false;
    ScalingLists scaling = {};
    int32_t second_chroma_qp_index_offset = 0;
};
// Weights of one reference, clause 7.3.3.2; a plane group without the flag has the default weight.
struct Weight {
    bool luma = false, chroma = false; // flags
    int32_t luma_weight = 0, luma_offset = 0;
    int32_t chroma_weight[2] = {}, chroma_offset[2] = {};
};
struct Slice {
    uint32_t nal_ref_idc = 1, nal_unit_type = 1;
    uint32_t first_mb = 0, slice_type = 7, pps_id = 0; // type 5 P, 6 B, 7 I
    uint32_t frame_num = 0, idr_pic_id = 0, poc_lsb = 0;
    int32_t delta_poc_bottom = 0;
    int32_t delta_pic_order_cnt[2] = {};
    bool field = false, bottom = false;
    uint32_t redundant_pic_cnt = 0;
    uint32_t num_ref_idx[2] = {0, 0};                              // not 0: overrides
    std::vector<std::pair<uint32_t, uint32_t>> reordering[2] = {}; // operation, value
    uint32_t luma_log2_weight_denom = 0, chroma_log2_weight_denom = 0;
    std::vector<Weight> weights[2] = {}; // by reference index, where the picture parameter set asks for weights
    std::vector<std::vector<uint32_t>> marking = {}; // operation and its values; empty: sliding window
    bool long_term_reference = false;                // IDR
    uint32_t cabac_init_idc = 0;
    int32_t qp_delta = 0;
    uint32_t disable_deblocking = 1;
    int32_t alpha = 0, beta = 0;
    bool spatial_direct = true;
    uint32_t slice_group_change_cycle = 0;
};

// Macroblocks of the picture, a frame or a field, that a slice belongs to.
uint32_t PictureMbs(const SeqParamSet& Seq, const Slice& Slice);
// Active references of list 0 or 1 that a slice has.
uint32_t ActiveRefs(const PicParamSet& Pic, const Slice& Slice, int List);
// Bits for SeqParamSet::vui: nothing but the number of pictures that may stand before one in decoding order and after
// it in output order.
Bytes ReorderVui(uint32_t num_reorder_frames, uint32_t max_dec_frame_buffering);

// The elements of a picture parameter set from num_slice_groups_minus1 on, and that of a slice header.
void WriteSliceGroups(BitWriter& Bits, const SliceGroups& Groups);
void WriteSliceGroupChange(BitWriter& Bits, const SeqParamSet& Seq, const SliceGroups& Groups, uint32_t Cycle);

Bytes Write(const SeqParamSet& Set);
Bytes Write(const SeqParamSetExtension& Set);
Bytes Write(const PicParamSet& Set);
// The header alone; macroblocks follow in the same bits.
BitWriter Header(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice);
Bytes Finish(BitWriter& Bits, const Slice& Slice); // trailing bits and the unit

// Whole slices, CAVLC, of Count macroblocks:
Bytes PcmSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, uint8_t Value,
               int Count = 1); // every sample Value
Bytes CopySlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, uint32_t RefIdx,
                int Count = 1); // P, from list 0
Bytes SkipSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice Slice, int Count = 1);

Bytes operator+(Bytes a, const Bytes& b);
Bytes& operator+=(Bytes& a, const Bytes& b);

using Units = std::vector<Bytes>; // header byte first, as they stand between start codes

Units SplitUnits(const Bytes& Stream);
Bytes JoinUnits(const Units& Units);
inline bool IsSliceUnit(const Bytes& Unit) { return (Unit[0] & 31) == 1 || (Unit[0] & 31) == 5; }

} // namespace test
