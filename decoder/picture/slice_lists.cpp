#include "decoder/picture/slice_lists.h"

#include "decoder/picture/frame.h"

namespace UMC {

namespace {

H264RefPicIndices IndicesIn(const H264DecoderRefPicList& Lists)
{
    H264RefPicIndices Indices;
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < 32; ++i) {
            const H264DecoderFrame* const pFrame = Lists.List[List].Frame[i];
            const int Field = RefFlagField(Lists.List[List].Flag[i]);
            Indices.Index[List][i] =
                pFrame ? static_cast<uint8_t>(PictureIndex(pFrame->m_Index, Field)) : H264RefPicIndices::kNone;
        }
    return Indices;
}

} // namespace

void SliceLists::Reserve()
{
    if (!m_pSpare) m_pSpare = std::make_unique<H264DecoderRefPicList>();
    GrowTable(m_Lists);
    GrowTable(m_Indices);
    GrowTable(m_ListNumber);
}

int32_t SliceLists::Add()
{
    if (m_Lists.empty() || *m_Lists.back() != *m_pSpare) {
        m_Indices.push_back(IndicesIn(*m_pSpare));
        m_Lists.push_back(std::move(m_pSpare));
    }
    m_ListNumber.push_back(static_cast<uint16_t>(m_Lists.size() - 1));
    return static_cast<int32_t>(m_ListNumber.size());
}

void SliceLists::ReleaseLists() { EmptyTable(m_Lists); }

void SliceLists::Clear()
{
    EmptyTable(m_Lists);
    EmptyTable(m_Indices);
    EmptyTable(m_ListNumber);
}

} // namespace UMC
