#include "decoder/session/stream_headers.h"

#include "Common/h264/nal_unit_type.h"

#include <algorithm>
#include <utility>

namespace UMC {

namespace {

// Goes behind the first byte of a unit. False when there is none.
bool EnterUnit(H264Bitstream& Bits)
{
    int32_t nal_unit_type = 0;
    uint32_t nal_ref_idc = 0;
    if (!GoToNalUnit(Bits)) return false;
    Bits.GetNalHeader(nal_unit_type, nal_ref_idc);
    return true;
}

} // namespace

Status StreamHeaders::ReadParameterSet(uint32_t nal_unit_type, H264Bitstream& Bits, bool Immediately)
{
    if (!EnterUnit(Bits)) return StatusOk;
    if (nal_unit_type == h264::NAL_SEQ_PARAM_SET) {
        H264SeqParamSet Seq;
        const Status Result = ReadSeqParamSet(Bits, Seq);
        if (Result != StatusOk) return Result;
        m_Parameters.m_SeqParamSets.Add(Seq, Immediately);
        m_CurrentSeqSetId = Seq.seq_parameter_set_id;
    } else if (nal_unit_type == h264::NAL_PIC_PARAM_SET) {
        const Status Result = ReadPicParamSet(Bits, m_Parameters, m_PicParamSetScratch);
        if (Result != StatusOk) return Result;
        m_Parameters.m_PicParamSets.Add(m_PicParamSetScratch, Immediately);
        m_CurrentPicSetId = m_PicParamSetScratch.pic_parameter_set_id;
    } else {
        H264SeqParamSetExtension Extension;
        const Status Result = ReadSeqParamSetExtension(Bits, Extension);
        if (Result != StatusOk) return Result;
        m_Parameters.m_SeqParamSetExtensions.Add(Extension, Immediately);
    }
    return StatusOk;
}

void StreamHeaders::ReadSei(H264Bitstream& Bits)
try {
    if (!EnterUnit(Bits)) return;
    do {
        H264SEIPayLoad Message;
        ReadSeiMessage(Bits, CurrentSeqParamSet(), Message);
        if (Message.PayloadType == SEI_USER_DATA_REGISTERED) {
            m_PendingUserData = std::move(Message);
        } else {
            m_Parameters.m_Sei.Add(Message, true); // no picture in work reads a message: it is replaced at once
        }
    } while (Bits.MoreRbspData());
} catch (const h264_exception&) {
}

bool StreamHeaders::ReadSlice(H264Slice& Slice, const H264HeapPiece& Piece, double Time)
{
    if (m_CurrentSeqSetId < 0 || m_CurrentPicSetId < 0 || !Slice.ReadStart(Piece)) return false;
    const bool IsRecovery = m_Parameters.m_Sei.Get(SEI_RECOVERY_POINT) != nullptr;
    bool IsIntra;
    for (;;) { // redundant slices are passed over like units of another type
        if (Slice.m_Header.nal_unit_type == h264::NAL_AUXILIARY_SLICE) return false;
        IsIntra = Slice.m_Header.slice_type == SLICE_I;
        if (m_WaitForRandomAccess && !IsIntra && !IsRecovery) return false;
        if (!FindParameterSets(Slice) || !Slice.Init(m_SliceTables)) return false;
        if (Slice.m_Header.redundant_pic_cnt == 0) break;
        if (!Slice.ReadNextStart()) return false;
    }
    Slice.m_NalTime = Time;
    if (!IsIntra && IsRecovery) m_Parameters.m_Sei.Remove(SEI_RECOVERY_POINT);
    m_WaitForRandomAccess = false;
    return true;
}

bool StreamHeaders::FindParameterSets(H264Slice& Slice)
{
    const auto& pPic = m_Parameters.m_PicParamSets.Share(Slice.m_Header.pic_parameter_set_id);
    if (!pPic) return false;
    const int32_t SeqId = pPic->seq_parameter_set_id;
    const auto& pSeq = m_Parameters.m_SeqParamSets.Share(SeqId);
    if (!pSeq) return false;
    Slice.m_pPicParamSet = pPic.get();
    Slice.m_pSeqParamSet = pSeq.get();
    Slice.m_HeldSets[0] = pPic;
    Slice.m_HeldSets[1] = pSeq;
    m_CurrentPicSetId = Slice.m_Header.pic_parameter_set_id;
    m_CurrentSeqSetId = SeqId;
    return true;
}

bool StreamHeaders::ReadAuxiliarySlice(H264Slice& Slice, const H264HeapPiece& Piece, const H264Slice& Primary)
{
    if (!Slice.ReadStart(Piece) || Slice.m_Header.nal_unit_type != h264::NAL_AUXILIARY_SLICE) return false;
    Slice.m_Header.nal_unit_type = Primary.m_Header.IdrPicFlag ? h264::NAL_IDR_SLICE : h264::NAL_SLICE;
    return FindAuxiliarySets(Slice, Primary) && Slice.Init(m_SliceTables) && Slice.m_Header.redundant_pic_cnt == 0;
}

bool StreamHeaders::FindAuxiliarySets(H264Slice& Slice, const H264Slice& Primary)
{
    const auto& pPic = m_Parameters.m_PicParamSets.Share(Slice.m_Header.pic_parameter_set_id);
    if (!pPic) return false;
    const auto& pSeq = m_Parameters.m_SeqParamSets.Share(pPic->seq_parameter_set_id);
    const auto* const pExtension = m_Parameters.m_SeqParamSetExtensions.Get(pPic->seq_parameter_set_id);
    if (pSeq.get() != Primary.m_pSeqParamSet || !pExtension || pExtension->aux_format_idc == 0) return false;
    if (m_pAuxiliaryOf != pSeq || m_pAuxiliarySet->bit_depth_luma != pExtension->bit_depth_aux) {
        const auto pSet = std::make_shared<H264SeqParamSet>(*pSeq);
        pSet->profile_idc = std::max<uint8_t>(pSet->profile_idc, 100); // others know 4:2:0 alone
        pSet->chroma_format_idc = 0;
        pSet->bit_depth_luma = pExtension->bit_depth_aux;
        pSet->bit_depth_chroma = 8;
        m_pAuxiliarySet = pSet;
        m_pAuxiliaryOf = pSeq;
    }
    Slice.m_pPicParamSet = pPic.get();
    Slice.m_pSeqParamSet = m_pAuxiliarySet.get();
    Slice.m_HeldSets[0] = pPic;
    Slice.m_HeldSets[1] = m_pAuxiliarySet;
    return true;
}

void StreamHeaders::Reset()
{
    m_Parameters.Reset(true);
    m_PendingUserData = H264SEIPayLoad{};
    m_WaitForRandomAccess = true;
}

void StreamHeaders::Close()
{
    Reset();
    m_Parameters.Reset(false);
    m_pAuxiliaryOf = m_pAuxiliarySet = nullptr;
    m_CurrentSeqSetId = m_CurrentPicSetId = -1;
}

} // namespace UMC
