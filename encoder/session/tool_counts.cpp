#include "encoder/session/tool_counts.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

int64_t& CountOfType(ToolCounts& n, MacroblockType Type, uint8_t Intra16Mode)
{
    switch (Type) {
    case MB_INTRA4X4: return n.intra_4x4;
    case MB_INTRA16X16:
        switch (Intra16Mode) {
        case INTRA16_VERTICAL: return n.intra_16x16_vertical;
        case INTRA16_HORIZONTAL: return n.intra_16x16_horizontal;
        case INTRA16_DC: return n.intra_16x16_dc;
        default: return n.intra_16x16_plane;
        }
    case MB_PCM: return n.pcm;
    case MB_INTER16X16: return n.inter_16x16;
    case MB_INTER16X8: return n.inter_16x8;
    case MB_INTER8X16: return n.inter_8x16;
    case MB_INTER8X8:
    case MB_INTER8X8_REF0: return n.inter_8x8;
    case MB_DIRECT: return n.direct;
    case MB_SKIP_P: return n.skip_p;
    default: return n.skip_b;
    }
}

// Of an inter macroblock: its 16 vectors and references in raster order.
void AddMotion(ToolCounts& n, const MotionVector* pVectors, const int8_t* pReferences)
{
    for (const int Quadrant : {0, 2, 8, 10})
        if (const int8_t i = pReferences[Quadrant]; i >= 0) ++n.References[i];
    n.with_fractional_vectors +=
        std::any_of(pVectors, pVectors + 16, [](const MotionVector& v) { return v.x % 4 != 0 || v.y % 4 != 0; });
}

template <class Sample>
void AddPicture(ToolCounts& n, const H264EncoderFrame<Sample>& f)
{
    n.pictures_i += f.frame_type == FRAME_I;
    n.pictures_p += f.frame_type == FRAME_P;
    n.pictures_b += f.frame_type == FRAME_B;
    n.pictures_idr += f.is_idr;
}

} // namespace

template <class Sample>
void AddToolCounts(const EncoderCore<Sample>& c, ToolCounts& n)
{
    if (!c.Job.pCurrent) return;
    const H264EncoderFrame<Sample>& f = *c.Job.pCurrent;
    AddPicture(n, f);
    n.slices += c.Settings.Params.num_slices * (c.Settings.Params.coding_type == 1 ? 2 : 1);
    for (size_t i = 0; i < static_cast<size_t>(c.Settings.Layout.MbCount); ++i) {
        const LocalMacroblock& Local = c.Job.LocalMacroblocks[i];
        const auto Type = static_cast<MacroblockType>(f.mb_global[i].Type);
        ++CountOfType(n, Type, Local.Intra16Mode);
        n.with_coefficients += Local.Coded != 0 || Local.CodedDc != 0;
        if (!IsIntra(Type)) AddMotion(n, f.mb_motion[0] + 16 * i, f.mb_reference[0] + 16 * i);
    }
}

template void AddToolCounts(const Core8&, ToolCounts&);
template void AddToolCounts(const Core16&, ToolCounts&);

} // namespace UMC_H264_ENCODER
