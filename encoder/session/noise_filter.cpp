#include "encoder/session/noise_filter.h"

#include <algorithm>
#include <new>

namespace UMC_H264_ENCODER {

namespace {

constexpr uint32_t kAllModes = NOISE_MEDIAN | NOISE_BORDERS | NOISE_TABLE;
constexpr uint32_t kTemporalLimit = 128, kMedianLimit = 256; // of the thresholds
constexpr int32_t kSmallest = 8;                             // samples of a picture, in both directions

bool IsSize(int32_t Width, int32_t Height)
{
    return Width % 4 == 0 && Height % 4 == 0 && Width >= kSmallest && Height >= kSmallest;
}

template <class Sample>
void CopyPlane(const NoisePlane<Sample>& From, const NoisePlane<Sample>& To)
{
    for (int32_t y = 0; y < From.Height; ++y) std::copy_n(From.Row(y), From.Width, To.Row(y));
}

// Where the chroma planes of a picture lie in the store, behind the luma and at the picture's own pitches. Planes that
// share their rows do so there too, where the rows have the room.
struct StoreLayout {
    ptrdiff_t U, V; // samples from its start, as is its size
    size_t Size;
};
template <class Sample>
StoreLayout LayOut(const NoisePicture<Sample>& Picture)
{
    const ptrdiff_t Luma = Picture.Y.Pitch * Picture.Y.Height, Chroma = Picture.U.Pitch * Picture.U.Height;
    const ptrdiff_t Beside = (Picture.U.Width + 7) / 8 * 8;
    const bool IsShared = Picture.Y.Pitch == Picture.U.Pitch && Beside + Picture.V.Width <= Picture.U.Pitch;
    if (IsShared) return {Luma, Luma + Beside, static_cast<size_t>(Luma + Chroma)};
    return {Luma, Luma + Chroma, static_cast<size_t>(Luma + 2 * Chroma)};
}

} // namespace

template <class Sample>
CNoiseReductionFilter<Sample>::CNoiseReductionFilter(int32_t, int32_t, int32_t half_scale)
    : m_enabled(CNoiseReductionFilter::IsSupported()), m_half_scale(half_scale != 0),
      m_mode(CNoiseReductionFilter::GetDefaultMode()), m_Borders{.half_scale = half_scale != 0}
{
    DeriveTables();
}

template <class Sample>
void CNoiseReductionFilter<Sample>::ForgetHistory()
{
    m_reset_pending = m_skip_temporal_once = true;
}

template <class Sample>
bool CNoiseReductionFilter<Sample>::Enable(bool IsOn)
{
    m_enabled = IsOn;
    if (!IsOn) ForgetHistory();
    return true;
}

template <class Sample>
bool CNoiseReductionFilter<Sample>::SetMode(uint32_t Mask)
{
    if (Mask == 0 || Mask > kAllModes) return false;
    const uint32_t TurnedOn = Mask & ~m_mode;
    if (TurnedOn & NOISE_MEDIAN) m_skip_temporal_once = true;
    if ((TurnedOn & NOISE_TABLE) && m_skip_temporal_once) m_reset_pending = true;
    m_mode = Mask;
    return true;
}

template <class Sample>
void CNoiseReductionFilter<Sample>::SetOptions(const NoiseReductionOptions& Options)
{
    m_Options = Options;
    for (uint32_t* p :
         {&m_Options.temporal_threshold_low, &m_Options.temporal_threshold_mid, &m_Options.temporal_threshold_high})
        *p = std::min(*p, kTemporalLimit);
    for (uint32_t* p : {&m_Options.median_neighbour_threshold, &m_Options.median_trigger_threshold})
        *p = std::min(*p, kMedianLimit);
    DeriveTables();
}

template <class Sample>
void CNoiseReductionFilter<Sample>::DeriveTables()
{
    const auto Scaled = [&](uint32_t Threshold) { return static_cast<int32_t>(Threshold >> (m_half_scale ? 1 : 0)); };
    m_Blend = MakeBlendTable({.Low = Scaled(m_Options.temporal_threshold_low),
                              .Mid = Scaled(m_Options.temporal_threshold_mid),
                              .High = Scaled(m_Options.temporal_threshold_high)});
    m_Median = {.Neighbour = Scaled(m_Options.median_neighbour_threshold),
                .Trigger = Scaled(m_Options.median_trigger_threshold),
                .HasFourNeighbours = m_Options.four_neighbours != 0};
}

template <class Sample>
bool CNoiseReductionFilter<Sample>::Start(int32_t Width, int32_t Height)
{
    ForgetHistory();
    m_Borders = {.half_scale = m_half_scale};
    return IsSize(Width, Height);
}

template <class Sample>
bool CNoiseReductionFilter<Sample>::ProvideStore(const NoisePicture<Sample>& Picture)
{
    const StoreLayout Layout = LayOut(Picture);
    if (Layout.Size > m_StoreSize) {
        m_StoreSize = 0;
        m_pStore.reset(); // before the larger one is asked for
        m_pStore.reset(new (std::nothrow) Sample[Layout.Size]);
        if (!m_pStore) return false;
        m_StoreSize = Layout.Size;
        ForgetHistory();
    }
    if (m_reset_pending) std::fill_n(m_pStore.get(), Layout.Size, Sample{0});
    m_Previous = Picture;
    m_Previous.Y.pSamples = m_pStore.get();
    m_Previous.U.pSamples = m_pStore.get() + Layout.U;
    m_Previous.V.pSamples = m_pStore.get() + Layout.V;
    return true;
}

template <class Sample>
void CNoiseReductionFilter<Sample>::FilterPlane(bool IsWanted, const NoisePlane<Sample>& Plane,
                                                const NoisePlane<Sample>& Previous)
{
    if (IsWanted && (m_mode & NOISE_MEDIAN)) {
        ReduceByMedian(Plane, Previous, m_Median);
        // The first plane of a picture takes the flag from the others, deliberately.
        if (!m_skip_temporal_once) Blend(Plane, Previous, m_Blend);
        m_skip_temporal_once = false;
    }
    if (IsWanted && (m_mode & NOISE_TABLE) && !m_reset_pending) Core(Plane, Previous);
    CopyPlane(Plane, Previous); // behind the stages, so that the filter is recursive
}

template <class Sample>
bool CNoiseReductionFilter<Sample>::Process(Sample* pY, Sample* pU, Sample* pV, int32_t PitchY, int32_t PitchUv,
                                            int32_t Width, int32_t Height)
{
    if (!m_enabled) return true;
    if (!IsSize(Width, Height) || PitchY % 4 != 0 || PitchY < Width) return false;
    NoisePicture<Sample> Picture;
    Picture.Y = {pY, PitchY, Width, Height};
    if (pU) {
        if (PitchUv % 2 != 0 || PitchUv < Width / 2) return false;
        Picture.U = {pU, PitchUv, Width / 2, Height / 2};
        Picture.V = {pV, PitchUv, Width / 2, Height / 2};
    }
    if (m_mode & NOISE_BORDERS) m_Borders.Repair(Picture);
    if (!(m_mode & (NOISE_MEDIAN | NOISE_TABLE))) return true;
    if (!ProvideStore(Picture)) return false;
    FilterPlane(m_Options.filter_y, Picture.Y, m_Previous.Y);
    if (pU) {
        FilterPlane(m_Options.filter_u, Picture.U, m_Previous.U);
        FilterPlane(m_Options.filter_v, Picture.V, m_Previous.V);
    }
    m_reset_pending = false;
    return true;
}

template class CNoiseReductionFilter<uint8_t>;
template class CNoiseReductionFilter<uint16_t>;

} // namespace UMC_H264_ENCODER
