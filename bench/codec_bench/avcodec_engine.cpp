#include "bench/codec_bench/engine.h"
#include "tools/common/cli_error.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstring>

namespace {

class Decoder : public DecoderEngine
{
public:
    Decoder() : m_pPacket(av_packet_alloc()), m_pFrame(av_frame_alloc())
    {
        const AVCodec* const pCodec = avcodec_find_decoder(AV_CODEC_ID_H264);
        m_pContext = pCodec ? avcodec_alloc_context3(pCodec) : nullptr;
        if (!m_pContext) throw CliError("no peer decoder");
        m_pContext->thread_count = 1;
        m_pContext->flags |= AV_CODEC_FLAG_LOW_DELAY;
        if (avcodec_open2(m_pContext, pCodec, nullptr) < 0) throw CliError("the peer decoder does not start");
    }
    ~Decoder() override
    {
        avcodec_free_context(&m_pContext);
        av_packet_free(&m_pPacket);
        av_frame_free(&m_pFrame);
    }

    int64_t Decode(std::span<const uint8_t> Unit) override
    {
        if (Unit.empty()) {
            avcodec_send_packet(m_pContext, nullptr);
        } else {
            av_new_packet(m_pPacket, static_cast<int>(Unit.size()));
            std::memcpy(m_pPacket->data, Unit.data(), Unit.size());
            avcodec_send_packet(m_pContext, m_pPacket);
            av_packet_unref(m_pPacket);
        }
        int64_t Count = 0;
        while (avcodec_receive_frame(m_pContext, m_pFrame) == 0) ++Count;
        return Count;
    }

private:
    AVCodecContext* m_pContext;
    AVPacket* m_pPacket;
    AVFrame* m_pFrame;
};

} // namespace

std::unique_ptr<DecoderEngine> MakeAvcodecDecoder() { return std::make_unique<Decoder>(); }
