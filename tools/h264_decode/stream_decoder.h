// Drives UMC::H264VideoDecoder over bytes in memory and hands every picture, cropped, in its own format and depth to a
// function. Used by the tool, the tests and the fuzz target.
#pragma once

#include "decoder/session/video_decoder.h"
#include "media/umc_media_data.h"
#include "media/umc_video_data.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <stdexcept>

namespace tools {

using PictureFunction = std::function<void(const UMC::VideoData&)>;

// A converter that converts nothing: it shows each picture where it lies in the decoder.
class PictureTap final : public UMC::BaseCodec
{
public:
    explicit PictureTap(PictureFunction OnPicture) : m_OnPicture(std::move(OnPicture)) {}
    UMC::Status GetFrame(UMC::MediaData* pInput, UMC::MediaData* pOutput) override
    {
        try {
            if (!m_Thrown) m_OnPicture(*static_cast<UMC::VideoData*>(pInput));
        } catch (...) {
            m_Thrown = std::current_exception();
        }
        return pOutput->SetDataSize(pOutput->GetBufferSize());
    }
    UMC::Status GetInfo(UMC::BaseCodecParams*) override { return UMC::StatusNotImplemented; }
    UMC::Status Reset() override { return UMC::StatusOk; }
    void Rethrow() const
    {
        if (m_Thrown) std::rethrow_exception(m_Thrown);
    }

private:
    PictureFunction m_OnPicture;
    std::exception_ptr m_Thrown; // by the function; the decoder lets nothing through
};

// A decoder from start to drain. What the function throws comes out of Feed or Drain. Inputs may hold any number of
// access units; with MP4, one sample or the configuration record.
class StreamDecoder
{
public:
    StreamDecoder(PictureFunction OnPicture, int32_t Threads, bool bMp4) : m_Tap(std::move(OnPicture))
    {
        UMC::VideoDecoderParams Params;
        Params.m_NumThreads = Threads;
        Params.m_Info.m_StreamType = UMC::kStreamTypeH264;
        Params.m_Info.m_StreamSubtype = bMp4 ? kSubtypeMP4 : 0;
        Params.m_pPostProcessing = &m_Tap;
        if (m_Decoder.Init(&Params) != UMC::StatusOk) throw std::runtime_error("the decoder cannot be started");
        m_Output.SetBufferPointer(m_Mark, sizeof(m_Mark));
    }

    // The last status that was neither success nor a wish for more data; decoding goes on behind it.
    UMC::Status LastFault() const { return m_LastFault; }
    UMC::H264VideoDecoder& Decoder() { return m_Decoder; }

    void Feed(std::span<const uint8_t> Bytes)
    {
        UMC::MediaData Input;
        // The decoder does not write to its input.
        Input.SetBufferPointer(const_cast<uint8_t*>(Bytes.data()), Bytes.size());
        Input.SetDataSize(Bytes.size());
        for (size_t Stalled = 0; Input.GetDataSize() > 0 && Stalled < kMaxStalls;) {
            const size_t Before = Input.GetDataSize();
            const UMC::Status Result = m_Decoder.GetFrame(&Input, &m_Output);
            m_Tap.Rethrow();
            if (Result != UMC::StatusOk && Result != UMC::StatusNotEnoughData) m_LastFault = Result;
            if (Result == UMC::StatusNotEnoughData && Input.GetDataSize() <= kMinInput) return;
            Stalled = Before == Input.GetDataSize() && Result != UMC::StatusOk ? Stalled + 1 : 0;
        }
    }
    void Drain()
    {
        while (m_Decoder.GetFrame(nullptr, &m_Output) == UMC::StatusOk) m_Tap.Rethrow();
        m_Tap.Rethrow();
    }

private:
    static constexpr uint32_t kSubtypeMP4 = 8;
    static constexpr size_t kMinInput = 4;  // bytes that the decoder leaves alone
    static constexpr size_t kMaxStalls = 4; // calls that neither take input nor give a picture

    PictureTap m_Tap;
    UMC::H264VideoDecoder m_Decoder;
    UMC::VideoData m_Output;
    uint8_t m_Mark[2] = {}; // stands for a picture in m_Output
    UMC::Status m_LastFault = UMC::StatusOk;
};

// The bytes of a picture without padding: luma, Cb, Cr, rows from top to bottom; 16-bit little endian above 8 bits.
template <class Write>
void ForEachRow(const UMC::VideoData& Picture, Write&& WriteRow)
{
    for (int32_t Plane = 0; Plane < Picture.GetPlaneCount(); ++Plane) {
        UMC::PlaneInfo Info{};
        Picture.GetPlaneInfo(&Info, Plane);
        const auto RowBytes = static_cast<size_t>(Info.m_Width) * static_cast<size_t>(Info.m_SampleBytes);
        for (int32_t y = 0; y < Info.m_Height; ++y)
            WriteRow(std::span<const uint8_t>(Info.m_pPlane + ptrdiff_t{y} * Info.m_Pitch, RowBytes));
    }
}

} // namespace tools
