// What the samples of a picture are and how many of them there are.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "decoder/stream/headers.h"

#include <algorithm>
#include <cstdint>

namespace UMC {

// What stands for samples that nothing was decoded for, monochrome pictures' chroma included. Of samples of every
// depth: deliberate, though it is the middle of 8 bits alone.
inline constexpr uint8_t kGreySample = 128;

struct PictureSize {
    int32_t Width = 0, Height = 0;
    bool operator==(const PictureSize&) const = default;
};

// Made of a sequence parameter set when a picture begins; the picture keeps it, and nobody writes it there.
struct PictureFormat {
    int32_t ChromaFormat = 0; // chroma_format_idc
    int32_t BitDepthLuma = 0, BitDepthChroma = 0;
    PictureSize Size;   // luma samples; those of a picture fill whole macroblocks
    PictureSize MbSize; // macroblocks that cover it

    static PictureFormat Of(const H264SeqParamSet& Seq)
    {
        return Make(
            {static_cast<int32_t>(Seq.frame_width_in_mbs) * 16, static_cast<int32_t>(Seq.frame_height_in_mbs) * 16},
            Seq.chroma_format_idc, Seq.bit_depth_luma, Seq.bit_depth_chroma);
    }
    static PictureFormat Make(PictureSize Size, int32_t ChromaFormat, int32_t BitDepthLuma, int32_t BitDepthChroma)
    {
        return {ChromaFormat, BitDepthLuma, BitDepthChroma, Size, {(Size.Width + 15) / 16, (Size.Height + 15) / 16}};
    }
    PictureFormat InWholeMbs() const
    {
        return Make({MbSize.Width * 16, MbSize.Height * 16}, ChromaFormat, BitDepthLuma, BitDepthChroma);
    }
    bool operator==(const PictureFormat&) const = default;

    // All planes hold samples of as many bytes as the deeper ones need.
    int32_t BitDepth() const { return std::max(BitDepthLuma, BitDepthChroma); }
    int32_t SampleBytes() const { return BitDepth() > 8 ? 2 : 1; }

    int32_t MbCount() const { return MbSize.Width * MbSize.Height; }
    // Of the macroblocks' chroma samples as they are coded: none of a monochrome picture.
    const h264::ChromaGeometry& Chroma() const { return h264::kChromaGeometry[ChromaFormat & 3]; }
    // Bits of the samples of a macroblock.
    uint32_t MbSampleBits() const
    {
        return static_cast<uint32_t>(256 * BitDepthLuma + 2 * Chroma().MbWidth * Chroma().MbHeight * BitDepthChroma);
    }
    // Of the planes as they stand in memory: those of a monochrome picture are grey, in the size of 4:2:0.
    const h264::ChromaGeometry& StoredChroma() const
    {
        return ChromaFormat == h264::CHROMA_400 ? h264::kChromaGeometry[h264::CHROMA_420] : Chroma();
    }
    PictureSize ChromaSize() const // samples of a stored plane
    {
        return {Size.Width >> StoredChroma().ShiftX, Size.Height >> StoredChroma().ShiftY};
    }
};

} // namespace UMC
