// The decoder's frame-level logic: NAL units in, pictures out. Groups slices into pictures, keeps the decoded picture
// buffer, marks references, counts picture order, chooses the next picture to show and hands pictures to the broker.
#pragma once

#include "Common/h264/pic_order_cnt.h"
#include "decoder/jobs/segment_decoder.h"
#include "decoder/jobs/task_broker.h"
#include "decoder/picture/dpb.h"
#include "decoder/picture/local_mb_memory.h"
#include "decoder/session/skipping.h"
#include "decoder/slice/picture_slices.h"
#include "decoder/slice/slice.h"
#include "decoder/stream/headers_store.h"
#include "decoder/stream/heap.h"
#include "decoder/stream/nal_splitter.h"
#include "media/umc_video_decoder.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

class H264VideoDecoderParams;

// All of it runs on the thread that calls GetFrame; only macroblock work may run elsewhere. Functions that return a
// Status or bool may throw h264_exception and std::bad_alloc, which leave the buffer consistent.
class TaskSupplier : public Skipping
{
public:
    // pOutput describes the picture handed to the converter, *ppConverter converts it; both belong to the decoder.
    TaskSupplier(VideoData* pOutput, BaseCodec** ppConverter, MemoryAllocator* pAllocator);
    ~TaskSupplier() override;
    TaskSupplier(const TaskSupplier&) = delete;
    TaskSupplier& operator=(const TaskSupplier&) = delete;

    Status Init(const VideoDecoderParams& Params);
    void Close();
    void Reset(); // keeps threads, frames' memory and parameter sets

    // Takes units from pIn, up to a slice, and decodes what is ready; a picture that can leave goes into pOut while
    // that is empty. Without pOut it stops in front of the first slice; without pIn it decodes all that is left.
    // StatusNotEnoughData: call again while there is input, or a kept unit. 0: a unit is kept that finds no room before
    // the picture in pOut has been taken.
    Status ConsumeSource(MediaData* pIn, MediaData* pOut);
    // A unit was taken from the input that could not be placed; it comes first in the next ConsumeSource().
    bool HasKeptUnit() const;

    // Puts the next picture into pOut, a VideoData, or data size 1 for a skipped one. False when there is none to give.
    bool DeliverFrame(MediaData* pOut, bool Force);

    // Fills Params from the current parameter sets. StatusNotInitialized before there are any.
    Status GetInfo(VideoDecoderParams& Params);

    // Playback at a rate other than 1 is noted; nothing depends on it.
    void SetPlaybackRate(double Rate);

    const H264DecoderFrame* LastDisplayed() const { return m_pLastDisplayed; }
    int32_t DpbSize() const { return m_DpbSize; }
    const H264DBPList* Dpb() const { return m_pDpb.get(); }

private:
    // Units (task_supplier_units.cpp).
    struct UnitResult {
        Status m_Status = StatusOk; // other than 0 ends the call
        bool m_IsSliceUnit = false;
        bool m_IsKept = false; // to be offered again once there is room
    };
    UnitResult ConsumeUnits(MediaData* pIn, bool HeadersOnly);
    UnitResult HandleUnit(uint32_t Type, H264HeapPiece& Piece, uint32_t Offset, uint32_t Size, MediaData* pIn);
    UnitResult HandleSlice(H264HeapPiece& Piece, MediaData* pIn);
    bool IsStuck();
    bool DropReferences();
    Status HandleParameterSet(uint32_t Type, H264Bitstream& Bits);
    void HandleSei(H264Bitstream& Bits);
    void ActivateSeqParamSet(const H264SeqParamSet& Seq);

    // Slices (task_supplier_slices.cpp).
    bool AttachSlice(H264HeapPiece& Piece, MediaData* pIn);
    bool ReadSlice(H264Slice& Slice, const H264HeapPiece& Piece, MediaData* pIn);
    bool FindParameterSets(H264Slice& Slice);
    bool IsSurplus(const H264Slice& Slice, uint32_t UnitBytes) const;
    bool PlaceSlice(H264Slice& Slice);
    bool ReserveSlice(H264DecoderFrame& Frame, int Field);
    bool OpenPicture(H264Slice& Slice);
    void AppendSlice(H264Slice& Slice, uint32_t UnitBytes);
    void EndPicture(bool IsInputOver);

    // Pictures (task_supplier_pictures.cpp).
    H264DecoderFrame* GetFreeFrame();
    void DiscardFrame(H264DecoderFrame* pFrame);
    void RemoveSurplusFrames(const H264SeqParamSet& Seq);
    void RemoveOutdatedFrames();
    template <class Unwanted>
    void RemoveFrames(Unwanted&& IsUnwanted); // those of them that nobody needs
    void RemoveFrame(H264DecoderFrame* pFrame);
    H264DecoderFrame* AddFrame(H264Slice& Slice);
    Status PrepareFrame(H264DecoderFrame& Frame, const H264Slice& Slice);
    void StartPicture(H264DecoderFrame& Frame, const H264Slice& Slice);
    Status FillFrameGaps(const H264Slice& Slice);
    bool FillOneGap(const H264Slice& Slice, int32_t FrameNum);
    void MakeUpReference(const H264Slice& Slice);
    H264DecoderFrame* TakeMadeUpFrame(const H264Slice& Slice);
    void CompleteMissingField(H264DecoderFrame& Frame);
    void FinishPicture(H264DecoderFrame& Frame, int Field);
    bool SkipPicture(H264DecoderFrame& Frame, int Field);
    void OrderSliceBounds(H264DecoderFrameInfo& Au);
    std::shared_ptr<LocalMbMemory> PrepareLocalMemory(const H264DecoderFrame& Frame);
    void EndUseOf(ReleasedFrames& Released);
    void OnDecodingDone(H264DecoderFrame& Frame);
    void DropUnusableReferences(const H264DecoderFrame& Frame);

    // Reference marking, clause 8.2.5 (task_supplier_marking.cpp).
    void MarkReferences(H264DecoderFrame& Frame, int Field);
    void MarkIdr(H264DecoderFrame& Frame, const SliceHeaderFields& Header);
    void RunMarkingCommands(H264DecoderFrame& Frame, const SliceHeaderFields& Header, const AdaptiveMarking& Marking,
                            int32_t MaxFrameNum);
    void MakeLongTerm(H264DecoderFrame& Frame, const SliceHeaderFields& Header, uint32_t Idx);
    void FreeShortTerm(int32_t PicNum, bool IsField);
    void FreeLongTerm(int32_t LongTermPicNum, bool IsField);
    void FreeLongTermByIdx(int32_t Idx, const H264DecoderFrame* pExcept);
    void FreeLongTermAbove(int32_t MaxIdx);
    void RemoveAllReferences(const H264DecoderFrame* pExcept);
    void ConvertToLongTerm(int32_t PicNum, uint32_t Idx, bool IsField);
    void ApplyMemoryReset(H264DecoderFrame& Frame, const SliceHeaderFields& Header);
    void SlideWindow(const H264DecoderFrame& Frame, int32_t MaxReferences);
    void ReleaseReference(H264DecoderFrame* pFrame, bool Force);

    // Decoding and output (task_supplier.cpp, task_supplier_output.cpp).
    Status DriveDecoding(MediaData* pIn, MediaData* pOut, bool Force);
    void AdvanceUncompleted();
    int32_t MaxFrames() const; // beyond which no frame is made
    bool HasRoom() const;
    H264DecoderFrame* PickFrameForOutput(bool Force);
    Status ConvertFrame(const H264DecoderFrame& Frame, VideoData& Out);
    Status ShapeOutput(const H264DecoderFrame& Frame);
    Status DescribeOutput(const H264DecoderFrame& Frame);
    bool IsInFlight() const;
    bool IsFilling() const { return m_pCurrentFrame && m_pCurrentFrame->m_BusyCount >= 2; }

    H264_Heap m_NalHeap;
    SlicePool m_SliceHeap;
    MemoryAllocator* m_pAllocator;
    std::unique_ptr<NALUnitSplitter> m_pSplitter;
    std::unique_ptr<H264DBPList> m_pDpb;
    std::unique_ptr<TaskBroker> m_pBroker;
    std::vector<std::unique_ptr<H264SegmentDecoderMultiThreaded>> m_SegmentDecoders; // one a thread
    int32_t m_ThreadCount = 0;

    Headers m_Parameters;
    H264PicParamSet m_PicParamSetScratch; // large: not for the stack
    SliceHeaderTables m_SliceTables;      // of the slice in hand
    bool m_HaveSeqSet = false, m_HavePicSet = false;
    int32_t m_CurrentSeqSetId = -1, m_CurrentPicSetId = -1;
    H264SEIPayLoad m_PendingUserData;  // for the next new frame
    Status m_RefusedStatus = StatusOk; // why the last slice cannot be decoded at all

    // Counts what may make room: pictures decoded, delivered, passed over or made up, references dropped. A kept unit
    // that is refused twice at the same count will never be taken.
    uint64_t m_Progress = 0;
    uint64_t m_RefusedAt = kNeverRefused; // m_Progress when the kept unit was refused last
    static constexpr uint64_t kNeverRefused = UINT64_MAX;

    h264::PicOrderCounter m_PicOrder;
    int32_t m_MaxLongTermFrameIdx = -1; // -1: no long-term indices
    int32_t m_FieldIndex = 0;           // 0 while the first field or a frame is filled, 1 for a second field
    bool m_WaitForRandomAccess = true;  // until the first picture that decoding may start with

    double m_LocalTime = 0.0;   // seconds; for the next picture that comes without a time
    double m_FrameTime = 0.0;   // seconds a frame
    int32_t m_PlaybackMode = 1; // 2 at a rate other than 1

    H264DecoderFrame* m_pFirstUncompleted = nullptr; // first in list order whose decoding is not finished
    H264DecoderFrame* m_pCurrentFrame = nullptr;     // being filled with slices
    H264DecoderFrame* m_pLastDisplayed = nullptr;
    ReleasedFrames m_LocalReleased{}; // for the next picture

    std::vector<std::shared_ptr<LocalMbMemory>> m_LocalMbInfo; // by resource index; null until the first use
    int32_t m_NextResource = 0;
    int32_t m_FrameUid = 0;

    int32_t m_DpbSize = 1;      // frames, by level
    int32_t m_DisplayDelay = 1; // 0 from the first sequence parameter set on: latency goes before order
    int32_t m_SpareFrames = 1;

    VideoData* m_pOutput;
    BaseCodec** m_ppConverter;
};

} // namespace UMC
