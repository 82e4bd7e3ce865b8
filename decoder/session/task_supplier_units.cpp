// NAL units: what each type means for the supplier.
#include "Common/h264/nal_unit_type.h"
#include "decoder/session/task_supplier.h"
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/seq_info.h"

#include <memory>

namespace UMC {

namespace {

bool IsSliceData(uint32_t Type)
{
    return (Type >= h264::NAL_SLICE && Type <= h264::NAL_IDR_SLICE) || Type == h264::NAL_AUXILIARY_SLICE;
}

} // namespace

TaskSupplier::UnitResult TaskSupplier::ConsumeUnits(MediaData* pIn, bool HeadersOnly)
{
    if (HeadersOnly && IsSliceData(static_cast<uint32_t>(m_pSplitter->CheckNalUnitType(pIn))))
        return {.m_Status = StatusNotEnoughData};
    MediaDataEx* pUnits = nullptr;
    H264HeapPiece* const pPiece = m_pSplitter->GetNalUnits(pIn, pUnits);
    if (!pPiece) return {.m_Status = pIn ? StatusSyncFailed : StatusOk};

    UnitResult Result;
    const MediaDataEx::_MediaDataEx& Units = *pUnits->GetExData();
    try {
        for (uint32_t i = 0; i < Units.Count && Result.m_Status == StatusOk;
             ++i) { // a slice that was taken clears the count
            const uint32_t Offset = Units.Offsets[i];
            Result = HandleUnit(Units.Values[i], *pPiece, Offset, Units.Offsets[i + 1] - Offset, pIn);
        }
    } catch (...) { // memory ran out: the unit is lost, what follows is not
        m_pSplitter->ReleaseCurrent();
        throw;
    }
    if (!Result.m_IsKept) m_pSplitter->ReleaseCurrent();
    return Result;
}

TaskSupplier::UnitResult TaskSupplier::HandleUnit(uint32_t Type, H264HeapPiece& Piece, uint32_t Offset, uint32_t Size,
                                                  MediaData* pIn)
{
    H264Bitstream Bits;
    Bits.Reset(Piece.m_pData + Offset / 4, Size);
    switch (Type) {
    case h264::NAL_SLICE:
    case h264::NAL_IDR_SLICE: return HandleSlice(Piece, pIn);
    case h264::NAL_SEI: HandleSei(Bits); return {};
    case h264::NAL_SEQ_PARAM_SET:
    case h264::NAL_PIC_PARAM_SET:
    case h264::NAL_SEQ_PARAM_SET_EXTENSION: return {.m_Status = HandleParameterSet(Type, Bits)};
    case h264::NAL_DELIMITER: EndPicture(false); return {};
    default: return {};
    }
}

TaskSupplier::UnitResult TaskSupplier::HandleSlice(H264HeapPiece& Piece, MediaData* pIn)
{
    m_RefusedStatus = StatusOk;
    const bool IsTaken = AttachSlice(Piece, pIn);
    UnitResult Result{.m_Status = m_RefusedStatus, .m_IsSliceUnit = true, .m_IsKept = false};
    // A slice for which there is no room stays for the next call: decoding or delivery may make room meanwhile.
    Result.m_IsKept = !IsTaken && m_RefusedStatus == StatusOk && m_pSplitter->HasCurrent();
    if (Result.m_IsKept && IsStuck()) Result.m_IsKept = DropReferences();
    m_RefusedAt = Result.m_IsKept ? m_Progress : kNeverRefused;
    return Result;
}

// Nothing moves any more: the unit was refused before, nothing has happened since, and no picture can leave.
bool TaskSupplier::IsStuck() { return m_RefusedAt == m_Progress && !PickFrameForOutput(false); }

// Every frame is held by references that the stream should have released. They go, and decoding starts anew at the next
// picture that it may start with, which may be the one that found no room. False when there were none.
bool TaskSupplier::DropReferences()
{
    int32_t Short = 0, Long = 0;
    m_pDpb->CountReferences(Short, Long);
    if (Short + Long == 0) return false;
    RemoveAllReferences(nullptr);
    m_WaitForRandomAccess = true;
    return true;
}

Status TaskSupplier::HandleParameterSet(uint32_t Type, H264Bitstream& Bits)
{
    int32_t nal_unit_type = 0;
    uint32_t nal_ref_idc = 0;
    if (!GoToNalUnit(Bits)) return StatusOk;
    Bits.GetNalHeader(nal_unit_type, nal_ref_idc);
    if (Type == h264::NAL_SEQ_PARAM_SET) {
        H264SeqParamSet Seq;
        const Status Result = ReadSeqParamSet(Bits, Seq);
        if (Result != StatusOk) return Result;
        m_Parameters.m_SeqParamSets.Add(Seq, !IsInFlight());
        ActivateSeqParamSet(Seq);
    } else if (Type == h264::NAL_PIC_PARAM_SET) {
        const Status Result = ReadPicParamSet(Bits, m_Parameters, m_PicParamSetScratch);
        if (Result != StatusOk) return Result;
        m_Parameters.m_PicParamSets.Add(m_PicParamSetScratch, !IsInFlight());
        m_HavePicSet = true;
        m_CurrentPicSetId = m_PicParamSetScratch.pic_parameter_set_id;
    } else {
        H264SeqParamSetExtension Extension;
        const Status Result = ReadSeqParamSetExtension(Bits, Extension);
        if (Result != StatusOk) return Result;
        m_Parameters.m_SeqParamSetExtensions.Add(Extension, !IsInFlight());
    }
    return StatusOk;
}

void TaskSupplier::ActivateSeqParamSet(const H264SeqParamSet& Seq)
{
    m_HaveSeqSet = true;
    m_CurrentSeqSetId = Seq.seq_parameter_set_id;
    m_DpbSize = DpbFrames(Seq);
    // A frame is shown as soon as it is the oldest: no delay is granted for reordering, whatever the stream declares.
    m_DisplayDelay = 0;
}

// SEI can never fail a call: the first fault ends the unit silently.
void TaskSupplier::HandleSei(H264Bitstream& Bits)
try {
    int32_t nal_unit_type = 0;
    uint32_t nal_ref_idc = 0;
    if (!GoToNalUnit(Bits)) return;
    Bits.GetNalHeader(nal_unit_type, nal_ref_idc);
    do {
        H264SEIPayLoad Message;
        ReadSeiMessage(Bits, m_Parameters.m_SeqParamSets.Get(m_CurrentSeqSetId), Message);
        if (Message.PayloadType == SEI_USER_DATA_REGISTERED) {
            m_PendingUserData = std::move(Message);
        } else {
            m_Parameters.m_Sei.Add(Message, true); // no picture in work reads a message: it is replaced at once
        }
    } while (Bits.MoreRbspData());
} catch (const h264_exception&) {
}

} // namespace UMC
