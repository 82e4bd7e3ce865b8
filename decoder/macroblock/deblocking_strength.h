// Boundary strengths of the deblocking filter, H.264 clause 8.7.2.1, from the records of a picture.
#pragma once

#include "decoder/picture/picture_view.h"
#include "decoder/slice/neighbours.h"
#include "decoder/slice/slice.h"

#include <cstdint>

namespace UMC {

// Strengths of one macroblock: bytes by [direction][edge], the four pieces of an edge from the lowest byte on.
// Direction 0 is the vertical edges.
struct DeblockingStrength {
    uint32_t Edge[2][4];
};

// Finds the strengths of macroblocks of one slice. It reads the records of the picture and writes nothing.
class StrengthFinder
{
public:
    // A macroblock in the frame's arrays, and its neighbours across the outer edges: -1 where the edge is not filtered.
    struct Place {
        int32_t Mb, Left, Top;
    };

    // The macroblocks of a frame, of a field, or the field macroblocks of an MBAFF frame.
    enum class Kind { Frame, Field, FieldInFrame };

    // Slice is that of the macroblocks that follow, Picture the one that it belongs to.
    StrengthFinder(const PictureView& Picture, const H264Slice& Slice)
        : StrengthFinder(Picture, Slice, Picture.IsField ? Kind::Field : Kind::Frame)
    {
    }
    StrengthFinder(const PictureView& Picture, const H264Slice& Slice, Kind Kind);

    // The macroblock in column X and row Y of the picture, which must belong to the slice.
    Place FindPlace(int32_t X, int32_t Y) const;

    // Whether the edge between a macroblock and one beside it is filtered.
    bool IsFiltered(int32_t Mb, int32_t Neighbour) const
    {
        const uint16_t SliceId = m_pGlobal[Neighbour].SliceId;
        if (SliceId == m_pGlobal[Mb].SliceId) [[likely]]
            return true;
        return SliceId != kNoSlice && !m_WithinSlice; // nothing was decoded there, or this slice keeps to itself
    }

    // Its strengths. With the 8x8 transform edges 1 and 3 lie inside blocks, and have none; kOddRows gives the
    // horizontal ones theirs all the same, for chroma whose 4x4 blocks begin there.
    template <bool kOddRows>
    DeblockingStrength Find(const Place& p) const;

private:
    // Bits of 4x4 blocks, raster: of the edge to the left of a block, and of the edge above it.
    struct EdgeBits {
        uint32_t Vertical, Horizontal;
    };

    void NumberPictures();
    const H264DecoderRefPicList* ListsOf(int32_t Mb) const;
    template <bool kOddRows>
    DeblockingStrength IntraStrength(const Place& p) const;
    template <bool kOneList, bool kOddRows>
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

    const H264DecoderFrame* m_pFrame;
    const H264DecoderRefPicList* m_pLists;
    const MbGlobalInfo* m_pGlobal;
    const MbLocalInfo* m_pLocal;
    const h264::MotionVector* m_pMv[2];
    const int8_t* m_pRefIdx[2];
    int32_t m_FirstMb, m_MbWidth; // of the picture
    Kind m_Kind;
    int m_MvLimit; // vertical: 4 in frames, 2 in fields, quarter samples
    bool m_IsField;
    bool m_WithinSlice; // disable_deblocking_filter_idc 2
    bool m_IsBSlice;
    // The pictures of the slice's lists by reference index + 1, as numbers that are equal for the same picture; of list
    // 1 in B slices alone.
    uintptr_t m_PictureOf[2][33];
};

inline StrengthFinder::Place StrengthFinder::FindPlace(int32_t X, int32_t Y) const
{
    const int32_t Mb = m_FirstMb + Y * m_MbWidth + X;
    const MbAround Around =
        FindAround(Mb, X, Y, m_MbWidth, [&](int32_t Neighbour) { return IsFiltered(Mb, Neighbour); });
    return {Mb, Around.Left, Around.Top};
}

extern template DeblockingStrength StrengthFinder::Find<false>(const Place&) const;
extern template DeblockingStrength StrengthFinder::Find<true>(const Place&) const;

} // namespace UMC
