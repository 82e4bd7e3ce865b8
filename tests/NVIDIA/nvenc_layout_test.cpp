// The published structures are where the driver's interface puts them, for both widths of pointers, and carry the words
// of its version 8.
#include "NVIDIA/inc/nvenc_api.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr size_t At(size_t On64, size_t On32) { return kIs64Bit ? On64 : On32; }

static_assert(sizeof(NV_ENCODE_API_FUNCTION_LIST) == At(2552, 1280));
static_assert(sizeof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS) == At(1552, 1288));
static_assert(sizeof(NV_ENC_CAPS_PARAM) == At(256, 256));
static_assert(sizeof(NV_ENC_CREATE_INPUT_BUFFER) == At(776, 512));
static_assert(sizeof(NV_ENC_CREATE_BITSTREAM_BUFFER) == At(776, 512));
static_assert(sizeof(NV_ENC_LOCK_INPUT_BUFFER) == At(1544, 1280));
static_assert(sizeof(NV_ENC_LOCK_BITSTREAM) == At(1544, 1280));
static_assert(sizeof(NV_ENC_EVENT_PARAMS) == At(1544, 1280));
static_assert(sizeof(NV_ENC_PRESET_CONFIG) == At(5128, 4352));
static_assert(sizeof(NV_ENC_PIC_PARAMS) == At(3344, 2816));
static_assert(sizeof(NV_ENC_INITIALIZE_PARAMS) == At(1808, 1536));
static_assert(sizeof(NV_ENC_CONFIG) == At(3584, 3072));
static_assert(sizeof(NV_ENC_RC_PARAMS) == At(128, 128));
static_assert(sizeof(NV_ENC_CONFIG_H264) == At(1792, 1536));
static_assert(sizeof(NV_ENC_QP) == At(12, 12));
static_assert(sizeof(NV_ENC_CODEC_CONFIG) == At(1792, 1536));
static_assert(sizeof(NV_ENC_CODEC_PIC_PARAMS) == At(1536, 1280));
static_assert(sizeof(NV_ENC_CONFIG_H264_VUI_PARAMETERS) == At(112, 112));
static_assert(offsetof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS, version) == At(0, 0));
static_assert(offsetof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS, deviceType) == At(4, 4));
static_assert(offsetof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS, device) == At(8, 8));
static_assert(offsetof(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS, apiVersion) == At(24, 16));
static_assert(offsetof(NV_ENC_CAPS_PARAM, version) == At(0, 0));
static_assert(offsetof(NV_ENC_CAPS_PARAM, capsToQuery) == At(4, 4));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, version) == At(0, 0));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, width) == At(4, 4));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, height) == At(8, 8));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, memoryHeap) == At(12, 12));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, bufferFmt) == At(16, 16));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, inputBuffer) == At(24, 24));
static_assert(offsetof(NV_ENC_CREATE_INPUT_BUFFER, pSysMemBuffer) == At(32, 28));
static_assert(offsetof(NV_ENC_CREATE_BITSTREAM_BUFFER, version) == At(0, 0));
static_assert(offsetof(NV_ENC_CREATE_BITSTREAM_BUFFER, size) == At(4, 4));
static_assert(offsetof(NV_ENC_CREATE_BITSTREAM_BUFFER, memoryHeap) == At(8, 8));
static_assert(offsetof(NV_ENC_CREATE_BITSTREAM_BUFFER, bitstreamBuffer) == At(16, 16));
static_assert(offsetof(NV_ENC_CREATE_BITSTREAM_BUFFER, bitstreamBufferPtr) == At(24, 20));
static_assert(offsetof(NV_ENC_LOCK_INPUT_BUFFER, version) == At(0, 0));
static_assert(offsetof(NV_ENC_LOCK_INPUT_BUFFER, inputBuffer) == At(8, 8));
static_assert(offsetof(NV_ENC_LOCK_INPUT_BUFFER, bufferDataPtr) == At(16, 12));
static_assert(offsetof(NV_ENC_LOCK_INPUT_BUFFER, pitch) == At(24, 16));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, version) == At(0, 0));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, outputBitstream) == At(8, 8));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, sliceOffsets) == At(16, 12));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, frameIdx) == At(24, 16));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, hwEncodeStatus) == At(28, 20));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, numSlices) == At(32, 24));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, bitstreamSizeInBytes) == At(36, 28));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, outputTimeStamp) == At(40, 32));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, outputDuration) == At(48, 40));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, bitstreamBufferPtr) == At(56, 48));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, pictureType) == At(64, 52));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, pictureStruct) == At(68, 56));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, frameAvgQP) == At(72, 60));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, frameSatd) == At(76, 64));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, ltrFrameIdx) == At(80, 68));
static_assert(offsetof(NV_ENC_LOCK_BITSTREAM, ltrFrameBitmap) == At(84, 72));
static_assert(offsetof(NV_ENC_EVENT_PARAMS, version) == At(0, 0));
static_assert(offsetof(NV_ENC_EVENT_PARAMS, completionEvent) == At(8, 8));
static_assert(offsetof(NV_ENC_PIC_PARAMS, version) == At(0, 0));
static_assert(offsetof(NV_ENC_PIC_PARAMS, inputWidth) == At(4, 4));
static_assert(offsetof(NV_ENC_PIC_PARAMS, inputHeight) == At(8, 8));
static_assert(offsetof(NV_ENC_PIC_PARAMS, inputPitch) == At(12, 12));
static_assert(offsetof(NV_ENC_PIC_PARAMS, encodePicFlags) == At(16, 16));
static_assert(offsetof(NV_ENC_PIC_PARAMS, frameIdx) == At(20, 20));
static_assert(offsetof(NV_ENC_PIC_PARAMS, inputTimeStamp) == At(24, 24));
static_assert(offsetof(NV_ENC_PIC_PARAMS, inputDuration) == At(32, 32));
static_assert(offsetof(NV_ENC_PIC_PARAMS, inputBuffer) == At(40, 40));
static_assert(offsetof(NV_ENC_PIC_PARAMS, outputBitstream) == At(48, 44));
static_assert(offsetof(NV_ENC_PIC_PARAMS, completionEvent) == At(56, 48));
static_assert(offsetof(NV_ENC_PIC_PARAMS, bufferFmt) == At(64, 52));
static_assert(offsetof(NV_ENC_PIC_PARAMS, pictureStruct) == At(68, 56));
static_assert(offsetof(NV_ENC_PIC_PARAMS, pictureType) == At(72, 60));
static_assert(offsetof(NV_ENC_PIC_PARAMS, codecPicParams) == At(80, 64));
static_assert(offsetof(NV_ENC_PIC_PARAMS, meHintCountsPerBlock) == At(1616, 1344));
static_assert(offsetof(NV_ENC_PIC_PARAMS, meExternalHints) == At(1648, 1376));
static_assert(offsetof(NV_ENC_PIC_PARAMS, qpDeltaMap) == At(1696, 1412));
static_assert(offsetof(NV_ENC_PIC_PARAMS, qpDeltaMapSize) == At(1704, 1416));
static_assert(offsetof(NV_ENC_PIC_PARAMS, meHintRefPicDist) == At(1712, 1424));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, version) == At(0, 0));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, encodeGUID) == At(4, 4));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, presetGUID) == At(20, 20));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, encodeWidth) == At(36, 36));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, encodeHeight) == At(40, 40));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, darWidth) == At(44, 44));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, darHeight) == At(48, 48));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, frameRateNum) == At(52, 52));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, frameRateDen) == At(56, 56));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, enableEncodeAsync) == At(60, 60));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, enablePTD) == At(64, 64));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, privDataSize) == At(72, 72));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, privData) == At(80, 76));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, encodeConfig) == At(88, 80));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, maxEncodeWidth) == At(96, 84));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, maxEncodeHeight) == At(100, 88));
static_assert(offsetof(NV_ENC_INITIALIZE_PARAMS, maxMEHintCountsPerBlock) == At(104, 92));
static_assert(offsetof(NV_ENC_PRESET_CONFIG, version) == At(0, 0));
static_assert(offsetof(NV_ENC_PRESET_CONFIG, presetCfg) == At(8, 4));
static_assert(offsetof(NV_ENC_CONFIG, version) == At(0, 0));
static_assert(offsetof(NV_ENC_CONFIG, profileGUID) == At(4, 4));
static_assert(offsetof(NV_ENC_CONFIG, gopLength) == At(20, 20));
static_assert(offsetof(NV_ENC_CONFIG, frameIntervalP) == At(24, 24));
static_assert(offsetof(NV_ENC_CONFIG, monoChromeEncoding) == At(28, 28));
static_assert(offsetof(NV_ENC_CONFIG, frameFieldMode) == At(32, 32));
static_assert(offsetof(NV_ENC_CONFIG, mvPrecision) == At(36, 36));
static_assert(offsetof(NV_ENC_CONFIG, rcParams) == At(40, 40));
static_assert(offsetof(NV_ENC_CONFIG, encodeCodecConfig) == At(168, 168));
static_assert(offsetof(NV_ENC_RC_PARAMS, version) == At(0, 0));
static_assert(offsetof(NV_ENC_RC_PARAMS, rateControlMode) == At(4, 4));
static_assert(offsetof(NV_ENC_RC_PARAMS, constQP) == At(8, 8));
static_assert(offsetof(NV_ENC_RC_PARAMS, constQP.qpInterP) == At(8, 8));
static_assert(offsetof(NV_ENC_RC_PARAMS, constQP.qpInterB) == At(12, 12));
static_assert(offsetof(NV_ENC_RC_PARAMS, constQP.qpIntra) == At(16, 16));
static_assert(offsetof(NV_ENC_RC_PARAMS, averageBitRate) == At(20, 20));
static_assert(offsetof(NV_ENC_RC_PARAMS, maxBitRate) == At(24, 24));
static_assert(offsetof(NV_ENC_RC_PARAMS, vbvBufferSize) == At(28, 28));
static_assert(offsetof(NV_ENC_RC_PARAMS, vbvInitialDelay) == At(32, 32));
static_assert(offsetof(NV_ENC_RC_PARAMS, minQP) == At(40, 40));
static_assert(offsetof(NV_ENC_RC_PARAMS, minQP.qpInterP) == At(40, 40));
static_assert(offsetof(NV_ENC_RC_PARAMS, minQP.qpInterB) == At(44, 44));
static_assert(offsetof(NV_ENC_RC_PARAMS, minQP.qpIntra) == At(48, 48));
static_assert(offsetof(NV_ENC_RC_PARAMS, maxQP) == At(52, 52));
static_assert(offsetof(NV_ENC_RC_PARAMS, maxQP.qpInterP) == At(52, 52));
static_assert(offsetof(NV_ENC_RC_PARAMS, maxQP.qpInterB) == At(56, 56));
static_assert(offsetof(NV_ENC_RC_PARAMS, maxQP.qpIntra) == At(60, 60));
static_assert(offsetof(NV_ENC_RC_PARAMS, initialRCQP) == At(64, 64));
static_assert(offsetof(NV_ENC_RC_PARAMS, initialRCQP.qpInterP) == At(64, 64));
static_assert(offsetof(NV_ENC_RC_PARAMS, initialRCQP.qpInterB) == At(68, 68));
static_assert(offsetof(NV_ENC_RC_PARAMS, initialRCQP.qpIntra) == At(72, 72));
static_assert(offsetof(NV_ENC_RC_PARAMS, temporallayerIdxMask) == At(76, 76));
static_assert(offsetof(NV_ENC_RC_PARAMS, temporalLayerQP) == At(80, 80));
static_assert(offsetof(NV_ENC_RC_PARAMS, targetQuality) == At(88, 88));
static_assert(offsetof(NV_ENC_RC_PARAMS, targetQualityLSB) == At(89, 89));
static_assert(offsetof(NV_ENC_RC_PARAMS, lookaheadDepth) == At(90, 90));
static_assert(offsetof(NV_ENC_CONFIG_H264, level) == At(4, 4));
static_assert(offsetof(NV_ENC_CONFIG_H264, idrPeriod) == At(8, 8));
static_assert(offsetof(NV_ENC_CONFIG_H264, separateColourPlaneFlag) == At(12, 12));
static_assert(offsetof(NV_ENC_CONFIG_H264, disableDeblockingFilterIDC) == At(16, 16));
static_assert(offsetof(NV_ENC_CONFIG_H264, numTemporalLayers) == At(20, 20));
static_assert(offsetof(NV_ENC_CONFIG_H264, spsId) == At(24, 24));
static_assert(offsetof(NV_ENC_CONFIG_H264, ppsId) == At(28, 28));
static_assert(offsetof(NV_ENC_CONFIG_H264, adaptiveTransformMode) == At(32, 32));
static_assert(offsetof(NV_ENC_CONFIG_H264, fmoMode) == At(36, 36));
static_assert(offsetof(NV_ENC_CONFIG_H264, bdirectMode) == At(40, 40));
static_assert(offsetof(NV_ENC_CONFIG_H264, entropyCodingMode) == At(44, 44));
static_assert(offsetof(NV_ENC_CONFIG_H264, stereoMode) == At(48, 48));
static_assert(offsetof(NV_ENC_CONFIG_H264, intraRefreshPeriod) == At(52, 52));
static_assert(offsetof(NV_ENC_CONFIG_H264, intraRefreshCnt) == At(56, 56));
static_assert(offsetof(NV_ENC_CONFIG_H264, maxNumRefFrames) == At(60, 60));
static_assert(offsetof(NV_ENC_CONFIG_H264, sliceMode) == At(64, 64));
static_assert(offsetof(NV_ENC_CONFIG_H264, sliceModeData) == At(68, 68));
static_assert(offsetof(NV_ENC_CONFIG_H264, h264VUIParameters) == At(72, 72));
static_assert(offsetof(NV_ENC_CONFIG_H264, ltrNumFrames) == At(184, 184));
static_assert(offsetof(NV_ENC_CONFIG_H264, ltrTrustMode) == At(188, 188));
static_assert(offsetof(NV_ENC_CONFIG_H264, chromaFormatIDC) == At(192, 192));
static_assert(offsetof(NV_ENC_CONFIG_H264, maxTemporalLayers) == At(196, 196));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodeGUIDCount) == At(16, 12));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodeGUIDs) == At(40, 24));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodeCaps) == At(64, 36));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodePresetCount) == At(72, 40));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodePresetGUIDs) == At(80, 44));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncGetEncodePresetConfig) == At(88, 48));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncInitializeEncoder) == At(96, 52));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncCreateInputBuffer) == At(104, 56));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncDestroyInputBuffer) == At(112, 60));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncCreateBitstreamBuffer) == At(120, 64));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncDestroyBitstreamBuffer) == At(128, 68));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncEncodePicture) == At(136, 72));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncLockBitstream) == At(144, 76));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncUnlockBitstream) == At(152, 80));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncLockInputBuffer) == At(160, 84));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncUnlockInputBuffer) == At(168, 88));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncRegisterAsyncEvent) == At(192, 100));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncUnregisterAsyncEvent) == At(200, 104));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncDestroyEncoder) == At(224, 116));
static_assert(offsetof(NV_ENCODE_API_FUNCTION_LIST, nvEncOpenEncodeSessionEx) == At(240, 124));

// The word that a flag is in, alone in a structure that is zero otherwise.
template <class Structure, class Set>
uint32_t WordAt(size_t Offset, Set SetFlag)
{
    Structure s;
    std::memset(&s, 0, sizeof s);
    SetFlag(s);
    uint32_t Word;
    std::memcpy(&Word, reinterpret_cast<const char*>(&s) + Offset, sizeof Word);
    return Word;
}

template <class Structure>
uint32_t ClearedVersion()
{
    Structure s;
    std::memset(&s, 0xFF, sizeof s);
    nvenc::Clear(s);
    const char* const pBytes = reinterpret_cast<const char*>(&s);
    for (size_t i = sizeof s.version; i < sizeof s; ++i) EXPECT_EQ(pBytes[i], 0) << i;
    return s.version;
}

} // namespace

TEST(NvencLayout, FlagsAreAtTheirBits)
{
    EXPECT_EQ(WordAt<NV_ENC_LOCK_BITSTREAM>(4, [](auto& s) { s.doNotWait = 1; }), 1u << 0);
    EXPECT_EQ(WordAt<NV_ENC_INITIALIZE_PARAMS>(68, [](auto& s) { s.reportSliceOffsets = 1; }), 1u << 0);
    EXPECT_EQ(WordAt<NV_ENC_INITIALIZE_PARAMS>(68, [](auto& s) { s.enableSubFrameWrite = 1; }), 1u << 1);
    EXPECT_EQ(WordAt<NV_ENC_RC_PARAMS>(36, [](auto& s) { s.enableInitialRCQP = 1; }), 1u << 2);
    EXPECT_EQ(WordAt<NV_ENC_RC_PARAMS>(36, [](auto& s) { s.reservedBitField1 = 1; }), 1u << 4);
    EXPECT_EQ(WordAt<NV_ENC_RC_PARAMS>(36, [](auto& s) { s.enableTemporalAQ = 1; }), 1u << 8);
    EXPECT_EQ(WordAt<NV_ENC_CONFIG_H264>(0, [](auto& s) { s.enableIntraRefresh = 1; }), 1u << 10);
}

TEST(NvencLayout, StructuresCarryTheWordsOfVersion8)
{
    EXPECT_EQ(nvenc::kApiVersion, 8u);
    EXPECT_EQ(ClearedVersion<NV_ENCODE_API_FUNCTION_LIST>(), 0x70020008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_CAPS_PARAM>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_CREATE_INPUT_BUFFER>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_CREATE_BITSTREAM_BUFFER>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_LOCK_INPUT_BUFFER>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_LOCK_BITSTREAM>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_EVENT_PARAMS>(), 0x70010008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_PRESET_CONFIG>(), 0xF0040008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_PIC_PARAMS>(), 0xF0040008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_INITIALIZE_PARAMS>(), 0xF0050008u);
    EXPECT_EQ(ClearedVersion<NV_ENC_CONFIG>(), 0xF0060008u);
}

// As the first bytes of a GUID lie in memory.
TEST(NvencLayout, GuidsAreThePublishedOnes)
{
    const struct {
        const GUID& Own;
        const char* pText;
    } Guids[] = {
        {nvenc::kCodecH264, "6BC82762-4E63-4CA4-AA85-1E50F321F6BF"},
        {nvenc::kCodecHevc, "790CDC88-4522-4D7B-9425-BDA9975F7603"},
        {nvenc::kPresetDefault, "B2DFB705-4EBD-4C49-9B5F-24A777D3E587"},
        {nvenc::kPresetHp, "60E4C59F-E846-4484-A56D-CD45BE9FDDF6"},
        {nvenc::kPresetHq, "34DBA71D-A77B-4B8F-9C3E-B6D5DA24C012"},
        {nvenc::kPresetLowLatencyHq, "C5F733B9-EA97-4CF9-BEC2-BF78A74FD105"},
        {nvenc::kPresetLowLatencyHp, "67082A44-4BAD-48FA-98EA-93056D150A58"},
        {nvenc::kPresetLossless, "149998E7-2364-411D-82EF-179888093409"},
    };
    for (const auto& [Own, pText] : Guids) {
        char Text[40];
        std::snprintf(Text, sizeof Text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                      static_cast<unsigned int>(Own.Data1), Own.Data2, Own.Data3, Own.Data4[0], Own.Data4[1],
                      Own.Data4[2], Own.Data4[3], Own.Data4[4], Own.Data4[5], Own.Data4[6], Own.Data4[7]);
        EXPECT_STREQ(Text, pText);
    }
}
