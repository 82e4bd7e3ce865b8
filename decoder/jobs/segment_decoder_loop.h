// The loop over the macroblocks of a frame or a field. Its instances take as long to compile as the rest of the
// decoder: each source that has some says which.
#pragma once

#include "decoder/entropy/mb_decoder.h"
#include "decoder/jobs/segment_decoder_hp.h"
#include "decoder/macroblock/mb_reconstructor.h"

namespace UMC {

template <class Decoder, class Reconstructor, class Coeffs, class PlaneY, class PlaneUV, int color_format,
          bool is_field, bool is_high_profile>
class SegmentDecoderHP : public SegmentDecoderHPBase, private Decoder, private Reconstructor
{
public:
    Status DecodeSegmentCAVLCSingle(int32_t Position, int32_t Count, H264SegmentDecoder& d) override
    {
        switch (d.m_Cursor.Slice.pHeader->slice_type) {
        case SLICE_P: return Run<false, SLICE_P>(Position, Count, d.m_Cursor);
        case SLICE_B: return Run<false, SLICE_B>(Position, Count, d.m_Cursor);
        default: return Run<false, SLICE_I>(Position, Count, d.m_Cursor);
        }
    }
    Status DecodeSegmentCABACSingle(int32_t Position, int32_t Count, H264SegmentDecoder& d) override
    {
        switch (d.m_Cursor.Slice.pHeader->slice_type) {
        case SLICE_P: return Run<true, SLICE_P>(Position, Count, d.m_Cursor);
        case SLICE_B: return Run<true, SLICE_B>(Position, Count, d.m_Cursor);
        default: return Run<true, SLICE_I>(Position, Count, d.m_Cursor);
        }
    }

private:
    template <bool kCabac, SliceType kSlice>
    static Status Run(int32_t Position, int32_t Count, SliceCursor& c)
    {
        const SliceView& s = c.Slice;
        const int32_t PictureMbs = s.Picture.MbCount(), Width = s.Picture.MbWidth;
        c.CurrentMb = Position;
        MbPlace Place = PlaceOf<false>(Position, Width);
        for (int32_t i = 0; i < Count && c.CurrentMb < PictureMbs; ++i) {
            c.BeginMacroblock<false>(c.CurrentMb, Place.X, Place.Y);
            if constexpr (kCabac)
                Decoder::template DecodeMbCABAC<kSlice>(c);
            else
                Decoder::template DecodeMbCAVLC<kSlice>(c);
            if constexpr (kSlice == SLICE_I)
                Reconstructor::ReconstructIntra(s, c.Mb, c.Coeffs);
            else
                Reconstructor::ReconstructInter(s, c.Mb, c.Coeffs, c.Scratch);
            ++c.MbsDone;
            if (s.pNextMbMap) {
                c.CurrentMb = static_cast<int32_t>(s.pNextMbMap[c.CurrentMb]);
                Place = PlaceOf<false>(c.CurrentMb, Width);
            } else {
                ++c.CurrentMb;
                Place = NextPlace<false>(Place, Width);
            }
            if (IsSliceEnd<kCabac>(c.Entropy, s.pNextMbMap)) return StatusEndOfSegment;
        }
        return StatusOk;
    }
};

template <class Sample, int color_format, bool is_field, bool is_high_profile, bool may_bypass>
SegmentDecoderHPBase* Member()
{
    using Coeffs = typename CodecTraits<Sample>::Coeffs;
    static SegmentDecoderHP<MBDecoder<Coeffs, Sample, Sample, color_format, is_field, is_high_profile, may_bypass>,
                            MBReconstructor<Sample, color_format, is_high_profile, may_bypass>, Coeffs, Sample, Sample,
                            color_format, is_field, is_high_profile>
        s_Member;
    return &s_Member;
}

// Of a high profile. 4:4:4 has members with bypass alone, which take any such stream.
template <class Sample, bool is_field, bool may_bypass>
SegmentDecoderHPBase* HighMember(uint32_t chroma_format_idc)
{
    switch (chroma_format_idc) {
    case h264::CHROMA_400: return Member<Sample, 0, is_field, true, may_bypass>();
    case h264::CHROMA_420: return Member<Sample, 1, is_field, true, may_bypass>();
    case h264::CHROMA_422: return Member<Sample, 2, is_field, true, may_bypass>();
    case h264::CHROMA_444:
        if constexpr (may_bypass) return Member<Sample, 3, is_field, true, true>();
        return nullptr;
    default: return nullptr;
    }
}

} // namespace UMC
