// A picture in planes.
#pragma once

#include "media/umc_color_format.h"
#include "media/umc_media_data.h"

namespace UMC {

/// One plane of a picture. All sizes in samples unless said.
struct PlaneInfo {
    uint8_t* m_pPlane; // first sample
    int32_t m_Width;
    int32_t m_Height;
    int32_t m_SampleBytes; // bytes per sample
    int32_t m_Samples;     // samples per pixel
    int32_t m_BitDepth;
    int32_t m_Pitch;    // bytes per row
    size_t m_Offset;    // bytes from the first plane
    size_t m_Size;      // pitch * height
    int32_t m_WidthDiv; // divisor of the picture width, 1 for luma
    int32_t m_HeightDiv;
};

/// Picture structures: which lines a VideoData holds.
enum PictureStructure : int32_t {
    TOP_FIELD_ONLY = 1,
    BOTTOM_FIELD_ONLY = 2,
    PROGRESSIVE_FRAME = 3,
    INTERLACED_FRAME = 7
};

/// A picture as a list of planes, over pixels that it owns (Alloc) or that belong to the caller (the Set...
/// operations). Init gives geometry, ReleaseImage forgets pixels and keeps geometry, Close forgets both.
class VideoData : public MediaData
{
public:
    UMC_DERIVED_CLASS(VideoData, MediaData, "VideoData")
    VideoData() = default;
    ~VideoData() override;

    /// A copy shares the pixels and never owns them.
    VideoData(const VideoData& From) : MediaData() { *this = From; }
    VideoData& operator=(const VideoData& From);

    Status Close() override;
    /// Lays the planes out one after another from the aligned pBuffer on. StatusNotInitialized without planes,
    /// StatusNotEnoughBuffer when Size is below GetMappingSize(); the buffer is recorded in both cases.
    Status SetBufferPointer(uint8_t* pBuffer, size_t Size) override;
    Status Alloc(size_t Size) override { return MediaData::Alloc(Size); }

    /// Geometry without a layout: PlaneCount planes, all fields but depth still 0. StatusInvalidParams unless sizes are
    /// positive and BitDepth is at least 8.
    virtual Status Init(int32_t Width, int32_t Height, int32_t PlaneCount, int32_t BitDepth = 8);
    /// Geometry of a layout. BitDepth 0 takes the layout's own.
    virtual Status Init(int32_t Width, int32_t Height, ColorFormat Format, int32_t BitDepth = 0);
    /// Owned pixels for the geometry. StatusInvalidParams without one, StatusAllocFailed when memory is exhausted.
    virtual Status Alloc();
    virtual Status ReleaseImage();
    /// Bytes that all planes take; 0 without planes.
    virtual size_t GetMappingSize() const;
    /// Foreign pixels laid out with the given pitch of plane 0 in bytes (0 keeps its pitch).
    virtual Status SetImagePointer(uint8_t* pImage, int32_t Pitch);
    /// The largest pitch of plane 0 at which all planes fit into Size bytes.
    virtual size_t GetPitchForSize(size_t Size) const;

    /// StatusInvalidParams for an unknown layout or one with more planes than there are.
    Status SetColorFormat(ColorFormat Format);
    Status SetPlanePointer(void* pPlane, int32_t Index); ///< StatusFailed for a bad index, as the three below
    Status SetPlanePitch(int32_t Pitch, int32_t Index);  ///< bytes
    Status SetPlaneBitDepth(int32_t Bits, int32_t Index);
    Status GetPlaneInfo(PlaneInfo* pInfo, int32_t Index) const;
    /// Narrows the picture to a rectangle of luma samples; chroma origins round down. StatusInvalidParamsExt, and
    /// nothing changed, for a rectangle that is empty or not inside the picture.
    Status SetRegion(int32_t X, int32_t Y, int32_t Width, int32_t Height);
    /// Exchanges the records of planes 1 and 2 and relabels the picture. StatusFailed with fewer than three planes.
    Status SwapChromaPlanes(ColorFormat NewFormat);

    int32_t GetPlaneCount() const { return m_PlaneCount; }
    int32_t GetWidth() const { return m_Width; }
    int32_t GetHeight() const { return m_Height; }
    ColorFormat GetColorFormat() const { return m_ColorFormat; }
    int32_t GetPictureStructure() const { return m_PictureStructure; }
    void SetPictureStructure(int32_t Structure) { m_PictureStructure = Structure; }
    void GetAspectRatio(int32_t& X, int32_t& Y) const { X = m_AspectX, Y = m_AspectY; }
    void SetAspectRatio(int32_t X, int32_t Y) { m_AspectX = X, m_AspectY = Y; }
    Status SetAlignment(int32_t Alignment); ///< bytes; StatusInvalidParams unless a power of two

    // Without tests, for code that has made sure of the index.
    uint8_t* Plane(int32_t Index) const { return m_pPlanes[Index].m_pPlane; }
    int32_t Pitch(int32_t Index) const { return m_pPlanes[Index].m_Pitch; }

private:
    bool IsPlane(int32_t Index) const { return m_pPlanes && Index >= 0 && Index < m_PlaneCount; }

    PlaneInfo* m_pPlanes = nullptr; // owned
    int32_t m_PlaneCount = 0;
    int32_t m_PlaneCapacity = 0;
    int32_t m_Width = 0, m_Height = 0;
    ColorFormat m_ColorFormat = NONE_FORMAT;
    int32_t m_PictureStructure = PROGRESSIVE_FRAME;
    int32_t m_AspectX = 1, m_AspectY = 1;
    int32_t m_Alignment = 1;
    uint8_t* m_pAllocated = nullptr; // made by Alloc()
};

/// A distinct class for pictures that the decoder hands out cropped.
class VideoDataCrop : public VideoData
{
public:
    UMC_DERIVED_CLASS(VideoDataCrop, VideoData, "VideoDataCrop")
    using VideoData::operator=;
};

} // namespace UMC
