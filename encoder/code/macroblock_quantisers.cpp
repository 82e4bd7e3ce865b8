#include "encoder/code/macroblock_quantisers.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/h264_tables.h"
#include "Common/h264/slice_type.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

int32_t ChromaQp(int32_t Qp, int32_t BitDepthChroma)
{
    const int32_t Index = std::max(Qp, -6 * (BitDepthChroma - 8));
    return Index < 0 ? Index : h264::kChromaQp[static_cast<size_t>(Index)];
}

void SetQuantisers(const EncoderSettings& Settings, const SyntaxOfSlice& Slice, int32_t Qp, MacroblockQuant& q)
{
    const QuantTables& Tables = Settings.Quant;
    q.Qp = Qp;
    q.QpChroma = ChromaQp(Qp, Slice.BitDepthChroma);
    // Of 8-bit samples alone, where QP'Y is QPY; that deep ones are always transformed is deliberate.
    q.IsLossless = Settings.Params.qpprime_y_zero_transform_bypass != 0 && Qp == 0 && Slice.BitDepthLuma == 8;
    const auto Luma = static_cast<size_t>(Qp + 6 * (Slice.BitDepthLuma - 8));
    const auto Chroma = static_cast<size_t>(q.QpChroma + 6 * (Slice.BitDepthChroma - 8));
    const size_t ChromaDc = Chroma + (Slice.chroma_format_idc == h264::CHROMA_422 ? 3 : 0);
    // Intra macroblocks of P and B slices take the smaller rounding too: the slice decides, not the macroblock.
    const bool IsI = Slice.slice_type == h264::SLICE_I;
    const auto& Table = IsI ? Tables.Intra : Tables.Inter;
    q.pLuma = &Table[Luma];
    q.pLuma8x8 = &(IsI ? Tables.Intra8x8 : Tables.Inter8x8)[Luma];
    q.pLumaIntra = &Tables.Intra[Luma];
    q.pChroma = &Table[Chroma];
    q.pChromaDc = &Table[ChromaDc];
    q.pLumaScale = Tables.Scale[Luma % 6];
    q.pLumaScale8x8 = Tables.Scale8x8[Luma % 6];
    q.pChromaScale = Tables.Scale[Chroma % 6];
    q.pChromaDcScale = Tables.Scale[ChromaDc % 6];
    q.LumaZeroSad = Tables.LumaZeroSad[Luma];
    q.ChromaZeroSad = Tables.ChromaZeroSad[Chroma];
    q.LumaPer = static_cast<int32_t>(Luma / 6);
    q.ChromaPer = static_cast<int32_t>(Chroma / 6);
    q.ChromaDcPer = static_cast<int32_t>(ChromaDc / 6);
}

} // namespace UMC_H264_ENCODER
