// The reordering machine: which type a picture gets, and which picture is coded next.
#include "encoder/state/encoder_core.h"

namespace UMC_H264_ENCODER {

namespace {

template <class Core>
bool IsFirstPicture(const Core& c)
{
    return c.poc_frame_count + c.poc_base == 0;
}

// A reference for a P or B picture: marked, or a picture that will be before it is needed.
template <class Core>
bool HasReference(const Core& c)
{
    for (const auto* p = c.reconstruction_list.Head(); p; p = p->next)
        if (p->is_reference) return true;
    for (const auto* p = c.input_list.Head(); p; p = p->next)
        if (!p->was_encoded && p->frame_type != FRAME_B) return true;
    return false;
}

template <class Core>
bool IsReferenceB(const Core& c)
{
    switch (c.params.b_ref_mode) {
    case 0: return false;
    case 1: return c.gop_index - 1 == (c.params.num_b_frames + 1) / 2;
    default: return c.params.b_ref_mode == 2;
    }
}

// Whether a picture of the type that the caller asks for can be coded.
template <class Core>
UMC::Status CheckAskedType(const Core& c, int32_t Asked)
{
    if (Asked != UMC::P_PICTURE && Asked != UMC::B_PICTURE) return UMC::StatusOk;
    if (!HasReference(c)) return UMC::StatusNotEnoughData;
    return Asked == UMC::B_PICTURE ? UMC::StatusUnsupported : UMC::StatusOk; // this core codes no B slices
}

// The type that the caller asks for, or that of the GOP rule.
template <class Core>
int32_t TypeOfInput(Core& c, int32_t Asked)
{
    switch (Asked) {
    case UMC::I_PICTURE: c.make_idr_next = true; return FRAME_I;
    case UMC::P_PICTURE: return FRAME_P;
    default: return NextFrameType(c);
    }
}

template <class Core>
void StartIdrPeriod(Core& c, typename Core::Frame& New)
{
    New.is_idr = true;
    c.poc_base += c.poc_frame_count;
    c.poc_frame_count = 0;
    c.make_idr_next = false;
    for (auto* p = c.input_list.Head(); p; p = p->next) {
        if (p == &New) continue;
        ++p->idr_epoch[0];
        ++p->idr_epoch[1];
    }
}

// All that can fail comes first, so that a picture that is refused leaves the key frame rule and the counters alone.
template <class Core>
UMC::Status TakeInput(Core& c, UMC::VideoData& Input)
{
    const int32_t Asked = Input.GetFrameType();
    if (const UMC::Status s = CheckAskedType(c, Asked); s != UMC::StatusOk) return s;
    typename Core::Frame* pFrame = nullptr;
    const UMC::Status s = c.input_list.InsertFrame(Input, c.layout, c.allocator, c.converter, pFrame);
    if (s != UMC::StatusOk) return s;
    pFrame->frame_type = TypeOfInput(c, Asked);
    pFrame->b_is_reference = pFrame->frame_type == FRAME_B && IsReferenceB(c);
    if (pFrame->frame_type == FRAME_I && c.make_idr_next) StartIdrPeriod(c, *pFrame);
    pFrame->picture_structure = pFrame->picture_structure_before = STRUCT_FRAME;
    pFrame->poc[0] = 2 * c.poc_frame_count;
    pFrame->poc[1] = 2 * c.poc_frame_count + 1;
    pFrame->bottom_field_flag[1] = 1;
    pFrame->display_order = 2 * (c.poc_frame_count + c.poc_base);
    ++c.poc_frame_count;
    return UMC::StatusOk;
}

// The last picture of the stream cannot wait for an anchor behind it.
template <class Core>
void EndInput(Core& c)
{
    typename Core::Frame* pLast = nullptr;
    for (auto* p = c.input_list.Head(); p; p = p->next)
        if (!p->was_encoded && (!pLast || p->display_order > pLast->display_order)) pLast = p;
    if (!pLast || pLast->frame_type != FRAME_B) return;
    pLast->frame_type = FRAME_P;
    c.b_anchors_needed = 1;
}

template <class Core>
void Classify(Core& c)
{
    const auto& f = *c.current;
    if (f.frame_type == FRAME_I && (c.frames_encoded == 0 || f.is_idr)) {
        c.picture_class = CLASS_IDR;
        c.b_anchors_needed = c.params.num_ref_to_start_b;
    } else if (f.frame_type == FRAME_B && !(f.b_is_reference && c.params.b_ref_mode != 0)) {
        c.picture_class = CLASS_DISPOSABLE;
    } else {
        c.picture_class = CLASS_REFERENCE;
    }
}

// Frames of the reconstruction list that nothing refers to become input frames again.
template <class Core>
void ReturnFreeFrames(Core& c)
{
    while (auto* const pFree = c.reconstruction_list.FindFree()) {
        c.reconstruction_list.RemoveFrame(pFree);
        c.input_list.Append(pFree);
    }
}

// The stream goes on as if a picture that could not be delivered had never been: its number is given out again, and a
// key picture is made up for.
template <class Core>
void GiveUpPicture(Core& c, int32_t FrameNumBefore)
{
    c.frame_num = FrameNumBefore;
    if (c.current->is_idr) c.make_key_next = c.make_idr_next = true;
    c.current->Unmark();
}

template <class Core>
UMC::Status CodeCurrent(Core& c, UMC::MediaData& Output)
{
    auto& f = *c.current;
    const int32_t FrameNumBefore = c.frame_num;
    if (f.is_idr) c.frame_num = 0;
    f.frame_num = c.frame_num;
    if (f.frame_type != FRAME_B || f.b_is_reference) c.frame_num = (c.frame_num + 1) % c.frame_num_max;
    c.input_list.RemoveFrame(&f);
    c.reconstruction_list.Append(&f);
    Classify(c);

    const UMC::Status s = EncodePicture(c, Output);
    double Start = 0.0, End = 0.0;
    f.GetTime(Start, End);
    Output.SetTime(Start, End);
    if (s == UMC::StatusOk)
        c.state |= f.frame_type == FRAME_I ? STATE_CODED_I : f.frame_type == FRAME_B ? STATE_CODED_B : 0u;
    else
        GiveUpPicture(c, FrameNumBefore);
    f.was_encoded = true;
    ReturnFreeFrames(c);
    return s;
}

} // namespace

template <class Core>
int32_t NextFrameType(Core& c)
{
    const auto Advance = [&c] { c.gop_index = (c.gop_index + 1) % c.gop_length; };
    int32_t Type = c.gop_pattern[static_cast<size_t>(c.gop_index)];
    if (IsFirstPicture(c)) {
        Advance();
        c.make_key_next = false;
        return FRAME_I;
    }
    if (c.params.key_frame_method == 1 && --c.key_countdown == 1) c.make_key_next = true;
    if (c.make_key_next) {
        Type = FRAME_I;
        c.key_countdown = static_cast<uint32_t>(c.params.key_frame_interval) + 1;
        if (--c.idr_countdown == 1) {
            if (c.gop_index == 1 || c.gop_length < 2) {
                c.make_idr_next = true;
                c.idr_countdown = static_cast<uint32_t>(c.params.idr_interval) + 1;
                c.gop_index = 0;
            } else { // end the run with an anchor first; the key picture is the next one
                Type = FRAME_P;
                c.key_countdown = c.idr_countdown = 2;
                c.b_anchors_needed = 1;
            }
        } else if (!c.params.keep_pattern_at_key) {
            c.gop_index = 0;
        }
        c.make_key_next = false;
    }
    Advance();
    return Type;
}

template <class Core>
UMC::Status FrameStep(Core& c, UMC::VideoData* pInput, UMC::MediaData* pOutput)
{
    c.current = nullptr;
    c.state = 0;
    if (pInput) {
        if (const UMC::Status s = TakeInput(c, *pInput); s != UMC::StatusOk) return s;
    } else if (c.request & REQUEST_FLUSH) {
        EndInput(c);
    }
    c.current = FindNextToCode(c.input_list, c.reconstruction_list, c.b_anchors_needed, c.params.b_ref_mode);
    if (!c.current) {
        c.state |= STATE_NEED_INPUT;
        return UMC::StatusNotEnoughData;
    }
    return CodeCurrent(c, *pOutput);
}

template int32_t NextFrameType(Core8&);
template UMC::Status FrameStep(Core8&, UMC::VideoData*, UMC::MediaData*);

} // namespace UMC_H264_ENCODER
