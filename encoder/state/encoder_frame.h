// Pictures of the encoder: planes with room for padding, and the motion that later pictures look at.
#pragma once

#include "encoder/state/encoder_types.h"
#include "encoder/state/frame_layout.h"
#include "encoder/state/picture_view.h"
#include "media/umc_memory_allocator.h"
#include "media/umc_video_data.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

/// A picture. It is mostly coded in place: the samples of a macroblock are the source until it is reconstructed.
/// The frame step writes what it is in the stream, the marking its marks and numbers, and the job that codes it its
/// samples and tables; all others read. The allocator must outlive the frame.
template <class Sample>
class H264EncoderFrame : public UMC::VideoData
{
public:
    explicit H264EncoderFrame(UMC::MemoryAllocator* pAllocator) : m_pAllocator(pAllocator) {}
    ~H264EncoderFrame() override { Free(); }
    H264EncoderFrame(const H264EncoderFrame&) = delete;
    H264EncoderFrame& operator=(const H264EncoderFrame&) = delete;

    /// Planes and tables for a layout. They are kept when the layout's size stays. After StatusAllocFailed there are
    /// none.
    UMC::Status Allocate(const FrameLayout& Layout);

    // Planes at the visible origin, and the pitch of all of them in samples.
    Sample *m_pY = nullptr, *m_pU = nullptr, *m_pV = nullptr;
    Sample* m_pAlpha = nullptr; // of an auxiliary picture, as large as luma
    int32_t m_Pitch = 0;
    PictureView<Sample> View() const
    {
        return {m_pY, m_pU, m_pV, m_Pitch, m_Layout.AlignedWidth, m_Layout.AlignedHeight};
    }

    PictureView<Sample> AlphaView() const
    {
        return {m_pAlpha, nullptr, nullptr, m_Pitch, m_Layout.AlignedWidth, m_Layout.AlignedHeight};
    }

    // Tables with one entry for each macroblock (vectors and references: 16, by 4x4 block in raster order), and behind
    // them as many for the auxiliary picture.
    MotionVector* mb_motion[2] = {};
    int8_t* mb_reference[2] = {}; // index into the slice's list, -1 for none
    GlobalMacroblock* mb_global = nullptr;

    int32_t frame_type = FRAME_I;
    int32_t b_is_reference = 0;
    bool was_encoded = false;
    bool awaits_type = false; // held back by the look-ahead
    int32_t frame_num = 0, frame_num_wrap = 0;
    int32_t pic_num[2] = {}, long_term_pic_num[2] = {}; // top, bottom
    int32_t long_term_frame_idx = 0;
    uint8_t is_reference = 0, is_long_term = 0; // bit 0 top, bit 1 bottom
    int32_t poc[2] = {};
    int32_t idr_epoch[2] = {}; // raised at each later IDR picture, so that older periods sort first
    int32_t display_order = 0;
    // A number of its own for every picture that is coded, even: that of a bottom field is one more. And those of what
    // the picture's slices refer to, by list and index.
    int32_t picture_id = 0;
    int32_t reference_ids[2][2][kMaxReferences] = {}; // of a frame, or of the top and the bottom field
    bool is_idr = false;
    H264EncoderFrame *previous = nullptr, *next = nullptr;

    bool IsShortTerm() const { return is_reference != 0 && is_long_term == 0; }
    bool IsLongTerm() const { return is_long_term != 0; }
    bool IsFree() const { return was_encoded && is_reference == 0 && is_long_term == 0; }
    int32_t Poc() const { return poc[0] < poc[1] ? poc[0] : poc[1]; }
    int32_t Epoch() const { return idr_epoch[0] > idr_epoch[1] ? idr_epoch[0] : idr_epoch[1]; }
    void Unmark() { is_reference = is_long_term = 0; }
    // The marks as they were before an attempt at a picture.
    void KeepMarks() { m_KeptMarks = is_reference; }
    void PutBackMarks() { is_reference = m_KeptMarks; }
    /// A frame taken for a new picture starts here; planes and tables stay.
    void ResetPicture();
    /// Exchanges the planes with those of a frame of the same layout; all else stays.
    void SwapPlanes(H264EncoderFrame& Other);
    /// A client's deep samples may hold more bits than it has said; those that do become the largest of their plane.
    void LimitSamples();
    /// Before the picture is coded: list 1 refers to nothing in a picture whose slices do not write it.
    void PrepareTables();

private:
    void Free();
    void* AllocateZeroed(UMC::MemID& Memory, size_t Bytes); // null when memory is exhausted
    UMC::Status AllocatePlanes(const FrameLayout& Layout);
    UMC::Status AllocateTables(const FrameLayout& Layout);

    UMC::MemoryAllocator* m_pAllocator; // not owned
    UMC::MemID m_PlaneMemory = 0, m_TableMemory = 0;
    FrameLayout m_Layout;
    uint8_t m_KeptMarks = 0;
    bool m_HasList1 = true; // the table may refer to something
};

extern template class H264EncoderFrame<uint8_t>;
extern template class H264EncoderFrame<uint16_t>;

} // namespace UMC_H264_ENCODER
