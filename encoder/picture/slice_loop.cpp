#include "encoder/picture/slice_loop.h"

#include "encoder/picture/macroblock_coding.h"
#include "encoder/picture/slice_start.h"
#include "encoder/picture/slice_writers.h"

namespace UMC_H264_ENCODER {

namespace {

void Advance(MacroblockRecords& r, bool IsB)
{
    r.pGlobal += 1;
    r.pLocal += 1;
    for (size_t List = 0; List < (IsB ? 2 : 1); ++List) {
        r.pVectors[List] += 16;
        r.pReferences[List] += 16;
        r.pDifferences[List] += 16;
    }
    r.pIntraModes += 16;
    r.pCounts += kCountsPerMb;
}

// Makes Index the macroblock in hand, whose records are pointed at already.
template <class Sample>
void StartMacroblock(const EncoderSettings& Settings, const PictureJob<Sample>& Job, int32_t Index, int32_t SliceQp,
                     CurrentMacroblock<Sample>& mb)
{
    mb.mb_index = Index;
    mb.pPosition = &Settings.Positions[static_cast<size_t>(Index)];
    mb.mb_x = mb.pPosition->X;
    mb.mb_y = mb.pPosition->Y;
    h264::trace::BeginMacroblock(mb.mb_x, mb.mb_y);
    PointAt(*mb.pPosition, Job.Source, Job.Reconstruction, mb);
    FillNeighbours(mb.Around, mb.pSlice->Neighbours, Index, mb.mb_x);
    StartRecords(mb, SliceQp);
}

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
