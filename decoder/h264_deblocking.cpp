#include "decoder/h264_deblocking.h"

#include "kernels/dispatch/kernels.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace UMC {

using kernels::EdgeParams;
using kernels::g_Kernels;

H264Deblocker::H264Deblocker(const H264SegmentDecoder& Decoder, const H264Slice& Slice)
    : m_Decoder(Decoder), m_pLists(Slice.m_pRefPicList), m_pGlobal(Decoder.m_MbInfo.m_pGlobal),
      m_pLocal(Decoder.m_Local.m_pLocal), m_MvLimit(Decoder.m_IsField ? 2 : 4),
      m_WithinSlice(Slice.m_Header.disable_deblocking_filter_idc == 2), m_IsBSlice(Slice.m_Header.slice_type == B_SLICE)
{
    const int32_t* const pOffset = Slice.m_pPicParamSet->chroma_qp_index_offset;
    m_OneChromaQp = pOffset[0] == pOffset[1];
    for (int i = 0; i < 2; ++i) m_ChromaQpOffset[i] = pOffset[i];
    for (int Qp = 0; Qp < 52; ++Qp) {
        const int IndexA = std::clamp(Qp + Slice.m_Header.slice_alpha_c0_offset, 0, 51);
        const int IndexB = std::clamp(Qp + Slice.m_Header.slice_beta_offset, 0, 51);
        m_ByQp[Qp].Alpha = h264::kAlpha[IndexA];
        m_ByQp[Qp].Beta = h264::kBeta[IndexB];
        std::memcpy(m_ByQp[Qp].Clip, h264::kTc0[IndexA], 4);
    }
}

void H264Deblocker::SetThresholds(EdgeParams& Params, int Index, int Qp) const
{
    const Thresholds& t = m_ByQp[Qp];
    Params.Alpha[Index] = t.Alpha;
    Params.Beta[Index] = t.Beta;
    std::memcpy(Params.Clip[Index], t.Clip, 4);
}

void H264Deblocker::FilterLuma(int32_t Mb, Outer Neighbours, const DeblockingStrength& Strength, uint8_t* pLuma) const
{
    const int Qp = m_pLocal[Mb].Qp;
    const int32_t Neighbour[2] = {Neighbours.Left, Neighbours.Top};
    EdgeParams Params;
    SetThresholds(Params, 1, Qp);
    for (int Direction = 0; Direction < 2; ++Direction) {
        const uint32_t* const pEdge = Strength.Edge[Direction];
        if ((pEdge[0] | pEdge[1] | pEdge[2] | pEdge[3]) == 0) continue;
        SetThresholds(Params, 0, Neighbour[Direction] >= 0 ? (Qp + m_pLocal[Neighbour[Direction]].Qp + 1) >> 1 : Qp);
        std::memcpy(Params.Strength, pEdge, 16);
        if (Direction == 0)
            g_Kernels.FilterLumaVertical(pLuma, m_Decoder.m_PitchLuma, &Params);
        else
            g_Kernels.FilterLumaHorizontal(pLuma, m_Decoder.m_PitchLuma, &Params);
    }
}

void H264Deblocker::FilterChroma(int32_t Mb, Outer Neighbours, const DeblockingStrength& Strength, uint8_t* pU,
                                 uint8_t* pV) const
{
    const auto ChromaQp = [&](int32_t i, int Plane) { // clause 8.7.2.2: of each macroblock by itself
        return int{h264::kChromaQp[std::clamp(m_pLocal[i].Qp + m_ChromaQpOffset[Plane], 0, 51)]};
    };
    const int32_t Neighbour[2] = {Neighbours.Left, Neighbours.Top};
    const int Planes = m_OneChromaQp ? 1 : 2;
    EdgeParams Params[2];
    for (int Direction = 0; Direction < 2; ++Direction) {
        const uint32_t* const pEdge = Strength.Edge[Direction];
        if ((pEdge[0] | pEdge[2]) == 0) continue; // chroma has edges 0 and 2 alone
        for (int Plane = 0; Plane < Planes; ++Plane) {
            const int Qp = ChromaQp(Mb, Plane);
            SetThresholds(Params[Plane], 1, Qp);
            SetThresholds(Params[Plane], 0,
                          Neighbour[Direction] >= 0 ? (Qp + ChromaQp(Neighbour[Direction], Plane) + 1) >> 1 : Qp);
        }
        std::memcpy(Params[0].Strength, pEdge, 16);
        const EdgeParams* const pParamsV = &Params[Planes - 1];
        if (Direction == 0)
            g_Kernels.FilterChromaVertical(pU, pV, m_Decoder.m_PitchChroma, &Params[0], pParamsV);
        else
            g_Kernels.FilterChromaHorizontal(pU, pV, m_Decoder.m_PitchChroma, &Params[0], pParamsV);
    }
}

void H264Deblocker::Filter(int32_t Number) const
{
    const int32_t Mb = Number + m_Decoder.m_FieldOffset;
    const int32_t X = Number % m_Decoder.m_MbWidth, Y = Number / m_Decoder.m_MbWidth;
    const Outer Neighbours = FindOuter(Mb, X, Y);
    const DeblockingStrength Strength =
        IsIntra(m_pGlobal[Mb]) ? IntraStrength(Mb, Neighbours) : InterStrength(Mb, Neighbours);
    if (m_Decoder.m_pFrame->m_ChromaFormat == 1) {
        const ptrdiff_t Offset = Y * 8 * m_Decoder.m_PitchChroma + X * 8;
        FilterChroma(Mb, Neighbours, Strength, m_Decoder.m_pPlane[1] + Offset, m_Decoder.m_pPlane[2] + Offset);
    }
    FilterLuma(Mb, Neighbours, Strength, m_Decoder.m_pPlane[0] + Y * 16 * m_Decoder.m_PitchLuma + X * 16);
}

Status H264SegmentDecoderMultiThreaded::DeblockSegment(int32_t FirstMb, int32_t Count)
{
    if (m_pHeader->disable_deblocking_filter_idc == 1) return StatusOk;
    const H264Deblocker Deblocker(*this, *m_pSlice);
    const auto SliceId = static_cast<uint16_t>(m_pSlice->m_SliceNumber);
    for (int32_t Mb = FirstMb; Mb < FirstMb + Count; ++Mb) // a macroblock that was lost belongs to no slice
        if (m_MbInfo.m_pGlobal[Mb + m_FieldOffset].SliceId == SliceId) Deblocker.Filter(Mb);
    return StatusOk;
}

Status H264SegmentDecoderMultiThreaded::DeblockSegmentTask(int32_t FirstMb, int32_t& Count)
{
    const int32_t End = std::min(FirstMb + Count, m_MbWidth * m_MbHeight);
    if (m_pSlice) return DeblockSegment(FirstMb, End - FirstMb);
    return DeblockPicture(FirstMb, End);
}

// A picture with slice groups: neighbouring macroblocks belong to different slices.
Status H264SegmentDecoderMultiThreaded::DeblockPicture(int32_t FirstMb, int32_t End)
{
    std::vector<std::unique_ptr<H264Deblocker>> BySlice;
    for (const H264Slice* const pSlice : m_pPictureAu->m_Slices) {
        const auto Number = static_cast<size_t>(pSlice->m_SliceNumber);
        if (Number >= BySlice.size()) BySlice.resize(Number + 1);
        if (pSlice->m_Header.disable_deblocking_filter_idc != 1)
            BySlice[Number] = std::make_unique<H264Deblocker>(*this, *pSlice);
    }
    for (int32_t Mb = FirstMb; Mb < End; ++Mb) {
        const size_t Number = m_MbInfo.m_pGlobal[Mb + m_FieldOffset].SliceId;
        if (Number < BySlice.size() && BySlice[Number]) BySlice[Number]->Filter(Mb);
    }
    return StatusOk;
}

} // namespace UMC
