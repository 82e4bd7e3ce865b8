// What a picture would cost, predicted from an earlier one: its macroblocks are decided in one part each, and not
// coded.
#pragma once

#include "encoder/picture/picture_result.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

// Of all macroblocks of a frame.
struct TrialCost {
    int64_t Cost = 0;
    int32_t IntraCount = 0;
};

/// It works on copies, so that neither noise filter nor reconstruction comes between two trials of a picture.
template <class Sample>
class PictureTrial
{
public:
    using Frame = H264EncoderFrame<Sample>;

    /// @param Qp  of all trials, so that their costs compare. Throws std::bad_alloc
    PictureTrial(const EncoderSettings& Settings, int32_t Qp);

    /// The planes of a picture, without alpha, with the padding of a reference. What lies beyond the visible samples
    /// repeats the last of them: leftovers of earlier pictures would decide otherwise.
    /// @param Copy  has planes of the layout in the settings
    void CopyPicture(const Frame& Picture, Frame& Copy) const;
    /// Of two copies, of which the first gets motion of its own: later trials against it begin there. Fields are
    /// predicted from those of their own parity.
    TrialCost Run(Frame& Picture, const Frame& Earlier);

private:
    void RunPart(Frame& Picture, const Frame& Earlier, PictureStructure Part, TrialCost& Sum);
    bool InFields() const { return m_Settings.Params.coding_type == CODING_FIELDS; }

    EncoderSettings m_Settings; // without all that takes a macroblock apart
    PictureSets m_Sets;
    PictureJob<Sample> m_Job;
    int32_t m_Qp;
};

extern template class PictureTrial<uint8_t>;
extern template class PictureTrial<uint16_t>;

} // namespace UMC_H264_ENCODER
