#include "decoder/h264_headers_store.h"

namespace UMC {

void Headers::Release(HeaderKind Kind, const void* pRecord)
{
    switch (Kind) {
    case HeaderKind::SeqParamSet: return m_SeqParamSets.Release(static_cast<const H264SeqParamSet*>(pRecord));
    case HeaderKind::SeqParamSetExtension:
        return m_SeqParamSetExtensions.Release(static_cast<const H264SeqParamSetExtension*>(pRecord));
    case HeaderKind::PicParamSet: return m_PicParamSets.Release(static_cast<const H264PicParamSet*>(pRecord));
    case HeaderKind::Sei: return m_Sei.Release(static_cast<const H264SEIPayLoad*>(pRecord));
    }
}

void Headers::Reset(bool Keep)
{
    m_SeqParamSets.Reset(Keep);
    m_SeqParamSetExtensions.Reset(Keep);
    m_PicParamSets.Reset(Keep);
    m_Sei.Reset(Keep);
}

} // namespace UMC
