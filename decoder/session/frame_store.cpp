#include "decoder/session/frame_store.h"

#include "decoder/stream/seq_info.h"

#include <algorithm>
#include <memory>

namespace UMC {

namespace {

int32_t CropSamples(uint32_t Unit, uint32_t Offset)
{
    return static_cast<int32_t>(std::min<uint64_t>(uint64_t{Unit} * Offset, INT32_MAX / 4));
}

int32_t FrameTypeOf(SliceType Type) { return Type == SLICE_I ? I_PICTURE : Type == SLICE_B ? B_PICTURE : P_PICTURE; }

Status AllocateFrame(H264DecoderFrame& Frame, const PictureFormat& Format)
{
    Status Result = Frame.Allocate(Format);
    if (Result != StatusOk) return Result;
    Result = Frame.AllocateMbInfo(Format.MbCount());
    if (Result != StatusOk) Frame.Release(); // samples without records are of no use, not even to patch holes from
    return Result;
}

void DescribeFrame(H264DecoderFrame& Frame, const H264Slice& Slice)
{
    const H264SeqParamSet& Seq = *Slice.m_pSeqParamSet;
    const SliceHeaderFields& Header = Slice.m_Header;
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
}

} // namespace

int32_t FrameStore::MaxFrames() const
{
    // A stream may use more references than its level allows; without room for them no picture could ever be added.
    const H264SeqParamSet* const pSeq = m_Headers.CurrentSeqParamSet();
    const int32_t References = pSeq ? static_cast<int32_t>(pSeq->num_ref_frames) : 0;
    // Each needs an index, however many threads the spare ones are for.
    return std::min(std::max(m_DpbSize, References) + m_SpareFrames + 1, kMaxFrames);
}

bool FrameStore::HasRoom() const { return m_Dpb.CountAll() < MaxFrames() || m_Dpb.FindOldestDisposable(); }

H264DecoderFrame* FrameStore::GetFreeFrame()
{
    H264DecoderFrame* pFrame = m_Dpb.FindOldestDisposable();
    if (!pFrame) {
        if (!HasRoom()) return nullptr;
        auto pNew = std::make_unique<H264DecoderFrame>();
        pNew->SetAllocator(m_pAllocator);
        pNew->m_Index = m_Dpb.FreeIndex();
        pFrame = pNew.release();
        m_Dpb.Append(pFrame);
    }
    ResetFrame(*pFrame, m_SliceHeap);
    m_Frames.Forget(pFrame);
#if defined(QUILVEX_TRACE)
    pFrame->m_Uid = ++m_FrameUid;
#endif
    return pFrame;
}

H264DecoderFrame* FrameStore::PrepareFrame(const H264Slice& Slice, Status& Refused)
{
    H264DecoderFrame* const pFrame = GetFreeFrame();
    if (!pFrame) return nullptr;
    m_Dpb.MoveToTail(pFrame);
    const Status Result = AllocateFrame(*pFrame, PictureFormat::Of(*Slice.m_pSeqParamSet));
    if (Result != StatusOk) {
        Refused = Result;
        DiscardFrame(*pFrame);
        return nullptr;
    }
    DescribeFrame(*pFrame, Slice);
    return pFrame;
}

H264DecoderFrame* FrameStore::TakeFrame(const H264Slice& Slice, Status& Refused)
{
    H264DecoderFrame* const pFrame = PrepareFrame(Slice, Refused);
    if (pFrame) pFrame->m_BusyCount = 2;
    return pFrame;
}

H264DecoderFrame* FrameStore::TakeMadeUpFrame(const H264Slice& Slice, Status& Refused)
{
    H264DecoderFrame* const pFrame = PrepareFrame(Slice, Refused);
    if (!pFrame) return nullptr;
    pFrame->FillGrey();
    pFrame->ClearMbInfo();
    pFrame->m_PictureStructure = FRAME_PICTURE;
    pFrame->m_Au[0].m_Status = AuStatus::Finished;
    pFrame->m_IsDisplayable = pFrame->m_IsSkipped = true;
    pFrame->m_FrameExists = false;
    ++m_Frames.Progress;
    return pFrame;
}

H264DecoderFrame* FrameStore::TakeAuxiliary(H264DecoderFrame& Primary, const H264Slice& Slice, Status& Refused)
{
    if (!Primary.m_pAuxiliary) {
        Primary.m_pAuxiliary = std::make_unique<H264DecoderFrame>();
        Primary.m_pAuxiliary->SetAllocator(m_pAllocator);
        Primary.m_pAuxiliary->m_pPrimary = &Primary;
    }
    H264DecoderFrame& Frame = *Primary.m_pAuxiliary;
    if (!Frame.HasSlices()) {
        Refused = AllocateFrame(Frame, PictureFormat::Of(*Slice.m_pSeqParamSet));
        if (Refused != StatusOk) return nullptr;
        Frame.FillChromaGrey();
        Frame.m_Index = Primary.m_Index;
        Frame.m_PictureStructure = Primary.m_PictureStructure;
    }
    return &Frame;
}

void FrameStore::DiscardFrame(H264DecoderFrame& Frame)
{
    ResetFrame(Frame, m_SliceHeap);
    Frame.m_WasOutputted = true;
}

void FrameStore::RemoveFrame(H264DecoderFrame* pFrame)
{
    m_Frames.Forget(pFrame);
    if (m_Output.GetPlaneCount() > 0 && m_Output.Plane(0) == pFrame->m_pPlaneY) m_Output.Close(); // its samples go
    ResetFrame(*pFrame, m_SliceHeap);
    m_Dpb.Remove(pFrame);
}

template <class Unwanted>
void FrameStore::RemoveFrames(Unwanted&& IsUnwanted)
{
    for (H264DecoderFrame *p = m_Dpb.Head(), *pNext; p; p = pNext) {
        pNext = p->m_pNext;
        if (H264DBPList::IsDisposable(*p) && p != m_Frames.FirstUncompleted && IsUnwanted(*p)) RemoveFrame(p);
    }
}

// Gives back the frames of an old size or format, and those that a smaller buffer size has no use for.
void FrameStore::RemoveSurplusFrames(const H264SeqParamSet& Seq)
{
    const PictureFormat Format = PictureFormat::Of(Seq);
    RemoveFrames([&](const H264DecoderFrame& Frame) { return Frame.m_Format != Format; });
    int32_t Surplus = m_Dpb.CountAll() - MaxFrames();
    RemoveFrames([&](const H264DecoderFrame&) { return Surplus-- > 0; });
}

void FrameStore::RemoveOutdatedFrames()
{
    const H264DecoderFrame* const pNewest = m_Dpb.Tail();
    RemoveFrames([&](const H264DecoderFrame& Frame) { return Frame.m_Format != pNewest->m_Format; });
}

void FrameStore::Reset()
{
    for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext) DiscardFrame(*p);
    m_SliceHeap.Reset();
}

void FrameStore::Close()
{
    Reset();
    m_Dpb.Clear();
    m_DpbSize = m_SpareFrames = 1;
}

} // namespace UMC
