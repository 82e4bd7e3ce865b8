#include "encoder/picture/picture_loop.h"

#include "Common/h264/nal_unit_type.h"
#include "encoder/picture/deblock.h"
#include "encoder/picture/make_parameter_sets.h"
#include "encoder/picture/padding.h"
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

// Appends NAL units to the client's buffer and remembers when one did not fit.
class OutputPacker
{
public:
    explicit OutputPacker(UMC::MediaData& Output)
        : m_Output(Output), m_pStart(static_cast<uint8_t*>(Output.GetDataPointer())), m_Used(Output.GetDataSize()),
          m_Room(m_pStart ? Output.GetBufferSize() -
                                static_cast<size_t>(m_pStart - static_cast<uint8_t*>(Output.GetBufferPointer()))
                          : 0)
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
    void Commit() { m_Output.SetDataSize(m_Used); }

private:
    // Emulation prevention may still need more than the room that is left.
    template <class Writer>
    bool Fits(const Writer& w, h264::NalUnitType Type) const
    {
        const size_t Left = m_Room - m_Used;
        return Left >= NalBytesAtMost(w.PendingBytes()) || Left >= w.FramedPending(Type, m_IsFirstInAu);
    }

    UMC::MediaData& m_Output;
    uint8_t* m_pStart;
    size_t m_Used;
    size_t m_Room;
    bool m_IsFirstInAu = true;
    bool m_HasOverflowed = false;
};

template <class Sample>
void MakeParameterSets(const EncoderSettings& Settings, SequenceState<Sample>& Sequence)
{
    Sequence.Sps = MakeSeqParams(Settings.Params);
    const bool IsConstant = Settings.Params.rate_control_method == 3;
    Sequence.Pps = MakePicParams(Settings.Params, IsConstant ? Settings.Params.quant_p : Sequence.Rate.GetQP(FRAME_I));
}

template <class Sample>
void WriteParameterSets(const SequenceState<Sample>& Sequence,
                        CH264pBs<Sample, typename CodecTraits<Sample>::Coeff>& Writer, OutputPacker& Packer)
{
    Writer.WriteSeqParams(Sequence.Sps);
    Packer.Append(Writer, 1, h264::NAL_SEQ_PARAM_SET);
    if (Sequence.Sps.aux_format_idc != 0) {
        Writer.WriteSeqExtension(Sequence.Sps);
        Packer.Append(Writer, 1, h264::NAL_SEQ_PARAM_SET_EXTENSION);
    }
    Writer.WritePicParams(Sequence.Pps, Sequence.Sps);
    Packer.Append(Writer, 1, h264::NAL_PIC_PARAM_SET);
}

// slice_qp_delta of all slices of the picture.
template <class Sample>
int32_t SliceQpDelta(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence,
                     const PictureJob<Sample>& Job)
{
    const int32_t Type = Job.pCurrent->frame_type, Init = Sequence.Pps.pic_init_qp;
    switch (Settings.Params.rate_control_method) {
    case 1:
    case 2: return Sequence.Rate.GetQP(Type) - Init;
    case 3:
        return (Type == FRAME_I   ? Settings.Params.quant_i
                : Type == FRAME_B ? Settings.Params.quant_b
                                  : Settings.Params.quant_p) -
               Init;
    default: return Job.Slices[0].Facts.slice_qp_delta;
    }
}

template <class Sample>
void CompressSlices(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence, PictureJob<Sample>& Job)
{
    const int32_t QpDelta = SliceQpDelta(Settings, Sequence, Job);
    for (int32_t i = 0; i < Settings.Params.num_slices; ++i) {
        auto& s = Job.Slices[static_cast<size_t>(i)];
        s.Facts.slice_qp_delta = QpDelta;
        s.Facts.slice_id = i;
        s.Facts.slice_type = SliceTypeOf(Job.pCurrent->frame_type);
        UpdateRefLists(Settings, Sequence, Job, s.Facts);
        CompressSlice(Settings, Sequence, Job, s);
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
    for (int32_t i = 0; i < Settings.Layout.MbCount; ++i) {
        Writer.PutBit(1);
        if (!IsIntraMb) continue;
        Writer.PutBits(0, 2);
        Writer.PutBits(3, 2);
    }
}

template <class Sample>
void FinishPicture(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job)
{
    if (SliceOutgrewBuffer(Settings, Job)) {
        WriteOverflowFallback(Settings, Job);
        Sequence.make_key_next = true;
    } else if (Job.picture_class != CLASS_DISPOSABLE) {
        for (int32_t i = 0; i < Settings.Params.num_slices; ++i) {
            const auto& s = Job.Slices[static_cast<size_t>(i)];
            DeblockSlice(Settings, Job, s.Facts, s.Progress.mb_count);
        }
    }
    if (Job.picture_class != CLASS_DISPOSABLE) PadPicture(Job.Reconstruction, Settings.Layout);
    for (int32_t i = 0; i < Settings.Params.num_slices; ++i)
        Sequence.total_bits += Job.Slices[static_cast<size_t>(i)].bitstream.Bits();
    if (Job.picture_class != CLASS_DISPOSABLE) UpdateMarking(Settings, Sequence, *Job.pCurrent);
    if (Settings.Params.rate_control_method == 1 || Settings.Params.rate_control_method == 2)
        Sequence.Rate.PostFrame(Job.pCurrent->frame_type, Sequence.total_bits);
}

} // namespace

template <class Sample>
UMC::Status EncodePicture(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, PictureJob<Sample>& Job,
                          UMC::MediaData& Output)
{
    const bool IsIdr = Job.picture_class == CLASS_IDR;
    if (IsIdr) {
        if (Sequence.frames_encoded == 0) MakeParameterSets(Settings, Sequence);
        Sequence.idr_pic_id = (Sequence.idr_pic_id + 1) % 16;
    }
    for (int32_t i = 0; i < Settings.Params.num_slices; ++i) Job.Slices[static_cast<size_t>(i)].bitstream.Reset();

    OutputPacker Packer(Output);
    if (Settings.Params.write_access_unit_delimiters) {
        Job.Slices[0].bitstream.WriteAccessUnitDelimiter(PrimaryPicType(Job.pCurrent->frame_type));
        Packer.Append(Job.Slices[0].bitstream, 0, h264::NAL_DELIMITER);
    }
    if (IsIdr) WriteParameterSets(Sequence, Job.Slices[0].bitstream, Packer);
    CompressSlices(Settings, Sequence, Job);
    for (int32_t i = 0; i < Settings.Params.num_slices; ++i)
        Packer.Append(Job.Slices[static_cast<size_t>(i)].bitstream, Job.picture_class != CLASS_DISPOSABLE,
                      IsIdr ? h264::NAL_IDR_SLICE : h264::NAL_SLICE);
    if (Packer.Overflow()) return UMC::StatusNotEnoughBuffer;

    FinishPicture(Settings, Sequence, Job);
    Packer.Commit();
    if (Output.GetDataSize() == 0) {
        Sequence.make_key_next = true;
        return UMC::StatusFailed;
    }
    ++Sequence.frames_encoded;
    return UMC::StatusOk;
}

template UMC::Status EncodePicture(const EncoderSettings&, SequenceState<uint8_t>&, PictureJob<uint8_t>&,
                                   UMC::MediaData&);

} // namespace UMC_H264_ENCODER
