#include "decoder/session/picture_assembly.h"

#include "decoder/picture/ref_list_builder.h"
#include "decoder/session/picture_border.h"
#include "decoder/slice/slice_group_map.h"
#include "decoder/stream/seq_info.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace UMC {

namespace {

int32_t OrderCountOf(const H264DecoderFrame& Frame, const SliceHeaderFields& Header)
{
    return Frame.PicOrderCnt(Header.field_pic_flag ? Header.bottom_field_flag : -1);
}

// One more slice.
void Account(H264DecoderFrameInfo& Au, const SliceHeaderFields& Header, uint32_t UnitBytes)
{
    Au.m_UnitBytes += UnitBytes;
    Au.m_NeedsDeblocking |= Header.disable_deblocking_filter_idc != 1;
    Au.m_IsReference |= Header.nal_ref_idc != 0;
}

// In place of a picture that has none stands that of the first one which has; without any the list is empty.
void ReferToAuxiliary(H264RefList& List, const PictureFormat& Format)
{
    const auto Of = [&](const H264DecoderFrame* pFrame) -> H264DecoderFrame* {
        H264DecoderFrame* const p = pFrame ? pFrame->m_pAuxiliary.get() : nullptr;
        return p && p->HasSlices() && p->m_Format == Format ? p : nullptr;
    };
    H264DecoderFrame* pFirst = nullptr;
    for (const H264DecoderFrame* const pFrame : List.Frame)
        if (!pFirst) pFirst = Of(pFrame);
    for (H264DecoderFrame*& pFrame : List.Frame) {
        if (!pFrame) continue;
        H264DecoderFrame* const p = Of(pFrame);
        pFrame = p ? p : pFirst;
    }
}

} // namespace

PictureAssembly::PictureAssembly(FramesInHand& Frames, FrameStore& Store, PicturesInWork& Work, StreamHeaders& Headers,
                                 Skipping& Skip, const SegmentDecoders& Decoders)
    : m_Frames(Frames), m_Store(Store), m_Work(Work), m_Headers(Headers), m_Skip(Skip), m_SegmentDecoders(Decoders),
      m_Marking(Store.Dpb(), Work, m_PicOrder), m_Gaps(Frames, Store, m_Marking, m_PicOrder)
{
}

void PictureAssembly::Reset()
{
    m_PicOrder.Reset();
    m_Marking.Reset();
    m_FieldIndex = 0;
    m_Frames.CurrentFrame = nullptr;
}

void PictureAssembly::Close()
{
    Reset();
    m_LocalMbInfo.Clear();
    m_GroupOfUnit = {};
}

// A picture has no more slices than macroblocks (clause 7.3.4) and needs no more bytes than all of them can take.
bool PictureAssembly::IsSurplus(const H264Slice& Slice, uint32_t UnitBytes) const
{
    if (!m_Frames.CurrentFrame) return false;
    const H264DecoderFrameInfo& Au = m_Frames.CurrentFrame->m_Au[m_FieldIndex];
    if (Au.m_Status >= AuStatus::Ready || Au.m_Slices.empty() || !IsSamePicture(*Au.m_Slices.front(), Slice))
        return false;
    const auto MbCount = static_cast<size_t>(Slice.m_MbWidth) * static_cast<size_t>(Slice.m_MbHeight);
    return Au.m_Slices.size() >= MbCount || Au.m_UnitBytes + UnitBytes > MaxUnitBytes(Slice);
}

bool PictureAssembly::PlaceSlice(const H264Slice& Slice, Status& Refused)
{
    if (!m_Frames.CurrentFrame) return OpenPicture(Slice, Refused);
    H264DecoderFrame& Frame = *m_Frames.CurrentFrame;
    const H264DecoderFrameInfo& Au = Frame.m_Au[m_FieldIndex];
    const H264Slice& First = *Au.m_Slices.front();
    if (Au.m_Status < AuStatus::Ready && IsSamePicture(First, Slice)) {
        Refused = ReserveSlice(Frame, m_FieldIndex);
        return Refused == StatusOk;
    }

    FinishPicture(Frame, m_FieldIndex);
    if (Slice.m_Header.field_pic_flag && m_FieldIndex == 0 && IsSecondField(Frame, First, Slice)) {
        Refused = ReserveSlice(Frame, 1);
        if (Refused != StatusOk) return false;
        m_FieldIndex = 1;
        StartPicture(Frame, Slice);
        if (!m_Frames.FirstUncompleted) m_Frames.FirstUncompleted = &Frame;
        return true;
    }
    if (First.m_Header.field_pic_flag) CompleteMissingField(Frame);
    return OpenPicture(Slice, Refused);
}

bool PictureAssembly::OpenPicture(const H264Slice& Slice, Status& Refused)
{
    m_Store.RemoveSurplusFrames(*Slice.m_pSeqParamSet);
    if (!m_Gaps.FillFrameGaps(Slice, Refused)) {
        m_Frames.CurrentFrame = nullptr; // it is complete: the gap comes behind it
        return false;
    }
    H264DecoderFrame* const pFrame = AddFrame(Slice, Refused);
    if (!pFrame) return false;
    m_Frames.CurrentFrame = pFrame;
    return true;
}

H264DecoderFrame* PictureAssembly::AddFrame(const H264Slice& Slice, Status& Refused)
{
    H264DecoderFrame* const pFrame = m_Store.TakeFrame(Slice, Refused);
    if (!pFrame) return nullptr;
    const Status Result = ReserveSlice(*pFrame, 0);
    if (Result != StatusOk) {
        Refused = Result;
        m_Store.DiscardFrame(*pFrame);
        return nullptr;
    }
    m_Marking.RemoveUnusableReferences(pFrame->m_Format); // not in use by this picture
    if (!m_Headers.PendingUserData().user_data.empty()) std::swap(pFrame->m_UserData, m_Headers.PendingUserData());
    m_Work.Begin(*pFrame);
    m_FieldIndex = 0;
    if (Slice.m_Header.field_pic_flag) pFrame->m_Au[1].m_Status = AuStatus::SecondFieldExpected;
    if (!m_Frames.FirstUncompleted) m_Frames.FirstUncompleted = pFrame;
    pFrame->m_ResourceIndex = m_LocalMbInfo.NextResource();
    if (pFrame->m_Format.ChromaFormat == h264::CHROMA_400) pFrame->FillChromaGrey();
    StartPicture(*pFrame, Slice);
    return pFrame;
}

void PictureAssembly::StartPicture(H264DecoderFrame& Frame, const H264Slice& Slice)
{
    const SliceHeaderFields& Header = Slice.m_Header;
    const int Parity = Header.bottom_field_flag;
    const bool IsField = Header.field_pic_flag != 0;
    if (Header.IdrPicFlag) {
        m_PicOrder.StartIdr(Header.frame_num);
        m_Store.Dpb().IncreaseResetCount(&Frame);
    }
    m_PicOrder.Compute(PicOrderOf(Header), PicOrderOf(*Slice.m_pSeqParamSet));
    Frame.m_FrameNum = Header.frame_num;
    Frame.m_BottomFieldFlag[m_FieldIndex] = Header.bottom_field_flag;
    for (int Field = 0; Field < 2; ++Field) {
        if (IsField && m_FieldIndex == 1 && Field != Parity) continue;
        // The first field's count stands in for the second's until that comes.
        Frame.m_PicOrderCnt[Field] = IsField      ? m_PicOrder.PicOrderCnt
                                     : Field == 0 ? m_PicOrder.TopFieldOrderCnt
                                                  : m_PicOrder.BottomFieldOrderCnt;
        Frame.m_PicNum[Field] = CurrPicNum(Header);
        Frame.m_RefListResetCount[Field] = 0;
    }
}

void PictureAssembly::AppendSlice(H264Slice& Slice, uint32_t UnitBytes, Status& Refused)
{
    H264DecoderFrame& Frame = *m_Frames.CurrentFrame;
    H264DecoderFrameInfo& Au = Frame.m_Au[m_FieldIndex];
    const SliceHeaderFields& Header = Slice.m_Header;
    const SliceHeaderTables& Tables = m_Headers.SliceTables();
    Slice.m_pFrame = &Frame;
    Slice.m_PicOrderCnt = OrderCountOf(Frame, Header);
    m_Gaps.MakeUpReference(Slice, Refused);
    // Without references the lists stay empty and the slice is concealed.
    BuildRefPicLists({Header, Tables.Reordering, MaxFrameNum(*Slice.m_pSeqParamSet)}, Frame, m_Store.Dpb(),
                     Frame.m_RefPicLists.Spare());
    if (Au.m_Slices.empty() && Header.adaptive_ref_pic_marking_mode_flag) Au.m_Marking = Tables.Marking;
    AddSlice(Frame, m_FieldIndex, Slice);
    Account(Au, Header, UnitBytes);
}

const H264Slice* PictureAssembly::FirstInHand() const
{
    if (!m_Frames.CurrentFrame) return nullptr;
    const H264DecoderFrameInfo& Au = m_Frames.CurrentFrame->m_Au[m_FieldIndex];
    return Au.m_Status < AuStatus::Ready && !Au.m_Slices.empty() ? Au.m_Slices.front() : nullptr;
}

bool PictureAssembly::PlaceAuxiliarySlice(const H264Slice& Slice, uint32_t UnitBytes, Status& Refused)
{
    if (!IsAuxiliaryOf(*FirstInHand(), Slice)) return false;
    H264DecoderFrame* const pFrame = m_Store.TakeAuxiliary(*m_Frames.CurrentFrame, Slice, Refused);
    if (!pFrame) return false;
    const H264DecoderFrameInfo& Au = pFrame->m_Au[m_FieldIndex];
    const auto MbCount = static_cast<size_t>(Slice.m_MbWidth) * static_cast<size_t>(Slice.m_MbHeight);
    if (pFrame->m_Format != PictureFormat::Of(*Slice.m_pSeqParamSet) || Au.m_Slices.size() >= MbCount ||
        Au.m_UnitBytes + UnitBytes > MaxUnitBytes(Slice))
        return false;
    Refused = ReserveSlice(*pFrame, m_FieldIndex);
    return Refused == StatusOk;
}

// Its lists name the auxiliary pictures of those in the lists that the primary picture would have.
void PictureAssembly::AppendAuxiliarySlice(H264Slice& Slice, uint32_t UnitBytes)
{
    H264DecoderFrame &Primary = *m_Frames.CurrentFrame, &Frame = *Primary.m_pAuxiliary;
    const SliceHeaderFields& Header = Slice.m_Header;
    Frame.m_ResourceIndex = m_LocalMbInfo.AuxiliaryResource(Primary.m_ResourceIndex);
    std::copy(std::begin(Primary.m_PicOrderCnt), std::end(Primary.m_PicOrderCnt), Frame.m_PicOrderCnt);
    Frame.m_BottomFieldFlag[m_FieldIndex] = Header.bottom_field_flag;
    Slice.m_pFrame = &Frame;
    Slice.m_PicOrderCnt = OrderCountOf(Frame, Header);
    BuildRefPicLists({Header, m_Headers.SliceTables().Reordering, MaxFrameNum(*Slice.m_pSeqParamSet)}, Primary,
                     m_Store.Dpb(), Frame.m_RefPicLists.Spare());
    for (H264RefList& List : Frame.m_RefPicLists.Spare().List) ReferToAuxiliary(List, Frame.m_Format);
    AddSlice(Frame, m_FieldIndex, Slice);
    Account(Frame.m_Au[m_FieldIndex], Header, UnitBytes);
}

void PictureAssembly::EndPicture()
{
    if (m_Frames.CurrentFrame) FinishPicture(*m_Frames.CurrentFrame, m_FieldIndex);
}

void PictureAssembly::EndInput()
{
    if (!m_Frames.CurrentFrame) return;
    EndPicture();
    if (m_Frames.CurrentFrame->IsFieldPair()) CompleteMissingField(*m_Frames.CurrentFrame);
    if (!m_Frames.FirstUncompleted && m_Frames.IsFilling()) m_Frames.FirstUncompleted = m_Frames.CurrentFrame;
    m_Frames.CurrentFrame = nullptr;
}

// The second field did not come: the frame is complete with its lines grey.
void PictureAssembly::CompleteMissingField(H264DecoderFrame& Frame)
{
    if (Frame.m_Au[1].m_Status != AuStatus::SecondFieldExpected) return;
    const int First = Frame.m_BottomFieldFlag[0], Missing = 1 - First;
    Frame.m_PicOrderCnt[Missing] = Frame.m_PicOrderCnt[First];
    m_Marking.MarkMissingField(Frame, Missing);
    Frame.m_PicNum[Missing] = h264::FieldPicNum(Frame.m_FrameNum, true);
    Frame.m_Au[1].m_Status = AuStatus::Empty;
    Frame.FillFieldGrey(Missing);
}

void PictureAssembly::FinishPicture(H264DecoderFrame& Frame, int Field)
{
    H264DecoderFrameInfo& Au = Frame.m_Au[Field];
    if (Au.m_Status > AuStatus::SecondFieldExpected || Au.m_Slices.empty()) return;
    H264DecoderFrame* const pAuxiliary = Frame.m_pAuxiliary.get();
    const bool HasAuxiliary = pAuxiliary && !pAuxiliary->m_Au[Field].m_Slices.empty();
    auto pLocal = Prepare(Frame, Field); // first: nothing has changed yet should memory run out
    auto pAuxiliaryLocal = HasAuxiliary ? Prepare(*pAuxiliary, Field) : nullptr;
    if (m_Marking.MarkReferences(Frame, Field)) m_Headers.WaitForRandomAccess(false);
    if (SkipPicture(Frame, Field)) return;
    if (HasAuxiliary) MakeReady(*pAuxiliary, Field, std::move(pAuxiliaryLocal));
    MakeReady(Frame, Field, std::move(pLocal));
}

std::shared_ptr<LocalMbMemory> PictureAssembly::Prepare(H264DecoderFrame& Frame, int Field)
{
    auto pLocal = m_LocalMbInfo.Prepare(Frame);
    SetUpSliceGroups(Frame.m_Au[Field], *pLocal);
    return pLocal;
}

void PictureAssembly::MakeReady(H264DecoderFrame& Frame, int Field, std::shared_ptr<LocalMbMemory> pLocal)
{
    H264DecoderFrameInfo& Au = Frame.m_Au[Field];
    if (m_Skip.IsDeblockingUnwanted(Au.m_IsReference)) {
        Au.m_NeedsDeblocking = false;
        for (H264Slice* const pSlice : Au.m_Slices) {
            pSlice->m_Progress.Deblocked = true;
            pSlice->m_Header.disable_deblocking_filter_idc = 1;
        }
    }
    if (Field == 0 || Frame.m_Au[0].m_Slices.empty()) Frame.ClearGlobalMbInfo();
    OrderSliceBounds(Au);
    for (H264Slice* const pSlice : Au.m_Slices) pSlice->m_pLocal = &pLocal->Buffers();
    Frame.m_pLocalMemory = std::move(pLocal);
    Au.m_Status = AuStatus::Ready;
}

// True when the picture, which is no reference, is not to be decoded; it is finished and free then.
bool PictureAssembly::SkipPicture(H264DecoderFrame& Frame, int Field)
{
    if (Frame.IsFieldPair() && Field == 0) return false;
    if (!m_Skip.IsSkipWanted(Frame.m_Au[0].m_IsReference || Frame.m_Au[1].m_IsReference)) return false;
    for (H264DecoderFrameInfo& Au : Frame.m_Au) Au.m_Status = AuStatus::Finished;
    m_Work.Finish(Frame);
    Frame.m_IsSkipped = true;
    return true;
}

// A picture parameter set may come anew between two slices: the first one says how the picture is divided.
void PictureAssembly::SetUpSliceGroups(H264DecoderFrameInfo& Au, LocalMbMemory& Local)
{
    const H264Slice& First = *Au.m_Slices.front();
    uint32_t* pNextMb = nullptr;
    if (First.m_UsesSliceGroups) {
        pNextMb = Local.NextMb();
        if (First.m_Header.bottom_field_flag) pNextMb += First.m_MbWidth * First.m_MbHeight;
        FillNextMbMap(*First.m_pSeqParamSet, *First.m_pPicParamSet, First.m_Header, m_GroupOfUnit, pNextMb);
    }
    Au.m_UsesSliceGroups = First.m_UsesSliceGroups;
    for (H264Slice* const pSlice : Au.m_Slices) {
        pSlice->m_UsesSliceGroups = First.m_UsesSliceGroups;
        pSlice->m_pNextMbMap = pNextMb;
    }
}

// Each slice ends where the next one begins, however damaged it is; what the first one leaves in front of it is lost.
// Of slices that begin at the same macroblock the last one counts, the others are empty: a picture's macroblocks are
// decoded once, whatever its slices state. Slices may arrive in any order. From here on they stand in that of their
// macroblocks, which deblocking has to follow. As many as macroblocks at most: the sort takes 16 comparisons of each.
// Slices of slice groups lie across each other: they have no bounds, and stay in the order of arrival.
void PictureAssembly::OrderSliceBounds(H264DecoderFrameInfo& Au)
{
    auto& Slices = Au.m_Slices;
    std::sort(Slices.begin(), Slices.end(), [](const H264Slice* a, const H264Slice* b) {
        return a->m_FirstMbNumber != b->m_FirstMbNumber ? a->m_FirstMbNumber < b->m_FirstMbNumber
                                                        : a->m_SliceNumber < b->m_SliceNumber;
    });
    for (size_t i = Slices.size() - 1; i > 0; --i)
        if (!Au.m_UsesSliceGroups || Slices[i - 1]->m_FirstMbNumber == Slices[i]->m_FirstMbNumber)
            Slices[i - 1]->m_MaxMbNumber = Slices[i]->m_FirstMbNumber;
    if (Au.m_UsesSliceGroups)
        return std::sort(Slices.begin(), Slices.end(),
                         [](const H264Slice* a, const H264Slice* b) { return a->m_SliceNumber < b->m_SliceNumber; });
    m_SegmentDecoders.front()->RestoreErrorRect(0, Slices.front()->m_FirstMbNumber, Slices.front());
}

} // namespace UMC
