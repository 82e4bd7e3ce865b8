// Picture buffers of the decoder and the frames of the decoded picture buffer.
#pragma once

#include "decoder/picture/mb_info.h"
#include "decoder/picture/picture_format.h"
#include "decoder/picture/slice_lists.h"
#include "decoder/stream/headers.h"
#include "decoder/stream/sei.h"
#include "media/umc_status.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace UMC {

class H264Slice; // known to the floors above only: a picture holds slices and never looks into one
class MemoryAllocator;
class H264DecoderFrame;
class LocalMbMemory;

// A picture's sample planes in one block of the given allocator. No guard band lies around a plane.
class H264DecYUVBufferPadded
{
public:
    H264DecYUVBufferPadded() = default;
    virtual ~H264DecYUVBufferPadded() { H264DecYUVBufferPadded::Release(); }
    H264DecYUVBufferPadded(const H264DecYUVBufferPadded&) = delete;
    H264DecYUVBufferPadded& operator=(const H264DecYUVBufferPadded&) = delete;

    // The allocator must outlive the buffer.
    void SetAllocator(MemoryAllocator* pAllocator) { m_pAllocator = pAllocator; }
    // Does nothing when the format is what it was. StatusUnsupported for a depth outside 8..16, StatusInvalidParams
    // for a format above 3, StatusAllocFailed, with nothing left allocated, when memory is exhausted.
    virtual Status Allocate(const PictureFormat& Format);
    virtual void Release();
    virtual void Conditional(const PictureFormat& Format); // releases when it is another one

    // Fill with the value 128, scaled to the depth.
    void FillGrey(); // every plane
    void FillChromaGrey();
    void FillFieldGrey(int Field); // every second line, 0: from the top one

    PictureFormat m_Format;       // of the planes; empty without them
    uint8_t* m_pPlaneY = nullptr; // 64-byte aligned; samples of 2 bytes above 8 bits
    uint8_t* m_pPlaneU = nullptr;
    uint8_t* m_pPlaneV = nullptr;
    int32_t m_PitchLuma = 0; // samples
    int32_t m_PitchChroma = 0;
    bool m_ExternalBuffer = false;

protected:
    MemoryAllocator* m_pAllocator = nullptr;

private:
    void FillPlane(uint8_t* pPlane, int32_t Pitch, PictureSize Size, int32_t FirstLine, int32_t LineStep);
    void FillLines(int32_t FirstLine, int32_t LineStep);

    uint32_t m_MemId = 0;
};

// Planes for a size rounded up to whole macroblocks.
class H264DecYUVWorkSpace : public H264DecYUVBufferPadded
{
public:
    Status Allocate(const PictureFormat& Format) override;
};

enum class AuStatus : int32_t { Empty = 0, SecondFieldExpected = 1, Ready = 2, Finished = 3, InBroker = 4 };

// The slices of one field, or of a frame, and how far they have got.
struct H264DecoderFrameInfo {
    H264DecoderFrame* m_pFrame = nullptr;
    std::vector<H264Slice*> m_Slices; // in decoding order; the slice pool owns them
    AuStatus m_Status = AuStatus::Empty;
    size_t m_NextToDecode = 0, m_NextToDeblock = 0; // slices in front of these need no look any more
    bool m_NeedsDeblocking = false;                 // any slice has disable_deblocking_filter_idc other than 1
    bool m_IsReference = false, m_UsesSliceGroups = false;
    uint64_t m_UnitBytes = 0;                // kept of the slices' units
    AdaptiveMarking m_Marking;               // of the first slice, where its header has commands
    H264DecoderFrameInfo* m_pNext = nullptr; // in the list that the broker draws tasks from
};

// Motion and macroblock records of one frame; entries by macroblock number in the frame.
struct H264MbInfo {
    H264DecoderMotionVector* m_pMv[2] = {}; // 16 a macroblock and list, raster of 4x4 blocks
    int8_t* m_pRefIdx[2] = {};              // 16 a macroblock and list, -1 for none
    MbGlobalInfo* m_pGlobal = nullptr;
};

// Frames, by index, that a picture in flight may refer to although they are no reference any more, and how often each
// was counted as busy for it.
using ReleasedFrames = std::array<uint16_t, kMaxFrames>;

class H264DecoderFrame : public H264DecYUVWorkSpace
{
public:
    H264DecoderFrameInfo m_Au[2]; // the two fields; a frame uses the first
    H264DecoderFrame *m_pPrev = nullptr, *m_pNext = nullptr;

    bool m_IsDisplayable = false; // decoding finished, it may be shown
    bool m_WasOutputted = false;
    int32_t m_BusyCount = 0;     // 2 from allocation until decoding is finished, plus 1 for each user that may read it
    bool m_IsSkipped = false;    // no samples were decoded for it
    ReleasedFrames m_Released{}; // they are free of this picture when its decoding has finished
    H264SEIPayLoad m_UserData;
    double m_Time = -1.0;
    bool m_FrameExists = true; // false for a frame made up for a gap, never displayed
    int32_t m_PictureStructure = FRAME_PICTURE;

    int32_t m_CropLeft = 0, m_CropRight = 0, m_CropTop = 0, m_CropBottom = 0; // samples
    int32_t m_AspectWidth = 0, m_AspectHeight = 0;
    int32_t m_FrameType = 0; // 1 I, 2 P, 3 B

    int32_t m_PicNum[2] = {}, m_LongTermPicNum[2] = {};
    int32_t m_FrameNum = 0, m_FrameNumWrap = 0, m_LongTermFrameIdx = 0;
    int32_t m_RefListResetCount[2] = {}; // IDR or memory-reset pictures that came after this one
    int32_t m_PicOrderCnt[2] = {};
    bool m_IsShortTerm[2] = {}, m_IsLongTerm[2] = {};
    uint8_t m_BottomFieldFlag[2] = {};

    H264MbInfo m_MbInfo;
    std::shared_ptr<LocalMbMemory> m_pLocalMemory; // from the end of its slices to that of its decoding
    int32_t m_Index = -1;                          // lowest of 0..31 that no other frame of the list has
    int32_t m_ResourceIndex = -1;                  // which of the session's local records it uses

    // Frame numbering helpers over both fields.
    int32_t PicOrderCnt() const { return m_PicOrderCnt[0] < m_PicOrderCnt[1] ? m_PicOrderCnt[0] : m_PicOrderCnt[1]; }
    // Of a field, or with -1 of the frame.
    int32_t PicOrderCnt(int Field) const { return Field >= 0 ? m_PicOrderCnt[Field] : PicOrderCnt(); }
    int32_t ResetCount() const
    {
        return m_RefListResetCount[0] > m_RefListResetCount[1] ? m_RefListResetCount[0] : m_RefListResetCount[1];
    }
    bool IsReferenced() const { return m_IsShortTerm[0] || m_IsShortTerm[1] || m_IsLongTerm[0] || m_IsLongTerm[1]; }

    H264DecoderFrame();
    ~H264DecoderFrame() override;

    Status AllocateMbInfo(int32_t MbCount); // StatusAllocFailed
    void ClearMbInfo();                     // all vectors 0, no references, no slice
    void ClearGlobalMbInfo();               // no slice; vectors and references stay as they are

    // Everything but planes, records and the frame's own numbers goes back to the state of a new frame. Its slices have
    // been given back.
    void Reset();

    bool IsFieldPair() const { return m_PictureStructure < FRAME_PICTURE; }

    // What decoding asks the frame: the lists of a slice in work, and of one whose decoding may be over. Null for a
    // number that no slice has.
    const H264DecoderRefPicList* RefPicListOf(uint32_t SliceNumber) const { return m_RefPicLists.ListsOf(SliceNumber); }
    const H264RefPicIndices* RefPicIndicesOf(uint32_t SliceNumber) const
    {
        return m_RefPicLists.IndicesOf(SliceNumber);
    }

    SliceLists m_RefPicLists; // of both fields: numbers run on from the first to the second

private:
    void ReleaseMbInfo();

    uint32_t m_MbMemId = 0;
    int32_t m_MbCapacity = 0;
};

} // namespace UMC
