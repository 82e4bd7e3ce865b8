// A filter that the pictures of a sequence may pass before they are coded, as its user sees it.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

/// What the filter works with. Thresholds are differences of samples.
struct NoiseReductionOptions {
    uint8_t filter_y = 1, filter_u = 1, filter_v = 1; // the planes that the stages of the previous picture touch
    uint8_t four_neighbours = 1;                      // of the median; 0: eight
    uint32_t median_neighbour_threshold = 15; // a neighbour counts only when it is closer than this to the centre
    uint32_t median_trigger_threshold = 6;    // a sample closer than this to the previous picture's stays
    uint32_t temporal_threshold_low = 6, temporal_threshold_mid = 12, temporal_threshold_high = 20; // limits of bands
};

/// The stages, as bits of a mask.
enum NoiseMode : uint32_t {
    NOISE_MEDIAN = 1, // the median, then the blend with the previous picture
    NOISE_BORDERS = 2,
    NOISE_TABLE = 4
};

/// One thread; nothing is thrown. Pitches are in samples, of either sample type.
template <class Sample>
class H264_I_Noise_Reduction
{
public:
    /// Clearing forgets the previous picture. Always true.
    virtual bool Enable(bool IsOn) = 0;
    virtual bool IsEnabled() const = 0;
    /// Whether the filter is on from its construction.
    virtual bool IsSupported() const = 0;
    /// @return false, and the mode stays, for a mask of 0 or with other bits than those of NoiseMode
    virtual bool SetMode(uint32_t Mask) = 0;
    virtual uint32_t GetMode() const = 0;
    virtual uint32_t GetDefaultMode() const = 0;
    /// Takes a copy, with the temporal thresholds cut to 128 and those of the median to 256.
    virtual void SetOptions(const NoiseReductionOptions& Options) = 0;
    virtual void GetOptions(NoiseReductionOptions& Options) const = 0;
    virtual void GetDefaultOptions(NoiseReductionOptions& Options) const = 0;
    /// Filters a 4:2:0 picture in place, and keeps a copy for the next one.
    ///
    /// @param pU       null, as pV then: the luma alone is filtered
    /// @param PitchY   a multiple of 4, at least Width
    /// @param PitchUv  even, at least Width / 2; without chroma of no meaning
    /// @param Width    a multiple of 4, 8 at least, and so is Height
    /// @return true, at once when the filter is off; false for another geometry, when the picture stays as it is, or
    ///         without memory, when the borders alone are repaired
    virtual bool Process(Sample* pY, Sample* pU, Sample* pV, int32_t PitchY, int32_t PitchUv, int32_t Width,
                         int32_t Height) = 0;
    /// Begins a sequence. @return false for a size that Process refuses
    virtual bool Start(int32_t Width, int32_t Height) = 0;
    virtual ~H264_I_Noise_Reduction() = default;
};

} // namespace UMC_H264_ENCODER
