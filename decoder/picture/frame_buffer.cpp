#include "decoder/picture/frame_buffer.h"

#include "media/umc_memory_allocator.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr int32_t kPlaneAlign = 64; // bytes, and samples of the luma pitch
constexpr uint32_t kBlockAlign = 16;
constexpr uint32_t kAlignSlack = 128; // samples: both ends of the planes may move up to the next multiple of 64
constexpr int32_t kMaxSide = 1 << 20; // samples; keeps every product below in 64 bits

template <class T>
T AlignUp(T Value, T Align)
{
    return (Value + Align - 1) / Align * Align;
}

uint8_t* AlignPlane(uint8_t* p)
{
    return reinterpret_cast<uint8_t*>(AlignUp<uintptr_t>(reinterpret_cast<uintptr_t>(p), kPlaneAlign));
}

template <class Sample>
void FillRows(uint8_t* pPlane, int32_t Pitch, PictureSize Size, int32_t FirstLine, int32_t LineStep)
{
    for (int32_t y = FirstLine; y < Size.Height; y += LineStep)
        std::fill_n(reinterpret_cast<Sample*>(pPlane) + ptrdiff_t{y} * Pitch, Size.Width, Sample{kGreySample});
}

} // namespace

Status H264DecYUVBufferPadded::Allocate(const PictureFormat& Format)
{
    const auto [Width, Height] = Format.Size;
    const int32_t ChromaFormat = Format.ChromaFormat;
    if (std::min(Format.BitDepthLuma, Format.BitDepthChroma) < 8 || Format.BitDepth() > 16) return StatusUnsupported;
    if (ChromaFormat < h264::CHROMA_400 || ChromaFormat > h264::CHROMA_444) return StatusInvalidParams;
    if (Width <= 0 || Height <= 0 || Width > kMaxSide || Height > kMaxSide) return StatusAllocFailed;
    if ((m_pPlaneY && Format == m_Format) || m_ExternalBuffer) return StatusOk;

    Release();
    // Heights of both chroma planes together in luma heights. The two of 4:4:4 have deliberately twice the room they
    // need.
    constexpr int64_t kChromaHeights[] = {1, 1, 2, 4};
    const int32_t PitchLuma = AlignUp(Width, kPlaneAlign);
    const int32_t PitchChroma = PitchLuma >> Format.StoredChroma().ShiftX;
    const int64_t SampleBytes = Format.SampleBytes();
    const int64_t Samples =
        int64_t{Height} * PitchLuma + int64_t{Height} * PitchChroma * kChromaHeights[ChromaFormat] + kAlignSlack;
    const int64_t Bytes = Samples * SampleBytes;
    if (Bytes > INT32_MAX) return StatusAllocFailed;
    if (m_pAllocator->Alloc(&m_MemId, static_cast<size_t>(Bytes), 0, kBlockAlign) != StatusOk) {
        Release();
        return StatusAllocFailed;
    }
    m_Format = Format;
    m_PitchLuma = PitchLuma;
    m_PitchChroma = PitchChroma;
    m_pPlaneY = AlignPlane(static_cast<uint8_t*>(m_pAllocator->Lock(m_MemId)));
    const int64_t ChromaBytes = int64_t{PitchChroma} * Format.ChromaSize().Height * SampleBytes;
    m_pPlaneU = AlignPlane(m_pPlaneY + int64_t{PitchLuma} * Height * SampleBytes);
    m_pPlaneV = AlignPlane(m_pPlaneU + ChromaBytes);
    FillGrey(); // parts of a damaged picture stay as they are: nothing foreign may show there
    return StatusOk;
}

void H264DecYUVBufferPadded::Release()
{
    if (m_MemId != 0) {
        m_pAllocator->Unlock(m_MemId);
        m_pAllocator->Free(m_MemId);
        m_MemId = 0;
    }
    m_pPlaneY = m_pPlaneU = m_pPlaneV = nullptr;
    m_Format = {};
    m_PitchLuma = m_PitchChroma = 0;
}

void H264DecYUVBufferPadded::Conditional(const PictureFormat& Format)
{
    if (Format != m_Format) Release();
}

void H264DecYUVBufferPadded::FillPlane(uint8_t* pPlane, int32_t Pitch, PictureSize Size, int32_t FirstLine,
                                       int32_t LineStep)
{
    if (!pPlane) return;
    (m_Format.SampleBytes() > 1 ? FillRows<uint16_t> : FillRows<uint8_t>)(pPlane, Pitch, Size, FirstLine, LineStep);
}

void H264DecYUVBufferPadded::FillLines(int32_t FirstLine, int32_t LineStep)
{
    FillPlane(m_pPlaneY, m_PitchLuma, m_Format.Size, FirstLine, LineStep);
    FillPlane(m_pPlaneU, m_PitchChroma, m_Format.ChromaSize(), FirstLine, LineStep);
    FillPlane(m_pPlaneV, m_PitchChroma, m_Format.ChromaSize(), FirstLine, LineStep);
}

void H264DecYUVBufferPadded::FillGrey() { FillLines(0, 1); }
void H264DecYUVBufferPadded::FillFieldGrey(int Field) { FillLines(Field, 2); }

void H264DecYUVBufferPadded::FillChromaGrey()
{
    FillPlane(m_pPlaneU, m_PitchChroma, m_Format.ChromaSize(), 0, 1);
    FillPlane(m_pPlaneV, m_PitchChroma, m_Format.ChromaSize(), 0, 1);
}

Status H264DecYUVWorkSpace::Allocate(const PictureFormat& Format)
{
    if (Format.Size.Width > kMaxSide || Format.Size.Height > kMaxSide) return StatusAllocFailed;
    return H264DecYUVBufferPadded::Allocate(Format.InWholeMbs());
}

} // namespace UMC
