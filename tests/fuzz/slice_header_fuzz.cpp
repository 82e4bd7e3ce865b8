// Slice headers: the first eight bytes are parameter sets in short, what follows is a slice unit without its start
// code.
#include "Common/h264/nal_unit_type.h"
#include "decoder/slice/slice.h"
#include "decoder/stream/nal_splitter.h"
#include "tests/fuzz/fuzz_require.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using namespace UMC;
using fuzz::Require;

constexpr size_t kSetBytes = 8;

// Any value that the parsers of the sets let through where a slice header depends on it.
void MakeSets(const uint8_t* p, H264SeqParamSet& Seq, H264PicParamSet& Pic)
{
    const auto Flag = [p](int Byte, int Bit) { return static_cast<uint8_t>(p[Byte] >> Bit & 1); };
    Seq.profile_idc = Flag(0, 0) ? 122 : 77;
    Seq.chroma_format_idc = static_cast<uint8_t>(p[0] >> 1 & 3);
    Seq.frame_mbs_only_flag = Flag(0, 3);
    Seq.mb_adaptive_frame_field_flag = !Seq.frame_mbs_only_flag && Flag(0, 4);
    Seq.delta_pic_order_always_zero_flag = Flag(0, 5);
    Seq.pic_order_cnt_type = static_cast<uint8_t>((p[0] >> 6) % 3);
    Seq.log2_max_frame_num = static_cast<uint8_t>(4 + (p[1] & 15) % 13);
    Seq.log2_max_pic_order_cnt_lsb = static_cast<uint8_t>(4 + (p[1] >> 4) % 13);
    Seq.bit_depth_luma = Seq.bit_depth_chroma = static_cast<uint8_t>(8 + (p[2] & 7) % 7);
    Seq.frame_width_in_mbs = 1u + (p[2] >> 3);
    Seq.frame_height_in_mbs = (1u + (p[3] & 31)) << (Seq.frame_mbs_only_flag ? 0 : 1);
    Pic.entropy_coding_mode_flag = Flag(3, 5);
    Pic.pic_order_present_flag = Flag(3, 6);
    Pic.weighted_pred_flag = Flag(3, 7);
    Pic.weighted_bipred_idc = p[4] & 3;
    Pic.redundant_pic_cnt_present_flag = Flag(4, 2);
    Pic.deblocking_filter_control_present_flag = Flag(4, 3);
    Pic.num_slice_groups = 1u + (p[4] >> 4 & 7);
    Pic.slice_group_map_type = static_cast<uint8_t>((p[5] & 7) % 7);
    Pic.slice_group_change_rate = 1u + p[6];
    Pic.num_ref_idx_l0_active = 1u + (p[5] >> 3);
    Pic.num_ref_idx_l1_active = 1u + (p[7] & 31);
    Pic.pic_init_qp = 26 + static_cast<int8_t>(p[7]);
}

void CheckSlice(H264Slice& Slice, const SliceHeaderTables& Tables)
{
    const SliceHeaderFields& Header = Slice.m_Header;
    Require(Slice.m_FirstMbNumber >= 0 && Slice.m_FirstMbNumber < Slice.m_MaxMbNumber, "a slice begins in its picture");
    Require(!Header.MbaffFrameFlag || Slice.m_FirstMbNumber % 2 == 0, "slices of pairs begin with a pair");
    Require(Header.slice_type <= SLICE_I && Header.cabac_init_idc <= 2 && Header.redundant_pic_cnt == 0, "types");
    Require(Header.num_ref_idx_l0_active <= 32 && Header.num_ref_idx_l1_active <= 32, "references");
    Require(Slice.m_Progress.QpLuma <= 51 && Slice.m_Progress.QpLuma >= -36, "QP");
    Require(Header.disable_deblocking_filter_idc <= 2 && Header.slice_alpha_c0_offset <= 12, "edge filter");
    for (const RefPicListReordering& List : Tables.Reordering) Require(List.count <= 32, "modifications");
    Require(Tables.Marking.count <= 32, "marking");
    const H264PicParamSet& Pic = *Slice.m_pPicParamSet;
    const bool IsP = Header.slice_type == SLICE_P, IsB = Header.slice_type == SLICE_B;
    if ((IsP && Pic.weighted_pred_flag) || (IsB && Pic.weighted_bipred_idc == 1)) {
        PredWeight Weights[2][32];
        H264Bitstream AtWeights = Slice.m_Bitstream;
        AtWeights.SetBitPosition(Slice.m_WeightsPosition);
        ReadSliceWeights(AtWeights, *Slice.m_pSeqParamSet, Header, Weights);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size)
{
    if (Size <= kSetBytes) return 0;
    H264SeqParamSet Seq{};
    H264PicParamSet Pic{};
    MakeSets(pData, Seq, Pic);
    std::vector<uint8_t> Unit{0, 0, 1};
    Unit.insert(Unit.end(), pData + kSetBytes, pData + Size);
    MediaData Input;
    Input.SetBufferPointer(Unit.data(), Unit.size());
    Input.SetDataSize(Unit.size());
    H264_Heap Heap;
    NALUnitSplitter Splitter(&Heap);
    Splitter.Init();
    MediaDataEx* pUnits = nullptr;
    const H264HeapPiece* const pPiece = Splitter.GetNalUnits(&Input, pUnits);
    H264Slice Slice;
    if (!pPiece || !Slice.ReadStart(*pPiece)) return 0;
    Slice.m_pSeqParamSet = &Seq;
    Slice.m_pPicParamSet = &Pic;
    SliceHeaderTables Tables{};
    for (;;) { // redundant slices are passed over
        if (!Slice.Init(Tables)) return 0;
        if (Slice.m_Header.redundant_pic_cnt == 0) break;
        if (!Slice.ReadNextStart()) return 0;
    }
    CheckSlice(Slice, Tables);
    bool Detached = false;
    const uint32_t Kept = Slice.KeepUnit(*pPiece, 1u << 16u, Detached);
    Require(Slice.m_WeightsPosition / 8 <= Kept + H264Bitstream::kReadPadding, "a slice keeps its header");
    return 0;
}
