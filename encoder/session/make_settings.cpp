#include "encoder/session/make_settings.h"

#include "encoder/decide/motion_tables.h"
#include "encoder/session/params_check.h"
#include "encoder/session/quant_tables.h"
#include "encoder/state/codec_traits.h"
#include "encoder/state/macroblock_positions.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// A threshold's private copy; a lossless stream never stops early at QP 0.
template <class Table>
ThresholdTable CopyThresholds(const Table& From, bool IsLossless)
{
    ThresholdTable t;
    std::copy(From.begin(), From.end(), t.begin());
    if (IsLossless) t[0] = 0;
    return t;
}

void FillThresholds(EncoderSettings& Settings)
{
    const bool IsLossless = Settings.Params.qpprime_y_zero_transform_bypass != 0;
    Settings.ThresholdME = CopyThresholds(ThresholdME, IsLossless);
    Settings.SkipIntraThreshold = CopyThresholds(SkipIntraThreshold, IsLossless);
    Settings.TryAdvancedIntraThreshold = CopyThresholds(TryAdvancedIntraThreshold, IsLossless);
}

// A plain record says a few things; the defaults stand for the rest.
void CopyParams(const UMC::VideoEncoderParams& From, UMC::H264EncoderParams& To)
{
    if (const auto* const pFull = UMC::DynamicCast<UMC::H264EncoderParams>(&From))
        To = *pFull;
    else
        static_cast<UMC::VideoEncoderParams&>(To) = From;
}

void FillGop(EncoderSettings& Settings)
{
    Settings.gop_length = Settings.Params.num_b_frames + 1;
    Settings.gop_pattern.assign(static_cast<size_t>(Settings.gop_length), FRAME_B);
    Settings.gop_pattern[0] = FRAME_P;
}

} // namespace

int32_t CodedBitDepth(const UMC::H264EncoderParams& p)
{
    const int32_t Depth = std::max(p.bit_depth_luma, p.bit_depth_chroma);
    return p.aux_format_idc ? std::max(Depth, p.bit_depth_aux) : Depth;
}

int32_t LargestBitDepth(const UMC::H264EncoderParams& p)
{
    return std::max({p.bit_depth_luma, p.bit_depth_chroma, p.bit_depth_aux});
}

template <class Sample>
UMC::Status MakeSettings(const UMC::VideoEncoderParams& Params, EncoderSettings& Settings)
{
    UMC::H264EncoderParams& p = Settings.Params;
    CopyParams(Params, p);
    if (const UMC::Status s = CheckParams(p); s != UMC::StatusOk) return s;
    if (CodedBitDepth(p) > CodecTraits<Sample>::kMaxBitDepth) return UMC::StatusNotImplemented;
    Settings.AnalysisFlags = AnalysisFlags(p);
    Settings.Layout =
        MakeLayout(p.m_Info.m_Width, p.m_Info.m_Height, p.chroma_format_idc, p.bit_depth_luma, p.bit_depth_chroma,
                   p.coding_type == CODING_FRAMES, p.aux_format_idc != 0, p.bit_depth_aux);
    FillGop(Settings);
    FillThresholds(Settings);
    FillQuantTables(p.use_default_scaling_matrix != 0, Settings.Quant);
    FillPositions(Settings);
    return UMC::StatusOk;
}

template UMC::Status MakeSettings<uint8_t>(const UMC::VideoEncoderParams&, EncoderSettings&);
template UMC::Status MakeSettings<uint16_t>(const UMC::VideoEncoderParams&, EncoderSettings&);

} // namespace UMC_H264_ENCODER
