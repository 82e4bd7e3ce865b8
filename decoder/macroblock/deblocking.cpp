#include "decoder/macroblock/deblocking.h"

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
      m_pLocal(Decoder.m_Local.m_pLocal), m_pMv{Decoder.m_MbInfo.m_pMv[0], Decoder.m_MbInfo.m_pMv[1]},
      m_pRefIdx{Decoder.m_MbInfo.m_pRefIdx[0], Decoder.m_MbInfo.m_pRefIdx[1]}, m_MvLimit(Decoder.m_IsField ? 2 : 4),
      m_WithinSlice(Slice.m_Header.disable_deblocking_filter_idc == 2),
      m_IsBSlice(Slice.m_Header.slice_type == B_SLICE), m_IsField(Decoder.m_IsField),
      m_HasChroma(Decoder.m_pFrame->m_Format.ChromaFormat == 1)
{
    const int32_t* const pOffset = Slice.m_pPicParamSet->chroma_qp_index_offset;
    m_OneChromaQp = pOffset[0] == pOffset[1];
    for (int Qp = 0; Qp < 52; ++Qp) {
        const int IndexA = std::clamp(Qp + Slice.m_Header.slice_alpha_c0_offset, 0, 51);
        const int IndexB = std::clamp(Qp + Slice.m_Header.slice_beta_offset, 0, 51);
        m_ByQp[Qp].Alpha = h264::kAlpha[IndexA];
        m_ByQp[Qp].Beta = h264::kBeta[IndexB];
        std::memcpy(m_ByQp[Qp].Clip, h264::kTc0[IndexA], 4);
        for (int Plane = 0; Plane < 2; ++Plane) // clause 8.7.2.2: of each macroblock by itself
            m_ChromaQp[Plane][Qp] = h264::kChromaQp[std::clamp(Qp + pOffset[Plane], 0, 51)];
    }
}

inline void H264Deblocker::SetThresholds(EdgeParams& Params, int Index, int Qp) const
{
    const Thresholds& t = m_ByQp[Qp];
    Params.Alpha[Index] = t.Alpha;
    Params.Beta[Index] = t.Beta;
    std::memcpy(Params.Clip[Index], t.Clip, 4);
}

[[gnu::always_inline]] inline void H264Deblocker::FilterLuma(const Place& p, const DeblockingStrength& Strength,
                                                             uint8_t* pLuma) const
{
    const int Qp = m_pLocal[p.Mb].Qp;
    EdgeParams Params;
    SetThresholds(Params, 1, Qp);
    const auto Run = [&](int Direction, int32_t Neighbour, auto Kernel) {
        const uint32_t* const pEdge = Strength.Edge[Direction];
        if ((pEdge[0] | pEdge[1] | pEdge[2] | pEdge[3]) == 0) return;
        if (pEdge[0]) SetThresholds(Params, 0, (Qp + m_pLocal[Neighbour].Qp + 1) >> 1);
        std::memcpy(Params.Strength, pEdge, 16);
        Kernel(pLuma, m_Decoder.m_PitchLuma, &Params);
    };
    Run(0, p.Left, g_Kernels.FilterLumaVertical);
    Run(1, p.Top, g_Kernels.FilterLumaHorizontal);
}

[[gnu::always_inline]] inline void H264Deblocker::FilterChroma(const Place& p, const DeblockingStrength& Strength,
                                                               uint8_t* pU, uint8_t* pV) const
{
    const int Planes = m_OneChromaQp ? 1 : 2;
    EdgeParams Params[2];
    const auto Run = [&](int Direction, int32_t Neighbour, auto Kernel) {
        const uint32_t* const pEdge = Strength.Edge[Direction];
        if ((pEdge[0] | pEdge[2]) == 0) return; // chroma has edges 0 and 2 alone
        for (int Plane = 0; Plane < Planes; ++Plane) {
            const uint8_t* const pQp = m_ChromaQp[Plane];
            const int Qp = pQp[m_pLocal[p.Mb].Qp];
            SetThresholds(Params[Plane], 1, Qp);
            if (pEdge[0]) SetThresholds(Params[Plane], 0, (Qp + pQp[m_pLocal[Neighbour].Qp] + 1) >> 1);
        }
        std::memcpy(Params[0].Strength, pEdge, 16);
        Kernel(pU, pV, m_Decoder.m_PitchChroma, &Params[0], &Params[Planes - 1]);
    };
    Run(0, p.Left, g_Kernels.FilterChromaVertical);
    Run(1, p.Top, g_Kernels.FilterChromaHorizontal);
}

void H264Deblocker::Filter(int32_t X, int32_t Y) const
{
    const Place p = FindPlace(X, Y);
    const DeblockingStrength Strength = FindStrength(p);
    if (m_HasChroma) {
        const ptrdiff_t Offset = Y * 8 * m_Decoder.m_PitchChroma + X * 8;
        FilterChroma(p, Strength, m_Decoder.m_pPlane[1] + Offset, m_Decoder.m_pPlane[2] + Offset);
    }
    FilterLuma(p, Strength, m_Decoder.m_pPlane[0] + Y * 16 * m_Decoder.m_PitchLuma + X * 16);
}

Status H264SegmentDecoderMultiThreaded::DeblockSegment(int32_t FirstMb, int32_t Count)
{
    if (m_pHeader->disable_deblocking_filter_idc == 1) return StatusOk;
    const H264Deblocker Deblocker(*this, *m_pSlice);
    const auto SliceId = static_cast<uint16_t>(m_pSlice->m_SliceNumber);
    int32_t X = FirstMb % m_MbWidth, Y = FirstMb / m_MbWidth;
    for (int32_t Mb = FirstMb; Mb < FirstMb + Count; ++Mb) {
        // A macroblock that was lost belongs to no slice.
        if (m_MbInfo.m_pGlobal[Mb + m_FieldOffset].SliceId == SliceId) Deblocker.Filter(X, Y);
        if (++X == m_MbWidth) {
            X = 0;
            ++Y;
        }
    }
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
        if (Number < BySlice.size() && BySlice[Number]) BySlice[Number]->Filter(Mb % m_MbWidth, Mb / m_MbWidth);
    }
    return StatusOk;
}

} // namespace UMC
