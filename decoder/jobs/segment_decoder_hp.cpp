#include "decoder/jobs/segment_decoder_hp.h"

#include "decoder/entropy/mb_decoder.h"
#include "decoder/macroblock/mb_reconstructor.h"

#include <array>
#include <cstring>

namespace UMC {

namespace {

template <class Decoder, class Reconstructor, class Coeffs, class PlaneY, class PlaneUV, int color_format,
          bool is_field, bool is_high_profile>
class SegmentDecoderHP : public SegmentDecoderHPBase, private Decoder, private Reconstructor
{
public:
    Status DecodeSegmentCAVLCSingle(int32_t Position, int32_t Count, H264SegmentDecoder& d) override
    {
        switch (d.m_pHeader->slice_type) {
        case P_SLICE: return Run<false, P_SLICE>(Position, Count, d);
        case B_SLICE: return Run<false, B_SLICE>(Position, Count, d);
        default: return Run<false, I_SLICE>(Position, Count, d);
        }
    }
    Status DecodeSegmentCABACSingle(int32_t Position, int32_t Count, H264SegmentDecoder& d) override
    {
        switch (d.m_pHeader->slice_type) {
        case P_SLICE: return Run<true, P_SLICE>(Position, Count, d);
        case B_SLICE: return Run<true, B_SLICE>(Position, Count, d);
        default: return Run<true, I_SLICE>(Position, Count, d);
        }
    }
    void CopyOrFillRect(int32_t Start, int32_t End, const H264DecoderFrame* pReference, H264SegmentDecoder& d) override;

private:
    template <bool kCabac, SliceType kSlice>
    static Status Run(int32_t Position, int32_t Count, H264SegmentDecoder& d)
    {
        const int32_t PictureMbs = d.m_MbWidth * d.m_MbHeight;
        const uint32_t* const pNextMbMap = d.m_pSlice->m_UsesSliceGroups ? d.m_pSlice->m_pNextMbMap : nullptr;
        d.m_CurrentMb = Position;
        int32_t X = Position % d.m_MbWidth, Y = Position / d.m_MbWidth;
        for (int32_t i = 0; i < Count && d.m_CurrentMb < PictureMbs; ++i) {
            BeginMacroblock(d, d.m_CurrentMb, X, Y);
            if constexpr (kCabac)
                Decoder::template DecodeMbCABAC<kSlice>(d);
            else
                Decoder::template DecodeMbCAVLC<kSlice>(d);
            if constexpr (kSlice == I_SLICE)
                Reconstructor::ReconstructIntra(d);
            else
                Reconstructor::ReconstructInter(d);
            ++d.m_MbsDone;
            if (pNextMbMap) {
                d.m_CurrentMb = static_cast<int32_t>(pNextMbMap[d.m_CurrentMb]);
                X = d.m_CurrentMb % d.m_MbWidth;
                Y = d.m_CurrentMb / d.m_MbWidth;
            } else {
                ++d.m_CurrentMb;
                if (++X == d.m_MbWidth) {
                    X = 0;
                    ++Y;
                }
            }
            if (IsSliceEnd<kCabac>(d)) return StatusEndOfSegment;
        }
        return StatusOk;
    }

    // A CAVLC slice of a picture with one slice group does not look for the end of its data: it goes on to its limit.
    template <bool kCabac>
    static bool IsSliceEnd(H264SegmentDecoder& d)
    {
        if constexpr (kCabac) return d.m_Cabac.m_Engine.Terminate();
        return d.m_pSlice->m_UsesSliceGroups && d.m_MbSkipRun < 2 && !d.m_pBitstream->MoreRbspData();
    }

    static void CopyOrFill(uint8_t* pPlane, const uint8_t* pReference, ptrdiff_t From, ptrdiff_t To)
    {
        if (pReference)
            std::memcpy(pPlane + From, pReference + From, static_cast<size_t>(To - From));
        else
            std::memset(pPlane + From, 128, static_cast<size_t>(To - From));
    }
};

// The planes are taken as lines of memory: a range starts at the first macroblock's top left sample and ends at that of
// the last. The lowest lines of the last row of macroblocks stay as they were; deliberate, the picture is not shown.
template <class Decoder, class Reconstructor, class Coeffs, class PlaneY, class PlaneUV, int color_format,
          bool is_field, bool is_high_profile>
void SegmentDecoderHP<Decoder, Reconstructor, Coeffs, PlaneY, PlaneUV, color_format, is_field,
                      is_high_profile>::CopyOrFillRect(int32_t Start, int32_t End, const H264DecoderFrame* pReference,
                                                       H264SegmentDecoder& d)
{
    if (Start >= End || d.m_pSlice->m_UsesSliceGroups) return;
    const auto Offset = [&](int32_t Mb, ptrdiff_t Pitch, int Width, int Height) {
        return Mb / d.m_MbWidth * Height * Pitch + Mb % d.m_MbWidth * Width;
    };
    const uint8_t* pFrom[3] = {};
    if (pReference) {
        const uint8_t* const pPlanes[3] = {pReference->m_pPlaneY, pReference->m_pPlaneU, pReference->m_pPlaneV};
        for (int i = 0; i < 3; ++i) pFrom[i] = pPlanes[i];
    }
    CopyOrFill(d.m_pPlane[0], pFrom[0], Offset(Start, d.m_PitchLuma, 16, 16), Offset(End, d.m_PitchLuma, 16, 16));
    if constexpr (color_format == 1)
        for (int i = 1; i < 3; ++i)
            CopyOrFill(d.m_pPlane[i], pFrom[i], Offset(Start, d.m_PitchChroma, 8, 8),
                       Offset(End, d.m_PitchChroma, 8, 8));
}

template <int color_format, bool is_field, bool is_high_profile>
using Member8 = SegmentDecoderHP<MBDecoder<int16_t, uint8_t, uint8_t, color_format, is_field, is_high_profile>,
                                 MBReconstructor<int16_t, uint8_t, uint8_t, color_format, is_field, is_high_profile>,
                                 int16_t, uint8_t, uint8_t, color_format, is_field, is_high_profile>;

template <int color_format, bool is_field, bool is_high_profile>
SegmentDecoderHPBase* Member()
{
    static Member8<color_format, is_field, is_high_profile> s_Member;
    return &s_Member;
}

} // namespace

SegmentDecoderHPBase* FindSegmentDecoder(const H264SeqParamSet& Sequence, bool IsField, bool IsMbaff)
{
    // By 2 * chroma format + high profile; samples of 8 bits, frames.
    static const std::array<SegmentDecoderHPBase*, 8> s_Frame8{Member<0, false, false>(), Member<0, false, true>(),
                                                               Member<1, false, false>(), Member<1, false, true>()};
    if (Sequence.bit_depth_luma > 8 || Sequence.bit_depth_chroma > 8 || IsField || IsMbaff) return nullptr;
    if (Sequence.chroma_format_idc > 3 || Sequence.qpprime_y_zero_transform_bypass_flag) return nullptr;
    return s_Frame8[2u * Sequence.chroma_format_idc + (Sequence.profile_idc >= 100 ? 1 : 0)];
}

} // namespace UMC
