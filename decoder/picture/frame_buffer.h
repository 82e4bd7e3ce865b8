// Memory for the samples of a picture.
#pragma once

#include "decoder/picture/picture_format.h"
#include "media/umc_status.h"

#include <cstdint>

namespace UMC {

class MemoryAllocator;

// A picture's sample planes in one block of the given allocator. No guard band lies around a plane.
class H264DecYUVBufferPadded
{
public:
    H264DecYUVBufferPadded() = default;
    virtual ~H264DecYUVBufferPadded() { H264DecYUVBufferPadded::Release(); }
    H264DecYUVBufferPadded(const H264DecYUVBufferPadded&) = delete;
    H264DecYUVBufferPadded& operator=(const H264DecYUVBufferPadded&) = delete;

    // The allocator must outlive the buffer.
    void SetAllocator(MemoryAllocator* pAllocator) { m_pAllocator = pAllocator; }
    // Does nothing when the format is what it was. StatusUnsupported for a depth outside 8..16, StatusInvalidParams
    // for a format above 3, StatusAllocFailed, with nothing left allocated, when memory is exhausted.
    virtual Status Allocate(const PictureFormat& Format);
    virtual void Release();
    virtual void Conditional(const PictureFormat& Format); // releases when it is another one

    // Fill with the value 128, scaled to the depth.
    void FillGrey(); // every plane
    void FillChromaGrey();
    void FillFieldGrey(int Field); // every second line, 0: from the top one

    PictureFormat m_Format;       // of the planes; empty without them
    uint8_t* m_pPlaneY = nullptr; // 64-byte aligned; samples of 2 bytes above 8 bits
    uint8_t* m_pPlaneU = nullptr;
    uint8_t* m_pPlaneV = nullptr;
    int32_t m_PitchLuma = 0; // samples
    int32_t m_PitchChroma = 0;
    bool m_ExternalBuffer = false;

protected:
    MemoryAllocator* m_pAllocator = nullptr;

private:
    void FillPlane(uint8_t* pPlane, int32_t Pitch, PictureSize Size, int32_t FirstLine, int32_t LineStep);
    void FillLines(int32_t FirstLine, int32_t LineStep);

    uint32_t m_MemId = 0;
};

// Planes for a size rounded up to whole macroblocks.
class H264DecYUVWorkSpace : public H264DecYUVBufferPadded
{
public:
    Status Allocate(const PictureFormat& Format) override;
};

} // namespace UMC
