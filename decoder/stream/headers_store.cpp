#include "decoder/stream/headers_store.h"

namespace UMC {

void Headers::Settle()
{
    m_SeqParamSets.Settle();
    m_SeqParamSetExtensions.Settle();
    m_PicParamSets.Settle();
    m_Sei.Settle();
}

void Headers::Reset(bool Keep)
{
    m_SeqParamSets.Reset(Keep);
    m_SeqParamSetExtensions.Reset(Keep);
    m_PicParamSets.Reset(Keep);
    m_Sei.Reset(Keep);
}

} // namespace UMC
