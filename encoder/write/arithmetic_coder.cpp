#include "encoder/write/arithmetic_coder.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

StoredBytes::Tail StoredBytes::Keep() const
{
    Tail t{m_pOut, m_pOut, 0xFF};
    while (t.pFirst > m_pStart) {
        t.First = *--t.pFirst;
        if (t.First != 0xFF) break;
    }
    return t;
}

void StoredBytes::PutBack(const Tail& t)
{
    if (t.pFirst == t.pEnd) return;
    *t.pFirst = t.First;
    std::fill(t.pFirst + 1, t.pEnd, uint8_t{0xFF});
}

} // namespace UMC_H264_ENCODER
