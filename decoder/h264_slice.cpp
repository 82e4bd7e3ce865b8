#include "decoder/h264_slice.h"

#include "decoder/h264_header_parsers.h"

namespace UMC {

namespace {

bool IsSliceUnit(int32_t nal_unit_type) { return nal_unit_type == 1 || nal_unit_type == 5 || nal_unit_type == 19; }

} // namespace

bool H264Slice::ReadStart(const H264HeapPiece& Piece)
try {
    m_Bitstream.Reset(Piece.m_pData, Piece.m_Size);
    do {
        if (!GoToNalUnit(m_Bitstream)) return false;
        m_Bitstream.GetNalHeader(m_Header.nal_unit_type, m_Header.nal_ref_idc);
    } while (!IsSliceUnit(m_Header.nal_unit_type));
    m_IsAuxiliary = m_Header.nal_unit_type == 19;
    return ReadSliceStart(m_Bitstream, m_Header);
} catch (const h264_exception&) {
    return false;
}

bool H264Slice::Init()
try {
    const H264SeqParamSet& Seq = *m_pSeqParamSet;
    const H264PicParamSet& Pic = *m_pPicParamSet;
    if (!ReadSliceRest(m_Bitstream, Seq, Pic, m_Header, {m_Reordering, m_Marking, m_Weights})) return false;
    if (m_Header.redundant_pic_cnt != 0) return false; // redundant pictures are never decoded

    const bool IsField = m_Header.field_pic_flag != 0;
    m_MbWidth = static_cast<int32_t>(Seq.frame_width_in_mbs);
    m_MbHeight = static_cast<int32_t>(Seq.frame_height_in_mbs) >> (IsField ? 1 : 0);
    const int32_t MbCount = m_MbWidth * m_MbHeight;
    m_FirstMbNumber = m_Header.first_mb_in_slice;
    m_MaxMbNumber = m_MbBudget = MbCount;
    m_PictureOffset = m_FirstMbNumber + (IsField && m_Header.bottom_field_flag ? MbCount : 0);
    if (m_FirstMbNumber >= MbCount) return false;

    m_UsesSliceGroups = Pic.num_slice_groups > 1;
    m_CurrentMbDecode = m_CurrentMbReconstruct = m_CurrentMbDeblock = m_FirstMbNumber;
    m_InWork = m_ErrorDetected = false;
    m_DecodeAvailable = m_ReconstructAvailable = m_DeblockAvailable = true;
    m_MaxMvDistance = 0;
    m_MbSkipRun = m_PrevDeltaQp = 0;
    m_QpLuma = Pic.pic_init_qp + m_Header.slice_qp_delta;
    m_IsBottom = m_Header.bottom_field_flag != 0;
    m_NotFirstSlice = m_UsesSliceGroups || m_FirstMbNumber != 0;
    m_Decoded = m_DeblockFromTask = false;
    m_Deblocked = m_Header.disable_deblocking_filter_idc == 1;
    if (m_Deblocked) {
        m_CurrentMbDeblock = m_MaxMbNumber;
        m_DeblockAvailable = false;
    }
    if (Pic.entropy_coding_mode_flag) {
        m_Bitstream.AlignToByte();
        m_Cabac.InitContexts(m_QpLuma,
                             m_Header.slice_type == I_SLICE ? 0 : 1 + static_cast<int>(m_Header.cabac_init_idc));
        m_Cabac.Start(m_Bitstream);
    }
    return true;
} catch (const h264_exception&) {
    return false;
}

void H264Slice::ReleaseUnit()
{
    if (m_pNalHeap) m_pNalHeap->Free(m_pNalPiece);
    m_pNalPiece = nullptr;
}

void H264Slice::Reset()
{
    ReleaseUnit();
    m_Header = SliceHeaderFields{};
    m_Reordering[0].count = m_Reordering[1].count = m_Marking.count = 0;
    m_pPicParamSet = nullptr;
    m_pSeqParamSet = nullptr;
    m_pSeqParamSetEx = nullptr;
    m_pFrame = nullptr;
    m_pRefPicList = nullptr;
    m_pLocal = nullptr;
    m_pNextMbMap = nullptr;
    m_IsAuxiliary = false;
    m_NalTime = -1.0;
}

} // namespace UMC
