#include "encoder/picture/picture_loop.h"

#include "Common/h264/nal_unit_type.h"
#include "Common/h264/trace/element_trace.h"
#include "encoder/picture/b_slice_facts.h"
#include "encoder/picture/deblock.h"
#include "encoder/picture/make_parameter_sets.h"
#include "encoder/picture/padding.h"
#include "encoder/picture/pair_loop.h"
#include "encoder/picture/reference_lists.h"
#include "encoder/picture/slice_loop.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

int32_t SliceTypeOf(int32_t FrameType)
{
    return FrameType == FRAME_I ? h264::SLICE_I : FrameType == FRAME_B ? h264::SLICE_B : h264::SLICE_P;
}

// primary_pic_type of Table 7-5.
uint32_t PrimaryPicType(int32_t FrameType) { return FrameType == FRAME_I ? 0 : FrameType == FRAME_P ? 1 : 2; }

// Lays NAL units behind the data in the client's buffer and remembers when one did not fit.
class OutputPacker
{
public:
    OutputPacker(UMC::MediaData& Output, size_t Used, bool OpensAccessUnit)
        : m_pStart(static_cast<uint8_t*>(Output.GetDataPointer())), m_Used(Used),
          m_Room(m_pStart ? Output.GetBufferSize() -
                                static_cast<size_t>(m_pStart - static_cast<uint8_t*>(Output.GetBufferPointer()))
                          : 0),
          m_IsFirstInAu(OpensAccessUnit)
    {
    }

    template <class Writer>
    void Append(Writer& w, uint32_t NalRefIdc, h264::NalUnitType Type)
    {
        constexpr size_t kFraming = 5; // zero_byte, start code and header
        const size_t Payload = w.PendingBytes();
        if (m_Room < m_Used + kFraming + Payload || !Fits(w, Type)) {
            m_HasOverflowed = true;
            return;
        }
        m_Used += w.WriteNAL(m_pStart + m_Used, NalRefIdc, Type, m_IsFirstInAu);
    }

    bool Overflow() const { return m_HasOverflowed; }
    size_t DataSize() const { return m_Used; }

private:
    // Emulation prevention may still need more than the room that is left.
    template <class Writer>
    bool Fits(const Writer& w, h264::NalUnitType Type) const
    {
        const size_t Left = m_Room - m_Used;
        return Left >= NalBytesAtMost(w.PendingBytes()) || Left >= w.FramedPending(Type, m_IsFirstInAu);
    }

    uint8_t* m_pStart;
    size_t m_Used;
    size_t m_Room;
    bool m_IsFirstInAu;
    bool m_HasOverflowed = false;
};

// The finest QP of luma: -QpBdOffsetY. The rate control goes by the deepest samples there are and may want finer ones.
// Where a QP'Y of 0 would mean no transform, which deep samples always have here, it is one above.
int32_t FinestQp(const UMC::H264EncoderParams& p, int32_t BitDepthLuma)
{
    const bool MeansNoTransform = p.qpprime_y_zero_transform_bypass != 0 && BitDepthLuma > 8;
    return -6 * (BitDepthLuma - 8) + (MeansNoTransform ? 1 : 0);
}

// Those of the sequence, made anew for its first picture; each IDR picture has the next number.
template <class Sample>
PictureSets SetsOf(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, bool IsIdr)
{
    PictureSets Sets{Sequence.Sps, Sequence.Pps, Sequence.idr_pic_id};
    if (!IsIdr) return Sets;
    Sets.idr_pic_id = (Sequence.idr_pic_id + 1) % 16;
    if (Sequence.frames_encoded != 0) return Sets;
    Sets.Sps = MakeSeqParams(Settings.Params);
    Sets.Pps = MakePicParams(Settings.Params, PicInitQp(Settings.Params, Sequence.Rate));
    return Sets;
}

template <class Sample>
void WriteParameterSets(const PictureSets& Sets, CH264pBs<Sample, typename CodecTraits<Sample>::Coeff>& Writer,
                        OutputPacker& Packer)
{
    Writer.WriteSeqParams(Sets.Sps);
    Packer.Append(Writer, 1, h264::NAL_SEQ_PARAM_SET);
    if (Sets.Sps.aux_format_idc != 0) {
        Writer.WriteSeqExtension(Sets.Sps);
        Packer.Append(Writer, 1, h264::NAL_SEQ_PARAM_SET_EXTENSION);
    }
    Writer.WritePicParams(Sets.Pps, Sets.Sps);
    Packer.Append(Writer, 1, h264::NAL_PIC_PARAM_SET);
}

// The QP of all slices of the picture; the first one without a rate to follow.
template <class Sample>
int32_t SliceQp(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, int32_t FrameType,
                int32_t PicInitQp)
{
    const UMC::H264EncoderParams& p = Settings.Params;
    switch (p.rate_control_method) {
    case RATE_CONTROL_SHORT_WINDOWS:
    case RATE_CONTROL_LONG_WINDOWS: return Sequence.Rate.GetQP(FrameType);
    case RATE_CONTROL_CONSTANT_QP:
        return FrameType == FRAME_I ? p.quant_i : FrameType == FRAME_B ? p.quant_b : p.quant_p;
    default: return PicInitQp;
    }
}

template <class Sample>
void CompressSlices(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, const PictureSets& Sets,
                    PictureJob<Sample>& Job)
{
    const int32_t Depth = Job.IsAuxiliary ? Settings.Params.bit_depth_aux : Settings.Params.bit_depth_luma;
    const int32_t Init = Sets.Pps.pic_init_qp;
    const int32_t Qp = SliceQp(Settings, Sequence, Job.pCurrent->frame_type, Init);
    const int32_t QpDelta = std::max(Qp, FinestQp(Settings.Params, Depth)) - Init;
    for (int32_t i = 0; i < Settings.Params.num_slices; ++i) {
        auto& s = Job.Slices[static_cast<size_t>(i)];
        s.Facts.slice_qp_delta = QpDelta;
        // Those of a second field count on, so that no macroblock of the first is taken for a neighbour.
        s.Facts.slice_id = i + (Job.Structure == STRUCTURE_BOTTOM ? Settings.Params.num_slices : 0);
        s.Facts.slice_type = SliceTypeOf(Job.pCurrent->frame_type);
        BuildRefLists(Settings, Sequence, Job, s.Facts);
        if (s.Facts.slice_type == h264::SLICE_B) {
            s.Facts.B.direct_spatial_mv_pred = Settings.AnalysisFlags & ENC_ANALYSE_DIRECT_AUTO
                                                   ? Sequence.Direct.IsSpatial
                                                   : (Settings.Params.direct_pred_mode & 1) != 0;
            DeriveBSliceFacts(Sets.Pps.weighted_bipred_idc == 2, Job.Poc(), s.Facts);
        }
        RecordReferences(Job, s.Facts);
        if (s.Facts.MbLimit == 0) continue;
        if (Settings.Params.coding_type == CODING_ADAPTIVE)
            CompressSliceAdaptive(Settings, Sets, Job, s);
        else
            CompressSlice(Settings, Sets, Job, s);
    }
}

template <class Sample>
bool SliceOutgrewBuffer(const EncoderSettings& Settings, const PictureJob<Sample>& Job)
{
    for (int32_t i = 0; i < Settings.Params.num_slices; ++i) {
        const auto& b = Job.Slices[static_cast<size_t>(i)].bitstream;
        if (b.Bytes() > b.BufferSize()) return true;
    }
    return false;
}

// What is left of a picture whose slice outgrew its buffer: a run of empty macroblocks on the first writer, which no
// NAL unit carries. The key picture that follows heals the damage.
template <class Sample>
void WriteOverflowFallback(const EncoderSettings& Settings, PictureJob<Sample>& Job)
{
    auto& Writer = Job.Slices[0].bitstream;
    Writer.Reset();
    if (Settings.Params.write_access_unit_delimiters)
        Writer.WriteAccessUnitDelimiter(PrimaryPicType(Job.pCurrent->frame_type));
    const bool IsIntraMb = Job.pCurrent->frame_type == FRAME_I;
    for (int32_t i = 0; i < Job.MbCount; ++i) {
        Writer.PutBit(1);
        if (!IsIntraMb) continue;
        Writer.PutBits(0, 2);
        Writer.PutBits(3, 2);
    }
}

// Makes of the reconstruction what later pictures refer to.
template <class Sample>
void FinishReconstruction(const EncoderSettings& Settings, const PictureJob<Sample>& Job, bool HasOutgrown)
{
    if (Job.picture_class == CLASS_DISPOSABLE) return;
    for (int32_t i = 0; i < Settings.Params.num_slices && !HasOutgrown; ++i) {
        const auto& s = Job.Slices[static_cast<size_t>(i)];
        DeblockSlice(Settings, Job, s.Facts, s.Progress.mb_count);
    }
    PadPicture(Job.Reconstruction, Job.IsAuxiliary ? int32_t{h264::CHROMA_400} : Settings.Layout.ChromaFormat);
}

template <class Sample>
h264::NalUnitType SliceUnit(const PictureJob<Sample>& Job)
{
    if (Job.IsAuxiliary) return h264::NAL_AUXILIARY_SLICE;
    return Job.picture_class == CLASS_IDR ? h264::NAL_IDR_SLICE : h264::NAL_SLICE;
}

} // namespace

int32_t PicInitQp(const UMC::H264EncoderParams& p, const RateController& Rate)
{
    const int32_t Qp = p.rate_control_method == RATE_CONTROL_CONSTANT_QP ? p.quant_p : Rate.GetQP(FRAME_I);
    return std::max(Qp, FinestQp(p, p.bit_depth_luma));
}

template <class Sample>
PictureResult BeginResult(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, int32_t PictureClass,
                          const UMC::MediaData& Output)
{
    return {.Status = UMC::StatusOk,
            .Sets = SetsOf(Settings, Sequence, PictureClass == CLASS_IDR),
            .DataSize = Output.GetDataSize(),
            .Bits = 0,
            .HasOutgrown = false};
}

template <class Sample>
void EncodePicture(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                   UMC::MediaData& Output, PictureResult& Result)
{
    h264::trace::BeginPicture();
    const bool IsIdr = Job.picture_class == CLASS_IDR;
    const int32_t Slices = Settings.Params.num_slices;
    for (int32_t i = 0; i < Slices; ++i) Job.Slices[static_cast<size_t>(i)].bitstream.Reset();

    OutputPacker Packer(Output, Result.DataSize, !Job.IsAuxiliary);
    if (Settings.Params.write_access_unit_delimiters) {
        Job.Slices[0].bitstream.WriteAccessUnitDelimiter(PrimaryPicType(Job.pCurrent->frame_type));
        Packer.Append(Job.Slices[0].bitstream, 0, h264::NAL_DELIMITER);
    }
    if (IsIdr) WriteParameterSets<Sample>(Result.Sets, Job.Slices[0].bitstream, Packer);
    CompressSlices(Settings, Sequence, Result.Sets, Job);
    for (int32_t i = 0; i < Slices; ++i) {
        auto& s = Job.Slices[static_cast<size_t>(i)];
        if (s.Facts.MbLimit > 0) Packer.Append(s.bitstream, Job.picture_class != CLASS_DISPOSABLE, SliceUnit(Job));
    }
    if (Packer.Overflow() || Packer.DataSize() == Result.DataSize) {
        Result.Status = Packer.Overflow() ? UMC::StatusNotEnoughBuffer : UMC::StatusFailed;
        return;
    }
    Result.DataSize = Packer.DataSize();
    const bool HasOutgrown = SliceOutgrewBuffer(Settings, Job);
    Result.HasOutgrown |= HasOutgrown;
    if (HasOutgrown) WriteOverflowFallback(Settings, Job);
    for (int32_t i = 0; i < Slices; ++i) Result.Bits += Job.Slices[static_cast<size_t>(i)].bitstream.Bits();
    FinishReconstruction(Settings, Job, HasOutgrown);
}

#define INSTANTIATE(Sample)                                                                                            \
    template PictureResult BeginResult(const EncoderSettings&, const SequenceState<Sample>&, int32_t,                  \
                                       const UMC::MediaData&);                                                         \
    template void EncodePicture(const EncoderSettings&, const SequenceState<Sample>&, PictureJob<Sample>&,             \
                                UMC::MediaData&, PictureResult&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
