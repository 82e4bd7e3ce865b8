#include "encoder/session/core_init.h"

#include "Common/h264/h264_tables.h"
#include "encoder/decide/motion_tables.h"
#include "encoder/picture/make_parameter_sets.h"
#include "encoder/session/params_check.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

constexpr size_t kMacroblockBytesAtMost = 4096; // of one macroblock in any slice, far above what CABAC can make of it

// A coefficient is at most the sum of magnitudes of the differences times the largest weight of its position: 1, 2 * 2
// or 2 in the three classes of positions.
int32_t ZeroSad(const kernels::QuantParams& p)
{
    const uint32_t Room = (1u << p.Shift) - 1 - p.Rounding;
    return static_cast<int32_t>(Room / std::max({1u * p.Factor[0], 4u * p.Factor[5], 2u * p.Factor[1]}));
}

// The chroma DC level is that of the sum over all 64 differences, four parts, with one bit more of shift.
int32_t ZeroSadOfChromaDc(const kernels::QuantParams& p)
{
    const uint32_t Room = (2u << p.Shift) - 1 - 2 * p.Rounding;
    return static_cast<int32_t>(Room / p.Factor[0] / 4);
}

void FillQuantTables(QuantTables& q)
{
    for (size_t Qp = 0; Qp < 52; ++Qp)
        for (auto* pTable : {&q.Intra, &q.Inter}) {
            kernels::QuantParams& p = (*pTable)[Qp];
            p.Shift = static_cast<int>(15 + Qp / 6);
            p.Rounding = (1u << p.Shift) / (pTable == &q.Intra ? 3u : 6u);
            std::copy_n(h264::kQuantFactor4x4[Qp % 6], 16, p.Factor);
        }
    for (size_t Qp = 0; Qp < 52; ++Qp) {
        q.LumaZeroSad[Qp] = ZeroSad(q.Inter[Qp]);
        q.ChromaZeroSad[Qp] = std::min(q.LumaZeroSad[Qp], ZeroSadOfChromaDc(q.Inter[Qp]));
    }
    for (size_t m = 0; m < 6; ++m)
        for (size_t i = 0; i < 16; ++i) q.Scale[m][i] = static_cast<int16_t>(16 * h264::kNormAdjust4x4[m][i]);
}

// A threshold's private copy; a lossless stream never stops early at QP 0.
template <class Table>
ThresholdTable CopyThresholds(const Table& From, bool bLossless)
{
    ThresholdTable t;
    std::copy(From.begin(), From.end(), t.begin());
    if (bLossless) t[0] = 0;
    return t;
}

void FillThresholds(EncoderSettings& Settings)
{
    const bool bLossless = Settings.params.qpprime_y_zero_transform_bypass != 0;
    Settings.threshold_me = CopyThresholds(ThresholdMETable, bLossless);
    Settings.threshold_skip_intra = CopyThresholds(SkipIntraThreshold, bLossless);
    Settings.threshold_advanced_intra = CopyThresholds(TryAdvancedIntraThreshold, bLossless);
}

// How far a vector may reach: 15 samples beyond the picture, 127 in all.
int32_t VectorLimit(int32_t SamplesToEdge) { return std::min(SamplesToEdge + 15, 127); }

void FillPositions(EncoderSettings& Settings)
{
    const FrameLayout& l = Settings.layout;
    Settings.positions.resize(static_cast<size_t>(l.MbCount));
    for (int32_t i = 0; i < l.MbCount; ++i) {
        MacroblockPosition& p = Settings.positions[static_cast<size_t>(i)];
        p.X = i % l.MbWidth;
        p.Y = i / l.MbWidth;
        const int32_t x = 16 * p.X, y = 16 * p.Y;
        p.Luma = y * l.Pitch + x;
        p.Chroma = y / 2 * l.Pitch + x / 2;
        p.LimitLeft = -VectorLimit(x);
        p.LimitRight = VectorLimit(l.AlignedWidth - 16 - x);
        p.LimitTop = -VectorLimit(y);
        p.LimitBottom = VectorLimit(l.AlignedHeight - 16 - y);
    }
}

// Macroblocks of the picture in equal runs; the last slice takes the rest.
template <class Sample>
void DivideIntoSlices(EncoderCore<Sample>& c)
{
    const int32_t Slices = c.settings.params.num_slices, Length = c.settings.layout.MbCount / Slices;
    for (int32_t i = 0; i < Slices; ++i) {
        auto& s = c.job.slices[static_cast<size_t>(i)];
        s.first_mb = i * Length;
        s.mb_limit = i + 1 == Slices ? c.settings.layout.MbCount - s.first_mb : Length;
    }
}

template <class Sample>
void AllocateSlices(EncoderCore<Sample>& c)
{
    const auto Count = static_cast<size_t>(c.settings.params.num_slices);
    c.job.slices = std::make_unique<SliceContext<Sample>[]>(Count);
    const size_t Samples =
        static_cast<size_t>(c.settings.layout.AlignedWidth) * static_cast<size_t>(c.settings.layout.AlignedHeight);
    const size_t BufferSize = 2 * (Samples * 3 / 2 + 4096);
    const size_t Stride = BufferSize + kMacroblockBytesAtMost;
    c.job.slice_buffers = std::make_unique<uint8_t[]>(Count * Stride);
    for (size_t i = 0; i < Count; ++i) {
        c.job.slices[i].bitstream.SetBuffer(c.job.slice_buffers.get() + i * Stride, BufferSize);
        if (c.settings.params.search_method != 8) continue;
        const auto w = static_cast<size_t>(2 * std::max(c.settings.params.search_x, 0) + 1);
        const auto h = static_cast<size_t>(2 * std::max(c.settings.params.search_y, 0) + 1);
        c.job.slices[i].work_area.pVisited = std::make_unique<uint8_t[]>(w * h);
    }
}

template <class Sample>
void AllocateTables(EncoderCore<Sample>& c)
{
    const auto Count = static_cast<size_t>(c.settings.layout.MbCount);
    c.job.local_macroblocks.resize(Count);
    c.job.vector_differences.resize(Count * 16);
    c.job.intra_modes.resize(Count * 16);
    c.job.coeff_counts.resize(Count * kCountsPerMb);
}

// Largest of the depths in use.
int32_t LargestDepth(const UMC::H264EncoderParams& p)
{
    const int32_t Depth = std::max(p.bit_depth_luma, p.bit_depth_chroma);
    return p.aux_format_idc ? std::max(Depth, p.bit_depth_aux) : Depth;
}

template <class Sample>
void InitRate(EncoderCore<Sample>& c)
{
    const UMC::H264EncoderParams& p = c.settings.params;
    const bool bShort = p.rate_control_method == 1;
    c.sequence.rate.Init(bShort ? 8 : 0, bShort ? 4 : 0, bShort ? 8 : 0, p.m_Info.m_Bitrate, p.m_Info.m_FrameRate,
                         p.m_Info.m_Width, p.m_Info.m_Height, LargestDepth(p), p.chroma_format_idc,
                         p.aux_format_idc != 0);
}

template <class Sample>
void CopySettings(EncoderCore<Sample>& c, const UMC::VideoEncoderParams& Params)
{
    if (const auto* const pFull = UMC::DynamicCast<UMC::H264EncoderParams>(&Params))
        c.settings.params = *pFull;
    else
        static_cast<UMC::VideoEncoderParams&>(c.settings.params) = Params; // the defaults stand for the rest
}

// Settings whose coding tools this core does not have.
bool IsImplemented(const UMC::H264EncoderParams& p)
{
    return p.coding_type == 0 && p.num_b_frames == 0 && p.chroma_format_idc == 1 && p.aux_format_idc == 0 &&
           p.transform_8x8_mode == 0 && p.qpprime_y_zero_transform_bypass == 0 && p.entropy_coding_mode == 1 &&
           p.partition_level == 0 && p.analysis_level <= 1 && LargestDepth(p) <= CodecTraits<uint8_t>::kMaxBitDepth;
}

} // namespace

template <class Sample>
UMC::Status InitCore(EncoderCore<Sample>& c, const UMC::VideoEncoderParams& Params, UMC::MemoryAllocator* pAllocator)
{
    CopySettings(c, Params);
    if (const UMC::Status s = CheckParams(c.settings.params); s != UMC::StatusOk) return s;
    if (!IsImplemented(c.settings.params)) return UMC::StatusNotImplemented;
    UMC::H264EncoderParams& p = c.settings.params;
    c.allocator = pAllocator;
    c.settings.analysis_flags = AnalysisFlags(p);
    c.settings.layout = MakeLayout(p.m_Info.m_Width, p.m_Info.m_Height, p.chroma_format_idc, p.bit_depth_luma,
                                   p.coding_type == 0, p.aux_format_idc != 0);
    c.settings.gop_length = p.num_b_frames + 1;
    c.settings.gop_pattern.assign(static_cast<size_t>(c.settings.gop_length), FRAME_B);
    c.settings.gop_pattern[0] = FRAME_P;
    c.sequence.key_countdown = static_cast<uint32_t>(p.key_frame_interval) + 1;
    c.sequence.idr_countdown = static_cast<uint32_t>(p.idr_interval) + 1;
    c.sequence.sps = MakeSeqParams(p);
    FillThresholds(c.settings);
    FillQuantTables(c.settings.quant);
    FillPositions(c.settings);
    AllocateSlices(c);
    AllocateTables(c);
    DivideIntoSlices(c);
    InitRate(c);
    return UMC::StatusOk;
}

template <class Sample>
UMC::Status SetCoreRate(EncoderCore<Sample>& c, const UMC::VideoEncoderParams& Params)
{
    UMC::VideoStreamInfo& Info = c.settings.params.m_Info;
    const bool bSame = Info.m_Bitrate == Params.m_Info.m_Bitrate && Info.m_FrameRate == Params.m_Info.m_FrameRate;
    const bool bControlled = c.settings.params.rate_control_method == 1 || c.settings.params.rate_control_method == 2;
    if (bSame || !bControlled) return UMC::StatusUnsupported;
    Info.m_Bitrate = Params.m_Info.m_Bitrate;
    Info.m_FrameRate = Params.m_Info.m_FrameRate;
    InitRate(c);
    return UMC::StatusOk;
}

template UMC::Status InitCore(Core8&, const UMC::VideoEncoderParams&, UMC::MemoryAllocator*);
template UMC::Status SetCoreRate(Core8&, const UMC::VideoEncoderParams&);

} // namespace UMC_H264_ENCODER
