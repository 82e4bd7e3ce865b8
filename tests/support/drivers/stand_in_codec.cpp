#include "tests/support/drivers/stand_in_codec.h"

#include "Common/h264/nal_unit_type.h"
#include "decoder/session/stream_headers.h"
#include "decoder/stream/nal_splitter.h"
#include "decoder/stream/seq_info.h"
#include "front/VCodec_H264.h"
#include "tests/support/drivers/driver_visit.h"
#include "tools/h264_decode/stream_decoder.h"

#include <libyuv.h>

#include <deque>
#include <optional>
#include <vector>

namespace {

constexpr int32_t kNoKeyInterval = 1 << 30; // key pictures are asked for
constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};

struct Encoder {
    CVCodec_H264 Codec;
    int32_t Width, Height;
    std::vector<uint8_t> Picture, Stream; // I420; an access unit
};

struct Shown {
    StandInPicture Record;
    std::vector<uint8_t> Nv12;
};

// A row of samples, of which the upper eight bits count.
void AppendRow(std::vector<uint8_t>& Out, std::span<const uint8_t> Row, int32_t SampleBytes, int32_t BitDepth)
{
    for (size_t x = 0; x < Row.size(); x += static_cast<size_t>(SampleBytes)) {
        const int Sample = SampleBytes == 2 ? Row[x] | Row[x + 1] << 8 : Row[x];
        Out.push_back(static_cast<uint8_t>(Sample >> (BitDepth - 8)));
    }
}

std::vector<uint8_t> PlaneOf(const UMC::VideoData& Picture, int32_t Plane)
{
    UMC::PlaneInfo Info{};
    Picture.GetPlaneInfo(&Info, Plane);
    std::vector<uint8_t> Samples;
    const auto RowBytes = static_cast<size_t>(Info.m_Width) * static_cast<size_t>(Info.m_SampleBytes);
    for (int32_t y = 0; y < Info.m_Height; ++y)
        AppendRow(Samples, {Info.m_pPlane + ptrdiff_t{y} * Info.m_Pitch, RowBytes}, Info.m_SampleBytes,
                  Info.m_BitDepth);
    return Samples;
}

Shown ShownOf(const UMC::VideoData& Picture)
{
    Shown New{{Picture.GetWidth(), Picture.GetHeight(), static_cast<int32_t>(Picture.GetFrameType()), nullptr},
              PlaneOf(Picture, 0)};
    if (Picture.GetPlaneCount() < 3) return New;
    const std::vector<uint8_t> Cb = PlaneOf(Picture, 1), Cr = PlaneOf(Picture, 2);
    for (size_t i = 0; i < Cb.size(); ++i) {
        New.Nv12.push_back(Cb[i]);
        New.Nv12.push_back(Cr[i]);
    }
    return New;
}

// The sequence parameter sets of what passes.
class FormatReader
{
public:
    FormatReader() : m_Splitter(&m_Heap) { m_Splitter.Init(); }

    void Read(const uint8_t* pBytes, size_t Size)
    {
        std::vector<uint8_t> Bytes(pBytes, pBytes + Size);
        UMC::MediaData Input;
        Input.SetBufferPointer(Bytes.data(), Bytes.size());
        Input.SetDataSize(Bytes.size());
        UMC::MediaDataEx* pUnits = nullptr;
        while (UMC::H264HeapPiece* const pPiece = m_Splitter.GetNalUnits(&Input, pUnits)) {
            if (pUnits->GetExData()->Values[0] == h264::NAL_SEQ_PARAM_SET) ReadSet(*pPiece);
            m_Splitter.ReleaseCurrent();
        }
    }
    std::optional<StandInFormat> m_Format;

private:
    void ReadSet(const UMC::H264HeapPiece& Piece)
    {
        UMC::H264Bitstream Bits;
        Bits.Reset(Piece.m_pData, Piece.m_Size);
        m_Headers.ReadParameterSet(h264::NAL_SEQ_PARAM_SET, Bits, true);
        const UMC::H264SeqParamSet* const p = m_Headers.CurrentSeqParamSet();
        if (!p) return;
        const auto Signed = [](uint32_t Value) { return static_cast<int32_t>(Value); };
        StandInFormat f{};
        f.CodedWidth = Signed(p->frame_width_in_mbs * 16);
        f.CodedHeight = Signed(p->frame_height_in_mbs * 16);
        f.Left = Signed(p->frame_crop_left_offset * UMC::CropUnitX(*p));
        f.Top = Signed(p->frame_crop_top_offset * UMC::CropUnitY(*p));
        f.Right = f.CodedWidth - Signed(p->frame_crop_right_offset * UMC::CropUnitX(*p));
        f.Bottom = f.CodedHeight - Signed(p->frame_crop_bottom_offset * UMC::CropUnitY(*p));
        f.BitDepth = p->bit_depth_luma;
        f.ChromaFormat = p->chroma_format_idc;
        f.bProgressive = p->frame_mbs_only_flag;
        m_Format = f;
    }

    UMC::H264_Heap m_Heap;
    UMC::NALUnitSplitter m_Splitter;
    UMC::StreamHeaders m_Headers;
};

struct Decoder {
    FormatReader Format;
    std::deque<Shown> Ready;
    std::optional<Shown> Given; // stays until the next call
    tools::StreamDecoder Stream{[this](const UMC::VideoData& p) { Ready.push_back(ShownOf(p)); }, 1, false};
};

Encoder* AsEncoder(void* p) { return static_cast<Encoder*>(p); }
Decoder* AsDecoder(void* p) { return static_cast<Decoder*>(p); }

} // namespace

void* StandInEncoderOpen(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t Kbps)
try {
    const DriverVisit Visit;
    auto pNew = std::make_unique<Encoder>();
    pNew->Width = Width;
    pNew->Height = Height;
    const auto Samples = static_cast<size_t>(Width) * static_cast<size_t>(Height);
    pNew->Picture.resize(Samples * 3 / 2);
    pNew->Stream.resize(Samples * 3);
    if (!pNew->Codec.InitEncoder(Width, Height, FramesPerSecond, kNoKeyInterval, Kbps)) return nullptr;
    return pNew.release();
} catch (...) {
    return nullptr;
}

int32_t StandInEncoderPut(void* pEncoder, const uint8_t* pY, int32_t PitchY, const uint8_t* pUV, int32_t PitchUV,
                          int32_t bKey, uint8_t* pOut, int32_t Room, int32_t* pFrameType)
{
    const DriverVisit Visit;
    Encoder& e = *AsEncoder(pEncoder);
    uint8_t* const pLuma = e.Picture.data();
    uint8_t* const pCb = pLuma + static_cast<size_t>(e.Width) * static_cast<size_t>(e.Height);
    uint8_t* const pCr = pCb + static_cast<size_t>(e.Width / 2) * static_cast<size_t>(e.Height / 2);
    libyuv::NV12ToI420(pY, PitchY, pUV, PitchUV, pLuma, e.Width, pCb, e.Width / 2, pCr, e.Width / 2, e.Width, e.Height);
    int32_t Length = 0;
    if (!e.Codec.Encode(pLuma, e.Stream.data(), &Length, bKey, pFrameType) || Length > Room) return -1;
    std::copy_n(e.Stream.data(), Length, pOut);
    return Length;
}

void StandInEncoderClose(void* pEncoder)
{
    const DriverVisit Visit;
    delete AsEncoder(pEncoder);
}

void* StandInDecoderOpen(void)
try {
    const DriverVisit Visit;
    return new Decoder;
} catch (...) {
    return nullptr;
}

int32_t StandInDecoderPut(void* pDecoder, const uint8_t* pBytes, int32_t Size, int32_t bEnds)
try {
    const DriverVisit Visit;
    Decoder& d = *AsDecoder(pDecoder);
    const std::span Bytes(pBytes, static_cast<size_t>(Size));
    d.Format.Read(Bytes.data(), Bytes.size());
    d.Stream.Feed(Bytes);
    if (bEnds) d.Stream.Feed(kDelimiter);
    return d.Stream.LastFault() == UMC::StatusOk;
} catch (...) {
    return 0;
}

int32_t StandInDecoderFormat(void* pDecoder, StandInFormat* pFormat)
{
    const DriverVisit Visit;
    const Decoder& d = *AsDecoder(pDecoder);
    if (d.Format.m_Format) *pFormat = *d.Format.m_Format;
    return d.Format.m_Format.has_value();
}

int32_t StandInDecoderNext(void* pDecoder, StandInPicture* pPicture)
{
    const DriverVisit Visit;
    Decoder& d = *AsDecoder(pDecoder);
    d.Given.reset();
    if (d.Ready.empty()) return 0;
    d.Given = std::move(d.Ready.front());
    d.Ready.pop_front();
    *pPicture = d.Given->Record;
    pPicture->pNv12 = d.Given->Nv12.data();
    return 1;
}

void StandInDecoderClose(void* pDecoder)
{
    const DriverVisit Visit;
    delete AsDecoder(pDecoder);
}
