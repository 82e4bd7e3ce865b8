// Slices: reading one and finding the picture that it belongs to.
#include "decoder/h264_ref_list_builder.h"
#include "decoder/h264_segment_decoder_hp.h"
#include "decoder/task_supplier.h"

#include <memory>

namespace UMC {

namespace {

// Whether a slice continues the picture that First began, clause 7.4.1.2.4. Beyond the clause: a slice that repeats
// First's first macroblock begins a new picture, and so does one after a change of the sequence parameter set itself,
// whose pictures may be of another size. A picture parameter set may change between two slices.
bool IsSamePicture(const H264Slice& First, const H264Slice& Slice)
{
    const SliceHeaderFields &a = First.m_Header, &b = Slice.m_Header;
    if (a.frame_num != b.frame_num || a.pic_parameter_set_id != b.pic_parameter_set_id ||
        a.field_pic_flag != b.field_pic_flag || a.bottom_field_flag != b.bottom_field_flag ||
        a.first_mb_in_slice == b.first_mb_in_slice)
        return false;
    if (First.m_pSeqParamSet != Slice.m_pSeqParamSet) return false;
    if (a.nal_ref_idc != b.nal_ref_idc && (a.nal_ref_idc == 0 || b.nal_ref_idc == 0)) return false;
    if (a.IdrPicFlag != b.IdrPicFlag || (a.IdrPicFlag && a.idr_pic_id != b.idr_pic_id)) return false;
    if (Slice.m_pSeqParamSet->pic_order_cnt_type == 0)
        return a.pic_order_cnt_lsb == b.pic_order_cnt_lsb &&
               a.delta_pic_order_cnt_bottom == b.delta_pic_order_cnt_bottom;
    return a.delta_pic_order_cnt[0] == b.delta_pic_order_cnt[0] && a.delta_pic_order_cnt[1] == b.delta_pic_order_cnt[1];
}

// Whether a slice begins the second field of the frame whose first field First began.
bool IsSecondField(const H264DecoderFrame& Frame, const H264Slice& First, const H264Slice& Slice)
{
    const SliceHeaderFields &a = First.m_Header, &b = Slice.m_Header;
    if (Frame.m_Au[0].m_Status > AuStatus::SecondFieldExpected &&
        Frame.m_Au[1].m_Status > AuStatus::SecondFieldExpected)
        return false;
    if ((a.nal_ref_idc == 0) != (b.nal_ref_idc == 0) || a.field_pic_flag != b.field_pic_flag) return false;
    if (First.m_pSeqParamSet != Slice.m_pSeqParamSet) return false;
    return a.bottom_field_flag != b.bottom_field_flag;
}

} // namespace

bool TaskSupplier::AttachSlice(H264HeapPiece& Piece, MediaData* pIn)
{
    const auto ToHeap = [this](H264Slice* pSlice) { m_SliceHeap.Free(pSlice); };
    std::unique_ptr<H264Slice, decltype(ToHeap)> pSlice(m_SliceHeap.Allocate(), ToHeap);
    if (!ReadSlice(*pSlice, Piece, pIn)) {
        m_pSplitter->ReleaseCurrent();
        return false;
    }
    const SliceHeaderFields& Header = pSlice->m_Header;
    if (pSlice->m_UsesSliceGroups ||
        !FindSegmentDecoder(*pSlice->m_pSeqParamSet, Header.field_pic_flag != 0, Header.MbaffFrameFlag != 0))
        m_RefusedStatus = StatusUnsupported;
    if (m_RefusedStatus != StatusOk || !PlaceSlice(*pSlice)) return false;

    H264Slice& Slice = *pSlice.release();
    AppendSlice(Slice);
    MakeUpReference(Slice);
    BuildRefPicLists(Slice, *m_pDpb); // without references the lists stay empty and the slice is concealed
    Slice.m_pNalHeap = &m_NalHeap;
    Slice.m_pNalPiece = &Piece;
    m_pSplitter->DetachCurrent();
    return true;
}

bool TaskSupplier::ReadSlice(H264Slice& Slice, const H264HeapPiece& Piece, MediaData* pIn)
{
    if (!m_HaveSeqSet || !m_HavePicSet || !Slice.ReadStart(Piece)) return false;
    const bool IsIntra = Slice.m_Header.slice_type == I_SLICE;
    const H264SEIPayLoad* const pRecovery = m_Parameters.m_Sei.Get(SEI_RECOVERY_POINT);
    if (m_WaitForRandomAccess && !IsIntra && !pRecovery) return false;
    if (!FindParameterSets(Slice)) return false;
    Slice.m_NalTime = pIn ? pIn->GetTime() : -1.0;
    if (!Slice.Init()) return false;
    if (!IsIntra && pRecovery) m_Parameters.m_Sei.Release(pRecovery);
    m_WaitForRandomAccess = false;
    return true;
}

bool TaskSupplier::FindParameterSets(H264Slice& Slice)
{
    Slice.m_pPicParamSet = m_Parameters.m_PicParamSets.Get(Slice.m_Header.pic_parameter_set_id);
    if (!Slice.m_pPicParamSet) return false;
    const int32_t SeqId = Slice.m_pPicParamSet->seq_parameter_set_id;
    Slice.m_pSeqParamSet = m_Parameters.m_SeqParamSets.Get(SeqId);
    if (!Slice.m_pSeqParamSet) return false;
    Slice.m_pSeqParamSetEx = m_Parameters.m_SeqParamSetExtensions.Get(SeqId);
    m_CurrentPicSetId = Slice.m_Header.pic_parameter_set_id;
    m_CurrentSeqSetId = SeqId;
    return true;
}

bool TaskSupplier::PlaceSlice(H264Slice& Slice)
{
    if (!m_pCurrentFrame) return OpenPicture(Slice);
    H264DecoderFrame& Frame = *m_pCurrentFrame;
    const H264DecoderFrameInfo& Au = Frame.m_Au[m_FieldIndex];
    const H264Slice& First = *Au.m_Slices.front();
    if (Au.m_Status < AuStatus::Ready && IsSamePicture(First, Slice)) return true;

    FinishPicture(Frame, m_FieldIndex);
    if (Slice.m_Header.field_pic_flag && m_FieldIndex == 0 && IsSecondField(Frame, First, Slice)) {
        m_FieldIndex = 1;
        StartPicture(Frame, Slice);
        if (!m_pFirstUncompleted) m_pFirstUncompleted = &Frame;
        return true;
    }
    if (First.m_Header.field_pic_flag) CompleteMissingField(Frame);
    return OpenPicture(Slice);
}

bool TaskSupplier::OpenPicture(H264Slice& Slice)
{
    if (FillFrameGaps(Slice) != StatusOk) return false;
    H264DecoderFrame* const pFrame = AddFrame(Slice);
    if (!pFrame) return false;
    m_pCurrentFrame = pFrame;
    return true;
}

// The slice's place in the picture is settled; nothing can refuse it any more.
void TaskSupplier::AppendSlice(H264Slice& Slice)
{
    H264DecoderFrame& Frame = *m_pCurrentFrame;
    H264DecoderFrameInfo& Au = Frame.m_Au[m_FieldIndex];
    Slice.m_SliceNumber = static_cast<int32_t>(Au.m_Slices.size()) + 1;
    if (m_FieldIndex == 1) Slice.m_SliceNumber += static_cast<int32_t>(Frame.m_Au[0].m_Slices.size());
    Slice.m_pFrame = &Frame;
    Slice.m_pRefPicList = &Frame.RefPicListOf(m_FieldIndex, Slice.m_SliceNumber);
    Au.m_Slices.push_back(&Slice);
    Au.m_NeedsDeblocking |= Slice.m_Header.disable_deblocking_filter_idc != 1;
    Au.m_IsReference |= Slice.m_Header.nal_ref_idc != 0;
    Au.m_HasIntraSlice |= Slice.m_Header.slice_type == I_SLICE;
    Au.m_UsesSliceGroups |= Slice.m_UsesSliceGroups;
}

void TaskSupplier::EndPicture(bool IsInputOver)
{
    if (!m_pCurrentFrame) return;
    FinishPicture(*m_pCurrentFrame, m_FieldIndex);
    if (IsInputOver && m_pCurrentFrame->IsFieldPair()) CompleteMissingField(*m_pCurrentFrame);
}

} // namespace UMC
