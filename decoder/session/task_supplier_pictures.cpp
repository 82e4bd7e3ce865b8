// Pictures: taking a frame, filling it, finishing it.
#include "decoder/session/task_supplier.h"
#include "decoder/stream/seq_info.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace UMC {

namespace {

int32_t CropSamples(uint32_t Unit, uint32_t Offset)
{
    return static_cast<int32_t>(std::min<uint64_t>(uint64_t{Unit} * Offset, INT32_MAX / 4));
}

int32_t FrameTypeOf(SliceType Type) { return Type == I_SLICE ? I_PICTURE : Type == B_SLICE ? B_PICTURE : P_PICTURE; }

} // namespace

int32_t TaskSupplier::MaxFrames() const
{
    // A stream may use more references than its level allows; without room for them no picture could ever be added.
    const H264SeqParamSet* const pSeq = m_Parameters.m_SeqParamSets.Get(m_CurrentSeqSetId);
    const int32_t References = pSeq ? static_cast<int32_t>(pSeq->num_ref_frames) : 0;
    return std::max(m_DpbSize, References) + m_SpareFrames + 1;
}

bool TaskSupplier::HasRoom() const { return m_pDpb->CountAll() < MaxFrames() || m_pDpb->FindOldestDisposable(); }

H264DecoderFrame* TaskSupplier::GetFreeFrame()
{
    H264DecoderFrame* pFrame = m_pDpb->FindOldestDisposable();
    if (!pFrame) {
        if (!HasRoom()) return nullptr;
        auto pNew = std::make_unique<H264DecoderFrame>();
        pNew->SetAllocator(m_pAllocator);
        pNew->m_Index = m_pDpb->FreeIndex();
        pFrame = pNew.release();
        m_pDpb->Append(pFrame);
    }
    ResetFrame(*pFrame, m_SliceHeap);
    pFrame->m_BusyCount = 2;
    pFrame->m_Uid = ++m_FrameUid;
    if (pFrame == m_pCurrentFrame) m_pCurrentFrame = nullptr;
    if (pFrame == m_pLastDisplayed) m_pLastDisplayed = nullptr;
    return pFrame;
}

void TaskSupplier::DiscardFrame(H264DecoderFrame* pFrame)
{
    ResetFrame(*pFrame, m_SliceHeap);
    pFrame->m_WasOutputted = true;
}

void TaskSupplier::RemoveFrame(H264DecoderFrame* pFrame)
{
    if (pFrame == m_pCurrentFrame) m_pCurrentFrame = nullptr;
    if (pFrame == m_pLastDisplayed) m_pLastDisplayed = nullptr;
    if (m_pOutput->GetPlaneCount() > 0 && m_pOutput->Plane(0) == pFrame->m_pPlaneY)
        m_pOutput->Close(); // its samples go
    ResetFrame(*pFrame, m_SliceHeap);
    m_pDpb->Remove(pFrame);
}

template <class Unwanted>
void TaskSupplier::RemoveFrames(Unwanted&& IsUnwanted)
{
    for (H264DecoderFrame *p = m_pDpb->Head(), *pNext; p; p = pNext) {
        pNext = p->m_pNext;
        if (H264DBPList::IsDisposable(*p) && p != m_pFirstUncompleted && IsUnwanted(*p)) RemoveFrame(p);
    }
}

// Gives back the frames of an old size or format, and those that a smaller buffer size has no use for.
void TaskSupplier::RemoveSurplusFrames(const H264SeqParamSet& Seq)
{
    const PictureFormat Format = PictureFormat::Of(Seq);
    RemoveFrames([&](const H264DecoderFrame& Frame) { return Frame.m_Format != Format; });
    int32_t Surplus = m_pDpb->CountAll() - MaxFrames();
    RemoveFrames([&](const H264DecoderFrame&) { return Surplus-- > 0; });
}

// The same for frames that were kept until their picture had left.
void TaskSupplier::RemoveOutdatedFrames()
{
    const H264DecoderFrame* const pNewest = m_pDpb->Tail();
    RemoveFrames([&](const H264DecoderFrame& Frame) { return Frame.m_Format != pNewest->m_Format; });
}

H264DecoderFrame* TaskSupplier::AddFrame(H264Slice& Slice)
{
    H264DecoderFrame* const pFrame = GetFreeFrame();
    if (!pFrame) return nullptr;
    m_pDpb->MoveToTail(pFrame);
    const Status Result = PrepareFrame(*pFrame, Slice);
    if (Result != StatusOk) m_RefusedStatus = Result;
    if (Result != StatusOk || !ReserveSlice(*pFrame, 0)) {
        DiscardFrame(pFrame);
        return nullptr;
    }
    DropUnusableReferences(*pFrame); // not in use by this picture
    if (!m_PendingUserData.user_data.empty()) std::swap(pFrame->m_UserData, m_PendingUserData);
    std::swap(pFrame->m_Released, m_LocalReleased);
    m_FieldIndex = 0;
    if (Slice.m_Header.field_pic_flag) pFrame->m_Au[1].m_Status = AuStatus::SecondFieldExpected;
    if (!m_pFirstUncompleted) m_pFirstUncompleted = pFrame;
    pFrame->m_ResourceIndex = m_NextResource;
    m_NextResource = (m_NextResource + 1) % m_ThreadCount;
    if (pFrame->m_Format.ChromaFormat == h264::CHROMA_400) pFrame->FillChromaGrey();
    StartPicture(*pFrame, Slice);
    return pFrame;
}

Status TaskSupplier::PrepareFrame(H264DecoderFrame& Frame, const H264Slice& Slice)
{
    const H264SeqParamSet& Seq = *Slice.m_pSeqParamSet;
    const SliceHeaderFields& Header = Slice.m_Header;
    Status Result = Frame.Allocate(PictureFormat::Of(Seq));
    if (Result != StatusOk) return Result;
    Frame.m_TotalMbs = Frame.m_Format.MbCount();
    Result = Frame.AllocateMbInfo(Frame.m_TotalMbs);
    if (Result != StatusOk) {
        Frame.Release(); // samples without records are of no use, not even to patch holes from
        return Result;
    }

    Frame.m_FrameType = FrameTypeOf(Header.slice_type);
    Frame.m_Time = Slice.m_NalTime;
    Frame.m_CropLeft = CropSamples(CropUnitX(Seq), Seq.frame_crop_left_offset);
    Frame.m_CropRight = CropSamples(CropUnitX(Seq), Seq.frame_crop_right_offset);
    Frame.m_CropTop = CropSamples(CropUnitY(Seq), Seq.frame_crop_top_offset);
    Frame.m_CropBottom = CropSamples(CropUnitY(Seq), Seq.frame_crop_bottom_offset);
    Frame.m_AspectWidth = Seq.vui.sar_width;
    Frame.m_AspectHeight = Seq.vui.sar_height;
    Frame.m_PictureStructure = Header.field_pic_flag   ? Header.bottom_field_flag ? BOTTOM_FIELD : TOP_FIELD
                               : Header.MbaffFrameFlag ? MBAFF_FRAME
                                                       : FRAME_PICTURE;
    return StatusOk;
}

// Pictures of another size or format cannot be predicted from; a stream that changes them anywhere but at an IDR
// picture is damaged.
void TaskSupplier::DropUnusableReferences(const H264DecoderFrame& Frame)
{
    for (H264DecoderFrame* p = m_pDpb->Head(); p; p = p->m_pNext)
        if (p->IsReferenced() && p->m_Format != Frame.m_Format) ReleaseReference(p, true);
}

void TaskSupplier::StartPicture(H264DecoderFrame& Frame, const H264Slice& Slice)
{
    const SliceHeaderFields& Header = Slice.m_Header;
    const int Parity = Header.bottom_field_flag;
    const bool IsField = Header.field_pic_flag != 0;
    if (Header.IdrPicFlag) {
        m_PicOrder.StartIdr(Header.frame_num);
        m_pDpb->IncreaseResetCount(&Frame);
    }
    m_PicOrder.Compute(PicOrderOf(Header), PicOrderOf(*Slice.m_pSeqParamSet));
    Frame.m_FrameNum = Header.frame_num;
    Frame.m_BottomFieldFlag[m_FieldIndex] = Header.bottom_field_flag;
    for (int Field = 0; Field < 2; ++Field) {
        if (IsField && m_FieldIndex == 1 && Field != Parity) continue;
        // The first field's count stands in for the second's until that comes.
        Frame.m_PicOrderCnt[Field] = IsField      ? m_PicOrder.m_PicOrderCnt
                                     : Field == 0 ? m_PicOrder.m_TopFieldOrderCnt
                                                  : m_PicOrder.m_BottomFieldOrderCnt;
        Frame.m_PicNum[Field] = CurrPicNum(Header);
        Frame.m_RefListResetCount[Field] = 0;
        Frame.m_IsIdr[Field] = Header.IdrPicFlag != 0;
    }
}

// A frame that no data came for, ready at once and never shown. Null when there is none to take.
H264DecoderFrame* TaskSupplier::TakeMadeUpFrame(const H264Slice& Slice)
{
    H264DecoderFrame* const pFrame = GetFreeFrame();
    if (!pFrame) return nullptr;
    m_pDpb->MoveToTail(pFrame);
    const Status Result = PrepareFrame(*pFrame, Slice);
    if (Result != StatusOk) {
        m_RefusedStatus = Result;
        DiscardFrame(pFrame);
        return nullptr;
    }
    pFrame->FillGrey();
    pFrame->ClearMbInfo();
    pFrame->m_PictureStructure = FRAME_PICTURE;
    pFrame->m_Au[0].m_Status = AuStatus::Finished;
    pFrame->m_IsDisplayable = pFrame->m_IsSkipped = true;
    pFrame->m_FrameExists = false;
    pFrame->m_BusyCount = 0;
    ++m_Progress;
    return pFrame;
}

// Clause 8.2.5.2. Without the flag of the sequence a gap is a loss, which the reference lists make good for.
Status TaskSupplier::FillFrameGaps(const H264Slice& Slice)
{
    const H264SeqParamSet& Seq = *Slice.m_pSeqParamSet;
    const SliceHeaderFields& Header = Slice.m_Header;
    const int32_t FrameNumMask = MaxFrameNum(Seq) - 1;
    const int32_t Distance = (Header.frame_num - m_PicOrder.m_PrevRefFrameNum) & FrameNumMask;
    if (Header.IdrPicFlag || Distance <= 1 || !Seq.gaps_in_frame_num_value_allowed_flag) return StatusOk;
    if (m_pCurrentFrame) { // the pictures in flight have to be finished first
        m_pCurrentFrame = nullptr;
        return StatusAllocFailed;
    }
    for (int32_t Missing = std::min(Distance - 1, m_DpbSize); Missing > 0; --Missing)
        if (!FillOneGap(Slice, (Header.frame_num - Missing) & FrameNumMask)) return StatusAllocFailed;
    m_PicOrder.m_PrevRefFrameNum = (Header.frame_num - 1) & FrameNumMask;
    return HasRoom() ? StatusOk : StatusAllocFailed;
}

bool TaskSupplier::FillOneGap(const H264Slice& Slice, int32_t FrameNum)
{
    H264DecoderFrame* const pFrame = TakeMadeUpFrame(Slice);
    if (!pFrame) return false;
    const H264SeqParamSet& Seq = *Slice.m_pSeqParamSet;
    SliceHeaderFields Header{};
    Header.frame_num = FrameNum;
    Header.nal_ref_idc = 1;
    if (Seq.pic_order_cnt_type != 0) m_PicOrder.Compute(PicOrderOf(Header), PicOrderOf(Seq));
    m_PicOrder.m_PrevRefFrameNum = m_PicOrder.m_PrevFrameNum = FrameNum;
    pFrame->m_FrameNum = FrameNum;
    m_pDpb->ComputePicNums(Header, MaxFrameNum(Seq));
    SlideWindow(*pFrame, static_cast<int32_t>(Seq.num_ref_frames));
    for (int Field = 0; Field < 2; ++Field) {
        pFrame->m_PicNum[Field] = FrameNum;
        pFrame->m_PicOrderCnt[Field] = Field == 0 ? m_PicOrder.m_TopFieldOrderCnt : m_PicOrder.m_BottomFieldOrderCnt;
        pFrame->m_IsShortTerm[Field] = true;
    }
    return true;
}

// A P or B slice with nothing to refer to gets a grey picture, so that decoding can go on. Where memory runs out the
// slice goes on without.
void TaskSupplier::MakeUpReference(const H264Slice& Slice)
try {
    const SliceHeaderFields& Header = Slice.m_Header;
    if (Header.slice_type == I_SLICE) return;
    int32_t Short = 0, Long = 0;
    m_pDpb->CountReferences(Short, Long);
    if (Short + Long != 0) return;
    H264DecoderFrame* const pFrame = TakeMadeUpFrame(Slice);
    if (!pFrame) return;
    const bool IsField = Header.field_pic_flag != 0;
    h264::PicOrderCounter Order = m_PicOrder;
    if (Slice.m_pSeqParamSet->pic_order_cnt_type != 0) {
        h264::PicOrderPicture WithoutDeltas = PicOrderOf(Header);
        WithoutDeltas.delta_pic_order_cnt[0] = WithoutDeltas.delta_pic_order_cnt[1] = 0;
        Order.Compute(WithoutDeltas, PicOrderOf(*Slice.m_pSeqParamSet));
    }
    pFrame->m_FrameNum = Header.frame_num;
    for (int Field = 0; Field < 2; ++Field) {
        pFrame->m_PicNum[Field] = CurrPicNum(Header);
        pFrame->m_IsShortTerm[Field] = true;
        pFrame->m_PicOrderCnt[Field] = IsField      ? Order.m_PicOrderCnt
                                       : Field == 0 ? Order.m_TopFieldOrderCnt
                                                    : Order.m_BottomFieldOrderCnt;
    }
} catch (const std::bad_alloc&) {
    m_RefusedStatus = StatusAllocFailed;
}

// The second field did not come: the frame is complete with its lines grey.
void TaskSupplier::CompleteMissingField(H264DecoderFrame& Frame)
{
    if (Frame.m_Au[1].m_Status != AuStatus::SecondFieldExpected) return;
    const int First = Frame.m_BottomFieldFlag[0], Missing = 1 - First;
    Frame.m_PicOrderCnt[Missing] = Frame.m_PicOrderCnt[First];
    Frame.m_IsShortTerm[Missing] = Frame.m_IsShortTerm[First];
    Frame.m_IsLongTerm[Missing] = Frame.m_IsLongTerm[First];
    Frame.m_PicNum[Missing] = h264::FieldPicNum(Frame.m_FrameNum, true);
    Frame.m_Au[1].m_Status = AuStatus::Empty;
    Frame.FillFieldGrey(Missing);
}

void TaskSupplier::FinishPicture(H264DecoderFrame& Frame, int Field)
{
    H264DecoderFrameInfo& Au = Frame.m_Au[Field];
    if (Au.m_Status > AuStatus::SecondFieldExpected || Au.m_Slices.empty()) return;
    auto pLocal = PrepareLocalMemory(Frame); // first: nothing has changed yet should memory run out
    MarkReferences(Frame, Field);
    if (SkipPicture(Frame, Field)) return;
    if (IsDeblockingUnwanted(Au.m_IsReference)) {
        Au.m_NeedsDeblocking = false;
        for (H264Slice* const pSlice : Au.m_Slices) {
            pSlice->m_Deblocked = true;
            pSlice->m_Header.disable_deblocking_filter_idc = 1;
        }
    }
    if (Field == 0) {
        Frame.ClearGlobalMbInfo();
        if (Frame.IsFieldPair()) Frame.m_TotalMbs /= 2;
    }
    OrderSliceBounds(Au);
    for (H264Slice* const pSlice : Au.m_Slices) pSlice->m_pLocal = &pLocal->Buffers();
    Frame.m_pLocalMemory = std::move(pLocal);
    Au.m_Status = AuStatus::Ready;
}

// True when the picture is not to be decoded; it is finished then.
bool TaskSupplier::SkipPicture(H264DecoderFrame& Frame, int Field)
{
    if (Frame.IsFieldPair() && Field == 0) return false;
    if (!IsSkipWanted(Frame.m_Au[0].m_IsReference || Frame.m_Au[1].m_IsReference)) return false;
    for (int i = 0; i < 2; ++i) {
        Frame.m_Au[i].m_Status = AuStatus::Finished;
        Frame.m_IsShortTerm[i] = Frame.m_IsLongTerm[i] = false;
    }
    OnDecodingDone(Frame);
    Frame.m_BusyCount = 0;
    Frame.m_IsSkipped = true;
    return true;
}

// Each slice ends where the next one begins, however damaged it is; what the first one leaves in front of it is lost.
// Of slices that begin at the same macroblock the last one counts, the others are empty: a picture's macroblocks are
// decoded once, whatever its slices state. Slices may arrive in any order. From here on they stand in that of their
// macroblocks, which deblocking has to follow. As many as macroblocks at most: the sort takes 16 comparisons of each.
void TaskSupplier::OrderSliceBounds(H264DecoderFrameInfo& Au)
{
    if (Au.m_UsesSliceGroups) return;
    auto& Slices = Au.m_Slices;
    std::sort(Slices.begin(), Slices.end(), [](const H264Slice* a, const H264Slice* b) {
        return a->m_FirstMbNumber != b->m_FirstMbNumber ? a->m_FirstMbNumber < b->m_FirstMbNumber
                                                        : a->m_SliceNumber < b->m_SliceNumber;
    });
    for (size_t i = Slices.size() - 1; i > 0; --i) Slices[i - 1]->m_MaxMbNumber = Slices[i]->m_FirstMbNumber;
    m_SegmentDecoders.front()->RestoreErrorRect(0, Slices.front()->m_FirstMbNumber, Slices.front());
}

// The records of the frame's resource. A picture that still waits for decoding keeps them; there are others then.
std::shared_ptr<LocalMbMemory> TaskSupplier::PrepareLocalMemory(const H264DecoderFrame& Frame)
{
    if (Frame.m_pLocalMemory) return Frame.m_pLocalMemory; // a second field
    std::shared_ptr<LocalMbMemory>& pMemory = m_LocalMbInfo[static_cast<size_t>(Frame.m_ResourceIndex)];
    if (!pMemory || pMemory.use_count() > 1) pMemory = std::make_shared<LocalMbMemory>();
    pMemory->Allocate(Frame.m_Format.MbCount());
    return pMemory;
}

void TaskSupplier::EndUseOf(ReleasedFrames& Released)
{
    for (H264DecoderFrame* p = m_pDpb->Head(); p; p = p->m_pNext)
        p->m_BusyCount -= std::exchange(Released[static_cast<size_t>(p->m_Index)], uint16_t{0});
}

void TaskSupplier::OnDecodingDone(H264DecoderFrame& Frame)
{
    ReleaseSlices(Frame, m_SliceHeap);
    EndUseOf(Frame.m_Released);
    m_Parameters.Settle();
    Frame.m_IsDisplayable = true;
    Frame.m_BusyCount -= 2;
    ++m_Progress;
}

} // namespace UMC
