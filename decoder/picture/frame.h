// The frames of the decoded picture buffer.
#pragma once

#include "decoder/picture/frame_buffer.h"
#include "decoder/picture/frame_info.h"
#include "decoder/picture/mb_info.h"
#include "decoder/picture/slice_lists.h"
#include "decoder/stream/sei.h"
#include "media/umc_status.h"

#include <array>
#include <cstdint>
#include <memory>

namespace UMC {

class LocalMbMemory;

// Motion and macroblock records of one frame; entries by macroblock number in the frame.
struct H264MbInfo {
    h264::MotionVector* pMv[2] = {}; // 16 a macroblock and list, raster of 4x4 blocks
    int8_t* pRefIdx[2] = {};         // 16 a macroblock and list, -1 for none
    MbGlobalInfo* pGlobal = nullptr;
};

// Frames, by index, that a picture in flight may refer to although they are no reference any more, and how often each
// was counted as busy for it.
using ReleasedFrames = std::array<uint16_t, kMaxFrames>;

// Belongs to the list of the session's frame store. The session's classes write it, each the parts that it says;
// decoding writes its samples and m_MbInfo, and clears m_FrameExists where macroblocks were lost.
class H264DecoderFrame : public H264DecYUVWorkSpace
{
public:
    H264DecoderFrameInfo m_Au[2]; // the two fields; a frame uses the first
    H264DecoderFrame *m_pPrev = nullptr, *m_pNext = nullptr;
    // Its auxiliary picture, which stands in no list; made when one comes first. One without slices holds none.
    std::unique_ptr<H264DecoderFrame> m_pAuxiliary;
    H264DecoderFrame* m_pPrimary = nullptr; // of an auxiliary picture: whose it is

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
#if defined(QUILVEX_TRACE)
    int32_t m_Uid = 0; // how many were taken for a picture up to this one: what dumps tell frames apart by
#endif

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

    bool HasSlices() const { return !m_Au[0].m_Slices.empty() || !m_Au[1].m_Slices.empty(); }
    const H264DecoderFrame* Primary() const { return m_pPrimary ? m_pPrimary : this; }
    bool IsFieldPair() const { return m_PictureStructure < FRAME_PICTURE; }

    // What decoding asks the frame: the lists of a slice in work, and of one whose decoding may be over. Null for a
    // number that no slice has.
    const H264DecoderRefPicList* RefPicListOf(uint32_t SliceNumber) const; // a rare step of deblocking: not inline
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
