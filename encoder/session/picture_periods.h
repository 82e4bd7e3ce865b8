// Where runs of B pictures and the periods of IDR pictures end.
#pragma once

#include "encoder/picture/sequence_state.h"

namespace UMC_H264_ENCODER {

/// No anchor comes at a place in display order: a picture that lies just ahead of it and would wait for one is it.
template <class Sample>
void EndRun(SequenceState<Sample>& Sequence, int32_t DisplayOrder)
{
    for (auto* p = Sequence.InputList.Head(); p; p = p->next)
        if (!p->was_encoded && p->display_order == DisplayOrder - 2 && p->frame_type == FRAME_B)
            p->frame_type = FRAME_P;
}

/// Makes a picture of the input list, whose place and order counts are those of the period before, an IDR picture. It
/// and the pictures of that period that are displayed behind it count anew; those ahead of it are coded first and get
/// no more anchors than they have.
template <class Sample>
void StartIdrPeriod(SequenceState<Sample>& Sequence, H264EncoderFrame<Sample>& First)
{
    const int32_t Epoch = First.Epoch(), Before = First.poc[0];
    First.frame_type = FRAME_I;
    First.is_idr = true;
    EndRun(Sequence, First.display_order);
    Sequence.b_anchors_needed = 1;
    for (auto* p = Sequence.InputList.Head(); p; p = p->next) {
        const bool IsAhead = p->display_order < First.display_order;
        if (!IsAhead && p->Epoch() != Epoch) continue;
        for (int Field = 0; Field < 2; ++Field) {
            p->idr_epoch[Field] += IsAhead;
            p->poc[Field] -= IsAhead ? 0 : Before;
        }
    }
    if (Epoch != 0) return; // a later period has begun already
    Sequence.poc_base += Before / 2;
    Sequence.poc_frame_count -= Before / 2;
}

} // namespace UMC_H264_ENCODER
