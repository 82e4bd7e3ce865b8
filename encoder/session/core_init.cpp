#include "encoder/session/core_init.h"

#include "encoder/picture/make_parameter_sets.h"
#include "encoder/picture/picture_loop.h"
#include "encoder/session/make_settings.h"
#include "encoder/session/params_check.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

constexpr size_t kMacroblockBytesAtMost = 4096; // of one macroblock in any slice, far above what CABAC can make of it

// Macroblocks of the picture in equal runs, whole pairs where there are pairs; the last slice takes the rest.
template <class Sample>
void DivideIntoSlices(const EncoderSettings& Settings, PictureJob<Sample>& Job)
{
    const int32_t Count = static_cast<int32_t>(Settings.Positions.size()); // of a picture, which may be a field
    const int32_t Slices = Settings.Params.num_slices, InPairs = Settings.Params.coding_type == CODING_ADAPTIVE ? 1 : 0;
    const int32_t Length = (Count / Slices) & ~InPairs;
    for (int32_t i = 0; i < Slices; ++i) {
        auto& s = Job.Slices[static_cast<size_t>(i)].Facts;
        s.first_mb = i * Length;
        s.MbLimit = i + 1 == Slices ? Count - s.first_mb : Length;
    }
}

template <class Sample>
void AllocateSlices(const EncoderSettings& Settings, PictureJob<Sample>& Job)
{
    const auto Count = static_cast<size_t>(Settings.Params.num_slices);
    Job.Slices = std::make_unique<SliceContext<Sample>[]>(Count);
    const size_t Samples =
        static_cast<size_t>(Settings.Layout.AlignedWidth) * static_cast<size_t>(Settings.Layout.AlignedHeight);
    const size_t BufferSize = 2 * (Samples * 3 / 2 + 4096);
    const size_t Stride = BufferSize + kMacroblockBytesAtMost;
    Job.SliceBuffers = std::make_unique<uint8_t[]>(Count * Stride);
    for (size_t i = 0; i < Count; ++i) {
        Job.Slices[i].bitstream.SetBuffer(Job.SliceBuffers.get() + i * Stride, BufferSize);
        if (Settings.Params.coding_type == CODING_ADAPTIVE)
            Job.Slices[i].pFieldFacts = std::make_unique<SliceFacts<Sample>[]>(2);
        if (Settings.Params.search_method == SEARCH_UMBRELLA)
            Job.Slices[i].work_area.pVisited = std::make_unique<uint8_t[]>(kVisitedPoints);
    }
}

// The rate control starts over at the rates in force.
template <class Sample>
void StartRate(const EncoderSettings& Settings, SequenceState<Sample>& Sequence)
{
    const UMC::H264EncoderParams& p = Settings.Params;
    const bool IsShort = p.rate_control_method == RATE_CONTROL_SHORT_WINDOWS;
    Sequence.Rate.Init(IsShort ? 8 : 0, IsShort ? 4 : 0, IsShort ? 8 : 0, Sequence.bitrate, Sequence.frame_rate,
                       p.m_Info.m_Width, p.m_Info.m_Height, LargestBitDepth(p), p.chroma_format_idc,
                       p.aux_format_idc != 0);
}

template <class Sample>
void StartSequence(const EncoderSettings& Settings, SequenceState<Sample>& Sequence)
{
    const UMC::H264EncoderParams& p = Settings.Params;
    Sequence.key_countdown = static_cast<uint32_t>(p.key_frame_interval) + 1;
    Sequence.idr_countdown = static_cast<uint32_t>(p.idr_interval) + 1;
    Sequence.Sps = MakeSeqParams(p);
    Sequence.bitrate = p.m_Info.m_Bitrate;
    Sequence.frame_rate = p.m_Info.m_FrameRate;
    StartRate(Settings, Sequence);
}

} // namespace

template <class Sample>
UMC::Status InitCore(EncoderCore<Sample>& c, const UMC::VideoEncoderParams& Params, UMC::MemoryAllocator* pAllocator)
{
    const UMC::Status s = MakeSettings<Sample>(Params, c.Settings);
    return s == UMC::StatusOk ? BuildCore(c, pAllocator) : s;
}

template <class Sample>
UMC::Status BuildCore(EncoderCore<Sample>& c, UMC::MemoryAllocator* pAllocator)
{
    c.pAllocator = pAllocator;
    AllocateSlices(c.Settings, c.Job);
    c.Job.MakeTables(static_cast<size_t>(c.Settings.Layout.MbCount) * (c.Settings.Layout.HasAlpha ? 2 : 1));
    DivideIntoSlices(c.Settings, c.Job);
    // Macroblocks of pairs are coded more than once each.
    if ((c.Settings.AnalysisFlags & ENC_ANALYSE_RECODE) || c.Settings.Params.coding_type == CODING_ADAPTIVE) {
        c.Job.pScratch = std::make_unique<H264EncoderFrame<Sample>>(pAllocator);
        if (const UMC::Status s = c.Job.pScratch->Allocate(c.Settings.Layout); s != UMC::StatusOk) return s;
    }
    StartSequence(c.Settings, c.Sequence);
    if (c.Settings.AnalysisFlags & ENC_ANALYSE_FRAME_TYPE) {
        c.pLookAhead = std::make_unique<LookAhead<Sample>>(c.Settings, PicInitQp(c.Settings.Params, c.Sequence.Rate));
        if (const UMC::Status s = c.pLookAhead->Allocate(c.Settings.Layout, pAllocator); s != UMC::StatusOk) return s;
    }
    // It refuses sizes that can be coded: such pictures pass it as they are.
    c.NoiseFilter.Start(c.Settings.Layout.Width, c.Settings.Layout.Height);
    return UMC::StatusOk;
}

template <class Sample>
UMC::Status SetCoreRate(const EncoderSettings& Settings, SequenceState<Sample>& Sequence,
                        const UMC::VideoEncoderParams& Params)
{
    const UMC::VideoStreamInfo& Asked = Params.m_Info;
    const bool IsSame = Sequence.bitrate == Asked.m_Bitrate && Sequence.frame_rate == Asked.m_FrameRate;
    const bool IsControlled = FollowsRate(Settings.Params.rate_control_method);
    if (IsSame || !IsControlled) return UMC::StatusUnsupported;
    if (!IsBitrate(Asked.m_Bitrate) || !IsFrameRate(Asked.m_FrameRate)) return UMC::StatusInvalidParams;
    Sequence.bitrate = Asked.m_Bitrate;
    Sequence.frame_rate = Asked.m_FrameRate;
    StartRate(Settings, Sequence);
    return UMC::StatusOk;
}

template UMC::Status BuildCore(Core8&, UMC::MemoryAllocator*);
template UMC::Status InitCore(Core8&, const UMC::VideoEncoderParams&, UMC::MemoryAllocator*);
template UMC::Status SetCoreRate(const EncoderSettings&, SequenceState<uint8_t>&, const UMC::VideoEncoderParams&);
template UMC::Status BuildCore(Core16&, UMC::MemoryAllocator*);
template UMC::Status InitCore(Core16&, const UMC::VideoEncoderParams&, UMC::MemoryAllocator*);
template UMC::Status SetCoreRate(const EncoderSettings&, SequenceState<uint16_t>&, const UMC::VideoEncoderParams&);

} // namespace UMC_H264_ENCODER
