#include "NVIDIA/inc/encoder_settings.h"

namespace {

constexpr int32_t kConstantQp = 0, kVbr = 1, kVbrMinQp = 4, kVbrHq = 0x20; // rate control
constexpr uint32_t kMostReferences = 16;

uint32_t Unsigned(int32_t Value) { return static_cast<uint32_t>(Value); }

bool Is444(int32_t Format)
{
    return Format == NV_ENC_BUFFER_FORMAT_YUV444 || Format == NV_ENC_BUFFER_FORMAT_YUV444_10BIT;
}

uint32_t Scaled(int32_t Qp, float Factor, float Offset)
{
    return Unsigned(static_cast<int32_t>(static_cast<float>(Qp) * Factor + Offset));
}

void OverrideRates(const EncodeConfig& Config, NV_ENC_RC_PARAMS& Rate)
{
    if (Config.bitrate == 0 && Config.vbvMaxBitrate == 0) {
        Rate.rateControlMode = NV_ENC_PARAMS_RC_CONSTQP;
        return;
    }
    Rate.rateControlMode = static_cast<NV_ENC_PARAMS_RC_MODE>(Config.rcMode);
    Rate.averageBitRate = Unsigned(Config.bitrate);
    Rate.maxBitRate = Unsigned(Config.vbvMaxBitrate);
    Rate.vbvBufferSize = Unsigned(Config.vbvSize);
    Rate.vbvInitialDelay = Unsigned(Config.vbvSize) * 9 / 10;
}

void OverrideQps(const EncodeConfig& Config, NV_ENC_RC_PARAMS& Rate)
{
    const uint32_t Qp = Unsigned(Config.qp);
    if (Config.rcMode == kConstantQp) {
        const uint32_t Constant = nvenc::Same(Config.presetGUID, nvenc::kPresetLossless) ? 0 : Qp;
        Rate.constQP = {Constant, Constant, Constant};
    }
    if (Config.rcMode != kVbr && Config.rcMode != kVbrMinQp && Config.rcMode != kVbrHq) return;
    Rate.enableInitialRCQP = 1;
    Rate.initialRCQP = {Qp, Qp, Qp};
    if (!(Config.i_quant_factor > 0 && Config.b_quant_factor > 0)) return;
    Rate.initialRCQP.qpIntra = Scaled(Config.qp, Config.i_quant_factor, Config.i_quant_offset);
    Rate.initialRCQP.qpInterB = Scaled(Config.qp, Config.b_quant_factor, Config.b_quant_offset);
}

// What both codecs have under the same names.
template <class Codec>
void OverrideCodec(const EncodeConfig& Config, Codec& Settings)
{
    Settings.chromaFormatIDC = Is444(Config.inputFormat) ? 3 : 1;
    if (Config.intraRefreshEnableFlag) {
        Settings.enableIntraRefresh = 1;
        Settings.intraRefreshPeriod = Unsigned(Config.intraRefreshPeriod);
        Settings.intraRefreshCnt = Unsigned(Config.intraRefreshDuration);
    }
    Settings.idrPeriod = Unsigned(Config.gopLength);
}

} // namespace

const GUID& CodecGuid(const EncodeConfig& Config)
{
    return Config.codec == kCodecIndexH264 ? nvenc::kCodecH264 : nvenc::kCodecHevc;
}

void FillInitializeParams(const EncodeConfig& Config, uint32_t MaxWidth, uint32_t MaxHeight,
                          NV_ENC_INITIALIZE_PARAMS& Params)
{
    Params.encodeGUID = CodecGuid(Config);
    Params.presetGUID = Config.presetGUID;
    Params.encodeWidth = Params.darWidth = Unsigned(Config.width);
    Params.encodeHeight = Params.darHeight = Unsigned(Config.height);
    Params.frameRateNum = Unsigned(Config.fps);
    Params.frameRateDen = 1;
    Params.enableEncodeAsync = 0;
    Params.enablePTD = 1;
    Params.reportSliceOffsets = 0;
    Params.enableSubFrameWrite = 0;
    Params.maxEncodeWidth = MaxWidth;
    Params.maxEncodeHeight = MaxHeight;
}

void OverridePreset(const EncodeConfig& Config, NV_ENC_CONFIG& Settings)
{
    Settings.gopLength = Unsigned(Config.gopLength);
    Settings.frameIntervalP = Config.numB + 1;
    Settings.frameFieldMode = Config.pictureStruct == NV_ENC_PIC_STRUCT_FRAME ? NV_ENC_PARAMS_FRAME_FIELD_MODE_FRAME
                                                                              : NV_ENC_PARAMS_FRAME_FIELD_MODE_FIELD;
    Settings.mvPrecision = NV_ENC_MV_PRECISION_QUARTER_PEL;
    OverrideRates(Config, Settings.rcParams);
    OverrideQps(Config, Settings.rcParams);
    if (Config.codec == kCodecIndexH264) {
        OverrideCodec(Config, Settings.encodeCodecConfig.h264Config);
        if (Config.invalidateRefFramesEnableFlag)
            Settings.encodeCodecConfig.h264Config.maxNumRefFrames = kMostReferences;
    } else {
        OverrideCodec(Config, Settings.encodeCodecConfig.hevcConfig);
        if (Config.invalidateRefFramesEnableFlag)
            Settings.encodeCodecConfig.hevcConfig.maxNumRefFramesInDPB = kMostReferences;
    }
    // The flag for an external map of quantiser changes: the header has no name for it any more.
    if (Config.qpDeltaMapFile) Settings.rcParams.reservedBitField1 = 1;
}
