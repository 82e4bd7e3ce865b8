#include "decoder/session/pictures_in_work.h"

#include <utility>

namespace UMC {

namespace {

bool IsDecoded(const H264DecoderFrame& Frame)
{
    if (Frame.m_pAuxiliary)
        for (const H264DecoderFrameInfo& Au : Frame.m_pAuxiliary->m_Au)
            if (!Au.m_Slices.empty() && !IsComplete(Au)) return false;
    const H264DecoderFrameInfo& Second = Frame.m_Au[1];
    return IsComplete(Frame.m_Au[0]) &&
           (!Frame.IsFieldPair() || Second.m_Status == AuStatus::Empty || IsComplete(Second));
}

} // namespace

void PicturesInWork::HoldReleased(H264DecoderFrame& Reference)
{
    if (!m_Frames.IsInFlight()) return;
    ReleasedFrames& Released = m_Frames.IsFilling() ? m_Frames.CurrentFrame->m_Released : m_LocalReleased;
    ++Released[static_cast<size_t>(Reference.m_Index)];
    ++Reference.m_BusyCount;
}

void PicturesInWork::Begin(H264DecoderFrame& Frame) { std::swap(Frame.m_Released, m_LocalReleased); }

void PicturesInWork::EndUseOf(ReleasedFrames& Released)
{
    for (H264DecoderFrame* p = m_Store.Dpb().Head(); p; p = p->m_pNext)
        p->m_BusyCount -= std::exchange(Released[static_cast<size_t>(p->m_Index)], uint16_t{0});
}

void PicturesInWork::Finish(H264DecoderFrame& Frame)
{
    ReleaseSlices(Frame, m_Store.Slices());
    EndUseOf(Frame.m_Released);
    m_Headers.Settle();
    Frame.m_IsDisplayable = true;
    Frame.m_BusyCount -= 2;
    ++m_Frames.Progress;
}

void PicturesInWork::Advance(Mutex& Guard)
{
    const AutomaticMutex Hold(Guard);
    for (; m_Frames.FirstUncompleted; m_Frames.FirstUncompleted = m_Frames.FirstUncompleted->m_pNext) {
        H264DecoderFrame& Frame = *m_Frames.FirstUncompleted;
        if (Frame.m_IsDisplayable || Frame.m_BusyCount < 2) continue; // done before, or made up
        if (!IsDecoded(Frame)) return;
        Finish(Frame);
    }
    if (!m_Frames.IsInFlight()) EndUseOf(m_LocalReleased); // no picture is left that they would have to wait for
}

} // namespace UMC
