#include "encoder/picture/pair_loop.h"

#include "encoder/decide/intra_decision.h"
#include "encoder/picture/macroblock_coding.h"
#include "encoder/picture/slice_start.h"
#include "encoder/picture/slice_walk.h"
#include "encoder/picture/slice_writers.h"

namespace UMC_H264_ENCODER {

namespace {

// Estimates of what it costs that a pair is not of the kind that is inferred: its flag, and where all of it would be
// skipped a macroblock that is not.
constexpr int32_t kBitsOfKind = 1, kBitsOfUnskipping = 6;

template <class Sample, class Entropy>
class PairLoop
{
public:
    PairLoop(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, Entropy& Writer)
        : m_Settings(Settings), m_Job(Job), m_s(s), m_Writer(Writer), m_Coder(Settings, s, Writer)
    {
        for (const auto Part : {STRUCTURE_TOP, STRUCTURE_BOTTOM, STRUCTURE_FRAME}) {
            m_Source[Part] = PartOf(Job.Source, Part);
            m_Reconstruction[Part] = PartOf(Job.Reconstruction, Part);
        }
    }

    void Run()
    {
        const int32_t End = m_s.Facts.first_mb + m_s.Facts.MbLimit;
        for (int32_t First = m_s.Facts.first_mb; First < End; First += 2) {
            CodePair(First);
            m_Writer.EndMacroblock(First + 2 == End);
            if (HasOutgrown()) break;
        }
        m_Writer.End();
    }

private:
    void CodePair(int32_t First)
    {
        const MacroblockPosition& At = m_Settings.Positions[static_cast<size_t>(First)];
        const NeighbourTables& t = m_s.Facts.Neighbours;
        m_Pairs.Find(
            First, At.X, At.Y, t.MbWidth, [&](int32_t Mb) { return Mb >= t.FirstMb; },
            [&](int32_t Mb) { return (t.pGlobal[Mb].Flags & kFlagField) != 0; });
        const int64_t OfFrame = TryPair(First, false), OfFields = TryPair(First, true);
        const bool IsField = OfFields < OfFrame || (OfFields == OfFrame && m_Pairs.InfersField());
        m_Writer.BeginPair(m_Pairs, t.pGlobal, IsField);
        Start(First, IsField);
        m_Coder.Code();
        // The writer does not look at the end of its buffer; there is room behind it for one macroblock more.
        if (HasOutgrown()) return;
        Start(First + 1, IsField);
        m_Writer.GoToLower();
        m_Coder.Code();
    }

    // The cost of the pair as macroblocks of a kind. They are left in the records and in the reconstruction.
    int64_t TryPair(int32_t First, bool IsField)
    {
        int64_t Cost = 0;
        bool IsSkipped = true;
        for (int32_t Index = First; Index < First + 2; ++Index) {
            Start(Index, IsField);
            const Candidate Won = m_Coder.Try();
            Cost += Won.Cost;
            IsSkipped &= IsSkip(Won.Type);
        }
        if (IsField == m_Pairs.InfersField()) return Cost;
        return Cost + BitPrice(m_s.Progress.slice_qp, IsSkipped ? kBitsOfUnskipping : kBitsOfKind);
    }

    // Makes Index the macroblock in hand, as one of a kind.
    void Start(int32_t Index, bool IsField)
    {
        CurrentMacroblock<Sample>& mb = m_s.cur_mb;
        const PictureStructure Part = IsField ? static_cast<PictureStructure>(Index & 1) : STRUCTURE_FRAME;
        mb.pSlice = IsField ? &m_s.pFieldFacts[Part] : &m_s.Facts;
        mb.pQuant = &m_s.Quant;
        const MacroblockPosition& OfFrame = m_Settings.Positions[static_cast<size_t>(Index)];
        h264::trace::BeginMacroblock(OfFrame.X, OfFrame.Y);
        const MacroblockPosition& At = IsField ? m_Settings.FieldPositions[static_cast<size_t>(Index)] : OfFrame;
        GoTo(Index, At, m_Source[Part], m_Reconstruction[Part], mb);
        mb.Records = RecordsOf(m_Job, Index);
        m_Pairs.GoTo(Index);
        FillNeighboursInPair(mb.Around, m_s.Facts.Neighbours, m_Pairs, IsField);
        StartRecords(mb, m_s.Progress.slice_qp);
    }

    bool HasOutgrown() const { return m_Writer.Bytes() > m_s.bitstream.BufferSize(); }

    const EncoderSettings& m_Settings;
    PictureJob<Sample>& m_Job;
    SliceContext<Sample>& m_s;
    Entropy& m_Writer;
    MacroblockCoder<Sample, Entropy> m_Coder;
    PictureView<const Sample> m_Source[3]; // by PictureStructure
    PictureView<Sample> m_Reconstruction[3];
    h264::PairNeighbours m_Pairs;
};

template <class Sample, class Entropy>
void CodePairs(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, Entropy Writer)
{
    PairLoop<Sample, Entropy>(Settings, Job, s, Writer).Run();
}

} // namespace

template <class Sample>
void CompressSliceAdaptive(const EncoderSettings& Settings, const PictureSets& Sets, PictureJob<Sample>& Job,
                           SliceContext<Sample>& s)
{
    StartSlice(Settings, Sets, Job, s);
    if (Sets.Pps.entropy_coding_mode_flag)
        CodePairs(Settings, Job, s, InPairs<CabacSlice<Sample>>(s.Facts, s.Progress.slice_qp, s.bitstream));
    else
        CodePairs(Settings, Job, s, InPairs<CavlcSlice<Sample>>(s.bitstream));
}

template void CompressSliceAdaptive(const EncoderSettings&, const PictureSets&, PictureJob<uint8_t>&,
                                    SliceContext<uint8_t>&);
template void CompressSliceAdaptive(const EncoderSettings&, const PictureSets&, PictureJob<uint16_t>&,
                                    SliceContext<uint16_t>&);

} // namespace UMC_H264_ENCODER
