#include "decoder/macroblock/deblocking.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/h264_tables.h"
#include "kernels/dispatch/kernels.h"

#include <algorithm>
#include <cstring>

namespace UMC {

using kernels::EdgeParams;
using kernels::g_Kernels;

H264Deblocker::H264Deblocker(const PictureView& Picture, const H264Slice& Slice)
    : m_Picture(Picture), m_pFrame(Slice.m_pFrame), m_pLists(Slice.m_pRefPicList),
      m_pGlobal(m_pFrame->m_MbInfo.pGlobal),
      m_pLocal(Slice.m_pLocal->pLocal), m_pMv{m_pFrame->m_MbInfo.pMv[0], m_pFrame->m_MbInfo.pMv[1]},
      m_pRefIdx{m_pFrame->m_MbInfo.pRefIdx[0], m_pFrame->m_MbInfo.pRefIdx[1]}, m_MvLimit(Picture.IsField ? 2 : 4),
      m_WithinSlice(Slice.m_Header.disable_deblocking_filter_idc == 2), m_IsBSlice(Slice.m_Header.slice_type == SLICE_B)
{
    if (m_IsBSlice) NumberPictures();
    const int32_t* const pOffset = Slice.m_pPicParamSet->chroma_qp_index_offset;
    m_OneChromaQp = pOffset[0] == pOffset[1];
    for (int Qp = 0; Qp < 52; ++Qp) {
        m_ByQp[Qp] =
            h264::FindDeblockingThresholds(Qp, Slice.m_Header.slice_alpha_c0_offset, Slice.m_Header.slice_beta_offset);
        for (int Plane = 0; Plane < 2; ++Plane) // clause 8.7.2.2: of each macroblock by itself
            m_ChromaQp[Plane][Qp] = h264::kChromaQp[std::clamp(Qp + pOffset[Plane], 0, 51)];
    }
}

inline void H264Deblocker::SetThresholds(EdgeParams& Params, int Index, int Qp) const
{
    const h264::DeblockingThresholds& t = m_ByQp[Qp];
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
        Kernel(pLuma, m_Picture.PitchLuma, &Params);
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
        Kernel(pU, pV, m_Picture.PitchChroma, &Params[0], &Params[Planes - 1]);
    };
    Run(0, p.Left, g_Kernels.FilterChromaVertical);
    Run(1, p.Top, g_Kernels.FilterChromaHorizontal);
}

void H264Deblocker::Filter(int32_t X, int32_t Y) const
{
    const Place p = FindPlace(X, Y);
    const DeblockingStrength Strength = FindStrength(p);
    if (m_Picture.ChromaFormat == h264::CHROMA_420) {
        const ptrdiff_t Offset = Y * 8 * m_Picture.PitchChroma + X * 8;
        FilterChroma(p, Strength, m_Picture.pPlane[1] + Offset, m_Picture.pPlane[2] + Offset);
    }
    FilterLuma(p, Strength, m_Picture.pPlane[0] + Y * 16 * m_Picture.PitchLuma + X * 16);
}

} // namespace UMC
