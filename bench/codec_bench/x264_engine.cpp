#include "bench/codec_bench/engine.h"
#include "tools/common/cli_error.h"

extern "C" {
#include <x264.h>
}

namespace {

class Encoder : public EncoderEngine
{
public:
    Encoder(const EncoderSettings& Set, const std::string& Preset)
    {
        x264_param_t Param;
        if (x264_param_default_preset(&Param, Preset.c_str(), "zerolatency") < 0) throw CliError("no preset " + Preset);
        Param.i_threads = 1;
        Param.i_log_level = X264_LOG_NONE;
        Param.i_width = Set.Size.Width;
        Param.i_height = Set.Size.Height;
        Param.i_csp = X264_CSP_I420;
        Param.i_fps_num = static_cast<uint32_t>(Set.Fps);
        Param.i_fps_den = 1;
        Param.i_keyint_max = Set.KeyInterval;
        Param.rc.i_rc_method = X264_RC_ABR;
        Param.rc.i_bitrate = Set.Kbps;
        Param.i_frame_reference = 1;
        Param.i_bframe = 0;
        Param.b_cabac = 1;
        x264_param_apply_profile(&Param, "main");
        m_pEncoder = x264_encoder_open(&Param);
        if (!m_pEncoder) throw CliError("the peer refuses these settings");
        x264_picture_init(&m_Picture);
        m_Picture.img.i_csp = X264_CSP_I420;
        m_Picture.img.i_plane = 3;
        m_Luma = Set.Size.LumaBytes();
        m_Picture.img.i_stride[0] = Set.Size.Width;
        m_Picture.img.i_stride[1] = m_Picture.img.i_stride[2] = Set.Size.Width / 2;
    }
    ~Encoder() override { x264_encoder_close(m_pEncoder); }

    void Encode(const std::vector<uint8_t>& Picture, int64_t Index, std::vector<uint8_t>& Stream) override
    {
        auto* const pY = const_cast<uint8_t*>(Picture.data()); // only read
        m_Picture.img.plane[0] = pY;
        m_Picture.img.plane[1] = pY + m_Luma;
        m_Picture.img.plane[2] = pY + m_Luma + m_Luma / 4;
        m_Picture.i_pts = Index;
        x264_nal_t* pUnits;
        int Count;
        x264_picture_t Out;
        const int Size = x264_encoder_encode(m_pEncoder, &pUnits, &Count, &m_Picture, &Out);
        if (Size < 0) throw CliError("encoding failed");
        if (Size) Stream.insert(Stream.end(), pUnits[0].p_payload, pUnits[0].p_payload + Size);
    }

private:
    x264_t* m_pEncoder;
    x264_picture_t m_Picture;
    size_t m_Luma;
};

} // namespace

std::unique_ptr<EncoderEngine> MakeX264Encoder(const EncoderSettings& Set, const std::string& Preset)
{
    return std::make_unique<Encoder>(Set, Preset);
}
