// I_PCM samples, clause 7.3.5.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

template <class PlaneY, class PlaneUV, int color_format>
class ResidualDecoderPCM
{
protected:
    static constexpr h264::ChromaGeometry kChroma = h264::kChromaGeometry[color_format];

    // Reads the samples, from the next byte boundary on, into the place of the macroblock's coefficients: luma, then
    // both chroma planes, row by row.
    static void ReadPcm(H264Bitstream& Bits, int BitDepthLuma, int BitDepthChroma, MbResidual& r)
    {
        Bits.AlignToByte();
        auto* const pLuma = r.As<PlaneY>();
        for (int i = 0; i < 256; ++i) pLuma[i] = static_cast<PlaneY>(Bits.GetBits(static_cast<uint32_t>(BitDepthLuma)));
        auto* const pChroma = reinterpret_cast<PlaneUV*>(pLuma + 256);
        for (int i = 0; i < 2 * kChroma.MbWidth * kChroma.MbHeight; ++i)
            pChroma[i] = static_cast<PlaneUV>(Bits.GetBits(static_cast<uint32_t>(BitDepthChroma)));
    }
};

} // namespace UMC
