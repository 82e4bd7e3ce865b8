#include "encoder/picture/frame_coding.h"

#include "encoder/picture/picture_loop.h"
#include "encoder/picture/reference_lists.h"

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kCoarsestQp = 51;

// One attempt at all pictures of a frame. A second field is no IDR picture.
template <class Sample>
PictureResult Attempt(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                      H264EncoderFrame<Sample>& Frame, int32_t PictureClass, UMC::MediaData& Output)
{
    static constexpr PictureStructure kFrame[]{STRUCTURE_FRAME}, kFields[]{STRUCTURE_TOP, STRUCTURE_BOTTOM};
    const bool InFields = Settings.Params.coding_type == 1;
    PictureResult Result = BeginResult(Settings, Sequence, PictureClass, Output);
    for (int i = 0; i < (InFields ? 2 : 1) && Result.Status == UMC::StatusOk; ++i) {
        const int32_t Class = i > 0 && PictureClass == CLASS_IDR ? CLASS_REFERENCE : PictureClass;
        Job.Begin(Frame, InFields ? kFields[i] : kFrame[i], Class);
        if (Job.pScratch) Job.KeepSourceIn(*Job.pScratch);
        UpdateRefLists(Sequence, Frame);
        EncodePicture(Settings, Sequence, Job, Output, Result);
        if (Result.Status == UMC::StatusOk && Class != CLASS_DISPOSABLE) UpdateMarking(Settings, Job, Sequence);
    }
    return Result;
}

template <class Sample>
void Commit(const EncoderSettings& Settings, const H264EncoderFrame<Sample>& Frame, const PictureResult& Result,
            SequenceState<Sample>& Sequence, UMC::MediaData& Output)
{
    Output.SetDataSize(Result.DataSize);
    Sequence.Sps = Result.Sets.Sps;
    Sequence.Pps = Result.Sets.Pps;
    Sequence.idr_pic_id = Result.Sets.idr_pic_id;
    Sequence.total_bits += Result.Bits;
    if (Result.HasOutgrown) Sequence.make_key_next = true;
    if (FollowsRate(Settings.Params.rate_control_method))
        Sequence.Rate.PostFrame(Frame.frame_type, Sequence.total_bits);
    ++Sequence.frames_encoded;
}

template <class Sample, class F>
void ForEachFrame(const SequenceState<Sample>& Sequence, F&& f)
{
    for (auto* p = Sequence.ReconstructionList.Head(); p; p = p->next) f(*p);
}

// Whether a failed attempt is one that a coarser QP may mend. Without a rate to follow the QP stays, and a further
// attempt would come to the same.
bool MayRecode(const EncoderSettings& Settings, const PictureResult& Result)
{
    return (Settings.AnalysisFlags & ENC_ANALYSE_RECODE) && FollowsRate(Settings.Params.rate_control_method) &&
           (Result.Status == UMC::StatusNotEnoughBuffer || Result.HasOutgrown);
}

} // namespace

template <class Sample>
PictureResult CodeFrame(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                        H264EncoderFrame<Sample>& Frame, int32_t PictureClass, UMC::MediaData& Output)
{
    const RateController RateBefore = Sequence.Rate;
    ForEachFrame(Sequence, [](H264EncoderFrame<Sample>& f) { f.KeepMarks(); });
    if (Job.pScratch) Frame.SwapPlanes(*Job.pScratch); // the source stays there
    for (;;) {
        PictureResult Result = Attempt(Settings, Sequence, Job, Frame, PictureClass, Output);
        const int32_t Qp = Sequence.Rate.GetQP(Frame.frame_type);
        const bool IsRecoded = MayRecode(Settings, Result);
        if (!IsRecoded && Result.Status == UMC::StatusOk) {
            Commit(Settings, Frame, Result, Sequence, Output);
            return Result;
        }
        ForEachFrame(Sequence, [](H264EncoderFrame<Sample>& f) { f.PutBackMarks(); });
        if (!IsRecoded || Qp >= kCoarsestQp) {
            Sequence.Rate = RateBefore;
            if (IsRecoded) Result.Status = UMC::StatusNotEnoughBuffer;
            return Result;
        }
        Sequence.Rate.SetQP(Frame.frame_type, Qp + 1);
    }
}

#define INSTANTIATE(Sample)                                                                                            \
    template PictureResult CodeFrame(const EncoderSettings&, SequenceState<Sample>&, PictureJob<Sample>&,              \
                                     H264EncoderFrame<Sample>&, int32_t, UMC::MediaData&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
