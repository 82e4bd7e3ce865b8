// Parameter sets, their extension and SEI messages from an arbitrary byte stream. Bit i of the first byte says whether
// pictures are in work when unit i, i + 8 and so on come.
#include "Common/h264/nal_unit_type.h"
#include "decoder/session/stream_headers.h"
#include "decoder/stream/nal_splitter.h"
#include "decoder/stream/seq_info.h"
#include "tests/fuzz/fuzz_require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

using namespace UMC;
using fuzz::Require;

// What everything behind the parsers takes for granted. Formats and depths are none of it: the sets of pictures that
// nothing here decodes are kept like others.
void CheckSequence(const H264SeqParamSet& Seq)
{
    const uint64_t Mbs = uint64_t{Seq.frame_width_in_mbs} * Seq.frame_height_in_mbs;
    Require(Mbs >= 1 && Mbs <= kMaxPictureMbs, "a picture has a bounded number of macroblocks");
    Require(Seq.log2_max_frame_num >= 4 && Seq.log2_max_frame_num <= 16, "frame numbers have 4 to 16 bits");
    Require(Seq.pic_order_cnt_type <= 2 && Seq.offset_for_ref_frame.size() <= kMaxPicOrderCycle, "order counts");
    Require(Seq.frame_mbs_only_flag || Seq.frame_height_in_mbs % 2 == 0, "fields halve their frame");
    Require(DpbFrames(Seq) >= 0 && DpbFrames(Seq) <= 16, "a buffer has 16 frames at most");
    VideoStreamInfo Info;
    FillStreamInfo(Seq, Info);
}

void CheckPicture(const H264PicParamSet& Pic)
{
    Require(Pic.num_slice_groups >= 1 && Pic.num_slice_groups <= 8 && Pic.slice_group_map_type <= 6, "slice groups");
    Require(Pic.num_ref_idx_l0_active - 1 < 32 && Pic.num_ref_idx_l1_active - 1 < 32, "references");
    Require(std::all_of(Pic.slice_group_id.begin(), Pic.slice_group_id.end(),
                        [&](uint8_t Id) { return Id < Pic.num_slice_groups; }),
            "macroblocks are of groups that there are");
    for (const int32_t Offset : Pic.chroma_qp_index_offset) Require(Offset >= -128 && Offset <= 127, "chroma QP");
}

void Read(StreamHeaders& Headers, uint32_t Type, const H264HeapPiece& Piece, bool Immediately)
{
    H264Bitstream Bits;
    Bits.Reset(Piece.m_pData, Piece.m_Size);
    if (Type == h264::NAL_SEI) Headers.ReadSei(Bits);
    if (Type != h264::NAL_SEQ_PARAM_SET && Type != h264::NAL_PIC_PARAM_SET && Type != h264::NAL_SEQ_PARAM_SET_EXTENSION)
        return;
    const Status Result = Headers.ReadParameterSet(Type, Bits, Immediately);
    Require(Result == StatusOk || Result == StatusInvalidParams || Result == StatusUnsupported, "statuses of a set");
    if (Headers.CurrentSeqParamSet()) CheckSequence(*Headers.CurrentSeqParamSet());
    if (Headers.CurrentPicParamSet()) CheckPicture(*Headers.CurrentPicParamSet());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size)
{
    if (Size < 2) return 0;
    std::vector<uint8_t> Stream(pData + 1, pData + Size);
    MediaData Input;
    Input.SetBufferPointer(Stream.data(), Stream.size());
    Input.SetDataSize(Stream.size());
    H264_Heap Heap;
    NALUnitSplitter Splitter(&Heap);
    Splitter.Init();
    StreamHeaders Headers;
    MediaDataEx* pUnits = nullptr;
    for (uint32_t i = 0; H264HeapPiece* const pPiece = Splitter.GetNalUnits(&Input, pUnits); ++i) {
        const bool IsInFlight = (pData[0] >> i % 8 & 1) != 0;
        Read(Headers, pUnits->GetExData()->Values[0], *pPiece, !IsInFlight);
        if (!IsInFlight) Headers.Settle();
        Splitter.ReleaseCurrent();
    }
    Headers.Reset();
    Headers.Close();
    return 0;
}
