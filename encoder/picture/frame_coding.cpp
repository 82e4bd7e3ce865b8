#include "encoder/picture/frame_coding.h"

#include "encoder/picture/picture_loop.h"
#include "encoder/picture/reference_lists.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kCoarsestQp = 51;

// One attempt at one picture of a frame, with its auxiliary picture. Only the bits of the one coded last are counted:
// that is deliberate.
template <class Sample>
void AttemptPart(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                 H264EncoderFrame<Sample>& Frame, PictureStructure Structure, int32_t Class, UMC::MediaData& Output,
                 PictureResult& Result)
{
    const int64_t BitsBefore = Result.Bits;
    const int Pictures = Settings.Layout.HasAlpha ? 2 : 1;
    for (int i = 0; i < Pictures && Result.Status == UMC::StatusOk; ++i) {
        Result.Bits = BitsBefore;
        Job.Begin(Frame, {Structure, i > 0}, Class);
        if (Job.pScratch) Job.KeepSourceIn(*Job.pScratch);
        EncodePicture(Settings, Sequence, Job, Output, Result);
    }
}

// One attempt at all pictures of a frame. A second field is no IDR picture.
template <class Sample>
PictureResult Attempt(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                      H264EncoderFrame<Sample>& Frame, int32_t PictureClass, UMC::MediaData& Output)
{
    static constexpr PictureStructure kFrame[]{STRUCTURE_FRAME}, kFields[]{STRUCTURE_TOP, STRUCTURE_BOTTOM};
    const bool InFields = Settings.Params.coding_type == CODING_FIELDS;
    PictureResult Result = BeginResult(Settings, Sequence, PictureClass, Output);
    for (int i = 0; i < (InFields ? 2 : 1) && Result.Status == UMC::StatusOk; ++i) {
        const int32_t Class = i > 0 && PictureClass == CLASS_IDR ? CLASS_REFERENCE : PictureClass;
        UpdateRefLists(Sequence, Frame);
        AttemptPart(Settings, Sequence, Job, Frame, InFields ? kFields[i] : kFrame[i], Class, Output, Result);
        if (Result.Status == UMC::StatusOk && Class != CLASS_DISPOSABLE) UpdateMarking(Settings, Job, Sequence);
    }
    return Result;
}

template <class Sample>
int32_t CountSkips(const H264EncoderFrame<Sample>& Frame, int32_t MbCount)
{
    return static_cast<int32_t>(std::count_if(Frame.mb_global, Frame.mb_global + MbCount,
                                              [](const GlobalMacroblock& mb) { return mb.Type == MB_SKIP_B; }));
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
    if ((Settings.AnalysisFlags & ENC_ANALYSE_DIRECT_AUTO) && Frame.frame_type == FRAME_B)
        Sequence.Direct.Count(CountSkips(Frame, Settings.Layout.MbCount));
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
    if (Frame.frame_type == FRAME_B) Sequence.Direct.Choose();
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
