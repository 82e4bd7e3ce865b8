#include "encoder/session/frame_step.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/picture/frame_coding.h"
#include "encoder/session/coding_order.h"
#include "encoder/session/picture_periods.h"

namespace UMC_H264_ENCODER {

namespace {

// A reference for a P or B picture: marked, or a picture that will be before it is needed.
template <class Sample>
bool HasReference(const EncoderCore<Sample>& c)
{
    for (const auto* p = c.Sequence.ReconstructionList.Head(); p; p = p->next)
        if (p->is_reference) return true;
    for (const auto* p = c.Sequence.InputList.Head(); p; p = p->next)
        if (!p->was_encoded && p->frame_type != FRAME_B) return true;
    return false;
}

template <class Sample>
bool IsReferenceB(const EncoderCore<Sample>& c)
{
    switch (c.Settings.Params.b_ref_mode) {
    case 0: return false;
    case 1: return c.Sequence.gop_index - 1 == (c.Settings.Params.num_b_frames + 1) / 2;
    default: return c.Settings.Params.b_ref_mode == 2;
    }
}

// Whether a picture of the type that the caller asks for can be coded.
UMC::Status CheckAskedType(int32_t Asked, bool CanPredict)
{
    if (Asked != UMC::P_PICTURE && Asked != UMC::B_PICTURE) return UMC::StatusOk;
    return CanPredict ? UMC::StatusOk : UMC::StatusNotEnoughData;
}

// The type that the caller asks for, or that of the GOP rule. Where all that could be referred to was lost it is an IDR
// picture.
template <class Sample>
int32_t TypeOfInput(EncoderCore<Sample>& c, int32_t Asked, bool CanPredict)
{
    switch (Asked) {
    case UMC::I_PICTURE: c.Sequence.make_idr_next = true; return FRAME_I;
    case UMC::P_PICTURE: return FRAME_P;
    case UMC::B_PICTURE: return FRAME_B;
    }
    const int32_t Type = NextFrameType(c.Settings, c.Sequence);
    if (Type == FRAME_I || CanPredict) return Type;
    c.Sequence.make_idr_next = true;
    return FRAME_I;
}

// A new picture gets its place.
template <class Sample>
void PlaceInput(SequenceState<Sample>& q, H264EncoderFrame<Sample>& New)
{
    New.poc[0] = 2 * q.poc_frame_count;
    New.poc[1] = 2 * q.poc_frame_count + 1;
    if (New.frame_type == FRAME_I && q.make_idr_next) {
        StartIdrPeriod(q, New);
        q.make_idr_next = false;
    }
    ++q.poc_frame_count;
}

// A type that the client asks for stands, as does that of an IDR picture: what waits cannot wait for more.
template <class Sample>
UMC::Status LookAheadTo(EncoderCore<Sample>& c, H264EncoderFrame<Sample>& New, int32_t Asked)
{
    const bool IsAsked = Asked == UMC::I_PICTURE || Asked == UMC::P_PICTURE || Asked == UMC::B_PICTURE;
    const bool Stands = IsAsked || (New.frame_type == FRAME_I && c.Sequence.make_idr_next);
    if (Stands) c.pLookAhead->DecideAll(c.Settings, c.Sequence);
    PlaceInput(c.Sequence, New);
    if (Stands)
        c.pLookAhead->Pass(New);
    else
        c.pLookAhead->Put(c.Settings, c.Sequence, New);
    return UMC::StatusOk;
}

// All that can fail comes first, so that a picture that is refused leaves the key frame rule and the counters alone.
template <class Sample>
UMC::Status TakeInput(EncoderCore<Sample>& c, UMC::VideoData& Input)
{
    if (c.Settings.Params.coding_type < 0) return UMC::StatusUnsupported; // the check corrects values above 2 alone
    const int32_t Asked = Input.GetFrameType();
    const bool CanPredict = HasReference(c);
    if (const UMC::Status s = CheckAskedType(Asked, CanPredict); s != UMC::StatusOk) return s;
    H264EncoderFrame<Sample>* pFrame = nullptr;
    const UMC::Status s = c.Sequence.InputList.InsertFrame(Input, c.Settings.Layout, c.pAllocator, c.Converter, pFrame);
    if (s != UMC::StatusOk) return s;
    // IDR pictures leave it as it is.
    pFrame->display_order = 2 * (c.Sequence.poc_frame_count + c.Sequence.poc_base);
    pFrame->frame_type = TypeOfInput(c, Asked, CanPredict);
    pFrame->b_is_reference = pFrame->frame_type == FRAME_B && IsReferenceB(c);
    if (c.pLookAhead) return LookAheadTo(c, *pFrame, Asked);
    PlaceInput(c.Sequence, *pFrame);
    return UMC::StatusOk;
}

// The last picture of the stream cannot wait for an anchor behind it, and those before it wait for no more than one.
template <class Sample>
void EndInput(EncoderCore<Sample>& c)
{
    if (c.pLookAhead) c.pLookAhead->DecideAll(c.Settings, c.Sequence);
    EndRun(c.Sequence, 2 * (c.Sequence.poc_frame_count + c.Sequence.poc_base));
    c.Sequence.b_anchors_needed = 1;
}

template <class Sample>
int32_t ClassOf(const H264EncoderFrame<Sample>& f, int32_t FramesEncoded, int32_t BRefMode)
{
    if (f.frame_type == FRAME_I && (FramesEncoded == 0 || f.is_idr)) return CLASS_IDR;
    if (f.frame_type == FRAME_B && !(f.b_is_reference && BRefMode != 0)) return CLASS_DISPOSABLE;
    return CLASS_REFERENCE;
}

// Frames of the reconstruction list that nothing refers to become input frames again.
template <class Sample>
void ReturnFreeFrames(EncoderCore<Sample>& c)
{
    while (auto* const pFree = c.Sequence.ReconstructionList.FindFree()) {
        c.Sequence.ReconstructionList.RemoveFrame(pFree);
        c.Sequence.InputList.Append(pFree);
    }
}

// The first picture behind an IDR picture that is lost takes its place, whether it has come already or not.
template <class Sample>
void ReplaceIdrPicture(EncoderCore<Sample>& c)
{
    H264EncoderFrame<Sample>* pFirst = nullptr;
    for (auto* p = c.Sequence.InputList.Head(); p; p = p->next) {
        if (p->was_encoded || p->Epoch() != c.Job.pCurrent->Epoch()) continue;
        if (!pFirst || p->display_order < pFirst->display_order) pFirst = p;
    }
    if (pFirst)
        StartIdrPeriod(c.Sequence, *pFirst);
    else
        c.Sequence.make_key_next = c.Sequence.make_idr_next = true;
}

// The stream goes on as if a picture that could not be delivered had never been: its number is given out again, a key
// picture is made up for, and the run of B pictures ahead of an anchor gets another. Only the number of an IDR picture
// is used up.
template <class Sample>
void GiveUpPicture(EncoderCore<Sample>& c, const PictureResult& Result)
{
    c.Sequence.idr_pic_id = Result.Sets.idr_pic_id;
    if (Result.Status == UMC::StatusFailed) c.Sequence.make_key_next = true;
    if (c.Job.pCurrent->is_idr)
        ReplaceIdrPicture(c);
    else if (c.Job.pCurrent->frame_type != FRAME_B)
        EndRun(c.Sequence, c.Job.pCurrent->display_order);
}

// A picture that the filter refuses is coded as it is. The filter knows the chroma of 4:2:0 alone: of other formats it
// gets the luma.
template <class Sample>
void ReduceNoise(EncoderCore<Sample>& c, const H264EncoderFrame<Sample>& f)
{
    const FrameLayout& l = c.Settings.Layout;
    const bool HasChroma = l.ChromaFormat == h264::CHROMA_420;
    c.NoiseFilter.Process(f.m_pY, HasChroma ? f.m_pU : nullptr, HasChroma ? f.m_pV : nullptr, f.m_Pitch, f.m_Pitch,
                          l.Width, l.Height);
}

template <class Sample>
UMC::Status CodeCurrent(EncoderCore<Sample>& c, UMC::MediaData& Output)
{
    auto& f = *c.Job.pCurrent;
    f.frame_num = f.is_idr ? 0 : c.Sequence.frame_num;
    f.picture_id = c.Sequence.next_picture_id += 2;
    f.PrepareTables();
    ReduceNoise(c, f);
    c.Sequence.InputList.RemoveFrame(&f);
    c.Sequence.ReconstructionList.Append(&f);
    const int32_t Class = ClassOf(f, c.Sequence.frames_encoded, c.Settings.Params.b_ref_mode);
    if (Class == CLASS_IDR) c.Sequence.b_anchors_needed = c.Settings.Params.num_ref_to_start_b;
    const PictureResult Result = CodeFrame(c.Settings, c.Sequence, c.Job, f, Class, Output);
    double Start = 0.0, End = 0.0;
    f.GetTime(Start, End);
    Output.SetTime(Start, End);
    if (Result.Status == UMC::StatusOk) {
        const bool IsCounted = f.frame_type != FRAME_B || f.b_is_reference;
        c.Sequence.frame_num = (f.frame_num + IsCounted) % EncoderSettings::frame_num_max;
    } else {
        GiveUpPicture(c, Result);
    }
    f.was_encoded = true;
    ReturnFreeFrames(c);
    return Result.Status;
}

} // namespace

template <class Sample>
int32_t NextFrameType(const EncoderSettings& Settings, SequenceState<Sample>& q)
{
    const auto Advance = [&] { q.gop_index = (q.gop_index + 1) % Settings.gop_length; };
    int32_t Type = Settings.gop_pattern[static_cast<size_t>(q.gop_index)];
    if (q.poc_frame_count + q.poc_base == 0) {
        Advance();
        q.make_key_next = false;
        return FRAME_I;
    }
    if (Settings.Params.key_frame_method == 1 && --q.key_countdown == 1) q.make_key_next = true;
    if (q.make_key_next) {
        Type = FRAME_I;
        q.key_countdown = static_cast<uint32_t>(Settings.Params.key_frame_interval) + 1;
        if (--q.idr_countdown == 1) {
            if (q.gop_index == 1 || Settings.gop_length < 2) {
                q.make_idr_next = true;
                q.idr_countdown = static_cast<uint32_t>(Settings.Params.idr_interval) + 1;
                q.gop_index = 0;
            } else { // end the run with an anchor first; the key picture is the next one
                Type = FRAME_P;
                q.key_countdown = q.idr_countdown = 2;
                q.b_anchors_needed = 1;
            }
        } else if (!Settings.Params.keep_pattern_at_key) {
            q.gop_index = 0;
        }
        q.make_key_next = false;
    }
    Advance();
    return Type;
}

template <class Sample>
UMC::Status FrameStep(EncoderCore<Sample>& c, UMC::VideoData* pInput, UMC::MediaData* pOutput)
{
    c.Job.pCurrent = nullptr;
    c.State = 0;
    if (pInput) {
        if (const UMC::Status s = TakeInput(c, *pInput); s != UMC::StatusOk) return s;
    } else if (c.Request & REQUEST_FLUSH) {
        EndInput(c);
    }
    c.Job.pCurrent = FindNextToCode(c.Sequence.InputList, c.Sequence.ReconstructionList, c.Sequence.b_anchors_needed,
                                    c.Settings.Params.b_ref_mode);
    if (!c.Job.pCurrent) {
        c.State |= STATE_NEED_INPUT;
        return UMC::StatusNotEnoughData;
    }
    return CodeCurrent(c, *pOutput);
}

template int32_t NextFrameType(const EncoderSettings&, SequenceState<uint8_t>&);
template UMC::Status FrameStep(Core8&, UMC::VideoData*, UMC::MediaData*);
template int32_t NextFrameType(const EncoderSettings&, SequenceState<uint16_t>&);
template UMC::Status FrameStep(Core16&, UMC::VideoData*, UMC::MediaData*);

} // namespace UMC_H264_ENCODER
