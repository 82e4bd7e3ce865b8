#include "encoder/session/coding_order.h"

namespace UMC_H264_ENCODER {

namespace {

// How the B pictures of a run alternate when some are references. One pair serves all encoders of a process; with
// b_ref_mode 0 it is not touched.
template <class Sample>
struct BOrder {
    static inline uint32_t s_Toggle = 0;
    static inline int32_t s_Limit = 0; // POC of the last anchor
};

// Short-term references that follow a picture in display order.
template <class Sample>
int32_t CountAnchorsBehind(const H264EncoderFrameList<Sample>& Reconstructed, const H264EncoderFrame<Sample>& Frame)
{
    int32_t Count = 0;
    for (const auto* p = Reconstructed.Head(); p; p = p->next)
        Count += p->IsShortTerm() && p->display_order > Frame.display_order;
    return Count;
}

template <class Frame>
bool SortsBefore(const Frame& a, const Frame& b)
{
    return a.Epoch() != b.Epoch() ? a.Epoch() > b.Epoch() : a.Poc() < b.Poc();
}

// With reference B pictures, the pick between those of a run alternates between the last and the first of them.
template <class Sample>
H264EncoderFrame<Sample>* PickReferenceB(const H264EncoderFrameList<Sample>& Input, H264EncoderFrame<Sample>* pPick)
{
    using Order = BOrder<Sample>;
    if (pPick->frame_type == FRAME_P) {
        Order::s_Toggle = 0;
        Order::s_Limit = pPick->Poc();
    }
    if (pPick->frame_type != FRAME_B) return pPick;
    H264EncoderFrame<Sample>*pHighest = nullptr, *pLowest = nullptr;
    for (auto* p = Input.Head(); p; p = p->next) {
        if (p->was_encoded || p->frame_type != FRAME_B || !p->b_is_reference) continue;
        if (p->Poc() >= Order::s_Limit || p->Epoch() != pPick->Epoch()) continue;
        if (!pHighest || p->Poc() > pHighest->Poc()) pHighest = p;
        if (!pLowest || p->Poc() < pLowest->Poc()) pLowest = p;
    }
    if (!pHighest) return pPick;
    return Order::s_Toggle++ & 1 ? pHighest : pLowest;
}

} // namespace

template <class Sample>
H264EncoderFrame<Sample>* FindNextToCode(const H264EncoderFrameList<Sample>& Input,
                                         const H264EncoderFrameList<Sample>& Reconstructed, int32_t AnchorsNeeded,
                                         int32_t BRefMode)
{
    H264EncoderFrame<Sample>* pPick = nullptr;
    for (auto* p = Input.Head(); p; p = p->next) {
        if (p->was_encoded || p->awaits_type) continue;
        if (p->frame_type == FRAME_B && CountAnchorsBehind(Reconstructed, *p) < AnchorsNeeded) continue;
        if (!pPick || SortsBefore(*p, *pPick)) pPick = p;
    }
    return pPick && BRefMode != 0 ? PickReferenceB(Input, pPick) : pPick;
}

template H264EncoderFrame<uint8_t>* FindNextToCode(const H264EncoderFrameList<uint8_t>&,
                                                   const H264EncoderFrameList<uint8_t>&, int32_t, int32_t);
template H264EncoderFrame<uint16_t>* FindNextToCode(const H264EncoderFrameList<uint16_t>&,
                                                    const H264EncoderFrameList<uint16_t>&, int32_t, int32_t);

} // namespace UMC_H264_ENCODER
