// Types of pictures by what they have in common with those around them, where the settings ask for that.
#pragma once

#include "encoder/picture/picture_trial.h"
#include "encoder/picture/sequence_state.h"
#include "encoder/state/encoder_settings.h"

#include <memory>
#include <vector>

namespace UMC_H264_ENCODER {

/// Pictures wait here until there are as many as a run of B pictures with its anchors may have: the last anchor and
/// those behind it. Then the first of them get their types. The frames stay in the input list.
template <class Sample>
class LookAhead
{
public:
    using Frame = H264EncoderFrame<Sample>;

    /// @param Qp  of the trials. Throws std::bad_alloc
    LookAhead(const EncoderSettings& Settings, int32_t Qp);
    /// The copies of the pictures. After StatusAllocFailed it is of no use.
    UMC::Status Allocate(const FrameLayout& Layout, UMC::MemoryAllocator* pAllocator);

    /// A picture that the key frame rule made I or P or B, no IDR picture: it keeps I, and else waits for its type.
    void Put(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, Frame& New);
    /// A picture whose type stands when nothing waits: an IDR picture, or what the client asks for.
    void Pass(const Frame& New);
    /// All that wait get their types at once, the last is no B picture.
    void DecideAll(const EncoderSettings& Settings, SequenceState<Sample>& Sequence);

private:
    struct Entry {
        Frame* pFrame = nullptr; // not owned
        std::unique_ptr<Frame> pCopy;
        TrialCost FromPrevious; // predicted from the entry before
    };

    void DecideNext(const EncoderSettings& Settings, SequenceState<Sample>& Sequence);
    size_t FindSceneCut(uint32_t Flags) const;
    size_t FindAnchor() const;
    size_t LengthOfRun();
    void CutScene(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, size_t Cut);
    void MakeRun(size_t Length, int32_t BRefMode);
    void MakeAnchors(size_t First, size_t Last);
    void Release(size_t Count);
    bool IsOver(int32_t Count, int32_t Of512) const { return int64_t{512} * Count > int64_t{Of512} * m_MbCount; }

    PictureTrial<Sample> m_Trial;
    std::vector<Entry> m_Entries; // the last anchor, then those that wait
    size_t m_Waiting = 0;
    int32_t m_MbCount; // of a frame
};

extern template class LookAhead<uint8_t>;
extern template class LookAhead<uint16_t>;

} // namespace UMC_H264_ENCODER
