#include "decoder/slice/slice_cursor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace UMC {

SliceCursor::SliceCursor()
{
    for (MotionCache& Cache : Motion.Cache) {
        std::memset(&Cache, 0, sizeof Cache);
        std::memset(Cache.Ref, h264::kRefUnavailable, sizeof Cache.Ref); // the places right of the macroblock stay so
    }
    std::memset(&Counts, 0, sizeof Counts);
}

// A field macroblock above a frame macroblock.
void SliceCursor::SeeTop()
{
    Mb.SeenTop = *Mb.pTopLocal;
    for (uint8_t& Context : Mb.SeenTop.RefIdxContext) Context >>= 4;
    Mb.pTopLocal = &Mb.SeenTop;
}

void SliceCursor::SeeLeft(bool IsField)
{
    Mb.SeenLeft = *Mb.pLeftLocal;
    uint32_t Pattern = Mb.SeenLeft.CodedBlockPattern & 0x30u, Context[2] = {};
    for (int q = 1; q < 4; q += 2) {
        const NeighbourRow Left = LeftBlock<true>(Mb, q - 1);
        const MbLocalInfo& Local = Slice.Local.pLocal[Left.Mb];
        const int From = (Left.Row & 2) + 1;
        Pattern |= (Local.CodedBlockPattern >> From & 1u) << q;
        for (int List = 0; List < 2; ++List)
            Context[List] |= (uint32_t{Local.RefIdxContext[List]} >> (IsField ? From : From + 4) & 1u) << q;
    }
    Mb.SeenLeft.CodedBlockPattern = static_cast<uint8_t>(Pattern);
    for (int List = 0; List < 2; ++List) Mb.SeenLeft.RefIdxContext[List] = static_cast<uint8_t>(Context[List]);
    Mb.pLeftLocal = &Mb.SeenLeft;
}

void SliceCursor::View(const H264Slice& From)
{
    const SliceHeaderFields& Header = From.m_Header;
    Slice.pHeader = &Header;
    Slice.pSequenceSet = From.m_pSeqParamSet;
    Slice.pPictureSet = From.m_pPicParamSet;
    Slice.pLists = From.m_pRefPicList;
    Slice.Picture = ViewPicture(*From.m_pFrame, Header);
    if (Header.MbaffFrameFlag)
        for (int Parity = 0; Parity < 2; ++Parity) Slice.Fields[Parity] = ViewPicture(*From.m_pFrame, Parity);
    Slice.Records = From.m_pFrame->m_MbInfo;
    Slice.Local = *From.m_pLocal;
    Slice.pNextMbMap = From.m_UsesSliceGroups ? From.m_pNextMbMap : nullptr;
    Slice.BitDepthLuma = From.m_pSeqParamSet->bit_depth_luma;
    Slice.BitDepthChroma = From.m_pSeqParamSet->bit_depth_chroma;
    Slice.QpOfBypass = From.m_pSeqParamSet->qpprime_y_zero_transform_bypass_flag ? -6 * (Slice.BitDepthLuma - 8)
                                                                                 : SliceView::kNeverBypassed;
    Slice.SliceId = static_cast<uint16_t>(From.m_SliceNumber);
    Motion.MaxMv = 0;
}

void SliceCursor::Begin(const H264Slice& From)
{
    if (From.m_SliceNumber == 1) h264::trace::BeginPicture();
    Entropy.MbSkipRun = From.m_Progress.MbSkipRun;
    Entropy.QpLuma = From.m_Progress.QpLuma;
    Entropy.PrevDeltaQp = From.m_Progress.PrevDeltaQp;
    FillPictureReferences({From.m_Header, *From.m_pPicParamSet, From.m_pRefPicList, *From.m_pFrame}, Slice.References);
    BeginDirect(From);
    BeginTables();
}

void SliceCursor::BeginDirect(const H264Slice& From)
{
    DirectState& Direct = Motion.Direct;
    Direct.pColFrame = Direct.pOtherKind = nullptr;
    Direct.ColSlice = -1;
    if (Slice.pHeader->slice_type != SLICE_B) return;
    if (!Slice.pLists) throw h264_exception(StatusInvalidParams);
    const H264DecoderFrame* const pFirst = Slice.pLists->List[1].Frame[0];
    Direct.ColIsShortTerm = (Slice.pLists->List[1].Flag[0] & kRefFlagShortTerm) != 0;
    H264DirectTables& Tables = Slice.References.Sets[REFERENCES_PICTURE].Tables;
    if (pFirst)
        ComputeDirectTables(*Slice.pLists, *Slice.pHeader, From.m_PicOrderCnt, Slice.References.ImplicitWeights,
                            Tables);
    else
        Tables = {};
    if (pFirst && pFirst->m_MbInfo.pGlobal && pFirst->m_Format.MbSize == From.m_pFrame->m_Format.MbSize)
        FindColocated(From, *pFirst);
    if (!Slice.pHeader->direct_spatial_mv_pred_flag) NumberReferences();
}

// Clause 8.4.1.2.1. Of two fields a frame goes by the one that is nearer in order count, the bottom one in doubt.
void SliceCursor::FindColocated(const H264Slice& From, const H264DecoderFrame& First)
{
    DirectState& Direct = Motion.Direct;
    const bool IsField = Slice.Picture.IsField, IsPair = First.IsFieldPair();
    (IsField == IsPair && !Slice.pHeader->MbaffFrameFlag ? Direct.pColFrame : Direct.pOtherKind) = &First;
    const auto Distance = [&](int Field) { return std::abs(int64_t{First.m_PicOrderCnt[Field]} - From.m_PicOrderCnt); };
    Direct.ColField = Distance(0) >= Distance(1);
    Direct.ColOffset = 0;
    if (IsField && IsPair)
        Direct.ColOffset =
            RefFlagField(Slice.pLists->List[1].Flag[0]) * (First.m_Format.MbCount() / 2) - Slice.Picture.FirstMb;
}

void SliceCursor::NumberReferences()
{
    const H264RefList& List = Slice.pLists->List[0];
    int8_t(&RefOf)[256] = Motion.Direct.RefOf;
    std::memset(RefOf, 0, sizeof RefOf);
    for (int i = Slice.References.Active[0] - 1; i >= 0; --i)
        if (const H264DecoderFrame* const p = List.Frame[i]; p && p->m_Index >= 0)
            RefOf[PictureIndex(p->m_Index, RefFlagField(List.Flag[i]))] = static_cast<int8_t>(i);
}

// Behind the weights, which field macroblocks have from the frames. Indices of more than 16 frames would be too high
// for them (clause 7.4.3).
void SliceCursor::BeginFieldReferences(const H264Slice& From)
{
    SliceReferences& References = Slice.References;
    if (!Slice.pLists || References.Active[0] > 16 || References.Active[1] > 16)
        throw h264_exception(StatusInvalidParams);
    FillFieldReferences({From.m_Header, *From.m_pPicParamSet, From.m_pRefPicList, *From.m_pFrame}, From.m_PicOrderCnt,
                        References);
}

// Stand-ins for neighbours outside the slice, chroma QP, and a clean scratch: a slice that ended in damage may have
// left coefficients behind.
void SliceCursor::BeginTables()
{
    Slice.NoGlobal = MbGlobalInfo{};
    Slice.NoGlobal.MbType = Slice.pHeader->slice_type == SLICE_B ? MBTYPE_DIRECT : MBTYPE_INTRA4x4;
    Slice.NoGlobal.MbFlags = MBFLAG_SKIPPED;
    Slice.NoGlobal.SliceId = kNoSlice;
    Slice.NoLocal = MbLocalInfo{};
    Slice.NoLocal.CodedBlockPattern = 15;
    for (int Plane = 0; Plane < 2; ++Plane)
        BeginChromaQp(Slice.ChromaQp[Plane], Slice.pPictureSet->chroma_qp_index_offset[Plane]);
    const int LumaOffset = 6 * (Slice.BitDepthLuma - 8);
    if (Entropy.QpLuma < -LumaOffset || Entropy.QpLuma > 51) throw h264_exception(StatusInvalidParams);
    std::memset(Coeffs.Coefficients, 0, sizeof Coeffs.Coefficients);
}

// Slices of a stream mostly have the same offsets.
void SliceCursor::BeginChromaQp(SliceView::ChromaQpTable& Table, int32_t Offset)
{
    if (Table.Offset == Offset && Table.LumaDepth == Slice.BitDepthLuma && Table.ChromaDepth == Slice.BitDepthChroma)
        return;
    Table.Offset = Offset;
    Table.LumaDepth = Slice.BitDepthLuma;
    Table.ChromaDepth = Slice.BitDepthChroma;
    const int LumaOffset = 6 * (Slice.BitDepthLuma - 8), ChromaOffset = 6 * (Slice.BitDepthChroma - 8);
    for (int Qp = -LumaOffset; Qp <= 51; ++Qp) {
        const int Index = std::clamp(Qp + Offset, -ChromaOffset, 51);
        const int ChromaQp = Index < 0 ? Index : h264::kChromaQp[Index];
        Table.ByQp[Qp + kQpBias] = static_cast<uint8_t>(ChromaQp + ChromaOffset);
    }
}

void SliceCursor::BeginReading(const H264Slice& From, uint32_t* pPadded)
{
    H264Bitstream& Bits = Entropy.Bits;
    Bits = From.m_Bitstream;
    if (From.m_IsUnpadded) {
        const uint32_t Size = Bits.UnitSize();
        const size_t Words = (size_t{Size} + 3) / 4;
        std::memcpy(pPadded, Bits.Words(), Words * 4);
        std::memset(pPadded + Words, 0, H264Bitstream::kReadPadding);
        Bits.MoveTo(pPadded, Size);
    }
    if (Slice.References.ExplicitWeights) {
        H264Bitstream AtWeights = Bits;
        AtWeights.SetBitPosition(From.m_WeightsPosition);
        ReadSliceWeights(AtWeights, *Slice.pSequenceSet, *Slice.pHeader,
                         Slice.References.Sets[REFERENCES_PICTURE].Weights);
    }
    if (Slice.pHeader->MbaffFrameFlag && Slice.pHeader->slice_type != SLICE_I) BeginFieldReferences(From);
    if (!Slice.pPictureSet->entropy_coding_mode_flag) return;
    const size_t Row = h264::ContextInitRow(Slice.pHeader->slice_type == SLICE_I, Slice.pHeader->cabac_init_idc);
    h264::InitCabacContexts(Entropy.Cabac.m_Contexts, h264::kContextInit[Row], Entropy.QpLuma);
    Entropy.Cabac.Start(Bits);
}

} // namespace UMC
