#include "decoder/stream/scaling.h"

#include "Common/h264/h264_tables.h"

#include <cstring>

namespace UMC {

namespace {

enum ListStatus : uint8_t { kListDefault = 1, kListExplicit = 2 };

// Stores a list in raster order, whatever the structure of the pictures: the frame scan is the one that holds.
template <size_t Size>
void ListFromScan(const uint8_t (&Scan)[Size], const uint8_t (&Zigzag)[Size], uint8_t (&List)[Size])
{
    for (size_t i = 0; i < Size; ++i) List[Zigzag[i]] = Scan[i];
}

// False when the stream asks for the default list.
template <size_t Size>
bool ReadList(H264Bitstream& Bits, const uint8_t (&Zigzag)[Size], uint8_t (&List)[Size])
{
    uint32_t Last = 8, Next = 8;
    for (size_t i = 0; i < Size; ++i) {
        if (Next != 0) {
            Next = (Last + static_cast<uint32_t>(Bits.GetSE())) & 255;
            if (i == 0 && Next == 0) return false;
        }
        if (Next != 0) Last = Next;
        List[Zigzag[i]] = static_cast<uint8_t>(Last);
    }
    return true;
}

// One list that may be absent; Fallback is the list to follow then, null for the default.
template <size_t Size>
uint8_t ReadOptionalList(H264Bitstream& Bits, const uint8_t (&Zigzag)[Size], const uint8_t (&Default)[Size],
                         const uint8_t* pFallback, uint8_t (&List)[Size])
{
    if (Bits.GetBit() == 0) {
        if (pFallback) {
            std::memcpy(List, pFallback, Size);
        } else {
            ListFromScan(Default, Zigzag, List);
        }
        return kListDefault;
    }
    if (ReadList(Bits, Zigzag, List)) return kListExplicit;
    ListFromScan(Default, Zigzag, List);
    return kListDefault;
}

} // namespace

void SetFlatScalingLists(H264ScalingLists& Lists)
{
    std::memset(Lists.List4x4, 16, sizeof(Lists.List4x4));
    std::memset(Lists.List8x8, 16, sizeof(Lists.List8x8));
    std::memset(Lists.Status4x4, 0, sizeof(Lists.Status4x4));
    std::memset(Lists.Status8x8, 0, sizeof(Lists.Status8x8));
}

void ReadScalingLists(H264Bitstream& Bits, H264ScalingLists& Lists, bool Read8x8, const H264ScalingLists* pFallback)
{
    for (int i = 0; i < 6; ++i) {
        const uint8_t* pFollow = i % 3 ? Lists.List4x4[i - 1] : pFallback ? pFallback->List4x4[i] : nullptr;
        Lists.Status4x4[i] =
            ReadOptionalList(Bits, h264::kZigzag4x4, h264::kDefaultScaling4x4[i / 3], pFollow, Lists.List4x4[i]);
    }
    for (int i = 0; Read8x8 && i < 2; ++i) {
        const uint8_t* pFollow = pFallback ? pFallback->List8x8[i] : nullptr;
        Lists.Status8x8[i] =
            ReadOptionalList(Bits, h264::kZigzag8x8, h264::kDefaultScaling8x8[i], pFollow, Lists.List8x8[i]);
    }
}

void ComputeLevelScale(const H264ScalingLists& Lists, H264LevelScale& Scale)
{
    for (int Qp = 0; Qp < 6; ++Qp) {
        for (int List = 0; List < 6; ++List)
            for (int i = 0; i < 16; ++i)
                Scale.Scale4x4[List][Qp][i] =
                    static_cast<int16_t>(Lists.List4x4[List][i] * h264::kNormAdjust4x4[Qp][i]);
        for (int List = 0; List < 2; ++List)
            for (int i = 0; i < 64; ++i)
                Scale.Scale8x8[List][Qp][i] =
                    static_cast<int16_t>(Lists.List8x8[List][i] * h264::kNormAdjust8x8[Qp][i]);
    }
}

} // namespace UMC
