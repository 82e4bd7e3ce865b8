#include "decoder/entropy/mb_decoder.h"
#include "decoder/jobs/segment_decoder_members.h"
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

template <class Sample, int color_format, bool is_high_profile>
SegmentDecoderHPBase* Member()
{
    using Coeffs = typename CodecTraits<Sample>::Coeffs;
    // Macroblocks of any high profile may bypass the transform.
    static PairSegmentDecoder<MBDecoder<Coeffs, Sample, Sample, color_format, false, is_high_profile, is_high_profile>,
                              MBReconstructor<Sample, color_format, is_high_profile, is_high_profile>>
        s_Member;
    return &s_Member;
}

// Of a high profile.
template <class Sample>
SegmentDecoderHPBase* HighMember(uint32_t chroma_format_idc)
{
    static const std::array<SegmentDecoderHPBase*, 4> s_Members{Member<Sample, 0, true>(), Member<Sample, 1, true>(),
                                                                Member<Sample, 2, true>(), Member<Sample, 3, true>()};
    return chroma_format_idc < s_Members.size() ? s_Members[chroma_format_idc] : nullptr;
}

} // namespace

SegmentDecoderHPBase* FindPairDecoder(const H264SeqParamSet& Sequence, bool IsDeep)
{
    if (Sequence.profile_idc < 100) return Member<uint8_t, 1, false>();
    return (IsDeep ? HighMember<uint16_t> : HighMember<uint8_t>)(Sequence.chroma_format_idc);
}

} // namespace UMC
