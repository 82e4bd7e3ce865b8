// What a configuration writes into the driver's structures, and what it leaves alone.
#include "NVIDIA/inc/encoder_settings.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// As a session of the engine has it.
EncodeConfig Usual()
{
    EncodeConfig c{};
    c.width = 64;
    c.height = 48;
    c.fps = 15;
    c.bitrate = 500000;
    c.rcMode = 1;
    c.qp = 28;
    c.i_quant_factor = 0.8f;
    c.b_quant_factor = 1.25f;
    c.b_quant_offset = 1.25f;
    c.presetGUID = nvenc::kPresetDefault;
    c.gopLength = -1;
    c.pictureStruct = 1;
    c.inputFormat = 1;
    return c;
}

// Every field that can be overridden, as a preset that differs from all that is written.
NV_ENC_CONFIG Preset()
{
    NV_ENC_CONFIG s;
    nvenc::Clear(s);
    s.gopLength = 30;
    s.frameIntervalP = 3;
    s.monoChromeEncoding = 7;
    s.rcParams.rateControlMode = NV_ENC_PARAMS_RC_CBR;
    s.rcParams.constQP = {91, 92, 93};
    s.rcParams.averageBitRate = 11;
    s.rcParams.maxBitRate = 12;
    s.rcParams.vbvBufferSize = 13;
    s.rcParams.vbvInitialDelay = 14;
    s.rcParams.initialRCQP = {81, 82, 83};
    return s;
}

template <class Change>
NV_ENC_CONFIG Overridden(Change Set)
{
    EncodeConfig c = Usual();
    Set(c);
    NV_ENC_CONFIG s = Preset();
    OverridePreset(c, s);
    return s;
}

void ExpectQp(const NV_ENC_QP& Got, uint32_t P, uint32_t B, uint32_t I)
{
    EXPECT_EQ(Got.qpInterP, P);
    EXPECT_EQ(Got.qpInterB, B);
    EXPECT_EQ(Got.qpIntra, I);
}

} // namespace

TEST(EncoderSettings, TheUsualOnesOverrideThePreset)
{
    const NV_ENC_CONFIG s = Overridden([](EncodeConfig&) {});
    EXPECT_EQ(s.gopLength, 0xFFFFFFFF);
    EXPECT_EQ(s.frameIntervalP, 1);
    EXPECT_EQ(s.monoChromeEncoding, 7u);
    EXPECT_EQ(s.frameFieldMode, 1);
    EXPECT_EQ(s.mvPrecision, 3);
    EXPECT_EQ(s.rcParams.rateControlMode, 1);
    EXPECT_EQ(s.rcParams.averageBitRate, 500000u);
    EXPECT_EQ(s.rcParams.maxBitRate, 0u);
    EXPECT_EQ(s.rcParams.vbvBufferSize, 0u);
    EXPECT_EQ(s.rcParams.vbvInitialDelay, 0u);
    ExpectQp(s.rcParams.constQP, 91, 92, 93);
    EXPECT_EQ(s.rcParams.enableInitialRCQP, 1u);
    ExpectQp(s.rcParams.initialRCQP, 28, 36, 22);
    EXPECT_EQ(s.rcParams.reservedBitField1, 0u);
    const NV_ENC_CONFIG_H264& h = s.encodeCodecConfig.h264Config;
    EXPECT_EQ(h.chromaFormatIDC, 1u);
    EXPECT_EQ(h.idrPeriod, 0xFFFFFFFF);
    EXPECT_EQ(h.enableIntraRefresh, 0u);
    EXPECT_EQ(h.maxNumRefFrames, 0u);
}

TEST(EncoderSettings, WithoutAnyRateTheQuantiserIsConstantAndTheRatesStay)
{
    const NV_ENC_CONFIG s = Overridden([](EncodeConfig& c) { c.bitrate = 0; });
    EXPECT_EQ(s.rcParams.rateControlMode, 0);
    EXPECT_EQ(s.rcParams.averageBitRate, 11u);
    EXPECT_EQ(s.rcParams.maxBitRate, 12u);
    EXPECT_EQ(s.rcParams.vbvBufferSize, 13u);
    EXPECT_EQ(s.rcParams.vbvInitialDelay, 14u);
    EXPECT_EQ(s.rcParams.enableInitialRCQP, 1u); // by the mode that was asked for
}

TEST(EncoderSettings, OneOfTheRatesIsEnough)
{
    const NV_ENC_CONFIG s = Overridden([](EncodeConfig& c) {
        c.bitrate = 0;
        c.vbvMaxBitrate = 700;
        c.vbvSize = 99;
    });
    EXPECT_EQ(s.rcParams.rateControlMode, 1);
    EXPECT_EQ(s.rcParams.averageBitRate, 0u);
    EXPECT_EQ(s.rcParams.maxBitRate, 700u);
    EXPECT_EQ(s.rcParams.vbvBufferSize, 99u);
    EXPECT_EQ(s.rcParams.vbvInitialDelay, 89u); // nine tenths, rounded down
}

TEST(EncoderSettings, TheModeSaysWhichQuantisersAreSet)
{
    for (const int Mode : {1, 4, 0x20}) {
        const NV_ENC_CONFIG s = Overridden([&](EncodeConfig& c) { c.rcMode = Mode; });
        EXPECT_EQ(s.rcParams.enableInitialRCQP, 1u) << Mode;
        ExpectQp(s.rcParams.initialRCQP, 28, 36, 22);
        ExpectQp(s.rcParams.constQP, 91, 92, 93);
    }
    for (const int Mode : {0, 2, 8, 0x10}) {
        const NV_ENC_CONFIG s = Overridden([&](EncodeConfig& c) { c.rcMode = Mode; });
        EXPECT_EQ(s.rcParams.enableInitialRCQP, 0u) << Mode;
        ExpectQp(s.rcParams.initialRCQP, 81, 82, 83);
        EXPECT_EQ(s.rcParams.rateControlMode, Mode);
        EXPECT_EQ(s.rcParams.constQP.qpInterP, Mode == 0 ? 28u : 91u);
    }
    const NV_ENC_CONFIG Lossless = Overridden([](EncodeConfig& c) {
        c.rcMode = 0;
        c.presetGUID = nvenc::kPresetLossless;
    });
    ExpectQp(Lossless.rcParams.constQP, 0, 0, 0);
    const NV_ENC_CONFIG Constant = Overridden([](EncodeConfig& c) { c.rcMode = 0; });
    ExpectQp(Constant.rcParams.constQP, 28, 28, 28);
}

TEST(EncoderSettings, BothFactorsHaveToBeAboveZero)
{
    for (const float Factor : {0.0f, -1.0f}) {
        ExpectQp(Overridden([&](EncodeConfig& c) { c.i_quant_factor = Factor; }).rcParams.initialRCQP, 28, 28, 28);
        ExpectQp(Overridden([&](EncodeConfig& c) { c.b_quant_factor = Factor; }).rcParams.initialRCQP, 28, 28, 28);
    }
    const NV_ENC_CONFIG s = Overridden([](EncodeConfig& c) {
        c.i_quant_factor = 1;
        c.i_quant_offset = 2.9f;
        c.b_quant_factor = 0.5f;
        c.b_quant_offset = -1;
    });
    ExpectQp(s.rcParams.initialRCQP, 28, 13, 30);
}

TEST(EncoderSettings, OtherFieldsFollowTheConfiguration)
{
    EXPECT_EQ(Overridden([](EncodeConfig& c) { c.gopLength = 12; }).gopLength, 12u);
    EXPECT_EQ(Overridden([](EncodeConfig& c) { c.numB = 2; }).frameIntervalP, 3);
    EXPECT_EQ(Overridden([](EncodeConfig& c) { c.pictureStruct = 2; }).frameFieldMode, 2);
    EXPECT_EQ(Overridden([](EncodeConfig& c) { c.pictureStruct = 3; }).frameFieldMode, 2);
    EXPECT_EQ(Overridden([](EncodeConfig& c) { c.qpDeltaMapFile = "f"; }).rcParams.reservedBitField1, 1u);
}

namespace {

struct CodecFields {
    uint32_t Chroma, bRefresh, Period, Count, References, IdrPeriod;
    bool operator==(const CodecFields&) const = default;
};

CodecFields OfH264(const NV_ENC_CONFIG& s)
{
    const NV_ENC_CONFIG_H264& h = s.encodeCodecConfig.h264Config;
    return {h.chromaFormatIDC, h.enableIntraRefresh, h.intraRefreshPeriod,
            h.intraRefreshCnt, h.maxNumRefFrames,    h.idrPeriod};
}
CodecFields OfHevc(const NV_ENC_CONFIG& s)
{
    const NV_ENC_CONFIG_HEVC& h = s.encodeCodecConfig.hevcConfig;
    return {h.chromaFormatIDC, h.enableIntraRefresh,   h.intraRefreshPeriod,
            h.intraRefreshCnt, h.maxNumRefFramesInDPB, h.idrPeriod};
}

} // namespace

TEST(EncoderSettings, EachCodecHasItsOwnFields)
{
    for (const int Codec : {0, 1}) {
        const auto Of = [&](auto Set) {
            const NV_ENC_CONFIG s = Overridden([&](EncodeConfig& c) {
                c.codec = Codec;
                c.gopLength = 9;
                Set(c);
            });
            return Codec == 0 ? OfH264(s) : OfHevc(s);
        };
        EXPECT_EQ(Of([](EncodeConfig&) {}), (CodecFields{1, 0, 0, 0, 0, 9}));
        EXPECT_EQ(Of([](EncodeConfig& c) { c.inputFormat = 0x1000; }), (CodecFields{3, 0, 0, 0, 0, 9}));
        EXPECT_EQ(Of([](EncodeConfig& c) { c.inputFormat = 0x100000; }), (CodecFields{3, 0, 0, 0, 0, 9}));
        EXPECT_EQ(Of([](EncodeConfig& c) { c.inputFormat = 0x10000; }), (CodecFields{1, 0, 0, 0, 0, 9}));
        const auto Refresh = [](EncodeConfig& c) {
            c.intraRefreshEnableFlag = 1;
            c.intraRefreshPeriod = 5;
            c.intraRefreshDuration = 6;
        };
        EXPECT_EQ(Of(Refresh), (CodecFields{1, 1, 5, 6, 0, 9}));
        EXPECT_EQ(Of([](EncodeConfig& c) { c.invalidateRefFramesEnableFlag = 1; }), (CodecFields{1, 0, 0, 0, 16, 9}));
    }
}

TEST(EncoderSettings, TheSessionHasSizeRateAndCodec)
{
    EncodeConfig c = Usual();
    NV_ENC_INITIALIZE_PARAMS p;
    std::memset(&p, 0xFF, sizeof p);
    FillInitializeParams(c, 100, 200, p);
    EXPECT_TRUE(nvenc::Same(p.encodeGUID, nvenc::kCodecH264));
    EXPECT_TRUE(nvenc::Same(p.presetGUID, nvenc::kPresetDefault));
    EXPECT_EQ(p.encodeWidth, 64u);
    EXPECT_EQ(p.encodeHeight, 48u);
    EXPECT_EQ(p.darWidth, 64u);
    EXPECT_EQ(p.darHeight, 48u);
    EXPECT_EQ(p.frameRateNum, 15u);
    EXPECT_EQ(p.frameRateDen, 1u);
    EXPECT_EQ(p.enableEncodeAsync, 0u);
    EXPECT_EQ(p.enablePTD, 1u);
    EXPECT_EQ(p.reportSliceOffsets, 0u);
    EXPECT_EQ(p.enableSubFrameWrite, 0u);
    EXPECT_EQ(p.maxEncodeWidth, 100u);
    EXPECT_EQ(p.maxEncodeHeight, 200u);
    c.codec = 1;
    FillInitializeParams(c, 100, 200, p);
    EXPECT_TRUE(nvenc::Same(p.encodeGUID, nvenc::kCodecHevc));
}
