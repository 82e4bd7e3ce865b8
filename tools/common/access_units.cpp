#include "tools/common/access_units.h"

#include "Common/h264/profiles.h"

#include <map>

namespace {

// Offset of the next 00 00 01 at or behind From; the stream's size when there is none.
size_t FindStartCode(std::span<const uint8_t> Stream, size_t From)
{
    for (size_t i = From; i + 3 < Stream.size(); ++i)
        if (Stream[i] == 0 && Stream[i + 1] == 0 && Stream[i + 2] == 1) return i;
    return Stream.size();
}

bool IsSlice(int Type) { return Type == 1 || Type == 5 || Type == 2; }
bool OpensUnit(int Type) { return (Type >= 6 && Type <= 9) || (Type >= 14 && Type <= 18); }

// Reads the payload of a unit bit by bit; beyond its end come zeros.
class UnitReader
{
public:
    explicit UnitReader(std::span<const uint8_t> Unit)
    {
        int Zeros = 0;
        for (const uint8_t Byte : Unit) {
            if (Zeros >= 2 && Byte == 3) { // emulation prevention
                Zeros = 0;
                continue;
            }
            Zeros = Byte ? 0 : Zeros + 1;
            m_Bytes.push_back(Byte);
        }
    }
    uint32_t Bits(int Count)
    {
        uint32_t Value = 0;
        for (; Count; --Count, ++m_Position) {
            const size_t Byte = m_Position / 8;
            Value = Value << 1 | (Byte < m_Bytes.size() ? m_Bytes[Byte] >> (7 - m_Position % 8) & 1u : 0u);
        }
        return Value;
    }
    uint32_t UE()
    {
        int Zeros = 0;
        while (Zeros < 31 && !Bits(1)) ++Zeros;
        return (1u << Zeros) - 1 + Bits(Zeros);
    }
    int32_t SE()
    {
        const auto Code = static_cast<int32_t>(UE());
        return Code % 2 ? Code / 2 + 1 : -(Code / 2);
    }

private:
    std::vector<uint8_t> m_Bytes;
    size_t m_Position = 0;
};

void SkipScalingList(UnitReader& Reader, int Count)
{
    int Last = 8, Next = 8;
    for (int i = 0; i < Count && Next; ++i) {
        Next = (Last + Reader.SE() + 256) % 256;
        if (Next) Last = Next;
    }
}

bool IsHigh(uint32_t Profile) { return h264::IsHighFamily(Profile) || Profile == 244 || Profile == 44; }

struct Sequence {
    uint32_t Id = 0, FrameNumBits = 4;
    bool bSeparatePlanes = false, bFrameMbsOnly = true;
    FrameSize Size{};
};

// Clause 7.3.2.1.1 as far as the cropping rectangle.
Sequence ReadSequence(std::span<const uint8_t> Unit)
{
    UnitReader Reader(Unit);
    Sequence Set;
    const uint32_t Profile = Reader.Bits(8);
    Reader.Bits(16);
    Set.Id = Reader.UE();
    uint32_t Chroma = 1;
    if (IsHigh(Profile)) {
        Chroma = Reader.UE();
        const bool bPredictive = Chroma == 3 && Profile != h264::kHigh444Profile;
        if (Chroma == 3) Set.bSeparatePlanes = Reader.Bits(1) && bPredictive; // elsewhere a colour transform
        Reader.UE();
        Reader.UE();
        Reader.Bits(1);
        if (Reader.Bits(1))
            for (int i = 0; i < (bPredictive ? 12 : 8); ++i)
                if (Reader.Bits(1)) SkipScalingList(Reader, i < 6 ? 16 : 64);
    }
    Set.FrameNumBits = (Reader.UE() & 15) + 4;
    const uint32_t OrderType = Reader.UE();
    if (OrderType == 0) Reader.UE();
    if (OrderType == 1) {
        Reader.Bits(1);
        Reader.SE();
        Reader.SE();
        for (uint32_t i = Reader.UE() & 255; i; --i) Reader.SE();
    }
    Reader.UE();
    Reader.Bits(1);
    const uint32_t WidthMbs = Reader.UE() + 1, HeightUnits = Reader.UE() + 1;
    const uint32_t FrameMbsOnly = Reader.Bits(1);
    Set.bFrameMbsOnly = FrameMbsOnly != 0;
    if (!FrameMbsOnly) Reader.Bits(1);
    Reader.Bits(1);
    uint32_t Crop[4] = {};
    if (Reader.Bits(1))
        for (uint32_t& Offset : Crop) Offset = Reader.UE();
    const uint32_t UnitX = Chroma == 1 || Chroma == 2 ? 2 : 1, UnitY = (Chroma == 1 ? 2 : 1) * (2 - FrameMbsOnly);
    Set.Size = {static_cast<int32_t>(WidthMbs * 16 - UnitX * (Crop[0] + Crop[1])),
                static_cast<int32_t>(HeightUnits * 16 * (2 - FrameMbsOnly) - UnitY * (Crop[2] + Crop[3]))};
    return Set;
}

// Counts pictures slice by slice.
class FrameCounter
{
public:
    void TakeAll(std::span<const uint8_t> Stream)
    {
        constexpr size_t kHeaderBytes = 64; // of a slice; what is read of it takes less
        for (size_t Code = FindStartCode(Stream, 0), Next; Code < Stream.size(); Code = Next) {
            Next = FindStartCode(Stream, Code + 3);
            const int Type = Stream[Code + 3] & 31;
            const size_t Size = Next - Code - 4;
            Take(Type, Stream.subspan(Code + 4, IsSlice(Type) ? std::min(Size, kHeaderBytes) : Size));
        }
    }
    int64_t Frames() const { return m_Frames; }

private:
    void Take(int Type, std::span<const uint8_t> Unit)
    {
        if (Type == 7) {
            const Sequence Set = ReadSequence(Unit);
            m_Sequences[Set.Id] = Set;
        } else if (Type == 8) {
            UnitReader Reader(Unit);
            const uint32_t Id = Reader.UE();
            m_SequenceOf[Id] = Reader.UE();
        } else if (IsSlice(Type)) {
            TakeSlice(Unit);
        }
    }
    void TakeSlice(std::span<const uint8_t> Unit) // clause 7.3.3 as far as the parity
    {
        UnitReader Reader(Unit);
        if (Reader.UE() != 0) return; // not the first of its picture
        Reader.UE();
        const Sequence& Set = m_Sequences[m_SequenceOf[Reader.UE()]];
        if (Set.bSeparatePlanes) Reader.Bits(2);
        const uint32_t FrameNum = Reader.Bits(static_cast<int>(Set.FrameNumBits));
        const bool bField = !Set.bFrameMbsOnly && Reader.Bits(1);
        const bool bBottom = bField && Reader.Bits(1);
        const bool bSecond = bField && m_bOpenField && bBottom != m_bBottom && FrameNum == m_FrameNum;
        m_Frames += !bSecond;
        m_bOpenField = bField && !bSecond;
        m_bBottom = bBottom;
        m_FrameNum = FrameNum;
    }

    std::map<uint32_t, Sequence> m_Sequences;
    std::map<uint32_t, uint32_t> m_SequenceOf; // by picture parameter set
    int64_t m_Frames = 0;
    bool m_bOpenField = false, m_bBottom = false; // the last picture was a first field, and its parity
    uint32_t m_FrameNum = 0;
};

} // namespace

std::vector<std::span<const uint8_t>> CutAccessUnits(std::span<const uint8_t> Stream)
{
    std::vector<std::span<const uint8_t>> Units;
    size_t Begin = 0;
    bool bHasSlice = false;
    for (size_t Code = FindStartCode(Stream, 0); Code < Stream.size(); Code = FindStartCode(Stream, Code + 3)) {
        const int Type = Stream[Code + 3] & 31;
        const bool bFirstSlice = IsSlice(Type) && Code + 4 < Stream.size() && (Stream[Code + 4] & 0x80); // macroblock 0
        if (bHasSlice && (OpensUnit(Type) || bFirstSlice)) {
            const size_t End = Code && Stream[Code - 1] == 0 ? Code - 1 : Code; // a four-byte start code stays whole
            Units.push_back(Stream.subspan(Begin, End - Begin));
            Begin = End;
            bHasSlice = false;
        }
        bHasSlice |= IsSlice(Type);
    }
    if (Begin < Stream.size()) Units.push_back(Stream.subspan(Begin));
    return Units;
}

FrameSize FindPictureSize(std::span<const uint8_t> Stream)
{
    for (size_t Code = FindStartCode(Stream, 0); Code < Stream.size(); Code = FindStartCode(Stream, Code + 3)) {
        if ((Stream[Code + 3] & 31) != 7) continue;
        const size_t End = FindStartCode(Stream, Code + 3);
        const FrameSize Size = ReadSequence(Stream.subspan(Code + 4, End - Code - 4)).Size;
        if (Size && Size.Width <= 16384 && Size.Height <= 16384) return Size;
    }
    return {};
}

std::vector<std::span<const uint8_t>> CutFrames(std::span<const uint8_t> Stream)
{
    std::vector<std::span<const uint8_t>> Frames;
    FrameCounter Counter;
    for (const auto Unit : CutAccessUnits(Stream)) {
        const int64_t Before = Counter.Frames();
        Counter.TakeAll(Unit);
        if (Frames.empty() || Counter.Frames() > Before)
            Frames.push_back(Unit);
        else
            Frames.back() = {Frames.back().data(), Frames.back().size() + Unit.size()};
    }
    return Frames;
}

int64_t CountFrames(std::span<const uint8_t> Stream)
{
    FrameCounter Counter;
    Counter.TakeAll(Stream);
    return Counter.Frames();
}
