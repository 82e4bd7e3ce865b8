#include "encoder/session/look_ahead.h"

#include "encoder/session/picture_periods.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Shares of a picture's macroblocks, in 512ths, that are better off intra.
constexpr int32_t kIntraOfNewScene = 505; // more begin a new scene
constexpr int32_t kIntraAtEndOfRun = 180; // more end a run of B pictures

constexpr size_t kNoMiddleUpTo = 3; // B pictures of a run in which none is a reference

} // namespace

template <class Sample>
LookAhead<Sample>::LookAhead(const EncoderSettings& Settings, int32_t Qp)
    : m_Trial(Settings, Qp), m_Entries(static_cast<size_t>(Settings.gop_length) + 1), m_MbCount(Settings.Layout.MbCount)
{
}

template <class Sample>
UMC::Status LookAhead<Sample>::Allocate(const FrameLayout& Layout, UMC::MemoryAllocator* pAllocator)
{
    for (Entry& e : m_Entries) {
        e.pCopy = std::make_unique<Frame>(pAllocator);
        if (const UMC::Status s = e.pCopy->Allocate(Layout); s != UMC::StatusOk) return s;
    }
    return UMC::StatusOk;
}

template <class Sample>
void LookAhead<Sample>::Put(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, Frame& New)
{
    Entry& e = m_Entries[m_Waiting + 1];
    m_Trial.CopyPicture(New, *e.pCopy);
    e.pFrame = &New;
    e.FromPrevious = m_Trial.Run(*e.pCopy, *m_Entries[m_Waiting].pCopy);
    New.awaits_type = true;
    New.b_is_reference = 0;
    ++m_Waiting;
    while (m_Waiting + 1 == m_Entries.size()) DecideNext(Settings, Sequence);
}

template <class Sample>
void LookAhead<Sample>::Pass(const Frame& New)
{
    if (New.frame_type != FRAME_B) m_Trial.CopyPicture(New, *m_Entries[0].pCopy);
}

template <class Sample>
void LookAhead<Sample>::DecideAll(const EncoderSettings& Settings, SequenceState<Sample>& Sequence)
{
    while (m_Waiting > 0) DecideNext(Settings, Sequence);
}

template <class Sample>
void LookAhead<Sample>::DecideNext(const EncoderSettings& Settings, SequenceState<Sample>& Sequence)
{
    if (const size_t Cut = FindSceneCut(Settings.AnalysisFlags); Cut != 0) {
        CutScene(Settings, Sequence, Cut);
        return Release(Cut);
    }
    const size_t Run = LengthOfRun();
    MakeRun(Run, Settings.Params.b_ref_mode);
    MakeAnchors(Run + 1, Run + 1);
    Release(Run + 1);
}

// The first entry that has next to nothing of the one before it; 0 for none.
template <class Sample>
size_t LookAhead<Sample>::FindSceneCut(uint32_t Flags) const
{
    if (!(Flags & ENC_ANALYSE_SCENE_CUT)) return 0;
    for (size_t i = 1; i <= m_Waiting; ++i)
        if (IsOver(m_Entries[i].FromPrevious.IntraCount, kIntraOfNewScene)) return i;
    return 0;
}

// The first entry that cannot be a B picture: an I picture, or the last.
template <class Sample>
size_t LookAhead<Sample>::FindAnchor() const
{
    size_t i = 1;
    while (i < m_Waiting && m_Entries[i].pFrame->frame_type != FRAME_I) ++i;
    return i;
}

// B pictures that begin here. The first is one where the picture behind it costs no more from the anchor than from it:
// what both cost from the anchor, against what they cost with it in between. All costs are of prediction from one
// earlier picture.
template <class Sample>
size_t LookAhead<Sample>::LengthOfRun()
{
    const size_t Anchor = FindAnchor();
    const TrialCost First = m_Entries[1].FromPrevious;
    if (Anchor < 2 || 2 * First.IntraCount >= m_MbCount) return 0;
    TrialCost FromAnchor = m_Trial.Run(*m_Entries[2].pCopy, *m_Entries[0].pCopy);
    if (First.Cost + FromAnchor.Cost > First.Cost + m_Entries[2].FromPrevious.Cost) return 0;
    size_t Length = 1;
    for (int64_t Cost = First.Cost; Length + 1 < Anchor; ++Length) {
        if (Length > 1) FromAnchor = m_Trial.Run(*m_Entries[Length + 1].pCopy, *m_Entries[0].pCopy);
        if (FromAnchor.Cost > 2 * Cost || IsOver(FromAnchor.IntraCount, kIntraAtEndOfRun)) break;
        Cost += FromAnchor.Cost;
    }
    return Length;
}

// A new scene begins with an IDR picture, and the key frame rule counts from it.
template <class Sample>
void LookAhead<Sample>::CutScene(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, size_t Cut)
{
    MakeAnchors(1, Cut - 1);
    StartIdrPeriod(Sequence, *m_Entries[Cut].pFrame);
    const auto IsKey = [](const Entry& e) { return e.pFrame->frame_type == FRAME_I; };
    const auto Behind = m_Entries.begin() + static_cast<ptrdiff_t>(Cut) + 1;
    const auto End = m_Entries.begin() + static_cast<ptrdiff_t>(m_Waiting) + 1;
    if (std::any_of(Behind, End, IsKey)) return;
    // The pictures that came behind it are counted already: fewer than lie between two key pictures.
    const auto Counted = static_cast<int32_t>(m_Waiting - Cut);
    Sequence.key_countdown =
        static_cast<uint32_t>(Settings.Params.key_frame_interval) + 1 - static_cast<uint32_t>(Counted);
    Sequence.gop_index = (1 + Counted) % Settings.gop_length;
}

template <class Sample>
void LookAhead<Sample>::MakeRun(size_t Length, int32_t BRefMode)
{
    for (size_t i = 1; i <= Length; ++i) m_Entries[i].pFrame->frame_type = FRAME_B;
    // In either mode, at the place that the middle one has in the runs of a fixed pattern.
    if (BRefMode != 0 && Length > kNoMiddleUpTo) m_Entries[(Length + 1) / 2].pFrame->b_is_reference = 1;
}

template <class Sample>
void LookAhead<Sample>::MakeAnchors(size_t First, size_t Last)
{
    for (size_t i = First; i <= Last; ++i)
        if (m_Entries[i].pFrame->frame_type != FRAME_I) m_Entries[i].pFrame->frame_type = FRAME_P;
}

// The last of them is the anchor of those that come.
template <class Sample>
void LookAhead<Sample>::Release(size_t Count)
{
    for (size_t i = 1; i <= Count; ++i) m_Entries[i].pFrame->awaits_type = false;
    std::rotate(m_Entries.begin(), m_Entries.begin() + static_cast<ptrdiff_t>(Count), m_Entries.end());
    m_Waiting -= Count;
}

template class LookAhead<uint8_t>;
template class LookAhead<uint16_t>;

} // namespace UMC_H264_ENCODER
