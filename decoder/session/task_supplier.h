// The decoder's frame-level logic: NAL units in, pictures out. Takes units from the input, gives each to the class that
// it is for, and drives the decoding of complete pictures.
#pragma once

#include "decoder/jobs/task_broker.h"
#include "decoder/session/frame_store.h"
#include "decoder/session/frames_in_hand.h"
#include "decoder/session/picture_assembly.h"
#include "decoder/session/picture_output.h"
#include "decoder/session/pictures_in_work.h"
#include "decoder/session/skipping.h"
#include "decoder/session/stream_headers.h"
#include "decoder/stream/heap.h"
#include "decoder/stream/nal_splitter.h"
#include "media/os/os_system.h"
#include "media/umc_video_decoder.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace UMC {

// Bytes that are left alone at the end of an input: less than a start code with a unit behind it.
inline constexpr size_t kMinInput = 4;

// All of it runs on the thread that calls GetFrame; only macroblock work may run elsewhere. Functions that return a
// Status or bool may throw h264_exception and std::bad_alloc, which leave the buffer consistent.
class TaskSupplier : public Skipping
{
public:
    // pOutput describes the picture handed to the converter, *ppConverter converts it; both belong to the decoder.
    // pProcessorCount tells the threads of a decoder that is not told how many.
    TaskSupplier(VideoData* pOutput, BaseCodec** ppConverter, MemoryAllocator* pAllocator,
                 uint32_t (*pProcessorCount)() = os_processor_count);
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
    bool HasKeptUnit() const { return m_pSplitter->HasCurrent(); }

    // Puts the next picture into pOut, a VideoData, or data size 1 for a skipped one. False when there is none to give.
    bool DeliverFrame(MediaData* pOut, bool Force) { return m_Output.DeliverFrame(pOut, Force); }

    // Fills Params from the current parameter sets. StatusNotInitialized before there are any.
    Status GetInfo(VideoDecoderParams& Params);

    // Playback at a rate other than 1 is noted; nothing depends on it.
    void SetPlaybackRate(double Rate);

    const H264DecoderFrame* LastDisplayed() const { return m_Frames.LastDisplayed; }
    int32_t DpbSize() const { return m_Store.DpbSize(); }
    const H264DBPList* Dpb() const { return &m_Store.Dpb(); }

private:
    struct UnitResult {
        Status Ended = StatusOk; // other than 0 ends the call
        bool IsSliceUnit = false;
        bool IsKept = false; // to be offered again once there is room
    };
    UnitResult ConsumeUnits(MediaData* pIn, bool HeadersOnly);
    UnitResult HandleUnit(uint32_t Type, H264HeapPiece& Piece, uint32_t Offset, uint32_t Size, MediaData* pIn);
    UnitResult HandleSlice(H264HeapPiece& Piece, MediaData* pIn);
    UnitResult HandleAuxiliarySlice(H264HeapPiece& Piece);
    Status HandleParameterSet(uint32_t Type, H264Bitstream& Bits);
    bool AttachSlice(H264HeapPiece& Piece, MediaData* pIn, Status& Refused);
    bool IsStuck();
    bool DropReferences();
    Status DriveDecoding(MediaData* pIn, MediaData* pOut, bool Force);
    Status FinishAll();

    H264_Heap m_NalHeap;
    std::unique_ptr<NALUnitSplitter> m_pSplitter;
    std::unique_ptr<TaskBroker> m_pBroker;
    SegmentDecoders m_SegmentDecoders;

    StreamHeaders m_Headers;
    FramesInHand m_Frames;
    FrameStore m_Store;
    PicturesInWork m_Work;
    PictureAssembly m_Assembly;
    PictureOutput m_Output;

    uint32_t (*const m_pProcessorCount)();
    int32_t m_ThreadCount = 0;
    int32_t m_PlaybackMode = 1; // 2 at a rate other than 1
    // m_Frames.Progress when the kept unit was refused last. One that is refused twice at the same count will never be
    // taken.
    uint64_t m_RefusedAt = kNeverRefused;
    static constexpr uint64_t kNeverRefused = UINT64_MAX;
};

} // namespace UMC
