#include "decoder/jobs/segment_decoder.h"

#include "decoder/entropy/mb_layer.h"
#include "decoder/jobs/segment_decoder_hp.h"
#include "decoder/picture/dpb.h"

#include <algorithm>
#include <cstring>

namespace UMC {

namespace {

constexpr uint8_t kGrey = 128;

// A reference list entry as inter prediction reads it.
ReferencePlanes DescribeReference(const H264DecoderFrame* pFrame, const H264DecoderFrame& Current)
{
    // What cannot be predicted from is one grey sample that every block lies outside of.
    const bool IsUsable = pFrame && pFrame->m_pPlaneY && pFrame->m_Format == Current.m_Format;
    if (!IsUsable) return {{&kGrey, &kGrey, &kGrey}, 0, 0, 1, 1, 1, 1, 0};
    const auto [Width, Height] = pFrame->m_Format.Size;
    return {{pFrame->m_pPlaneY, pFrame->m_pPlaneU, pFrame->m_pPlaneV},
            pFrame->m_PitchLuma,
            pFrame->m_PitchChroma,
            Width,
            Height,
            Width / 2,
            Height / 2,
            0};
}

} // namespace

Status H264SegmentDecoder::Init(int32_t ThreadNumber)
{
    m_ThreadNumber = ThreadNumber;
    for (MotionCache& Cache : m_Motion) {
        std::memset(&Cache, 0, sizeof Cache);
        std::memset(Cache.Ref, kRefUnavailable, sizeof Cache.Ref); // the places right of the macroblock stay so
    }
    std::memset(m_NonZero, 0, sizeof m_NonZero);
    return StatusOk;
}

H264SegmentDecoderMultiThreaded::H264SegmentDecoderMultiThreaded(TaskSource* pTasks, const H264DBPList* pDpb)
    : m_pTasks(pTasks), m_pDpb(pDpb)
{
}

Status H264SegmentDecoderMultiThreaded::ProcessSegment()
{
    H264Task Task;
    while (m_pTasks->GetNextTask(Task)) ProcessTask(Task);
    return StatusOk;
}

// The end of the data is normal; whatever macroblocks are missing then are patched.
void H264SegmentDecoderMultiThreaded::ProcessTask(H264Task& Task)
{
    Status Result;
    m_CurrentMb = Task.m_FirstMb;
    m_MbsDone = 0;
    m_pSlice = nullptr;
    try {
        InitializeSlice(Task);
        Result = m_pFrame->m_IsSkipped ? Status{StatusOk} : RunTask(Task);
        if (Result == StatusEndOfSegment) {
            RestoreErrorRect(m_CurrentMb, m_pSlice->m_MaxMbNumber, m_pSlice);
            Result = StatusOk;
        }
    } catch (const h264_exception& e) {
        Result = e.GetStatus();
    } catch (...) {
        Result = StatusInvalidParams;
    }
    if (Result != StatusOk) TryRestore(m_CurrentMb, m_pSlice);
    FinishTask(Task);
}

void H264SegmentDecoderMultiThreaded::TryRestore(int32_t Start, H264Slice* pSlice)
try {
    if (pSlice) RestoreErrorRect(Start, pSlice->m_MaxMbNumber, pSlice);
} catch (...) { // the picture is withheld already: nothing more can be done for it
}

Status H264SegmentDecoderMultiThreaded::RunTask(H264Task& Task)
{
    switch (Task.m_TaskId) {
    case TASK_PROCESS: return ProcessSlice(Task.m_FirstMb, Task.m_MbCount);
    case TASK_DEBLOCK_SLICE:
    case TASK_DEBLOCK_PICTURE: return DeblockSegmentTask(Task.m_FirstMb, Task.m_MbCount);
    }
    return StatusUnsupported;
}

void H264SegmentDecoderMultiThreaded::FinishTask(H264Task& Task)
{
    if (m_pSlice && Task.m_TaskId == TASK_PROCESS) {
        const int32_t Lines = ((m_MaxMv + 6) >> 2) << (m_IsField || m_IsMbaff ? 1 : 0);
        m_pSlice->m_Progress.MaxMvDistance = std::max(m_pSlice->m_Progress.MaxMvDistance, Lines);
    }
    m_pTasks->TaskDone(Task);
}

void H264SegmentDecoderMultiThreaded::SetUpPicture(H264DecoderFrame* pFrame, bool IsField, bool IsBottom)
{
    m_pFrame = pFrame;
    m_MbInfo = pFrame->m_MbInfo;
    m_IsField = IsField;
    m_IsBottom = IsBottom;
    m_MbWidth = pFrame->m_Format.MbSize.Width;
    m_MbHeight = pFrame->m_Format.MbSize.Height >> (IsField ? 1 : 0);
    m_FieldOffset = IsBottom ? m_MbWidth * m_MbHeight : 0;
    m_BitDepthLuma = pFrame->m_Format.BitDepthLuma;
    m_BitDepthChroma = pFrame->m_Format.BitDepthChroma;
    const int32_t Bytes = pFrame->m_Format.SampleBytes();
    m_PitchLuma = pFrame->m_PitchLuma * Bytes;
    m_PitchChroma = pFrame->m_PitchChroma * Bytes;
    m_pPlane[0] = pFrame->m_pPlaneY + (IsBottom ? m_PitchLuma : 0);
    m_pPlane[1] = pFrame->m_pPlaneU + (IsBottom ? m_PitchChroma : 0);
    m_pPlane[2] = pFrame->m_pPlaneV + (IsBottom ? m_PitchChroma : 0);
    if (IsField) {
        m_PitchLuma *= 2;
        m_PitchChroma *= 2;
    }
}

void H264SegmentDecoderMultiThreaded::InitializeSlice(const H264Task& Task)
{
    if (Task.m_TaskId == TASK_DEBLOCK_PICTURE) {
        const H264Slice* const pAny = Task.m_pAu->m_Slices.front();
        SetUpPicture(pAny->m_pFrame, pAny->m_Header.field_pic_flag != 0, pAny->m_Header.bottom_field_flag != 0);
        m_Local = *pAny->m_pLocal;
        m_pPictureAu = Task.m_pAu;
        return;
    }
    m_pSlice = Task.m_pSlice;
    m_pHeader = &m_pSlice->m_Header;
    m_pSeqParamSet = m_pSlice->m_pSeqParamSet;
    m_pPicParamSet = m_pSlice->m_pPicParamSet;
    m_pRefPicList = m_pSlice->m_pRefPicList;
    m_pBitstream = &m_pSlice->m_Bitstream;
    m_Local = *m_pSlice->m_pLocal;
    m_IsBSlice = m_pHeader->slice_type == B_SLICE;
    m_IsMbaff = m_pHeader->MbaffFrameFlag != 0;
    m_MaxMv = 0;
    SetUpPicture(m_pSlice->m_pFrame, m_pHeader->field_pic_flag != 0, m_pHeader->bottom_field_flag != 0);
    const Status Result = CreateSegmentDecoder();
    if (Result != StatusOk) throw h264_exception(Result);
    if (Task.m_TaskId != TASK_PROCESS) return;

    m_MbSkipRun = m_pSlice->m_Progress.MbSkipRun;
    m_QpLuma = m_pSlice->m_Progress.QpLuma;
    m_PrevDeltaQp = m_pSlice->m_Progress.PrevDeltaQp;
    SetUpReferences();
    SetUpDirect();
    SetUpTables();
    SetUpReader();
}

void H264SegmentDecoderMultiThreaded::SetUpReader()
{
    H264Bitstream& Bits = *m_pBitstream;
    if (m_pSlice->m_IsUnpadded) {
        const uint32_t Size = Bits.UnitSize();
        const size_t Words = (size_t{Size} + 3) / 4;
        std::memcpy(m_PaddedUnit, Bits.Words(), Words * 4);
        std::memset(m_PaddedUnit + Words, 0, H264Bitstream::kReadPadding);
        Bits.MoveTo(m_PaddedUnit, Size);
    }
    if (m_ExplicitWeights) {
        H264Bitstream AtWeights = Bits;
        AtWeights.SetBitPosition(m_pSlice->m_WeightsPosition);
        ReadSliceWeights(AtWeights, *m_pSeqParamSet, *m_pHeader, m_Weights);
    }
    if (!m_pPicParamSet->entropy_coding_mode_flag) return;
    m_Cabac.InitContexts(m_QpLuma,
                         m_pHeader->slice_type == I_SLICE ? 0 : 1 + static_cast<int>(m_pHeader->cabac_init_idc));
    m_Cabac.Start(Bits);
}

void H264SegmentDecoderMultiThreaded::SetUpReferences()
{
    const bool IsP = m_pHeader->slice_type == P_SLICE;
    m_ActiveRefs[0] = IsP || m_IsBSlice ? std::clamp(m_pHeader->num_ref_idx_l0_active, 1, 32) : 0;
    m_ActiveRefs[1] = m_IsBSlice ? std::clamp(m_pHeader->num_ref_idx_l1_active, 1, 32) : 0;
    m_ExplicitWeights =
        (IsP && m_pPicParamSet->weighted_pred_flag) || (m_IsBSlice && m_pPicParamSet->weighted_bipred_idc == 1);
    m_ImplicitWeights = m_IsBSlice && m_pPicParamSet->weighted_bipred_idc == 2;
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < m_ActiveRefs[List]; ++i)
            m_Reference[List][i] =
                DescribeReference(m_pRefPicList ? m_pRefPicList->List[List].Frame[i] : nullptr, *m_pFrame);
}

void H264SegmentDecoderMultiThreaded::SetUpDirect()
{
    m_pColFrame = nullptr;
    m_ColMapSlice = -1;
    if (!m_IsBSlice) return;
    if (!m_pRefPicList) throw h264_exception(StatusInvalidParams);
    const H264DecoderFrame* const pFirst = m_pRefPicList->List[1].Frame[0];
    m_ColIsShortTerm = (m_pRefPicList->List[1].Flag[0] & kRefFlagShortTerm) != 0;
    if (!pFirst) m_DirectTables = {};
    if (pFirst)
        ComputeDirectTables(*m_pRefPicList, *m_pHeader, m_pSlice->m_PicOrderCnt, m_ImplicitWeights, m_DirectTables);
    if (pFirst && pFirst->m_MbInfo.m_pGlobal && pFirst->m_Format.MbSize == m_pFrame->m_Format.MbSize)
        m_pColFrame = pFirst;
}

// Stand-ins for neighbours outside the slice, chroma QP, and a clean scratch: a slice that ended in damage may have
// left coefficients behind.
void H264SegmentDecoderMultiThreaded::SetUpTables()
{
    m_NoGlobal = MbGlobalInfo{};
    m_NoGlobal.MbType = m_IsBSlice ? MBTYPE_DIRECT : MBTYPE_INTRA4x4;
    m_NoGlobal.MbFlags = MBFLAG_SKIPPED;
    m_NoGlobal.SliceId = kNoSlice;
    m_NoLocal = MbLocalInfo{};
    m_NoLocal.CodedBlockPattern = 15;
    const int LumaOffset = 6 * (m_BitDepthLuma - 8), ChromaOffset = 6 * (m_BitDepthChroma - 8);
    for (int Plane = 0; Plane < 2; ++Plane)
        for (int Qp = -LumaOffset; Qp <= 51; ++Qp) {
            const int Index = std::clamp(Qp + m_pPicParamSet->chroma_qp_index_offset[Plane], -ChromaOffset, 51);
            const int ChromaQp = Index < 0 ? Index : h264::kChromaQp[Index];
            m_ChromaQp[Plane][Qp + kQpBias] = static_cast<uint8_t>(ChromaQp + ChromaOffset);
        }
    if (m_QpLuma < -LumaOffset || m_QpLuma > 51) throw h264_exception(StatusInvalidParams);
    std::memset(m_Coefficients, 0, sizeof m_Coefficients);
}

Status H264SegmentDecoderMultiThreaded::CreateSegmentDecoder()
{
    m_pSegment = FindSegmentDecoder(*m_pSeqParamSet, m_IsField, m_IsMbaff);
    return m_pSegment ? StatusOk : StatusUnsupported;
}

Status H264SegmentDecoderMultiThreaded::DecodeRun(int32_t FirstMb, int32_t Count)
{
    const Status Result = m_pPicParamSet->entropy_coding_mode_flag
                              ? m_pSegment->DecodeSegmentCABACSingle(FirstMb, Count, *this)
                              : m_pSegment->DecodeSegmentCAVLCSingle(FirstMb, Count, *this);
    m_pSlice->m_Progress.MbSkipRun = m_MbSkipRun;
    m_pSlice->m_Progress.QpLuma = m_QpLuma;
    m_pSlice->m_Progress.PrevDeltaQp = m_PrevDeltaQp;
    return Result;
}

Status H264SegmentDecoderMultiThreaded::ProcessSlice(int32_t FirstMb, int32_t& Count)
{
    const uint32_t FilterIdc = m_pHeader->disable_deblocking_filter_idc;
    const bool Deblock =
        FilterIdc != 1 && (FilterIdc == 2 || m_pSlice->m_Progress.DeblockFromTask) && !m_pSlice->m_UsesSliceGroups;
    const int32_t Budget = Count;
    try {
        if (m_pSlice->m_UsesSliceGroups)
            DecodeRun(FirstMb, Budget);
        else
            ProcessRows(FirstMb, std::min(FirstMb + Budget, m_MbWidth * m_MbHeight), Deblock);
    } catch (...) {
        Count = m_MbsDone;
        throw;
    }
    Count = m_MbsDone;
    return StatusEndOfSegment;
}

// Row by row. Deblocking stays a row behind: the row below is still to be predicted from samples before the filter.
void H264SegmentDecoderMultiThreaded::ProcessRows(int32_t FirstMb, int32_t End, bool Deblock)
{
    int32_t Deblocked = FirstMb;
    for (int32_t Mb = FirstMb; Mb < End;) {
        const int32_t RowEnd = std::min((Mb / m_MbWidth + 1) * m_MbWidth, End);
        const bool Ended = DecodeRun(Mb, RowEnd - Mb) != StatusOk;
        Mb = m_CurrentMb;
        if (Ended) break;
        const int32_t Safe = Mb - m_MbWidth;
        if (Deblock && Safe > Deblocked) {
            DeblockSegment(Deblocked, Safe - Deblocked);
            Deblocked = Safe;
        }
    }
    if (Deblock) DeblockSegment(Deblocked, m_CurrentMb - Deblocked);
}

void H264SegmentDecoderMultiThreaded::RestoreErrorRect(int32_t Start, int32_t End, H264Slice* pSlice)
{
    if (Start >= End || !pSlice || pSlice->m_UsesSliceGroups) return;
    H264DecoderFrame& Frame = *pSlice->m_pFrame;
    Frame.m_FrameExists = false;
    SetUpPicture(&Frame, pSlice->m_Header.field_pic_flag != 0, pSlice->m_Header.bottom_field_flag != 0);
    m_pSlice = pSlice;
    m_pSegment = FindSegmentDecoder(*pSlice->m_pSeqParamSet, m_IsField, pSlice->m_Header.MbaffFrameFlag != 0);
    const H264DecoderFrame* pReference = pSlice->m_pRefPicList ? pSlice->m_pRefPicList->List[0].Frame[0] : nullptr;
    if (!pReference || pReference->m_IsSkipped)
        pReference = m_pDpb ? m_pDpb->FindClosestForConcealment(&Frame) : nullptr;
    // Ranges of memory only match in pictures laid out alike.
    if (pReference && pReference->m_Format != Frame.m_Format) pReference = nullptr;
    if (m_pSegment) m_pSegment->CopyOrFillRect(Start, End, pReference, *this);
}

} // namespace UMC
