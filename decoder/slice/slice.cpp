#include "decoder/slice/slice.h"

#include "Common/h264/nal_unit_type.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr uint32_t kKeptZeros = 64; // bytes of a unit's trailing zeros that a damaged slice may still read

bool IsSliceUnit(int32_t nal_unit_type)
{
    return nal_unit_type == h264::NAL_SLICE || nal_unit_type == h264::NAL_IDR_SLICE ||
           nal_unit_type == h264::NAL_AUXILIARY_SLICE;
}

} // namespace

bool H264Slice::ReadStart(const H264HeapPiece& Piece)
{
    m_Bitstream.Reset(Piece.m_pData, Piece.m_Size);
    return ReadNextStart();
}

bool H264Slice::ReadNextStart()
try {
    m_Header = {};
    do {
        if (!GoToNalUnit(m_Bitstream)) return false;
        m_Bitstream.GetNalHeader(m_Header.nal_unit_type, m_Header.nal_ref_idc);
    } while (!IsSliceUnit(m_Header.nal_unit_type));
    return ReadSliceStart(m_Bitstream, m_Header);
} catch (const h264_exception&) {
    return false;
}

bool H264Slice::Init(SliceHeaderTables& Tables)
try {
    const H264SeqParamSet& Seq = *m_pSeqParamSet;
    const H264PicParamSet& Pic = *m_pPicParamSet;
    if (!ReadSliceRest(m_Bitstream, Seq, Pic, m_Header, Tables)) return false;
    m_WeightsPosition = Tables.WeightsPosition;
    if (m_Header.redundant_pic_cnt != 0) return true;

    const bool IsField = m_Header.field_pic_flag != 0;
    m_MbWidth = static_cast<int32_t>(Seq.frame_width_in_mbs);
    m_MbHeight = static_cast<int32_t>(Seq.frame_height_in_mbs) >> (IsField ? 1 : 0);
    const int32_t MbCount = m_MbWidth * m_MbHeight;
    m_FirstMbNumber = m_Header.first_mb_in_slice;
    m_MaxMbNumber = MbCount;
    if (m_FirstMbNumber >= MbCount) return false;
    m_UsesSliceGroups = Pic.num_slice_groups > 1;
    m_Progress = {.Deblocked = m_Header.disable_deblocking_filter_idc == 1,
                  .MbBudget = MbCount,
                  .QpLuma = Pic.pic_init_qp + m_Header.slice_qp_delta};
    if (Pic.entropy_coding_mode_flag) m_Bitstream.AlignToByte();
    return true;
} catch (const h264_exception&) {
    return false;
}

// Pieces are padded, and zeros may follow the data without end: a piece is kept where it is full for the most part. A
// unit shorter than the padding is kept bare.
uint32_t H264Slice::KeepUnit(const H264HeapPiece& Piece, uint32_t MaxBytes, bool& Detached)
{
    const auto Data = static_cast<uint32_t>((m_Bitstream.DataBits() + 7) / 8);
    const uint32_t Size = std::min({Piece.m_Size, (Data + kKeptZeros + 3) / 4 * 4, MaxBytes});
    m_IsUnpadded = Size < H264Bitstream::kReadPadding;
    Detached = !m_IsUnpadded && Size >= Piece.m_Capacity / 2 && Piece.m_Capacity <= MaxBytes;
    if (Detached) return Piece.m_Capacity;
    const size_t Words = (size_t{Size} + 3) / 4;
    m_OwnUnit.reserve(Words + (m_IsUnpadded ? 0 : H264Bitstream::kReadPadding / 4));
    m_OwnUnit.assign(Piece.m_pData, Piece.m_pData + Words);
    if (!m_IsUnpadded) m_OwnUnit.resize(Words + H264Bitstream::kReadPadding / 4);
    m_Bitstream.MoveTo(m_OwnUnit.data(), Size);
    return Size;
}

void H264Slice::ReleaseUnit()
{
    if (m_pNalPiece) m_pNalHeap->Free(m_pNalPiece);
    m_pNalPiece = nullptr;
    m_OwnUnit.clear();
    if (m_OwnUnit.capacity() * 4 > H264Bitstream::kReadPadding) std::vector<uint32_t>().swap(m_OwnUnit);
}

void H264Slice::Reset()
{
    ReleaseUnit();
    static_cast<SliceJob&>(*this) = {};
    m_Progress = {};
}

} // namespace UMC
