// Segment decoders: they take tasks from the broker and run the macroblock loops over a slice.
#pragma once

#include "decoder/jobs/task.h"
#include "decoder/picture/direct_tables.h"
#include "decoder/slice/mb_state.h"
#include "decoder/slice/slice.h"
#include "decoder/stream/cabac.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

class H264DBPList;
class SegmentDecoderHPBase;

// One entry of a reference list as inter prediction reads it. A missing picture is a plane of one grey sample, which
// every block lies outside of, so that no test for it stands in the macroblock loop.
struct ReferencePlanes {
    const uint8_t* pPlane[3];
    ptrdiff_t PitchLuma, PitchChroma; // bytes, doubled for a field
    int32_t Width, Height;            // luma samples
    int32_t ChromaWidth, ChromaHeight;
    int32_t ChromaMvOffset; // added to vertical chroma vectors between fields of different parity (Table 8-9)
};

// Everything that the macroblock loops of one slice touch. The algorithm classes have no state of their own and work
// on this object; it serves one thread.
class H264SegmentDecoder
{
public:
    virtual ~H264SegmentDecoder() = default;

    // Works until the broker has no task left. Returns 0, also after damaged pictures.
    virtual Status ProcessSegment() = 0;
    virtual Status Init(int32_t ThreadNumber);

    // The slice in hand.
    H264Slice* m_pSlice = nullptr;
    const SliceHeaderFields* m_pHeader = nullptr;
    const H264SeqParamSet* m_pSeqParamSet = nullptr;
    const H264PicParamSet* m_pPicParamSet = nullptr;
    H264DecoderFrame* m_pFrame = nullptr;
    const H264DecoderRefPicList* m_pRefPicList = nullptr;
    H264Bitstream* m_pBitstream = nullptr;
    CabacDecoder m_Cabac;
    H264MbInfo m_MbInfo; // of the frame
    H264LocalMbBuffers m_Local;
    SegmentDecoderHPBase* m_pSegment = nullptr; // the member of the family that decodes the slice

    // The picture: a field's planes start at its first row and have the pitches doubled.
    uint8_t* m_pPlane[3] = {};
    ptrdiff_t m_PitchLuma = 0, m_PitchChroma = 0; // bytes
    int32_t m_MbWidth = 0, m_MbHeight = 0;        // macroblocks of the frame or field
    int32_t m_FieldOffset = 0;                    // macroblock number in the frame's arrays of the picture's first one
    bool m_IsField = false, m_IsBottom = false, m_IsMbaff = false, m_IsBSlice = false;
    int32_t m_BitDepthLuma = 8, m_BitDepthChroma = 8;
    ReferencePlanes m_Reference[2][32];
    int32_t m_ActiveRefs[2] = {};
    bool m_ExplicitWeights = false; // weights of the slice header apply
    bool m_ImplicitWeights = false;
    PredWeight m_Weights[2][32];
    H264DirectTables m_DirectTables; // B slices

    // Direct prediction (clause 8.4.1.2), B slices: the first picture of list 1 and its motion, null when it has none.
    const H264DecoderFrame* m_pColFrame = nullptr;
    bool m_ColIsShortTerm = false;
    int32_t m_ColMapSlice = -1;  // slice of that picture whose references m_ColMap holds
    int8_t m_ColMap[2][32] = {}; // its references as indices into our list 0

    // Progress of the task in hand.
    int32_t m_CurrentMb = 0; // next macroblock of the picture
    int32_t m_MbsDone = 0;

    // Carried from macroblock to macroblock.
    int32_t m_MbSkipRun = 0, m_QpLuma = 0, m_PrevDeltaQp = 0;
    int32_t m_MaxMv = 0; // largest vertical vector component met, quarter samples

    MbState m_Mb;
    MbGlobalInfo m_NoGlobal{}; // stand-ins for neighbours outside the slice
    MbLocalInfo m_NoLocal{};
    MotionCache m_Motion[2];
    uint8_t m_NonZero[3][kCacheSize]; // total_coeff (CAVLC) or coded_block_flag (CABAC) around the macroblock, by plane
    uint8_t m_ChromaQp[2][64 + 52];   // QP'C by QPY + 64, of Cb and Cr (clause 8.5.8)

    // Blocks of the macroblock with something to add: luma in luma4x4BlkIdx order, Cb and Cr in raster order.
    uint32_t m_ResidualBits[3] = {};

    // Coefficients of one macroblock; all 0 between macroblocks.
    alignas(64) uint8_t m_Coefficients[3328];
    // Predictions of list 0 before they are joined, and blocks clamped into the reference.
    alignas(64) uint8_t m_Temp[16 * 16 + 2 * 8 * 16];
    alignas(64) uint8_t m_Clamped[24 * 24];
    // A unit that is kept without zeros behind it, with them.
    uint32_t m_PaddedUnit[2 * H264Bitstream::kReadPadding / 4];

protected:
    int32_t m_ThreadNumber = 0;
};

class H264SegmentDecoderMultiThreaded : public H264SegmentDecoder
{
public:
    // Neither object is owned; both must outlive the decoder. pDpb may be null: holes are then filled with grey.
    H264SegmentDecoderMultiThreaded(TaskSource* pTasks, const H264DBPList* pDpb);

    Status ProcessSegment() override;

    // Decodes and reconstructs Count macroblocks from FirstMb, with deblocking one row behind where the slice allows
    // it. Always ends with StatusEndOfSegment, also when the count is done; throws h264_exception on damaged data.
    // Count receives the macroblocks done in either case.
    virtual Status ProcessSlice(int32_t FirstMb, int32_t& Count);
    // Deblocks Count macroblocks of the slice in hand.
    virtual Status DeblockSegment(int32_t FirstMb, int32_t Count);
    // The same for the task in hand, which may have no slice: each macroblock then goes by its own slice.
    virtual Status DeblockSegmentTask(int32_t FirstMb, int32_t& Count);
    // Picks the member of the family for the slice in hand. StatusUnsupported when there is none.
    virtual Status CreateSegmentDecoder();
    // Takes the view of the task's slice. Throws h264_exception when the slice cannot be decoded.
    virtual void InitializeSlice(const H264Task& Task);
    virtual void FinishTask(H264Task& Task);

    // Patches the macroblocks Start..End - 1, which no data came for, from an older picture, and marks the picture as
    // not to be shown. Nothing happens for an empty span, no slice, or slice groups.
    void RestoreErrorRect(int32_t Start, int32_t End, H264Slice* pSlice);

private:
    void ProcessTask(H264Task& Task);
    Status RunTask(H264Task& Task);
    void TryRestore(int32_t Start, H264Slice* pSlice);
    Status DecodeRun(int32_t FirstMb, int32_t Count);
    void ProcessRows(int32_t FirstMb, int32_t End, bool Deblock);
    void SetUpPicture(H264DecoderFrame* pFrame, bool IsField, bool IsBottom);
    void SetUpReader();
    void SetUpReferences();
    void SetUpDirect();
    void SetUpTables();
    Status DeblockPicture(int32_t FirstMb, int32_t End);

    const H264DecoderFrameInfo* m_pPictureAu = nullptr; // of a task for a whole picture
    TaskSource* m_pTasks;
    const H264DBPList* m_pDpb;
};

} // namespace UMC
