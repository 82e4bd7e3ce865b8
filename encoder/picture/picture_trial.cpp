#include "encoder/picture/picture_trial.h"

#include "encoder/decide/macroblock_decision.h"
#include "encoder/picture/make_parameter_sets.h"
#include "encoder/picture/padding.h"
#include "encoder/picture/reference_lists.h"
#include "encoder/picture/slice_start.h"
#include "encoder/picture/slice_walk.h"
#include "encoder/state/macroblock_positions.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Finer forms, pairs and trials by bits say little of what pictures have in common.
EncoderSettings SettingsOfTrials(EncoderSettings Settings)
{
    Settings.AnalysisFlags &= ENC_ANALYSE_SAD | ENC_ANALYSE_ME_EARLY_EXIT | ENC_ANALYSE_ME_CHROMA | ENC_ANALYSE_SUBPEL;
    Settings.Params.transform_8x8_mode = 0;
    if (Settings.Params.coding_type == CODING_ADAPTIVE) {
        Settings.Params.coding_type = CODING_FRAMES;
        FillPositions(Settings);
    }
    return Settings;
}

// Copies Width x Height samples and repeats the last column and row to the whole plane.
// @param RowStep  from one row to the next of the same field
template <class Sample>
void CopyPlane(const UMC::PlaneInfo& From, Sample* pTo, ptrdiff_t Pitch, int32_t WholeWidth, int32_t WholeHeight,
               int32_t RowStep)
{
    for (int32_t y = 0; y < WholeHeight; ++y) {
        Sample* const pRow = pTo + y * Pitch;
        if (y >= From.m_Height) {
            std::copy_n(pTo + std::max(y - RowStep, 0) * Pitch, WholeWidth, pRow);
            continue;
        }
        const auto* const pSource =
            reinterpret_cast<const Sample*>(From.m_pPlane + y * static_cast<ptrdiff_t>(From.m_Pitch));
        std::copy_n(pSource, From.m_Width, pRow);
        std::fill(pRow + From.m_Width, pRow + WholeWidth, pRow[From.m_Width - 1]);
    }
}

} // namespace

template <class Sample>
PictureTrial<Sample>::PictureTrial(const EncoderSettings& Settings, int32_t Qp)
    : m_Settings(SettingsOfTrials(Settings)), m_Sets{MakeSeqParams(m_Settings.Params),
                                                     MakePicParams(m_Settings.Params, Qp), 0},
      m_Qp(Qp)
{
    const bool HasAlpha = m_Settings.Layout.HasAlpha;
    m_Job.MakeTables(static_cast<size_t>(m_Settings.Layout.MbCount) * (HasAlpha ? 2 : 1));
    m_Job.Slices = std::make_unique<SliceContext<Sample>[]>(1);
    SliceContext<Sample>& s = m_Job.Slices[0];
    if (m_Settings.Params.search_method == SEARCH_UMBRELLA)
        s.work_area.pVisited = std::make_unique<uint8_t[]>(kVisitedPoints);
    s.Facts.slice_type = h264::SLICE_P;
    s.Facts.num_ref_idx_l0 = s.Facts.num_ref_idx_l1 = 1;
    s.Quant.Qp = kNoQp;
    s.cur_mb.pSlice = &s.Facts;
    s.cur_mb.pQuant = &s.Quant;
}

template <class Sample>
void PictureTrial<Sample>::CopyPicture(const Frame& Picture, Frame& Copy) const
{
    const FrameLayout& l = m_Settings.Layout;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[l.ChromaFormat];
    Sample* const pPlanes[3]{Copy.m_pY, Copy.m_pU, Copy.m_pV};
    for (int32_t Plane = 0; Plane < (Chroma.Blocks == 0 ? 1 : 3); ++Plane) {
        UMC::PlaneInfo From;
        Picture.GetPlaneInfo(&From, Plane);
        const int32_t ShiftX = Plane ? Chroma.ShiftX : 0, ShiftY = Plane ? Chroma.ShiftY : 0;
        CopyPlane(From, pPlanes[Plane], l.Pitch, l.AlignedWidth >> ShiftX, l.AlignedHeight >> ShiftY,
                  InFields() ? 2 : 1);
    }
    if (!InFields()) return PadPicture(Copy.View(), l.ChromaFormat);
    for (const PictureStructure Part : {STRUCTURE_TOP, STRUCTURE_BOTTOM})
        PadPicture(PartOf(Copy.View(), Part), l.ChromaFormat);
}

template <class Sample>
TrialCost PictureTrial<Sample>::Run(Frame& Picture, const Frame& Earlier)
{
    TrialCost Sum;
    if (InFields()) {
        RunPart(Picture, Earlier, STRUCTURE_TOP, Sum);
        RunPart(Picture, Earlier, STRUCTURE_BOTTOM, Sum);
    } else {
        RunPart(Picture, Earlier, STRUCTURE_FRAME, Sum);
    }
    return Sum;
}

template <class Sample>
void PictureTrial<Sample>::RunPart(Frame& Picture, const Frame& Earlier, PictureStructure Part, TrialCost& Sum)
{
    SliceContext<Sample>& s = m_Job.Slices[0];
    CurrentMacroblock<Sample>& mb = s.cur_mb;
    m_Job.Begin(Picture, {Part}, CLASS_REFERENCE);
    s.Facts.slice_id = Part == STRUCTURE_BOTTOM; // so that no macroblock of the first field is taken for a neighbour
    s.Facts.MbLimit = m_Job.MbCount;
    s.Facts.ref_pic_lists.Pictures[0][0] = Refer(Earlier, Part, m_Job);
    CompleteFacts(m_Settings, m_Sets, m_Job, s.Facts);
    if (s.Quant.Qp != m_Qp) SetQuantisers(m_Settings, s.Facts.Syntax, m_Qp, s.Quant);
    mb.Records = RecordsOf(m_Job, 0);
    for (int32_t Index = 0; Index < m_Job.MbCount;) {
        StartMacroblock(m_Settings, m_Job, Index, m_Qp, mb);
        const Candidate Won = AnalyseMacroblock<Sample>(m_Settings, mb, s.work_area, nullptr);
        Commit(Won, s.work_area, mb);
        Sum.Cost += Won.Cost;
        Sum.IntraCount += IsIntra(Won.Type);
        if (++Index < m_Job.MbCount) Advance(mb.Records, false);
    }
}

template class PictureTrial<uint8_t>;
template class PictureTrial<uint16_t>;

} // namespace UMC_H264_ENCODER
