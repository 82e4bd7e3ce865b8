// A decoder that is fed unit by unit and tells each status, for tests of what happens between its calls.
#pragma once

#include "tests/support/decode_helper.h"

#include <utility>
#include <vector>

namespace test {

inline const Bytes kRecoveryPoint = NalUnit(0, 6, {6, 1, 0xC4, 0x80}); // recovery_frame_cnt 0

// Notes each picture that is shown.
class FedDecoder
{
public:
    FedDecoder() { Start(); }
    UMC::Status Start()
    {
        UMC::VideoDecoderParams Params;
        Params.m_NumThreads = 1;
        Params.m_pPostProcessing = &m_Tap;
        m_Output.SetBufferPointer(m_Mark, sizeof(m_Mark));
        return m_Decoder.Init(&Params);
    }
    // One unit, or several, in one call.
    UMC::Status Give(Bytes Units)
    {
        UMC::MediaData Input;
        Input.SetBufferPointer(Units.data(), Units.size());
        Input.SetDataSize(Units.size());
        return m_Decoder.GetFrame(&Input, &m_Output);
    }
    UMC::Status Flush() { return m_Decoder.GetFrame(nullptr, &m_Output); }
    std::vector<Bytes> Shown() { return std::exchange(m_Shown, {}); } // since the last time
    std::vector<Bytes> Drain()                                        // with all that was still held back
    {
        while (Flush() == UMC::StatusOk) {
        }
        return Shown();
    }
    // A value that a picture has in its first line or, where that is the grey of a field that never came, the second.
    std::vector<int> ShownValues() { return ValuesOf(Shown()); }
    std::vector<int> DrainValues() { return ValuesOf(Drain()); }
    UMC::H264VideoDecoder& Decoder() { return m_Decoder; }
    const UMC::VideoData& Output() const { return m_Output; }
    const std::vector<int32_t>& Structures() const
    {
        return m_Structures;
    } // of all pictures, as the converter gets them

private:
    static std::vector<int> ValuesOf(const std::vector<Bytes>& Pictures)
    {
        constexpr int kGrey = 128, kWidth = 16;
        std::vector<int> Values;
        for (const Bytes& Samples : Pictures) Values.push_back(Samples[0] != kGrey ? Samples[0] : Samples[kWidth]);
        return Values;
    }

    std::vector<Bytes> m_Shown;
    std::vector<int32_t> m_Structures;
    tools::PictureTap m_Tap{[this](const UMC::VideoData& p) {
        m_Shown.push_back(SamplesOf(p));
        m_Structures.push_back(p.GetPictureStructure());
    }};
    UMC::VideoData m_Output;
    uint8_t m_Mark[2] = {};
    UMC::H264VideoDecoder m_Decoder;
};

} // namespace test
