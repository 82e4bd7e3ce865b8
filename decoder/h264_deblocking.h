// Deblocking of reconstructed macroblocks, H.264 clause 8.7: strengths, parameters and the order of work. The filters are
// kernels.
#pragma once

#include "decoder/h264_segment_decoder.h"
#include "kernels/deblocking/deblocking.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

// Strengths of one macroblock: bytes by [direction][edge], the four pieces of an edge from the lowest byte on. Direction 0
// is the vertical edges.
struct DeblockingStrength {
    uint32_t Edge[2][4];
};

// Filters macroblocks of one picture. It takes the view of a slice once and is then asked macroblock by macroblock.
class H264Deblocker
{
public:
    // The picture is the one that the decoder has set up; pSlice is the slice of the macroblocks that follow.
    H264Deblocker(const H264SegmentDecoder& Decoder, const H264Slice& Slice);

    // Filters macroblock Number of the picture, which must belong to the slice.
    void Filter(int32_t Number) const;

    // The strengths of clause 8.7.2.1 that Filter works with.
    DeblockingStrength FindStrength(int32_t Number) const;

private:
    // Neighbours across the outer edges: numbers in the frame's arrays, -1 where the edge is not filtered.
    struct Outer {
        int32_t Left, Top;
    };
    // Set bits of 4x4 blocks, raster: block and its left (0) or upper (1) neighbour.
    struct EdgeBits {
        uint32_t Vertical, Horizontal;
    };
    struct Thresholds {
        uint8_t Alpha, Beta, Clip[4];
    };

    Outer FindOuter(int32_t Mb, int32_t X, int32_t Y) const;
    const H264DecoderRefPicList* ListsOf(int32_t Mb) const;
    DeblockingStrength IntraStrength(int32_t Mb, Outer Neighbours) const;
    DeblockingStrength InterStrength(int32_t Mb, Outer Neighbours) const;
    EdgeBits CodedBits(int32_t Mb, Outer Neighbours) const;
    EdgeBits MotionBits(int32_t Mb, Outer Neighbours) const;
    uint32_t OuterBits(int32_t Mb, int32_t Neighbour, int Direction) const;
    bool MotionDiffers(int32_t Mb, int Block, int32_t OtherMb, int OtherBlock, const H264DecoderRefPicList* pOther) const;
    bool BothListsDiffer(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const;
    bool VectorsDiffer(H264DecoderMotionVector a, H264DecoderMotionVector b) const;

    void FilterLuma(int32_t Mb, Outer Neighbours, const DeblockingStrength& Strength, uint8_t* pLuma) const;
    void FilterChroma(int32_t Mb, Outer Neighbours, const DeblockingStrength& Strength, uint8_t* pU, uint8_t* pV) const;
    void SetThresholds(kernels::EdgeParams& Params, int Index, int Qp) const;

    const H264SegmentDecoder& m_Decoder;
    const H264DecoderRefPicList* m_pLists;
    const MbGlobalInfo* m_pGlobal;
    const MbLocalInfo* m_pLocal;
    int m_MvLimit;        // vertical: 4 in frames, 2 in fields, quarter samples
    bool m_WithinSlice;   // disable_deblocking_filter_idc 2
    bool m_IsBSlice;
    bool m_OneChromaQp;   // both planes have the same offset
    int m_ChromaQpOffset[2];
    Thresholds m_ByQp[52];
};

} // namespace UMC
