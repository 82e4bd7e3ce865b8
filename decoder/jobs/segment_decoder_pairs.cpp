#include "decoder/jobs/segment_decoder_pairs.h"

#include "decoder/entropy/mb_decoder.h"
#include "decoder/macroblock/mb_reconstructor.h"

#include <array>

namespace UMC {

namespace {

// A slice holds whole pairs.
template <class Decoder, class Reconstructor>
class PairSegmentDecoder : public SegmentDecoderHPBase, private Decoder, private Reconstructor
{
public:
    Status DecodeSegmentCAVLCSingle(int32_t Position, int32_t Count, H264SegmentDecoder& d) override
    {
        return RunSlice<false>(Position, Count, d.m_Cursor);
    }
    Status DecodeSegmentCABACSingle(int32_t Position, int32_t Count, H264SegmentDecoder& d) override
    {
        return RunSlice<true>(Position, Count, d.m_Cursor);
    }

private:
    template <bool kCabac>
    static Status RunSlice(int32_t Position, int32_t Count, SliceCursor& c)
    {
        switch (c.Slice.pHeader->slice_type) {
        case SLICE_P: return Run<kCabac, SLICE_P>(Position, Count, c);
        case SLICE_B: return Run<kCabac, SLICE_B>(Position, Count, c);
        default: return Run<kCabac, SLICE_I>(Position, Count, c);
        }
    }

    template <bool kCabac, SliceType kSlice>
    static Status Run(int32_t Position, int32_t Count, SliceCursor& c)
    {
        const SliceView& s = c.Slice;
        const int32_t PictureMbs = s.Picture.MbCount(), Width = s.Picture.MbWidth;
        c.CurrentMb = Position;
        for (int32_t i = 0; i < Count && c.CurrentMb < PictureMbs; i += 2) {
            MbPlace Place = PlaceOf<true>(c.CurrentMb, Width);
            auto Pair = Decoder::template BeginPair<kCabac, kSlice>(c, Place);
            FinishInPair<kCabac, kSlice>(c, Pair);
            ++c.CurrentMb;
            ++Place.Y;
            Decoder::template GoToLower<kCabac, kSlice>(c, Place, Pair);
            FinishInPair<kCabac, kSlice>(c, Pair);
            c.CurrentMb = s.pNextMbMap ? static_cast<int32_t>(s.pNextMbMap[c.CurrentMb]) : c.CurrentMb + 1;
            if (IsSliceEnd<kCabac>(c.Entropy, s.pNextMbMap)) return StatusEndOfSegment;
        }
        return StatusOk;
    }

    template <bool kCabac, SliceType kSlice>
    static void FinishInPair(SliceCursor& c, const typename Decoder::PairState& Pair)
    {
        Decoder::template DecodeInPair<kCabac, kSlice>(c, Pair);
        if constexpr (kSlice == SLICE_I)
            Reconstructor::template ReconstructIntra<true>(c.Slice, c.Mb, c.Coeffs);
        else
            Reconstructor::template ReconstructInter<true>(c.Slice, c.Mb, c.Coeffs, c.Scratch);
        ++c.MbsDone;
    }
};

template <int color_format, bool is_high_profile>
SegmentDecoderHPBase* Member()
{
    static PairSegmentDecoder<MBDecoder<int16_t, uint8_t, uint8_t, color_format, false, is_high_profile>,
                              MBReconstructor<uint8_t, color_format, is_high_profile>>
        s_Member;
    return &s_Member;
}

} // namespace

SegmentDecoderHPBase* FindPairDecoder(uint32_t ChromaFormat, bool IsHighProfile)
{
    // By 2 * chroma format + high profile.
    static const std::array<SegmentDecoderHPBase*, 8> s_Members{Member<0, false>(), Member<0, true>(),
                                                                Member<1, false>(), Member<1, true>()};
    return ChromaFormat > 3 ? nullptr : s_Members[2 * ChromaFormat + (IsHighProfile ? 1 : 0)];
}

} // namespace UMC
