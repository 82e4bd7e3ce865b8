#include "decoder/session/task_supplier.h"

#include "Common/h264/nal_unit_type.h"
#include "decoder/jobs/segment_decoder_hp.h"
#include "decoder/jobs/task_broker_single_thread.h"
#include "decoder/session/picture_border.h"
#include "decoder/session/video_decoder.h"
#include "decoder/stream/nal_splitter_mp4.h"
#include "decoder/stream/seq_info.h"

#include <algorithm>
#include <cmath>

namespace UMC {

namespace {

constexpr int32_t kMaxThreads = 8;
constexpr uint32_t kSubtypeMP4 = 8; // stream subtype of samples with length fields
constexpr double kDefaultFrameTime = 1.0 / 30.0;
constexpr double kRateTolerance = 0.0001;

bool IsEmpty(const MediaData* pOut) { return pOut && pOut->GetDataSize() == 0; }

bool IsSliceData(uint32_t Type)
{
    return (Type >= h264::NAL_SLICE && Type <= h264::NAL_IDR_SLICE) || Type == h264::NAL_AUXILIARY_SLICE;
}

// Deliberate: the limit holds for a number that was asked for, not for that of the processors.
int32_t ThreadCountOf(int32_t Wanted, uint32_t (*pProcessorCount)())
{
    const int32_t Count = std::clamp(Wanted, 0, kMaxThreads);
    return Count != 0 ? Count : static_cast<int32_t>(pProcessorCount());
}

} // namespace

TaskSupplier::TaskSupplier(VideoData* pOutput, BaseCodec** ppConverter, MemoryAllocator* pAllocator,
                           uint32_t (*pProcessorCount)())
    : m_Store(m_Frames, m_Headers, *pOutput, pAllocator), m_Work(m_Frames, m_Store, m_Headers),
      m_Assembly(m_Frames, m_Store, m_Work, m_Headers, *this, m_SegmentDecoders),
      m_Output(m_Frames, m_Store, *pOutput, ppConverter), m_pProcessorCount(pProcessorCount)
{
}

TaskSupplier::~TaskSupplier() { Close(); }

Status TaskSupplier::Init(const VideoDecoderParams& Params)
{
    Close();
    m_ThreadCount = ThreadCountOf(Params.m_NumThreads, m_pProcessorCount);
    if (Params.m_Info.m_StreamSubtype == kSubtypeMP4) {
        m_pSplitter = std::make_unique<NALUnitSplitterMP4>(&m_NalHeap);
    } else {
        m_pSplitter = std::make_unique<NALUnitSplitter>(&m_NalHeap);
    }
    m_pSplitter->Init();
    m_pBroker = std::make_unique<TaskBrokerSingleThread>();
    m_pBroker->Init(m_ThreadCount);
    for (int32_t Thread = 0; Thread < m_ThreadCount; ++Thread) {
        m_SegmentDecoders.push_back(std::make_unique<H264SegmentDecoderMultiThreaded>(m_pBroker.get(), &m_Store.Dpb()));
        if (m_SegmentDecoders.back()->Init(Thread) != StatusOk) return StatusInitFailed;
    }
    m_Assembly.Init(m_ThreadCount);
    const double Rate = Params.m_Info.m_FrameRate;
    m_Output.SetFrameTime(Rate != 0.0 ? 1.0 / Rate : kDefaultFrameTime);
    m_Store.SetSpareFrames(m_ThreadCount + 1);
    SetPlaybackRate(Params.m_PlaybackRate);
    return StatusOk;
}

void TaskSupplier::SetPlaybackRate(double Rate) { m_PlaybackMode = std::abs(Rate - 1.0) <= kRateTolerance ? 1 : 2; }

void TaskSupplier::Reset()
{
    if (!m_pBroker) return; // nor is there all of what Init makes before it
    m_pBroker->Reset();
    m_Store.Reset();
    m_Work.Reset();
    m_pSplitter->Reset();
    m_Headers.Reset();
    ResetSkipping();
    m_NalHeap.Reset();
    m_Assembly.Reset();
    m_Output.Reset();
    m_RefusedAt = kNeverRefused;
    m_pBroker->Init(m_ThreadCount);
}

void TaskSupplier::Close()
{
    Reset();
    m_SegmentDecoders.clear();
    m_pBroker.reset();
    m_pSplitter.reset();
    m_Headers.Close();
    m_Store.Close();
    m_Assembly.Close();
    m_Output.Close();
}

Status TaskSupplier::ConsumeSource(MediaData* pIn, MediaData* pOut)
{
    if (IsEmpty(pOut) && !m_Store.HasRoom()) DeliverFrame(pOut, false);
    bool IsForced = false;
    UnitResult Unit;
    do {
        Unit = ConsumeUnits(pIn, pIn && !pOut);
        if (Unit.Ended != StatusOk) return Unit.Ended;
        IsForced |= Unit.IsKept;
    } while (!Unit.IsSliceUnit && pIn && pIn->GetDataSize() > kMinInput);
    if (!pIn) return FinishAll();
    const Status Result = DriveDecoding(pIn, pOut, IsForced);
    const bool Waits = Result == StatusNotEnoughData && HasKeptUnit() && m_RefusedAt == m_Frames.Progress;
    return Waits && pOut && !IsEmpty(pOut) ? StatusOk : Result;
}

// The input is over.
Status TaskSupplier::FinishAll()
{
    m_Assembly.EndInput();
    Status Result = StatusOk;
    while (Result == StatusOk && m_Frames.FirstUncompleted) Result = DriveDecoding(nullptr, nullptr, true);
    return Result;
}

TaskSupplier::UnitResult TaskSupplier::ConsumeUnits(MediaData* pIn, bool HeadersOnly)
{
    if (HeadersOnly && IsSliceData(static_cast<uint32_t>(m_pSplitter->CheckNalUnitType(pIn))))
        return {.Ended = StatusNotEnoughData};
    MediaDataEx* pUnits = nullptr;
    H264HeapPiece* const pPiece = m_pSplitter->GetNalUnits(pIn, pUnits);
    if (!pPiece) return {.Ended = pIn ? StatusSyncFailed : StatusOk};

    UnitResult Result;
    const MediaDataEx::_MediaDataEx& Units = *pUnits->GetExData();
    try {
        for (uint32_t i = 0; i < Units.Count && Result.Ended == StatusOk;
             ++i) { // a slice that was taken clears the count
            const uint32_t Offset = Units.Offsets[i];
            Result = HandleUnit(Units.Values[i], *pPiece, Offset, Units.Offsets[i + 1] - Offset, pIn);
        }
    } catch (...) { // memory ran out: the unit is lost, what follows is not
        m_pSplitter->ReleaseCurrent();
        throw;
    }
    if (!Result.IsKept) m_pSplitter->ReleaseCurrent();
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
    case h264::NAL_AUXILIARY_SLICE: return HandleAuxiliarySlice(Piece);
    case h264::NAL_SEI: m_Headers.ReadSei(Bits); return {};
    case h264::NAL_SEQ_PARAM_SET:
    case h264::NAL_PIC_PARAM_SET:
    case h264::NAL_SEQ_PARAM_SET_EXTENSION: return {.Ended = HandleParameterSet(Type, Bits)};
    case h264::NAL_DELIMITER: m_Assembly.EndPicture(); return {};
    default: return {};
    }
}

Status TaskSupplier::HandleParameterSet(uint32_t Type, H264Bitstream& Bits)
{
    const Status Result = m_Headers.ReadParameterSet(Type, Bits, !m_Frames.IsInFlight());
    if (Result != StatusOk || Type != h264::NAL_SEQ_PARAM_SET || !m_Headers.CurrentSeqParamSet()) return Result;
    m_Store.SetDpbSize(DpbFrames(*m_Headers.CurrentSeqParamSet()));
    m_Output.EndDisplayDelay();
    return StatusOk;
}

TaskSupplier::UnitResult TaskSupplier::HandleSlice(H264HeapPiece& Piece, MediaData* pIn)
{
    Status Refused = StatusOk; // why the slice cannot be decoded at all
    const bool IsTaken = AttachSlice(Piece, pIn, Refused);
    UnitResult Result{.Ended = Refused, .IsSliceUnit = true, .IsKept = false};
    // A slice for which there is no room stays for the next call: decoding or delivery may make room meanwhile.
    Result.IsKept = !IsTaken && Refused == StatusOk && m_pSplitter->HasCurrent();
    if (Result.IsKept && IsStuck()) Result.IsKept = DropReferences();
    m_RefusedAt = Result.IsKept ? m_Frames.Progress : kNeverRefused;
    return Result;
}

// It goes with the picture in hand or nowhere: no primary picture begins, ends or leaves on its account.
TaskSupplier::UnitResult TaskSupplier::HandleAuxiliarySlice(H264HeapPiece& Piece)
{
    const H264Slice* const pPrimary = m_Assembly.FirstInHand();
    const auto ToHeap = [this](H264Slice* pSlice) { m_Store.Slices().Free(pSlice); };
    std::unique_ptr<H264Slice, decltype(ToHeap)> pSlice(m_Store.Slices().Allocate(), ToHeap);
    if (!pPrimary || !m_Headers.ReadAuxiliarySlice(*pSlice, Piece, *pPrimary)) return {};
    const SliceHeaderFields& Header = pSlice->m_Header;
    if (!FindSegmentDecoder(*pSlice->m_pSeqParamSet, Header.field_pic_flag != 0, Header.MbaffFrameFlag != 0)) return {};
    bool Detached = false;
    const uint32_t UnitBytes = pSlice->KeepUnit(Piece, MaxUnitBytes(*pSlice), Detached);
    Status Refused = StatusOk;
    if (!m_Assembly.PlaceAuxiliarySlice(*pSlice, UnitBytes, Refused)) return {.Ended = Refused};
    H264Slice& Slice = *pSlice.release();
    m_Assembly.AppendAuxiliarySlice(Slice, UnitBytes);
    if (Detached) {
        Slice.m_pNalHeap = &m_NalHeap;
        Slice.m_pNalPiece = &Piece;
        m_pSplitter->DetachCurrent();
    }
    return {};
}

// True when the slice was placed in its picture. Else its unit is released when it is no use keeping it.
bool TaskSupplier::AttachSlice(H264HeapPiece& Piece, MediaData* pIn, Status& Refused)
{
    const auto ToHeap = [this](H264Slice* pSlice) { m_Store.Slices().Free(pSlice); };
    std::unique_ptr<H264Slice, decltype(ToHeap)> pSlice(m_Store.Slices().Allocate(), ToHeap);
    if (!m_Headers.ReadSlice(*pSlice, Piece, pIn ? pIn->GetTime() : -1.0)) {
        m_pSplitter->ReleaseCurrent();
        return false;
    }
    const SliceHeaderFields& Header = pSlice->m_Header;
    if (!FindSegmentDecoder(*pSlice->m_pSeqParamSet, Header.field_pic_flag != 0, Header.MbaffFrameFlag != 0)) {
        Refused = StatusUnsupported;
        return false;
    }
    bool Detached = false;
    const uint32_t UnitBytes = pSlice->KeepUnit(Piece, MaxUnitBytes(*pSlice), Detached);
    if (m_Assembly.IsSurplus(*pSlice, UnitBytes)) {
        m_pSplitter->ReleaseCurrent();
        return false;
    }
    if (!m_Assembly.PlaceSlice(*pSlice, Refused)) return false;

    H264Slice& Slice = *pSlice.release();
    m_Assembly.AppendSlice(Slice, UnitBytes, Refused);
    if (Detached) {
        Slice.m_pNalHeap = &m_NalHeap;
        Slice.m_pNalPiece = &Piece;
        m_pSplitter->DetachCurrent();
    } else {
        m_pSplitter->ReleaseCurrent();
    }
    return true;
}

// Nothing moves any more: the unit was refused before, nothing has happened since, and no picture can leave.
bool TaskSupplier::IsStuck() { return m_RefusedAt == m_Frames.Progress && !m_Output.PickFrameForOutput(false); }

// Every frame is held by references that the stream should have released. They go, and decoding starts anew at the next
// picture that it may start with, which may be the one that found no room. False when there were none.
bool TaskSupplier::DropReferences()
{
    if (!m_Store.Dpb().HasReferences()) return false;
    m_Assembly.Marking().RemoveAllReferences(nullptr);
    m_Headers.WaitForRandomAccess(true);
    return true;
}

Status TaskSupplier::DriveDecoding(MediaData* pIn, MediaData* pOut, bool Force)
{
    m_Work.Advance(m_pBroker->Guard());
    if (!m_pBroker->PrepareFrames(m_Frames.FirstUncompleted, Force || !pIn)) {
        if (!pIn) m_Work.GiveUp();
        return StatusNotEnoughData;
    }
    m_pBroker->Start(m_Frames.FirstUncompleted, Force || !pIn);
    if (pIn && IsEmpty(pOut)) DeliverFrame(pOut, false);
    const Status Result = m_SegmentDecoders.front()->ProcessSegment();
    m_Work.Advance(m_pBroker->Guard());
    return Result == StatusOk && pIn ? StatusNotEnoughData : Result;
}

Status TaskSupplier::GetInfo(VideoDecoderParams& Params)
{
    const H264SeqParamSet* const pSeq = m_Headers.CurrentSeqParamSet();
    const H264PicParamSet* const pPic = m_Headers.CurrentPicParamSet();
    if (!pSeq || !pPic) return StatusNotInitialized;
    FillStreamInfo(*pSeq, Params.m_Info);
    const double FrameTime = m_Output.FrameTime();
    Params.m_Info.m_FrameRate = FrameTime != 0.0 ? 1.0 / FrameTime : 0.0;
    Params.m_NumThreads = m_ThreadCount;
    m_Store.SetDpbSize(DpbFrames(*pSeq));
    if (auto* const pH264 = DynamicCast<H264VideoDecoderParams>(&Params)) {
        pH264->m_EntropyMode = pPic->entropy_coding_mode_flag;
        pH264->m_RequiredFrames = static_cast<uint32_t>(m_Store.DpbSize() + m_Store.SpareFrames());
        pH264->m_CodedWidth = pSeq->frame_width_in_mbs * 16;
        pH264->m_CodedHeight = pSeq->frame_height_in_mbs * 16;
    }
    return StatusOk;
}

} // namespace UMC
