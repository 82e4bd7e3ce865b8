// The noise filter that every encoder has, and that none turns on.
#pragma once

#include "encoder/session/noise_borders.h"
#include "encoder/session/noise_median.h"
#include "encoder/session/noise_reduction.h"
#include "encoder/session/noise_tables.h"

#include <memory>

namespace UMC_H264_ENCODER {

/// Built off, with the default mode. What is remembered of the previous picture is the filtered one.
template <class Sample>
class CNoiseReductionFilter : public H264_I_Noise_Reduction<Sample>
{
public:
    /// @param half_scale  not 0: all thresholds count half. Nothing depends on the other two.
    CNoiseReductionFilter(int32_t a, int32_t b, int32_t half_scale);

    bool Enable(bool IsOn) override;
    bool IsEnabled() const override { return m_enabled; }
    bool IsSupported() const override { return false; }
    bool SetMode(uint32_t Mask) override;
    uint32_t GetMode() const override { return m_mode; }
    uint32_t GetDefaultMode() const override { return NOISE_MEDIAN | NOISE_BORDERS; }
    void SetOptions(const NoiseReductionOptions& Options) override;
    void GetOptions(NoiseReductionOptions& Options) const override { Options = m_Options; }
    void GetDefaultOptions(NoiseReductionOptions& Options) const override { Options = {}; }
    bool Process(Sample* pY, Sample* pU, Sample* pV, int32_t PitchY, int32_t PitchUv, int32_t Width,
                 int32_t Height) override;
    bool Start(int32_t Width, int32_t Height) override;

    /// What is known of the borders so far.
    const NoiseBorders& Borders() const { return m_Borders; }

private:
    void ForgetHistory();
    void DeriveTables();
    bool ProvideStore(const NoisePicture<Sample>& Picture); // false without memory
    void FilterPlane(bool IsWanted, const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous);

    NoiseReductionOptions m_Options;
    bool m_enabled;
    bool m_half_scale;
    bool m_reset_pending = true;      // the store holds no picture, and is cleared before it is used
    bool m_skip_temporal_once = true; // the next blend is left out
    uint32_t m_mode;                  // NoiseMode
    NoiseBorders m_Borders;
    std::unique_ptr<Sample[]> m_pStore; // the previous picture; grows only
    size_t m_StoreSize = 0;             // samples
    NoisePicture<Sample> m_Previous;    // in the store
    BlendTable m_Blend;
    MedianThresholds m_Median; // in force
};

extern template class CNoiseReductionFilter<uint8_t>;
extern template class CNoiseReductionFilter<uint16_t>;

} // namespace UMC_H264_ENCODER
