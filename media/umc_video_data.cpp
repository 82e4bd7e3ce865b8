#include "media/umc_video_data.h"

#include "kernels/memory/memory.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

namespace UMC {

static uint8_t* AlignUp(uint8_t* p, int32_t Alignment)
{
    const auto Mask = static_cast<uintptr_t>(Alignment) - 1;
    return p + (((reinterpret_cast<uintptr_t>(p) + Mask) & ~Mask) - reinterpret_cast<uintptr_t>(p));
}

VideoData::~VideoData() { VideoData::Close(); }

VideoData& VideoData::operator=(const VideoData& From)
{
    if (this == &From) return *this;
    ReleaseImage();
    if (m_PlaneCapacity < From.m_PlaneCount) {
        delete[] m_pPlanes;
        m_pPlanes = new (std::nothrow) PlaneInfo[static_cast<size_t>(From.m_PlaneCount)];
        m_PlaneCapacity = m_pPlanes ? From.m_PlaneCount : 0;
    }
    m_PlaneCount = std::min(From.m_PlaneCount, m_PlaneCapacity);
    if (m_PlaneCount) std::copy_n(From.m_pPlanes, m_PlaneCount, m_pPlanes);
    m_BufferSize = From.m_BufferSize;
    m_DataSize = From.m_DataSize;
    m_pBuffer = From.m_pBuffer;
    m_pData = From.m_pData;
    CopyTags(From);
    m_Width = From.m_Width;
    m_Height = From.m_Height;
    m_ColorFormat = From.m_ColorFormat;
    m_PictureStructure = From.m_PictureStructure;
    m_AspectX = From.m_AspectX;
    m_AspectY = From.m_AspectY;
    m_Alignment = From.m_Alignment;
    return *this;
}

Status VideoData::Close()
{
    delete[] m_pPlanes;
    m_pPlanes = nullptr;
    m_PlaneCount = m_PlaneCapacity = 0;
    return ReleaseImage();
}

Status VideoData::ReleaseImage()
{
    for (int32_t i = 0; i < m_PlaneCount; ++i) m_pPlanes[i].m_pPlane = nullptr;
    kernels::Free(m_pAllocated);
    m_pAllocated = nullptr;
    return MediaData::Close();
}

Status VideoData::Init(int32_t Width, int32_t Height, int32_t PlaneCount, int32_t BitDepth)
{
    if (Width <= 0 || Height <= 0 || PlaneCount <= 0 || BitDepth < 8) return StatusInvalidParams;
    Close();
    m_pPlanes = new (std::nothrow) PlaneInfo[static_cast<size_t>(PlaneCount)]();
    if (!m_pPlanes) return StatusAllocFailed;
    m_PlaneCount = m_PlaneCapacity = PlaneCount;
    m_Width = Width;
    m_Height = Height;
    for (int32_t i = 0; i < PlaneCount; ++i) {
        m_pPlanes[i].m_Samples = 1;
        m_pPlanes[i].m_SampleBytes = (BitDepth + 7) >> 3;
        m_pPlanes[i].m_BitDepth = BitDepth;
    }
    return StatusOk;
}

Status VideoData::Init(int32_t Width, int32_t Height, ColorFormat Format, int32_t BitDepth)
{
    const ColorFormatInfo* const pRow = FindColorFormat(Format);
    if (!pRow) return StatusInvalidParams;
    const Status Result = Init(Width, Height, pRow->PlaneCount, BitDepth ? BitDepth : pRow->MinBitDepth);
    return Result == StatusOk ? SetColorFormat(Format) : Result;
}

Status VideoData::SetColorFormat(ColorFormat Format)
{
    const ColorFormatInfo* const pRow = FindColorFormat(Format);
    if (!pRow || pRow->PlaneCount > m_PlaneCount) return StatusInvalidParams;
    m_ColorFormat = Format;
    for (int32_t i = 0; i < m_PlaneCount; ++i) {
        PlaneInfo& Plane = m_pPlanes[i];
        const bool bInRow = i < pRow->PlaneCount;
        const ColorFormatPlane Shape = bInRow ? pRow->Plane[i] : ColorFormatPlane{1, 1, 1, 1};
        Plane.m_Offset = i ? m_pPlanes[i - 1].m_Offset + m_pPlanes[i - 1].m_Size : 0;
        Plane.m_WidthDiv = Shape.WidthDiv;
        Plane.m_HeightDiv = Shape.HeightDiv;
        Plane.m_Samples = Shape.Samples;
        Plane.m_Width = (m_Width + Shape.WidthDiv - 1) / Shape.WidthDiv;
        Plane.m_Height = (m_Height + Shape.HeightDiv - 1) / Shape.HeightDiv;
        const int32_t PixelBytes = Plane.m_Samples * Plane.m_SampleBytes;
        int32_t Alignment = std::max(m_Alignment, PixelBytes);
        if (bInRow) Alignment = std::max(Alignment, pRow->Alignment) * Shape.AlignmentFactor;
        // Masking only rounds for a power of two: three-byte pixels with a larger alignment end inside a pixel.
        Plane.m_Pitch = (Plane.m_Width * PixelBytes + Alignment - 1) & -Alignment;
        Plane.m_Size = static_cast<size_t>(Plane.m_Pitch) * static_cast<size_t>(Plane.m_Height);
    }
    return StatusOk;
}

Status VideoData::Alloc()
{
    const size_t Mapping = GetMappingSize();
    if (!Mapping) return StatusInvalidParams;
    const size_t Size = Mapping + static_cast<size_t>(m_Alignment) - 1;
    if (Size > INT_MAX) return StatusAllocFailed;
    ReleaseImage();
    m_pAllocated = kernels::Malloc8u(static_cast<int32_t>(Size));
    if (!m_pAllocated) return StatusAllocFailed;
    return SetBufferPointer(m_pAllocated, Size);
}

Status VideoData::SetBufferPointer(uint8_t* pBuffer, size_t Size)
{
    if (!m_PlaneCount) {
        MediaData::SetBufferPointer(pBuffer, Size);
        return StatusNotInitialized;
    }
    uint8_t* const pAligned = AlignUp(pBuffer, m_Alignment);
    const size_t Mapping = GetMappingSize();
    MediaData::SetBufferPointer(pBuffer, Size);
    if (Size < Mapping) return StatusNotEnoughBuffer;
    for (int32_t i = 0; i < m_PlaneCount; ++i) m_pPlanes[i].m_pPlane = pAligned + m_pPlanes[i].m_Offset;
    const auto Skip = static_cast<size_t>(pAligned - pBuffer);
    SetDataSize(Mapping + Skip);
    MoveDataPointer(static_cast<int32_t>(Skip));
    return StatusOk;
}

size_t VideoData::GetMappingSize() const
{
    size_t Sum = 0;
    for (int32_t i = 0; i < m_PlaneCount; ++i) Sum += m_pPlanes[i].m_Size;
    return Sum;
}

Status VideoData::SetImagePointer(uint8_t* pImage, int32_t Pitch)
{
    if (!pImage) return StatusNullPointer;
    if (!m_PlaneCount) return StatusNotInitialized;
    if (!Pitch) Pitch = m_pPlanes[0].m_Pitch;
    size_t Total = 0;
    for (int32_t i = 0; i < m_PlaneCount; ++i) {
        PlaneInfo& Plane = m_pPlanes[i];
        Plane.m_Pitch = Pitch;
        if (i && Plane.m_WidthDiv)
            Plane.m_Pitch = Pitch * Plane.m_Samples / (Plane.m_WidthDiv * m_pPlanes[0].m_Samples);
        Plane.m_Offset = Total;
        Plane.m_pPlane = pImage + Total;
        Plane.m_Size = static_cast<size_t>(Plane.m_Pitch) * static_cast<size_t>(Plane.m_Height);
        Total += Plane.m_Size;
    }
    MediaData::SetBufferPointer(pImage, Total);
    return SetDataSize(Total);
}

size_t VideoData::GetPitchForSize(size_t Size) const
{
    uint64_t Rows = 0; // in 1/256 rows of plane 0's pitch
    for (int32_t i = 0; i < m_PlaneCount; ++i) {
        const PlaneInfo& Plane = m_pPlanes[i];
        auto Share = static_cast<uint64_t>(Plane.m_Height) << 8;
        if (i && Plane.m_WidthDiv)
            Share = Share * static_cast<uint64_t>(Plane.m_Samples) * static_cast<uint64_t>(m_pPlanes[0].m_WidthDiv) /
                    (static_cast<uint64_t>(m_pPlanes[0].m_Samples) * static_cast<uint64_t>(Plane.m_WidthDiv));
        Rows += Share;
    }
    return Rows ? static_cast<size_t>((static_cast<uint64_t>(Size) << 8) / Rows) : 0;
}

Status VideoData::SetPlanePointer(void* pPlane, int32_t Index)
{
    if (!IsPlane(Index)) return StatusFailed;
    m_pPlanes[Index].m_pPlane = static_cast<uint8_t*>(pPlane);
    return StatusOk;
}

Status VideoData::SetPlanePitch(int32_t Pitch, int32_t Index)
{
    if (!IsPlane(Index)) return StatusFailed;
    m_pPlanes[Index].m_Pitch = Pitch;
    m_pPlanes[Index].m_Size = static_cast<size_t>(Pitch) * static_cast<size_t>(m_pPlanes[Index].m_Height);
    return StatusOk;
}

Status VideoData::SetPlaneBitDepth(int32_t Bits, int32_t Index)
{
    if (!IsPlane(Index)) return StatusFailed;
    m_pPlanes[Index].m_BitDepth = Bits;
    m_pPlanes[Index].m_SampleBytes = std::max(m_pPlanes[Index].m_SampleBytes, (Bits + 7) >> 3);
    return StatusOk;
}

Status VideoData::GetPlaneInfo(PlaneInfo* pInfo, int32_t Index) const
{
    if (!pInfo) return StatusNullPointer;
    if (!IsPlane(Index)) return StatusFailed;
    *pInfo = m_pPlanes[Index];
    return StatusOk;
}

Status VideoData::SetRegion(int32_t X, int32_t Y, int32_t Width, int32_t Height)
{
    if (Width <= 0 || Height <= 0 || X < 0 || Y < 0 || Width > m_Width - X || Height > m_Height - Y)
        return StatusInvalidParamsExt;
    for (int32_t i = 0; i < m_PlaneCount; ++i) {
        PlaneInfo& Plane = m_pPlanes[i];
        // The plane's own divisors: at odd sizes the quotient of picture size and plane size is not a whole number.
        const int32_t DivX = Plane.m_WidthDiv, DivY = Plane.m_HeightDiv;
        if (DivX <= 0 || DivY <= 0) continue;                                          // no layout has been set
        const int32_t Column = m_ColorFormat == NV12 && i == 1 ? X / 2 * 2 : X / DivX; // that plane holds pairs
        if (Plane.m_pPlane)
            Plane.m_pPlane +=
                ptrdiff_t{Column} * Plane.m_Samples * Plane.m_SampleBytes + ptrdiff_t{Y / DivY} * Plane.m_Pitch;
        Plane.m_Width = (Width + DivX - 1) / DivX;
        Plane.m_Height = (Height + DivY - 1) / DivY;
        Plane.m_Size = static_cast<size_t>(Plane.m_Pitch) * static_cast<size_t>(Plane.m_Height);
    }
    m_Width = Width;
    m_Height = Height;
    return StatusOk;
}

Status VideoData::SwapChromaPlanes(ColorFormat NewFormat)
{
    if (m_PlaneCount < 3) return StatusFailed;
    std::swap(m_pPlanes[1], m_pPlanes[2]);
    m_ColorFormat = NewFormat;
    return StatusOk;
}

Status VideoData::SetAlignment(int32_t Alignment)
{
    if (Alignment < 1 || (Alignment & (Alignment - 1))) return StatusInvalidParams;
    m_Alignment = Alignment;
    return StatusOk;
}

} // namespace UMC
