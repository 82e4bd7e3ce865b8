// Slices: reading one and finding the picture that it belongs to.
#include "decoder/jobs/segment_decoder_hp.h"
#include "decoder/picture/ref_list_builder.h"
#include "decoder/session/task_supplier.h"
#include "decoder/stream/seq_info.h"

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

// Bytes that the units of a slice's picture may take together: twice the bits that its macroblocks may take, 128 more
// each than their samples (clause A.3.1), and room for headers.
uint32_t MaxUnitBytes(const H264Slice& Slice)
{
    const uint32_t MbBits = 128 + PictureFormat::Of(*Slice.m_pSeqParamSet).MbSampleBits();
    return static_cast<uint32_t>(Slice.m_MbWidth * Slice.m_MbHeight) * (2 * MbBits / 8) + (1u << 16u);
}
static_assert(uint64_t{kMaxPictureMbs} * (2 * (128 + 768 * 14) / 8) < INT32_MAX);

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
    if (m_RefusedStatus != StatusOk) return false;
    bool Detached = false;
    const uint32_t UnitBytes = pSlice->KeepUnit(Piece, MaxUnitBytes(*pSlice), Detached);
    if (IsSurplus(*pSlice, UnitBytes)) {
        m_pSplitter->ReleaseCurrent();
        return false;
    }
    if (!PlaceSlice(*pSlice)) return false;

    AppendSlice(*pSlice.release(), UnitBytes);
    H264Slice& Slice = *m_pCurrentFrame->m_Au[m_FieldIndex].m_Slices.back();
    if (Detached) {
        Slice.m_pNalHeap = &m_NalHeap;
        Slice.m_pNalPiece = &Piece;
        m_pSplitter->DetachCurrent();
    } else {
        m_pSplitter->ReleaseCurrent();
    }
    return true;
}

// A picture has no more slices than macroblocks (clause 7.3.4) and needs no more bytes than all of them can take: a
// slice beyond is dropped as if its header were bad.
bool TaskSupplier::IsSurplus(const H264Slice& Slice, uint32_t UnitBytes) const
{
    if (!m_pCurrentFrame) return false;
    const H264DecoderFrameInfo& Au = m_pCurrentFrame->m_Au[m_FieldIndex];
    if (Au.m_Status >= AuStatus::Ready || Au.m_Slices.empty() || !IsSamePicture(*Au.m_Slices.front(), Slice))
        return false;
    const auto MbCount = static_cast<size_t>(Slice.m_MbWidth) * static_cast<size_t>(Slice.m_MbHeight);
    return Au.m_Slices.size() >= MbCount || Au.m_UnitBytes + UnitBytes > MaxUnitBytes(Slice);
}

bool TaskSupplier::ReserveSlice(H264DecoderFrame& Frame, int Field)
{
    const Status Result = UMC::ReserveSlice(Frame, Field);
    if (Result != StatusOk) m_RefusedStatus = Result;
    return Result == StatusOk;
}

bool TaskSupplier::ReadSlice(H264Slice& Slice, const H264HeapPiece& Piece, MediaData* pIn)
{
    if (!m_HaveSeqSet || !m_HavePicSet || !Slice.ReadStart(Piece)) return false;
    const bool IsIntra = Slice.m_Header.slice_type == I_SLICE;
    const bool IsRecovery = m_Parameters.m_Sei.Get(SEI_RECOVERY_POINT) != nullptr;
    if (m_WaitForRandomAccess && !IsIntra && !IsRecovery) return false;
    if (!FindParameterSets(Slice)) return false;
    Slice.m_NalTime = pIn ? pIn->GetTime() : -1.0;
    if (!Slice.Init(m_SliceTables)) return false;
    if (!IsIntra && IsRecovery) m_Parameters.m_Sei.Remove(SEI_RECOVERY_POINT);
    m_WaitForRandomAccess = false;
    return true;
}

bool TaskSupplier::FindParameterSets(H264Slice& Slice)
{
    const auto& pPic = m_Parameters.m_PicParamSets.Share(Slice.m_Header.pic_parameter_set_id);
    if (!pPic) return false;
    const int32_t SeqId = pPic->seq_parameter_set_id;
    const auto& pSeq = m_Parameters.m_SeqParamSets.Share(SeqId);
    if (!pSeq) return false;
    const auto& pSeqEx = m_Parameters.m_SeqParamSetExtensions.Share(SeqId);
    Slice.m_pPicParamSet = pPic.get();
    Slice.m_pSeqParamSet = pSeq.get();
    Slice.m_pSeqParamSetEx = pSeqEx.get();
    Slice.m_HeldSets[0] = pPic;
    Slice.m_HeldSets[1] = pSeq;
    Slice.m_HeldSets[2] = pSeqEx;
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
    if (Au.m_Status < AuStatus::Ready && IsSamePicture(First, Slice)) return ReserveSlice(Frame, m_FieldIndex);

    FinishPicture(Frame, m_FieldIndex);
    if (Slice.m_Header.field_pic_flag && m_FieldIndex == 0 && IsSecondField(Frame, First, Slice)) {
        if (!ReserveSlice(Frame, 1)) return false;
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
    RemoveSurplusFrames(*Slice.m_pSeqParamSet);
    if (FillFrameGaps(Slice) != StatusOk) return false;
    H264DecoderFrame* const pFrame = AddFrame(Slice);
    if (!pFrame) return false;
    m_pCurrentFrame = pFrame;
    return true;
}

// The slice's place in the picture is settled, and room for it reserved; nothing can refuse it any more.
void TaskSupplier::AppendSlice(H264Slice& Slice, uint32_t UnitBytes)
{
    H264DecoderFrame& Frame = *m_pCurrentFrame;
    H264DecoderFrameInfo& Au = Frame.m_Au[m_FieldIndex];
    Slice.m_pFrame = &Frame;
    const SliceHeaderFields& Header = Slice.m_Header;
    Slice.m_PicOrderCnt = Frame.PicOrderCnt(Header.field_pic_flag ? Header.bottom_field_flag : -1);
    MakeUpReference(Slice);
    // Without references the lists stay empty and the slice is concealed.
    BuildRefPicLists({Header, m_SliceTables.Reordering, MaxFrameNum(*Slice.m_pSeqParamSet)}, Frame, *m_pDpb,
                     Frame.m_RefPicLists.Spare());
    if (Au.m_Slices.empty() && Header.adaptive_ref_pic_marking_mode_flag) Au.m_Marking = m_SliceTables.Marking;
    UMC::AppendSlice(Frame, m_FieldIndex, Slice);
    Au.m_UnitBytes += UnitBytes;
    Au.m_NeedsDeblocking |= Header.disable_deblocking_filter_idc != 1;
    Au.m_IsReference |= Header.nal_ref_idc != 0;
    Au.m_HasIntraSlice |= Header.slice_type == I_SLICE;
    Au.m_UsesSliceGroups |= Slice.m_UsesSliceGroups;
}

void TaskSupplier::EndPicture(bool IsInputOver)
{
    if (!m_pCurrentFrame) return;
    FinishPicture(*m_pCurrentFrame, m_FieldIndex);
    if (IsInputOver && m_pCurrentFrame->IsFieldPair()) CompleteMissingField(*m_pCurrentFrame);
}

} // namespace UMC
