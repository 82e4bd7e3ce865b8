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

// Of an inter macroblock whose 4x4 blocks begin at First in the frame's tables.
template <class Sample>
void AddMotion(ToolCounts& n, const H264EncoderFrame<Sample>& f, size_t First)
{
    bool UsesList1 = false, UsesBoth = false, IsFractional = false;
    for (const size_t Quadrant : {0u, 2u, 8u, 10u}) {
        const int8_t a = f.mb_reference[0][First + Quadrant];
        const int8_t b = f.frame_type == FRAME_B ? f.mb_reference[1][First + Quadrant] : h264::kRefNone;
        if (a >= 0) ++n.References[a];
        UsesList1 |= b >= 0;
        UsesBoth |= a >= 0 && b >= 0;
    }
    for (int List = 0; List < (f.frame_type == FRAME_B ? 2 : 1); ++List)
        IsFractional |= std::any_of(f.mb_motion[List] + First, f.mb_motion[List] + First + 16,
                                    [](const MotionVector& v) { return v.x % 4 != 0 || v.y % 4 != 0; });
    n.from_list_1 += UsesList1;
    n.from_both_lists += UsesBoth;
    n.with_fractional_vectors += IsFractional;
}

void AddDivisions(ToolCounts& n, const LocalMacroblock& Local)
{
    for (int q = 0; q < 4; ++q) {
        if (Local.Direct >> q & 1) {
            ++n.sub_direct;
            continue;
        }
        switch (Local.SubTypes[q]) {
        case SUB_8X8: ++n.sub_8x8; break;
        case SUB_8X4: ++n.sub_8x4; break;
        case SUB_4X8: ++n.sub_4x8; break;
        default: ++n.sub_4x4; break;
        }
    }
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
    n.slices += c.Settings.Params.num_slices * (c.Settings.Params.coding_type == CODING_FIELDS ? 2 : 1);
    for (size_t i = 0; i < static_cast<size_t>(c.Settings.Layout.MbCount); ++i) {
        const LocalMacroblock& Local = c.Job.LocalMacroblocks[i];
        const auto Type = static_cast<MacroblockType>(f.mb_global[i].Type);
        ++CountOfType(n, Type, Local.Intra16Mode);
        n.with_coefficients += Local.Coded != 0 || Local.CodedDc != 0;
        n.in_fields += (f.mb_global[i].Flags & kFlagField) != 0;
        const bool Is8x8 = (f.mb_global[i].Flags & kFlagTransform8x8) != 0;
        n.intra_8x8 += Is8x8 && IsIntra(Type);
        n.transform_8x8 += Is8x8 && !IsIntra(Type);
        if (Type == MB_INTER8X8 || Type == MB_INTER8X8_REF0) AddDivisions(n, Local);
        if (!IsIntra(Type)) AddMotion(n, f, 16 * i);
    }
}

template void AddToolCounts(const Core8&, ToolCounts&);
template void AddToolCounts(const Core16&, ToolCounts&);

} // namespace UMC_H264_ENCODER
