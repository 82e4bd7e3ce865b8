// I_PCM samples, clause 7.3.5.
#pragma once

#include "decoder/jobs/segment_decoder.h"

#include <cstdint>

namespace UMC {

template <class Coeffs, class PlaneY, class PlaneUV, int color_format, bool is_field>
class ResidualDecoderPCM
{
protected:
    static constexpr int kChromaSamples = color_format == 0 ? 0 : 64 << (color_format - 1); // of one plane

    // Reads the samples, from the next byte boundary on, into the place of the macroblock's coefficients: luma, then
    // both chroma planes, row by row.
    static void ReadPcm(H264SegmentDecoder& d)
    {
        H264Bitstream& Bits = *d.m_pBitstream;
        Bits.AlignToByte();
        auto* const pLuma = reinterpret_cast<PlaneY*>(d.m_Coefficients);
        for (int i = 0; i < 256; ++i)
            pLuma[i] = static_cast<PlaneY>(Bits.GetBits(static_cast<uint32_t>(d.m_BitDepthLuma)));
        auto* const pChroma = reinterpret_cast<PlaneUV*>(pLuma + 256);
        for (int i = 0; i < 2 * kChromaSamples; ++i)
            pChroma[i] = static_cast<PlaneUV>(Bits.GetBits(static_cast<uint32_t>(d.m_BitDepthChroma)));
    }
};

} // namespace UMC
