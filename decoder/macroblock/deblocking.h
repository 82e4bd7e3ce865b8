// Deblocking of reconstructed macroblocks, H.264 clause 8.7: strengths, parameters and the order of work. The filters
// are kernels.
#pragma once

#include "Common/h264/deblocking_thresholds.h"
#include "decoder/picture/picture_view.h"
#include "decoder/slice/neighbours.h"
#include "decoder/slice/slice.h"
#include "kernels/deblocking/deblocking.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

// Strengths of one macroblock: bytes by [direction][edge], the four pieces of an edge from the lowest byte on.
// Direction 0 is the vertical edges.
struct DeblockingStrength {
    uint32_t Edge[2][4];
};

// Filters macroblocks of one picture. It takes the view of a slice once and is then asked macroblock by macroblock.
class H264Deblocker
{
public:
    // Slice is that of the macroblocks that follow, Picture the one that it belongs to.
    H264Deblocker(const PictureView& Picture, const H264Slice& Slice);

    // Filters the macroblock in column X and row Y of the picture, which must belong to the slice.
    void Filter(int32_t X, int32_t Y) const;

    // The strengths of clause 8.7.2.1 that Filter works with.
    DeblockingStrength FindStrength(int32_t X, int32_t Y) const { return FindStrength(FindPlace(X, Y)); }

private:
    // A macroblock in the frame's arrays, and its neighbours across the outer edges: -1 where the edge is not filtered.
    struct Place {
        int32_t Mb, Left, Top;
    };
    // Bits of 4x4 blocks, raster: of the edge to the left of a block, and of the edge above it.
    struct EdgeBits {
        uint32_t Vertical, Horizontal;
    };

    Place FindPlace(int32_t X, int32_t Y) const;
    DeblockingStrength FindStrength(const Place& p) const;
    void NumberPictures();
    const H264DecoderRefPicList* ListsOf(int32_t Mb) const;
    DeblockingStrength IntraStrength(const Place& p) const;
    template <bool kOneList>
    DeblockingStrength InterStrength(const Place& p) const;
    EdgeBits CodedBits(const Place& p) const;
    template <bool kOneList>
    uint32_t OuterBits(int32_t Mb, int32_t Neighbour, int Step, int Across) const;
    template <bool kOneList>
    EdgeBits InnerBits(int32_t Mb) const;
    template <bool kOneList>
    bool MotionDiffers(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const;
    bool OneListDiffers(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const;
    template <bool kIsNumbered>
    bool BothListsDiffer(int32_t i, int32_t j, const H264DecoderRefPicList* pOther) const;

    void FilterLuma(const Place& p, const DeblockingStrength& Strength, uint8_t* pLuma) const;
    void FilterChroma(const Place& p, const DeblockingStrength& Strength, uint8_t* pU, uint8_t* pV) const;
    void SetThresholds(kernels::EdgeParams& Params, int Index, int Qp) const;

    PictureView m_Picture;
    const H264DecoderFrame* m_pFrame;
    const H264DecoderRefPicList* m_pLists;
    const MbGlobalInfo* m_pGlobal;
    const MbLocalInfo* m_pLocal;
    const h264::MotionVector* m_pMv[2];
    const int8_t* m_pRefIdx[2];
    int m_MvLimit;      // vertical: 4 in frames, 2 in fields, quarter samples
    bool m_WithinSlice; // disable_deblocking_filter_idc 2
    bool m_IsBSlice;
    // The pictures of the slice's lists by reference index + 1, as numbers that are equal for the same picture; B
    // slices.
    uintptr_t m_PictureOf[2][33];
    bool m_OneChromaQp;        // both planes have the same offset
    uint8_t m_ChromaQp[2][52]; // by luma QP
    h264::DeblockingThresholds m_ByQp[52];
};

inline H264Deblocker::Place H264Deblocker::FindPlace(int32_t X, int32_t Y) const
{
    const int32_t Mb = m_Picture.FirstMb + Y * m_Picture.MbWidth + X;
    const MbAround Around = FindAround(Mb, X, Y, m_Picture.MbWidth, [&](int32_t Neighbour) {
        const uint16_t SliceId = m_pGlobal[Neighbour].SliceId;
        if (SliceId == m_pGlobal[Mb].SliceId) [[likely]]
            return true;
        return SliceId != kNoSlice && !m_WithinSlice; // nothing was decoded there, or this slice keeps to itself
    });
    return {Mb, Around.Left, Around.Top};
}

} // namespace UMC
