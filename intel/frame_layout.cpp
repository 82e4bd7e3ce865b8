#include "intel/frame_layout.h"

#include <cstddef>

namespace {

constexpr mfxU32 kRg10 = MFX_FOURCC_A2RGB10, kR16u = MFX_FOURCC_R16;

mfxU16 PitchOf(uint64_t Bytes) { return static_cast<mfxU16>(Bytes); }

// Interleaved samples of a byte each, blue first.
void SetRgb(mfxFrameData& Data, mfxU8* pBase, uint64_t Pitch)
{
    Data.B = pBase;
    Data.G = pBase + 1;
    Data.R = pBase + 2;
    Data.Pitch = PitchOf(Pitch);
}

// Luma, and behind it pairs of Cb and Cr.
void SetPairs(mfxFrameData& Data, mfxU8* pBase, uint64_t LumaBytes, uint64_t Pitch, size_t SampleBytes)
{
    Data.Y = pBase;
    Data.U = pBase + LumaBytes;
    Data.V = Data.U + SampleBytes;
    Data.Pitch = PitchOf(Pitch);
}

} // namespace

uint32_t RoundUpTo32(uint32_t Value) { return (Value + 31) & ~31u; }

std::optional<uint64_t> FrameBytes(const mfxFrameInfo& Info)
{
    const uint64_t Width = RoundUpTo32(Info.Width), Height = RoundUpTo32(Info.Height);
    const uint64_t Planar = Width * Height + Width / 2 * (Height / 2) * 2;
    switch (Info.FourCC) {
    case MFX_FOURCC_NV12:
    case MFX_FOURCC_YV12: return Planar;
    case MFX_FOURCC_YUY2: return Height * (Width + Width / 2 * 2);
    case MFX_FOURCC_RGB3: return Width * Height * 3;
    case MFX_FOURCC_RGB4:
    case kRg10: return Width * Height * 4;
    case kR16u: return Width * 2 * Height;
    case MFX_FOURCC_P010: return Planar * 2;
    default: return std::nullopt;
    }
}

bool SetFramePlanes(const mfxFrameInfo& Info, mfxU8* pBase, mfxFrameData& Data)
{
    const uint64_t Width = RoundUpTo32(Info.Width), Height = RoundUpTo32(Info.Height);
    switch (Info.FourCC) {
    case MFX_FOURCC_NV12: SetPairs(Data, pBase, Width * Height, Width, 1); return true;
    case MFX_FOURCC_P010: SetPairs(Data, pBase, Width * Height * 2, Width * 2, 2); return true;
    case MFX_FOURCC_YV12:
        Data.Y = pBase;
        Data.V = pBase + Width * Height;
        Data.U = Data.V + Width / 2 * (Height / 2);
        Data.Pitch = PitchOf(Width);
        return true;
    case MFX_FOURCC_YUY2:
        Data.Y = pBase;
        Data.U = pBase + 1;
        Data.V = pBase + 3;
        Data.Pitch = PitchOf(Width * 2);
        return true;
    case MFX_FOURCC_RGB3: SetRgb(Data, pBase, Width * 3); return true;
    case MFX_FOURCC_RGB4:
    case kRg10:
        SetRgb(Data, pBase, Width * 4);
        Data.A = pBase + 3;
        return true;
    case kR16u:
        Data.Y16 = reinterpret_cast<mfxU16*>(pBase);
        Data.Pitch = PitchOf(Width * 2);
        return true;
    default: return false;
    }
}
