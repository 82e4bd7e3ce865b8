#include "decoder/jobs/segment_decoder_hp.h"

#include "decoder/entropy/mb_decoder.h"
#include "decoder/macroblock/mb_reconstructor.h"

#include <array>

namespace UMC {

namespace {

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
                Decoder::template DecodeMbCABAC<kSlice, false>(c);
            else
                Decoder::template DecodeMbCAVLC<kSlice, false>(c);
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

    // A CAVLC slice of a picture with one slice group does not look for the end of its data: it goes on to its limit.
    template <bool kCabac>
    static bool IsSliceEnd(EntropyState& e, bool HasSliceGroups)
    {
        if constexpr (kCabac) return e.Cabac.m_Engine.Terminate();
        return HasSliceGroups && e.MbSkipRun < 2 && !e.Bits.MoreRbspData();
    }
};

template <int color_format, bool is_field, bool is_high_profile>
using Member8 = SegmentDecoderHP<MBDecoder<int16_t, uint8_t, uint8_t, color_format, is_field, is_high_profile>,
                                 MBReconstructor<uint8_t, color_format, is_high_profile>, int16_t, uint8_t, uint8_t,
                                 color_format, is_field, is_high_profile>;

template <int color_format, bool is_field, bool is_high_profile>
SegmentDecoderHPBase* Member()
{
    static Member8<color_format, is_field, is_high_profile> s_Member;
    return &s_Member;
}

} // namespace

SegmentDecoderHPBase* FindSegmentDecoder(const H264SeqParamSet& Sequence, bool IsField, bool IsMbaff)
{
    // By 2 * chroma format + high profile; samples of 8 bits. Profiles that are not high have 4:2:0 alone.
    static const std::array<SegmentDecoderHPBase*, 8> s_Frame8{nullptr, Member<0, false, true>(),
                                                               Member<1, false, false>(), Member<1, false, true>()};
    static const std::array<SegmentDecoderHPBase*, 8> s_Field8{nullptr, Member<0, true, true>(),
                                                               Member<1, true, false>(), Member<1, true, true>()};
    if (Sequence.bit_depth_luma > 8 || Sequence.bit_depth_chroma > 8 || IsMbaff) return nullptr;
    if (Sequence.chroma_format_idc > 3 || Sequence.qpprime_y_zero_transform_bypass_flag) return nullptr;
    return (IsField ? s_Field8 : s_Frame8)[2u * Sequence.chroma_format_idc + (Sequence.profile_idc >= 100 ? 1 : 0)];
}

} // namespace UMC
