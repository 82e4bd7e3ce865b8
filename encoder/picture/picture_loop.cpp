// From one chosen picture to NAL units: slices, packing, deblocking, marking, rate control.
#include "encoder/picture/make_parameter_sets.h"
#include "encoder/state/encoder_core.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

int32_t SliceTypeOf(int32_t FrameType)
{
    return FrameType == FRAME_I ? SLICE_I : FrameType == FRAME_B ? SLICE_B : SLICE_P;
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
            m_bOverflow = true;
            return;
        }
        m_Used += w.WriteNAL(m_pStart + m_Used, NalRefIdc, Type, m_bFirstInAu);
    }

    bool Overflow() const { return m_bOverflow; }
    void Commit() { m_Output.SetDataSize(m_Used); }

private:
    // Emulation prevention may still need more than the room that is left.
    template <class Writer>
    bool Fits(const Writer& w, h264::NalUnitType Type) const
    {
        const size_t Left = m_Room - m_Used;
        return Left >= NalBytesAtMost(w.PendingBytes()) || Left >= w.FramedPending(Type, m_bFirstInAu);
    }

    UMC::MediaData& m_Output;
    uint8_t* m_pStart;
    size_t m_Used;
    size_t m_Room;
    bool m_bFirstInAu = true;
    bool m_bOverflow = false;
};

template <class Core>
void MakeParameterSets(Core& c)
{
    c.sps = MakeSeqParams(c.params);
    const bool bConstant = c.params.rate_control_method == 3;
    c.pps = MakePicParams(c.params, bConstant ? c.params.quant_p : c.rate.GetQP(FRAME_I));
}

template <class Core>
void WriteParameterSets(Core& c, OutputPacker& Packer)
{
    auto& Writer = c.slices[0].bitstream;
    Writer.WriteSeqParams(c.sps);
    Packer.Append(Writer, 1, h264::NAL_SEQ_PARAM_SET);
    if (c.sps.aux_format_idc != 0) {
        Writer.WriteSeqExtension(c.sps);
        Packer.Append(Writer, 1, h264::NAL_SEQ_PARAM_SET_EXTENSION);
    }
    Writer.WritePicParams(c.pps, c.sps);
    Packer.Append(Writer, 1, h264::NAL_PIC_PARAM_SET);
}

// slice_qp_delta of all slices of the picture.
template <class Core>
int32_t SliceQpDelta(const Core& c)
{
    const int32_t Type = c.current->frame_type, Init = c.pps.pic_init_qp;
    switch (c.params.rate_control_method) {
    case 1:
    case 2: return c.rate.GetQP(Type) - Init;
    case 3: return (Type == FRAME_I ? c.params.quant_i : Type == FRAME_B ? c.params.quant_b : c.params.quant_p) - Init;
    default: return c.slices[0].slice_qp_delta;
    }
}

template <class Core>
void CompressSlices(Core& c)
{
    const int32_t QpDelta = SliceQpDelta(c);
    for (int32_t i = 0; i < c.params.num_slices; ++i) {
        auto& s = c.slices[static_cast<size_t>(i)];
        s.slice_qp_delta = QpDelta;
        s.slice_id = i;
        s.slice_type = SliceTypeOf(c.current->frame_type);
        UpdateRefLists(c, s);
        CompressSlice(c, s);
    }
}

template <class Core>
bool SliceOutgrewBuffer(const Core& c)
{
    for (int32_t i = 0; i < c.params.num_slices; ++i) {
        const auto& b = c.slices[static_cast<size_t>(i)].bitstream;
        if (b.Bytes() > b.BufferSize()) return true;
    }
    return false;
}

// What is left of a picture whose slice outgrew its buffer: a run of empty macroblocks on the first writer, which no
// NAL unit carries. The key picture that follows heals the damage.
template <class Core>
void WriteOverflowFallback(Core& c)
{
    auto& Writer = c.slices[0].bitstream;
    Writer.Reset();
    if (c.params.write_access_unit_delimiters) Writer.WriteAccessUnitDelimiter(PrimaryPicType(c.current->frame_type));
    const bool bIntra = c.current->frame_type == FRAME_I;
    for (int32_t i = 0; i < c.layout.MbCount; ++i) {
        Writer.PutBit(1);
        if (!bIntra) continue;
        Writer.PutBits(0, 2);
        Writer.PutBits(3, 2);
    }
}

template <class Core>
void DeblockPicture(Core& c)
{
    for (int32_t i = 0; i < c.params.num_slices; ++i) {
        auto& s = c.slices[static_cast<size_t>(i)];
        if (s.status != UMC::StatusOk)
            c.make_key_next = true;
        else if (c.picture_class != CLASS_DISPOSABLE)
            DeblockSlice(c, s);
    }
}

template <class Core>
void FinishPicture(Core& c)
{
    if (SliceOutgrewBuffer(c)) {
        WriteOverflowFallback(c);
        c.make_key_next = true;
    } else {
        DeblockPicture(c);
    }
    if (c.picture_class != CLASS_DISPOSABLE) PadFrame(*c.current, c.layout);
    for (int32_t i = 0; i < c.params.num_slices; ++i) c.total_bits += c.slices[static_cast<size_t>(i)].bitstream.Bits();
    if (c.picture_class != CLASS_DISPOSABLE) UpdateMarking(c);
    if (c.params.rate_control_method == 1 || c.params.rate_control_method == 2)
        c.rate.PostFrame(c.current->frame_type, c.total_bits);
}

} // namespace

template <class Core>
UMC::Status EncodePicture(Core& c, UMC::MediaData& Output)
{
    const bool bIdr = c.picture_class == CLASS_IDR;
    if (bIdr) {
        if (c.frames_encoded == 0) MakeParameterSets(c);
        c.idr_pic_id = (c.idr_pic_id + 1) % 16;
    }
    for (int32_t i = 0; i < c.params.num_slices; ++i) c.slices[static_cast<size_t>(i)].bitstream.Reset();

    OutputPacker Packer(Output);
    if (c.params.write_access_unit_delimiters) {
        c.slices[0].bitstream.WriteAccessUnitDelimiter(PrimaryPicType(c.current->frame_type));
        Packer.Append(c.slices[0].bitstream, 0, h264::NAL_DELIMITER);
    }
    if (bIdr) WriteParameterSets(c, Packer);
    CompressSlices(c);
    for (int32_t i = 0; i < c.params.num_slices; ++i)
        Packer.Append(c.slices[static_cast<size_t>(i)].bitstream, c.picture_class != CLASS_DISPOSABLE,
                      bIdr ? h264::NAL_IDR_SLICE : h264::NAL_SLICE);
    if (Packer.Overflow()) return UMC::StatusNotEnoughBuffer;

    FinishPicture(c);
    Packer.Commit();
    if (Output.GetDataSize() == 0) {
        c.make_key_next = true;
        return UMC::StatusFailed;
    }
    ++c.frames_encoded;
    return UMC::StatusOk;
}

template UMC::Status EncodePicture(Core8&, UMC::MediaData&);

} // namespace UMC_H264_ENCODER
