#include "bench/codec_bench/engine.h"
#include "tools/common/cli_error.h"

#include <wels/codec_api.h>

namespace {

class Encoder : public EncoderEngine
{
public:
    explicit Encoder(const EncoderSettings& Set) : m_Size(Set.Size), m_Fps(Set.Fps)
    {
        if (WelsCreateSVCEncoder(&m_pEncoder)) throw CliError("no peer encoder");
        SEncParamExt Param;
        m_pEncoder->GetDefaultParams(&Param);
        Param.iUsageType = CAMERA_VIDEO_REAL_TIME;
        Param.iPicWidth = Set.Size.Width;
        Param.iPicHeight = Set.Size.Height;
        Param.fMaxFrameRate = static_cast<float>(Set.Fps);
        Param.iTargetBitrate = Param.iMaxBitrate = Set.Kbps * 1000;
        Param.iRCMode = RC_BITRATE_MODE;
        Param.uiIntraPeriod = static_cast<unsigned>(Set.KeyInterval);
        Param.iEntropyCodingModeFlag = 1;
        Param.iNumRefFrame = 1;
        Param.iMultipleThreadIdc = 1;
        Param.bEnableFrameSkip = false;
        Param.sSpatialLayers[0].uiProfileIdc = PRO_MAIN;
        Param.sSpatialLayers[0].iVideoWidth = Set.Size.Width;
        Param.sSpatialLayers[0].iVideoHeight = Set.Size.Height;
        Param.sSpatialLayers[0].fFrameRate = static_cast<float>(Set.Fps);
        Param.sSpatialLayers[0].iSpatialBitrate = Param.sSpatialLayers[0].iMaxSpatialBitrate = Set.Kbps * 1000;
        if (m_pEncoder->InitializeExt(&Param)) throw CliError("the peer refuses these settings");
        int Quiet = WELS_LOG_QUIET;
        m_pEncoder->SetOption(ENCODER_OPTION_TRACE_LEVEL, &Quiet);
    }
    ~Encoder() override { WelsDestroySVCEncoder(m_pEncoder); }

    void Encode(const std::vector<uint8_t>& Picture, int64_t Index, std::vector<uint8_t>& Stream) override
    {
        auto* const pY = const_cast<uint8_t*>(Picture.data()); // only read
        SSourcePicture Source{};
        Source.iColorFormat = videoFormatI420;
        Source.iPicWidth = m_Size.Width;
        Source.iPicHeight = m_Size.Height;
        Source.iStride[0] = m_Size.Width;
        Source.iStride[1] = Source.iStride[2] = m_Size.Width / 2;
        Source.pData[0] = pY;
        Source.pData[1] = pY + m_Size.LumaBytes();
        Source.pData[2] = Source.pData[1] + m_Size.LumaBytes() / 4;
        Source.uiTimeStamp = Index * 1000 / m_Fps;
        SFrameBSInfo Info{};
        if (m_pEncoder->EncodeFrame(&Source, &Info)) throw CliError("encoding failed");
        for (int Layer = 0; Layer < Info.iLayerNum; ++Layer) {
            const SLayerBSInfo& Each = Info.sLayerInfo[Layer];
            size_t Size = 0;
            for (int i = 0; i < Each.iNalCount; ++i) Size += static_cast<size_t>(Each.pNalLengthInByte[i]);
            Stream.insert(Stream.end(), Each.pBsBuf, Each.pBsBuf + Size);
        }
    }

private:
    ISVCEncoder* m_pEncoder = nullptr;
    FrameSize m_Size;
    int32_t m_Fps;
};

class Decoder : public DecoderEngine
{
public:
    Decoder()
    {
        if (WelsCreateDecoder(&m_pDecoder)) throw CliError("no peer decoder");
        SDecodingParam Param{};
        Param.sVideoProperty.eVideoBsType = VIDEO_BITSTREAM_AVC;
        Param.eEcActiveIdc = ERROR_CON_DISABLE;
        if (m_pDecoder->Initialize(&Param)) throw CliError("the peer decoder does not start");
    }
    ~Decoder() override { WelsDestroyDecoder(m_pDecoder); }

    int64_t Decode(std::span<const uint8_t> Unit) override
    {
        uint8_t* pPlanes[3] = {};
        SBufferInfo Info{};
        if (Unit.empty())
            m_pDecoder->FlushFrame(pPlanes, &Info);
        else
            m_pDecoder->DecodeFrameNoDelay(Unit.data(), static_cast<int>(Unit.size()), pPlanes, &Info);
        return Info.iBufferStatus == 1;
    }

private:
    ISVCDecoder* m_pDecoder = nullptr;
};

} // namespace

std::unique_ptr<EncoderEngine> MakeOpenh264Encoder(const EncoderSettings& Set)
{
    return std::make_unique<Encoder>(Set);
}
std::unique_ptr<DecoderEngine> MakeOpenh264Decoder() { return std::make_unique<Decoder>(); }
