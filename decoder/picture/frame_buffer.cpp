#include "decoder/picture/frame.h"
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
void FillRows(uint8_t* pPlane, int32_t Pitch, PictureSize Size, int32_t FirstLine, int32_t LineStep, int32_t Value)
{
    for (int32_t y = FirstLine; y < Size.Height; y += LineStep)
        std::fill_n(reinterpret_cast<Sample*>(pPlane) + ptrdiff_t{y} * Pitch, Size.Width, static_cast<Sample>(Value));
}

} // namespace

PictureSize H264DecYUVBufferPadded::ChromaSize() const
{
    return {m_ChromaFormat < 3 ? m_Size.Width / 2 : m_Size.Width,
            m_ChromaFormat < 2 ? m_Size.Height / 2 : m_Size.Height};
}

Status H264DecYUVBufferPadded::Allocate(PictureSize Size, int32_t BitDepth, int32_t ChromaFormat)
{
    if (BitDepth < 8 || BitDepth > 16) return StatusUnsupported;
    if (ChromaFormat < 0 || ChromaFormat > 3) return StatusInvalidParams;
    if (Size.Width <= 0 || Size.Height <= 0 || Size.Width > kMaxSide || Size.Height > kMaxSide)
        return StatusAllocFailed;
    const int32_t PitchLuma = AlignUp(Size.Width, kPlaneAlign);
    const int32_t PitchChroma = ChromaFormat == 3 ? PitchLuma : PitchLuma / 2;
    const bool IsSame = m_pPlaneY && Size == m_Size && PitchLuma == m_PitchLuma && PitchChroma == m_PitchChroma &&
                        BitDepth == m_BitDepth && ChromaFormat == m_ChromaFormat;
    if (IsSame || m_ExternalBuffer) return StatusOk;

    Release();
    constexpr int64_t kChromaHeights[] = {1, 1, 2, 4}; // of both planes together, as multiples of half the luma plane
    const int64_t SampleBytes = BitDepth > 8 ? 2 : 1;
    const int64_t Samples = int64_t{Size.Height} * PitchLuma +
                            int64_t{Size.Height} * PitchChroma * kChromaHeights[ChromaFormat] + kAlignSlack;
    const int64_t Bytes = Samples * SampleBytes;
    if (Bytes > INT32_MAX) return StatusAllocFailed;
    if (m_pAllocator->Alloc(&m_MemId, static_cast<size_t>(Bytes), 0, kBlockAlign) != StatusOk) {
        Release();
        return StatusAllocFailed;
    }
    m_Size = Size;
    m_PitchLuma = PitchLuma;
    m_PitchChroma = PitchChroma;
    m_BitDepth = BitDepth;
    m_ChromaFormat = ChromaFormat;
    m_pPlaneY = AlignPlane(static_cast<uint8_t*>(m_pAllocator->Lock(m_MemId)));
    const int64_t ChromaBytes = int64_t{PitchChroma} * ChromaSize().Height * SampleBytes;
    m_pPlaneU = AlignPlane(m_pPlaneY + int64_t{PitchLuma} * Size.Height * SampleBytes);
    m_pPlaneV = AlignPlane(m_pPlaneU + ChromaBytes);
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
    m_Size = {};
    m_PitchLuma = m_PitchChroma = m_BitDepth = m_ChromaFormat = 0;
}

void H264DecYUVBufferPadded::Conditional(PictureSize Size, int32_t BitDepth, int32_t ChromaFormat)
{
    if (Size != m_Size || BitDepth != m_BitDepth || ChromaFormat != m_ChromaFormat) Release();
}

void H264DecYUVBufferPadded::FillPlane(uint8_t* pPlane, int32_t Pitch, PictureSize Size, int32_t FirstLine,
                                       int32_t LineStep)
{
    if (!pPlane) return;
    const int32_t Grey = 128 << (m_BitDepth - 8);
    if (m_BitDepth > 8) {
        FillRows<uint16_t>(pPlane, Pitch, Size, FirstLine, LineStep, Grey);
    } else {
        FillRows<uint8_t>(pPlane, Pitch, Size, FirstLine, LineStep, Grey);
    }
}

void H264DecYUVBufferPadded::FillLines(int32_t FirstLine, int32_t LineStep)
{
    FillPlane(m_pPlaneY, m_PitchLuma, m_Size, FirstLine, LineStep);
    FillPlane(m_pPlaneU, m_PitchChroma, ChromaSize(), FirstLine, LineStep);
    FillPlane(m_pPlaneV, m_PitchChroma, ChromaSize(), FirstLine, LineStep);
}

void H264DecYUVBufferPadded::FillGrey() { FillLines(0, 1); }
void H264DecYUVBufferPadded::FillFieldGrey(int Field) { FillLines(Field, 2); }

void H264DecYUVBufferPadded::FillChromaGrey()
{
    FillPlane(m_pPlaneU, m_PitchChroma, ChromaSize(), 0, 1);
    FillPlane(m_pPlaneV, m_PitchChroma, ChromaSize(), 0, 1);
}

Status H264DecYUVWorkSpace::Allocate(PictureSize Size, int32_t BitDepth, int32_t ChromaFormat)
{
    if (Size.Width > kMaxSide || Size.Height > kMaxSide) return StatusAllocFailed;
    const PictureSize Whole{AlignUp(Size.Width, 16), AlignUp(Size.Height, 16)};
    m_MbSize = {Whole.Width / 16, Whole.Height / 16};
    return H264DecYUVBufferPadded::Allocate(Whole, BitDepth, ChromaFormat);
}

} // namespace UMC
