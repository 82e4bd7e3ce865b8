#include "decoder/macroblock/deblocking_strength.inc"

namespace UMC {

StrengthFinder::StrengthFinder(const PictureView& Picture, const H264Slice& Slice, Kind Kind)
    : m_pFrame(Slice.m_pFrame), m_pLists(Slice.m_pRefPicList), m_pGlobal(m_pFrame->m_MbInfo.pGlobal),
      m_pLocal(Slice.m_pLocal->pLocal), m_pMv{m_pFrame->m_MbInfo.pMv[0], m_pFrame->m_MbInfo.pMv[1]},
      m_pRefIdx{m_pFrame->m_MbInfo.pRefIdx[0], m_pFrame->m_MbInfo.pRefIdx[1]}, m_FirstMb(Picture.FirstMb),
      m_MbWidth(Picture.MbWidth), m_Kind(Kind), m_MvLimit(Kind == Kind::Frame ? 4 : 2), m_IsField(Kind != Kind::Frame),
      m_WithinSlice(Slice.m_Header.disable_deblocking_filter_idc == 2), m_IsBSlice(Slice.m_Header.slice_type == SLICE_B)
{
    NumberPictures();
}

void StrengthFinder::NumberPictures()
{
    for (int List = 0; List < (m_IsBSlice ? 2 : 1); ++List)
        for (int RefIdx = -1; RefIdx < 32; ++RefIdx)
            m_PictureOf[List][RefIdx + 1] = PictureOf(m_pLists, List, RefIdx, m_Kind);
}

const H264DecoderRefPicList* StrengthFinder::ListsOf(int32_t Mb) const
{
    return m_pFrame->RefPicListOf(m_pGlobal[Mb].SliceId);
}

template DeblockingStrength StrengthFinder::Find<false>(const Place&) const;
template DeblockingStrength StrengthFinder::Find<true>(const Place&) const;

} // namespace UMC
