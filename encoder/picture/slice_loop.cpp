#include "encoder/picture/slice_loop.h"

#include "encoder/picture/macroblock_coding.h"
#include "encoder/picture/slice_start.h"
#include "encoder/picture/slice_walk.h"
#include "encoder/picture/slice_writers.h"

namespace UMC_H264_ENCODER {

namespace {

template <class Sample, class Entropy>
void CodeMacroblocks(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, Entropy Writer)
{
    CurrentMacroblock<Sample>& mb = s.cur_mb;
    mb.pSlice = &s.Facts;
    mb.pQuant = &s.Quant;
    mb.Records = RecordsOf(Job, s.Facts.first_mb);
    MacroblockCoder<Sample, Entropy> Coder(Settings, s, Writer);
    const int32_t End = s.Facts.first_mb + s.Facts.MbLimit;
    for (int32_t Index = s.Facts.first_mb; Index < End;) {
        StartMacroblock(Settings, Job, Index, s.Progress.slice_qp, mb);
        Coder.Code();
        Writer.EndMacroblock(++Index == End);
        // The writer does not look at the end of its buffer; there is room behind it for one macroblock more.
        if (Writer.Bytes() > s.bitstream.BufferSize()) break;
        if (Index < End) Advance(mb.Records, s.Facts.slice_type == h264::SLICE_B);
    }
    Writer.End();
}

} // namespace

template <class Sample>
void CompressSlice(const EncoderSettings& Settings, const PictureSets& Sets, PictureJob<Sample>& Job,
                   SliceContext<Sample>& s)
{
    StartSlice(Settings, Sets, Job, s);
    if (Sets.Pps.entropy_coding_mode_flag)
        CodeMacroblocks(Settings, Job, s, CabacSlice<Sample>(s.Facts, s.Progress.slice_qp, s.bitstream));
    else
        CodeMacroblocks(Settings, Job, s, CavlcSlice<Sample>(s.bitstream));
}

template void CompressSlice(const EncoderSettings&, const PictureSets&, PictureJob<uint8_t>&, SliceContext<uint8_t>&);
template void CompressSlice(const EncoderSettings&, const PictureSets&, PictureJob<uint16_t>&, SliceContext<uint16_t>&);

} // namespace UMC_H264_ENCODER
