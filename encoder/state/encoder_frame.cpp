#include "encoder/state/encoder_frame.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/motion_prediction.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace UMC_H264_ENCODER {

namespace {

constexpr size_t kSpareBytes = 320; // for the alignment of the planes' origins
constexpr size_t kTableBytes = 168; // for each macroblock
constexpr size_t kTableSpare = 80;  // for the alignment of the five tables

template <class T>
T* AlignUp(T* p, size_t Alignment)
{
    const auto Address = reinterpret_cast<uintptr_t>(p);
    return reinterpret_cast<T*>((Address + Alignment - 1) & ~(static_cast<uintptr_t>(Alignment) - 1));
}

} // namespace

template <class Sample>
UMC::Status H264EncoderFrame<Sample>::Allocate(const FrameLayout& Layout)
{
    const bool IsSame = m_PlaneMemory && Layout.AlignedWidth == m_Layout.AlignedWidth &&
                        Layout.AlignedHeight == m_Layout.AlignedHeight &&
                        Layout.ChromaFormat == m_Layout.ChromaFormat && Layout.Width == m_Layout.Width &&
                        Layout.Height == m_Layout.Height;
    if (IsSame) return UMC::StatusOk;
    Free();
    m_Layout = Layout;
    m_HasList1 = true;
    UMC::Status s = AllocatePlanes(Layout);
    if (s == UMC::StatusOk) s = AllocateTables(Layout);
    if (s != UMC::StatusOk) Free(); // no planes without tables
    return s;
}

template <class Sample>
void* H264EncoderFrame<Sample>::AllocateZeroed(UMC::MemID& Memory, size_t Bytes)
{
    if (m_pAllocator->Alloc(&Memory, Bytes, 0, 16) != UMC::StatusOk) return nullptr;
    void* const pBlock = m_pAllocator->Lock(Memory);
    if (pBlock) std::memset(pBlock, 0, Bytes);
    return pBlock;
}

template <class Sample>
UMC::Status H264EncoderFrame<Sample>::AllocatePlanes(const FrameLayout& l)
{
    const auto Pitch = static_cast<size_t>(l.Pitch);
    const auto Height = static_cast<size_t>(l.AlignedHeight);
    const size_t LumaRows = Height + 2 * kLumaRoom;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[l.ChromaFormat];
    const size_t ChromaRows = Chroma.Blocks == 0 ? 0 : (Height >> Chroma.ShiftY) + 2 * kChromaRoom;
    const size_t Samples = Pitch * ((l.HasAlpha ? 2 : 1) * LumaRows + ChromaRows);
    const size_t Bytes = Samples * sizeof(Sample) + kSpareBytes;
    void* const pBlock = AllocateZeroed(m_PlaneMemory, Bytes);
    if (!pBlock) return UMC::StatusAllocFailed;
    // All planes have samples of one width, whatever depths they hold.
    const int32_t LeastDepth = sizeof(Sample) == 1 ? 8 : 9;
    const UMC::Status s = VideoData::Init(l.Width, l.Height, l.Format, LeastDepth);
    if (s != UMC::StatusOk) return s;
    for (int32_t Plane = 0; Plane < GetPlaneCount(); ++Plane)
        SetPlaneBitDepth(Plane == 0 ? l.BitDepthLuma : l.BitDepthChroma, Plane);
    if (l.HasAlpha) SetPlaneBitDepth(l.BitDepthAlpha, GetPlaneCount() - 1);
    m_Pitch = l.Pitch;
    auto* const pLuma = static_cast<Sample*>(pBlock);
    m_pY = AlignUp(pLuma + kLumaRoom * l.Pitch + kLumaRoom, kPlaneAlignment);
    const int32_t PitchBytes = l.Pitch * static_cast<int32_t>(sizeof(Sample));
    SetPlanePointer(m_pY, 0);
    SetPlanePitch(PitchBytes, 0);
    if (ChromaRows != 0) {
        // Both chroma planes share their rows, so that one walk over a row meets both.
        m_pU = AlignUp(pLuma + Pitch * LumaRows + kChromaRoom * Pitch + kChromaRoom, kPlaneAlignment);
        m_pV = m_pU + l.Pitch / 2;
        SetPlanePointer(m_pU, 1);
        SetPlanePointer(m_pV, 2);
        SetPlanePitch(PitchBytes, 1);
        SetPlanePitch(PitchBytes, 2);
    }
    if (l.HasAlpha) {
        m_pAlpha = AlignUp(pLuma + Pitch * (LumaRows + ChromaRows) + kLumaRoom * Pitch + kLumaRoom, kPlaneAlignment);
        SetPlanePointer(m_pAlpha, GetPlaneCount() - 1);
        SetPlanePitch(PitchBytes, GetPlaneCount() - 1);
    }
    return UMC::StatusOk;
}

template <class Sample>
UMC::Status H264EncoderFrame<Sample>::AllocateTables(const FrameLayout& l)
{
    const size_t Count = static_cast<size_t>(l.MbCount) * (l.HasAlpha ? 2 : 1);
    const size_t Bytes = kTableBytes * Count + kTableSpare;
    auto* p = static_cast<uint8_t*>(AllocateZeroed(m_TableMemory, Bytes));
    if (!p) return UMC::StatusAllocFailed;
    // The tables begin at multiples of 16 behind each other, of which the block's start is one.
    static_assert(alignof(MotionVector) <= 16 && alignof(GlobalMacroblock) <= 16 &&
                  16 * sizeof(MotionVector) % 16 == 0);
    for (MotionVector*& pVectors : mb_motion) {
        pVectors = reinterpret_cast<MotionVector*>(p);
        p += Count * 16 * sizeof(MotionVector);
    }
    for (int8_t*& pReferences : mb_reference) {
        pReferences = reinterpret_cast<int8_t*>(p);
        p += Count * 16;
    }
    mb_global = reinterpret_cast<GlobalMacroblock*>(p);
    return UMC::StatusOk;
}

template <class Sample>
void H264EncoderFrame<Sample>::Free()
{
    if (m_PlaneMemory) m_pAllocator->DeallocateMem(m_PlaneMemory);
    if (m_TableMemory) m_pAllocator->DeallocateMem(m_TableMemory);
    m_PlaneMemory = m_TableMemory = 0;
    m_pY = m_pU = m_pV = m_pAlpha = nullptr;
}

template <class Sample>
void H264EncoderFrame<Sample>::ResetPicture()
{
    Unmark();
    was_encoded = awaits_type = false;
    is_idr = false;
    frame_num = frame_num_wrap = 0;
    long_term_frame_idx = 0;
    for (int Field = 0; Field < 2; ++Field) {
        pic_num[Field] = long_term_pic_num[Field] = 0;
        poc[Field] = idr_epoch[Field] = 0;
    }
}

template <class Sample>
void H264EncoderFrame<Sample>::SwapPlanes(H264EncoderFrame& Other)
{
    std::swap(m_PlaneMemory, Other.m_PlaneMemory);
    std::swap(m_pY, Other.m_pY);
    std::swap(m_pU, Other.m_pU);
    std::swap(m_pV, Other.m_pV);
    std::swap(m_pAlpha, Other.m_pAlpha);
    for (H264EncoderFrame* const p : {this, &Other}) {
        p->SetPlanePointer(p->m_pY, 0);
        if (p->m_pU) p->SetPlanePointer(p->m_pU, 1);
        if (p->m_pV) p->SetPlanePointer(p->m_pV, 2);
        if (p->m_pAlpha) p->SetPlanePointer(p->m_pAlpha, p->GetPlaneCount() - 1);
    }
}

template <class Sample>
void H264EncoderFrame<Sample>::LimitSamples()
{
    if constexpr (sizeof(Sample) > 1)
        for (int32_t Index = 0; Index < GetPlaneCount(); ++Index) {
            UMC::PlaneInfo Info;
            GetPlaneInfo(&Info, Index);
            const auto Largest = static_cast<Sample>((1 << Info.m_BitDepth) - 1);
            for (int32_t y = 0; y < Info.m_Height; ++y) {
                auto* const pRow = reinterpret_cast<Sample*>(Info.m_pPlane + static_cast<ptrdiff_t>(y) * Info.m_Pitch);
                for (int32_t x = 0; x < Info.m_Width; ++x) pRow[x] = std::min(pRow[x], Largest);
            }
        }
}

template <class Sample>
void H264EncoderFrame<Sample>::PrepareTables()
{
    const bool WritesList1 = frame_type == FRAME_B;
    if (!WritesList1 && m_HasList1)
        std::memset(mb_reference[1], h264::kRefNone,
                    static_cast<size_t>(m_Layout.MbCount) * (m_Layout.HasAlpha ? 32 : 16));
    m_HasList1 = WritesList1;
}

template class H264EncoderFrame<uint8_t>;
template class H264EncoderFrame<uint16_t>;

} // namespace UMC_H264_ENCODER
