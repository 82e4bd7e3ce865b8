#include "decoder/session/task_supplier.h"

#include "decoder/session/video_decoder.h"
#include "decoder/stream/seq_info.h"
#include "media/os/os_system.h"

#include <algorithm>
#include <cmath>

namespace UMC {

namespace {

constexpr int32_t kMaxThreads = 8;
constexpr uint32_t kSubtypeMP4 = 8; // stream subtype of samples with length fields
constexpr double kDefaultFrameTime = 1.0 / 30.0;
constexpr double kRateTolerance = 0.0001;
constexpr size_t kMinInput = 4; // bytes that are left alone at the end of an input

bool IsEmpty(const MediaData* pOut) { return pOut && pOut->GetDataSize() == 0; }

int32_t ThreadCountOf(int32_t Wanted)
{
    const int32_t Count = std::clamp(Wanted, 0, kMaxThreads);
    return Count != 0 ? Count : static_cast<int32_t>(os_processor_count());
}

} // namespace

TaskSupplier::TaskSupplier(VideoData* pOutput, BaseCodec** ppConverter, MemoryAllocator* pAllocator)
    : m_pAllocator(pAllocator), m_pOutput(pOutput), m_ppConverter(ppConverter)
{
}

TaskSupplier::~TaskSupplier() { Close(); }

Status TaskSupplier::Init(const VideoDecoderParams& Params)
{
    Close();
    m_ThreadCount = ThreadCountOf(Params.m_NumThreads);
    m_pDpb = std::make_unique<H264DBPList>();
    if (Params.m_Info.m_StreamSubtype == kSubtypeMP4) {
        m_pSplitter = std::make_unique<NALUnitSplitterMP4>(&m_NalHeap);
    } else {
        m_pSplitter = std::make_unique<NALUnitSplitter>(&m_NalHeap);
    }
    m_pSplitter->Init();
    m_pBroker = std::make_unique<TaskBrokerSingleThread>();
    m_pBroker->Init(m_ThreadCount);
    for (int32_t Thread = 0; Thread < m_ThreadCount; ++Thread) {
        m_SegmentDecoders.push_back(std::make_unique<H264SegmentDecoderMultiThreaded>(m_pBroker.get(), m_pDpb.get()));
        if (m_SegmentDecoders.back()->Init(Thread) != StatusOk) return StatusInitFailed;
    }
    m_LocalMbInfo.resize(static_cast<size_t>(m_ThreadCount) * 2);
    const double Rate = Params.m_Info.m_FrameRate;
    m_FrameTime = Rate != 0.0 ? 1.0 / Rate : kDefaultFrameTime;
    m_SpareFrames = m_ThreadCount + 1;
    SetPlaybackRate(Params.m_PlaybackRate);
    return StatusOk;
}

void TaskSupplier::SetPlaybackRate(double Rate) { m_PlaybackMode = std::abs(Rate - 1.0) <= kRateTolerance ? 1 : 2; }

void TaskSupplier::Reset()
{
    if (!m_pBroker) return; // nor is there all of what Init makes before it
    m_pBroker->Reset();
    for (H264DecoderFrame* p = m_pDpb->Head(); p; p = p->m_pNext) DiscardFrame(p);
    m_LocalReleased = {};
    m_pSplitter->Reset();
    m_Parameters.Reset(true);
    ResetSkipping();
    m_SliceHeap.Reset();
    m_NalHeap.Reset();
    m_PendingUserData = H264SEIPayLoad{};
    m_PicOrder.Reset();
    m_LocalTime = 0.0;
    m_FieldIndex = 0;
    m_MaxLongTermFrameIdx = -1;
    m_pFirstUncompleted = m_pCurrentFrame = m_pLastDisplayed = nullptr;
    m_WaitForRandomAccess = true;
    m_RefusedAt = kNeverRefused;
    m_pBroker->Init(m_ThreadCount);
}

void TaskSupplier::Close()
{
    Reset();
    m_SegmentDecoders.clear();
    m_pBroker.reset();
    m_Parameters.Reset(false);
    m_pSplitter.reset();
    m_pDpb.reset();
    m_SliceHeap.Reset();
    m_LocalMbInfo.clear();
    m_HaveSeqSet = m_HavePicSet = false;
    m_CurrentSeqSetId = m_CurrentPicSetId = -1;
    m_DpbSize = m_DisplayDelay = m_SpareFrames = 1;
    m_NextResource = m_FrameUid = 0;
}

bool TaskSupplier::HasKeptUnit() const { return m_pSplitter->HasCurrent(); }

Status TaskSupplier::ConsumeSource(MediaData* pIn, MediaData* pOut)
{
    if (IsEmpty(pOut) && (HasKeptUnit() || !HasRoom())) DeliverFrame(pOut, false);
    bool IsForced = false;
    UnitResult Unit;
    do {
        Unit = ConsumeUnits(pIn, pIn && !pOut);
        if (Unit.m_Status != StatusOk) return Unit.m_Status;
        IsForced |= Unit.m_IsKept;
    } while (!Unit.m_IsSliceUnit && pIn && pIn->GetDataSize() > kMinInput);
    if (pIn) {
        const Status Result = DriveDecoding(pIn, pOut, IsForced);
        const bool Waits = Result == StatusNotEnoughData && HasKeptUnit() && m_RefusedAt == m_Progress;
        return Waits && pOut && !IsEmpty(pOut) ? StatusOk : Result;
    }

    EndPicture(true);
    if (!m_pFirstUncompleted && IsFilling()) m_pFirstUncompleted = m_pCurrentFrame;
    m_pCurrentFrame = nullptr;
    Status Result = StatusOk;
    while (Result == StatusOk && m_pFirstUncompleted) Result = DriveDecoding(nullptr, nullptr, true);
    return Result;
}

void TaskSupplier::AdvanceUncompleted()
{
    const AutomaticMutex Hold(m_pBroker->Guard());
    const auto IsDecoded = [](const H264DecoderFrame& Frame) {
        const H264DecoderFrameInfo& Second = Frame.m_Au[1];
        return IsComplete(Frame.m_Au[0]) &&
               (!Frame.IsFieldPair() || Second.m_Status == AuStatus::Empty || IsComplete(Second));
    };
    for (; m_pFirstUncompleted; m_pFirstUncompleted = m_pFirstUncompleted->m_pNext) {
        H264DecoderFrame& Frame = *m_pFirstUncompleted;
        if (Frame.m_IsDisplayable || Frame.m_BusyCount < 2) continue; // done before, or made up
        if (!IsDecoded(Frame)) return;
        OnDecodingDone(Frame);
    }
    if (!IsInFlight()) EndUseOf(m_LocalReleased); // no picture is left that they would have to wait for
}

Status TaskSupplier::DriveDecoding(MediaData* pIn, MediaData* pOut, bool Force)
{
    AdvanceUncompleted();
    if (!m_pBroker->PrepareFrames(m_pFirstUncompleted, Force || !pIn)) {
        if (!pIn) m_pFirstUncompleted = nullptr;
        return StatusNotEnoughData;
    }
    m_pBroker->Start(m_pFirstUncompleted, Force || !pIn);
    if (pIn && IsEmpty(pOut)) DeliverFrame(pOut, false);
    const Status Result = m_SegmentDecoders.front()->ProcessSegment();
    AdvanceUncompleted();
    return Result == StatusOk && pIn ? StatusNotEnoughData : Result;
}

Status TaskSupplier::GetInfo(VideoDecoderParams& Params)
{
    const H264SeqParamSet* const pSeq = m_Parameters.m_SeqParamSets.Get(m_CurrentSeqSetId);
    const H264PicParamSet* const pPic = m_Parameters.m_PicParamSets.Get(m_CurrentPicSetId);
    if (!pSeq || !pPic) return StatusNotInitialized;
    FillStreamInfo(*pSeq, Params.m_Info);
    Params.m_Info.m_FrameRate = m_FrameTime != 0.0 ? 1.0 / m_FrameTime : 0.0;
    Params.m_NumThreads = m_ThreadCount;
    m_DpbSize = DpbFrames(*pSeq);
    if (auto* const pH264 = DynamicCast<H264VideoDecoderParams>(&Params)) {
        pH264->m_EntropyMode = pPic->entropy_coding_mode_flag;
        pH264->m_RequiredFrames = static_cast<uint32_t>(m_DpbSize + m_SpareFrames);
        pH264->m_CodedWidth = pSeq->frame_width_in_mbs * 16;
        pH264->m_CodedHeight = pSeq->frame_height_in_mbs * 16;
    }
    return StatusOk;
}

} // namespace UMC
