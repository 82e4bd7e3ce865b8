// Pictures of the encoder: planes with room for padding, and the motion that later pictures look at.
#pragma once

#include "encoder/state/encoder_types.h"
#include "encoder/state/picture_view.h"
#include "media/umc_base_codec.h"
#include "media/umc_video_data.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

// Padding that a reference picture's planes carry on every side, in samples.
inline constexpr int32_t kLumaPadding = 48;
inline constexpr int32_t kChromaPadding = 32;
inline constexpr size_t kPlaneAlignment = 64; // bytes, of a plane's first sample

/// Rows of samples that a picture of Height rows is coded in: whole macroblocks, or pairs of them unless frames only.
constexpr int64_t CodedRows(int32_t Height, bool bFramesOnly)
{
    const int64_t Unit = bFramesOnly ? 16 : 32;
    return (Height + Unit - 1) / Unit * Unit;
}

/// Geometry of all pictures of one encoder.
struct FrameLayout {
    int32_t Width = 0, Height = 0;               // visible samples
    int32_t AlignedWidth = 0, AlignedHeight = 0; // whole macroblocks, or pairs of them unless frames only
    int32_t MbWidth = 0, MbHeight = 0, MbCount = 0;
    int32_t Pitch = 0; // samples, the same for all planes
    int32_t ChromaFormat = 1;
    int32_t BitDepth = 8;
    bool HasAlpha = false;
    UMC::ColorFormat Format = UMC::YUV420;
};

FrameLayout MakeLayout(int32_t Width, int32_t Height, int32_t ChromaFormat, int32_t BitDepth, bool FramesOnly,
                       bool HasAlpha);

/// A picture. It is mostly coded in place: the samples of a macroblock are the source until it is reconstructed.
/// The allocator must outlive the frame.
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
    int32_t m_Pitch = 0;
    PictureView<Sample> View() const
    {
        return {m_pY, m_pU, m_pV, m_Pitch, m_Layout.AlignedWidth, m_Layout.AlignedHeight};
    }

    // Tables with one entry for each macroblock (vectors and references: 16, by 4x4 block in raster order).
    MotionVector* mb_motion[2] = {};
    int8_t* mb_reference[2] = {}; // index into the slice's list, -1 for none
    GlobalMacroblock* mb_global = nullptr;

    int32_t frame_type = FRAME_I;
    int32_t b_is_reference = 0;
    bool was_encoded = false;
    int32_t frame_num = 0, frame_num_wrap = 0;
    int32_t pic_num[2] = {}, long_term_pic_num[2] = {}; // top, bottom
    int32_t long_term_frame_idx = 0;
    uint8_t is_reference = 0, is_long_term = 0; // bit 0 top, bit 1 bottom
    int32_t poc[2] = {};
    int32_t idr_epoch[2] = {}; // raised at each later IDR picture, so that older periods sort first
    int32_t display_order = 0;
    bool is_idr = false;
    H264EncoderFrame *previous = nullptr, *next = nullptr;

    bool IsShortTerm() const { return is_reference != 0 && is_long_term == 0; }
    bool IsLongTerm() const { return is_long_term != 0; }
    bool IsFree() const { return was_encoded && is_reference == 0 && is_long_term == 0; }
    int32_t Poc() const { return poc[0] < poc[1] ? poc[0] : poc[1]; }
    int32_t Epoch() const { return idr_epoch[0] > idr_epoch[1] ? idr_epoch[0] : idr_epoch[1]; }
    void Unmark() { is_reference = is_long_term = 0; }
    /// A frame taken for a new picture starts here; planes and tables stay.
    void ResetPicture();

private:
    void Free();
    void* AllocateZeroed(UMC::MemID& Memory, size_t Bytes); // null when memory is exhausted
    UMC::Status AllocatePlanes(const FrameLayout& Layout);
    UMC::Status AllocateTables(const FrameLayout& Layout);

    UMC::MemoryAllocator* m_pAllocator; // not owned
    UMC::MemID m_PlaneMemory = 0, m_TableMemory = 0;
    FrameLayout m_Layout;
};

/// A doubly linked list that owns its frames.
template <class Sample>
class H264EncoderFrameList
{
public:
    using Frame = H264EncoderFrame<Sample>;

    H264EncoderFrameList() = default;
    ~H264EncoderFrameList();
    H264EncoderFrameList(const H264EncoderFrameList&) = delete;
    H264EncoderFrameList& operator=(const H264EncoderFrameList&) = delete;

    Frame* Head() const { return m_pHead; }
    void Append(Frame* pFrame);
    /// Takes the frame out without deleting it.
    void RemoveFrame(Frame* pFrame);
    Frame* FindFree() const;

    /// A free frame, or a new one, with the source's samples and times and nothing else of a picture.
    /// @return StatusOk; StatusAllocFailed; StatusInvalidParams when the source cannot be converted. On failure pFrame
    ///         stays and the list has the same pictures as before
    UMC::Status InsertFrame(UMC::VideoData& Source, const FrameLayout& Layout, UMC::MemoryAllocator* pAllocator,
                            UMC::BaseCodec& Converter, Frame*& pFrame);

private:
    Frame* m_pHead = nullptr;
    Frame* m_pTail = nullptr;
};

/// Which picture of the input list is coded next: oldest IDR period first, then display order, except that a B picture
/// waits for AnchorsNeeded references behind it. Null when none can be.
template <class Sample>
H264EncoderFrame<Sample>* FindNextToCode(const H264EncoderFrameList<Sample>& Input,
                                         const H264EncoderFrameList<Sample>& Reconstructed, int32_t AnchorsNeeded,
                                         int32_t BRefMode);

extern template class H264EncoderFrame<uint8_t>;
extern template class H264EncoderFrameList<uint8_t>;

} // namespace UMC_H264_ENCODER
