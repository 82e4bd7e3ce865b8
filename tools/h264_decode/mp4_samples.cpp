#include "tools/h264_decode/mp4_samples.h"

#include <optional>
#include <stdexcept>
#include <string_view>

namespace tools {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t kFullBoxHeader = 4;      // version and flags
constexpr size_t kVisualEntryHeader = 78; // fields of a visual sample entry in front of its boxes

[[noreturn]] void Fail() { throw std::runtime_error("not an MP4 file with an H.264 track"); }

Bytes Part(Bytes Data, uint64_t Offset, uint64_t Size)
{
    if (Offset > Data.size() || Size > Data.size() - Offset) Fail();
    return Data.subspan(static_cast<size_t>(Offset), static_cast<size_t>(Size));
}
uint64_t Number(Bytes Data, uint64_t Offset, size_t Size)
{
    uint64_t Value = 0;
    for (const uint8_t Byte : Part(Data, Offset, Size)) Value = Value << 8 | Byte;
    return Value;
}
uint32_t Number32(Bytes Data, uint64_t Offset) { return static_cast<uint32_t>(Number(Data, Offset, 4)); }

// Calls Visit with type and body of each box in Data.
template <class Visitor>
void ForEachBox(Bytes Data, Visitor&& Visit)
{
    while (Data.size() >= 8) {
        uint64_t Size = Number(Data, 0, 4);
        size_t Header = 8;
        if (Size == 1) {
            Size = Number(Data, 8, 8);
            Header = 16;
        } else if (Size == 0) {
            Size = Data.size();
        }
        if (Size < Header || Size > Data.size()) Fail();
        Visit(std::string_view(reinterpret_cast<const char*>(Data.data()) + 4, 4), Part(Data, Header, Size - Header));
        Data = Data.subspan(static_cast<size_t>(Size));
    }
}

// The body of the first box at a path of types below Data.
std::optional<Bytes> Find(Bytes Data, std::initializer_list<std::string_view> Path)
{
    for (const std::string_view Wanted : Path) {
        std::optional<Bytes> Found;
        ForEachBox(Data, [&](std::string_view Type, Bytes Body) {
            if (Type == Wanted && !Found) Found = Body;
        });
        if (!Found) return std::nullopt;
        Data = *Found;
    }
    return Data;
}

// The avcC record of a sample table, if its first entry is H.264.
std::optional<Bytes> FindRecord(Bytes SampleTable)
{
    const std::optional<Bytes> Description = Find(SampleTable, {"stsd"});
    if (!Description || Description->size() < kFullBoxHeader + 4) return std::nullopt;
    const std::optional<Bytes> Entry = Find(Description->subspan(kFullBoxHeader + 4), {"avc1"});
    if (!Entry || Entry->size() < kVisualEntryHeader) return std::nullopt;
    return Find(Entry->subspan(kVisualEntryHeader), {"avcC"});
}

// One table of the sample table box: a count, then entries of EntrySize bytes.
class Table
{
public:
    Table(Bytes Body, size_t CountOffset, size_t EntrySize)
        : m_Count(Number32(Body, CountOffset)), m_Entries(Part(Body, CountOffset + 4, uint64_t{m_Count} * EntrySize)),
          m_EntrySize(EntrySize)
    {
    }
    uint32_t Count() const { return m_Count; }
    uint64_t At(uint32_t Index, size_t Field, size_t Size) const
    {
        return Number(m_Entries, uint64_t{Index} * m_EntrySize + Field, Size);
    }

private:
    uint32_t m_Count;
    Bytes m_Entries;
    size_t m_EntrySize;
};

std::vector<uint32_t> SampleSizes(Bytes Body)
{
    const uint32_t Common = Number32(Body, kFullBoxHeader), Count = Number32(Body, kFullBoxHeader + 4);
    if (Common != 0) return std::vector<uint32_t>(Count, Common);
    const Table Sizes(Body, kFullBoxHeader + 4, 4);
    std::vector<uint32_t> Result;
    for (uint32_t i = 0; i < Sizes.Count(); ++i) Result.push_back(static_cast<uint32_t>(Sizes.At(i, 0, 4)));
    return Result;
}

void AppendSamples(Bytes File, Bytes SampleTable, std::vector<Bytes>& Samples)
{
    const std::optional<Bytes> Sizes = Find(SampleTable, {"stsz"}), Runs = Find(SampleTable, {"stsc"});
    const std::optional<Bytes> Offsets32 = Find(SampleTable, {"stco"}), Offsets64 = Find(SampleTable, {"co64"});
    if (!Sizes || !Runs || (!Offsets32 && !Offsets64)) Fail();
    const size_t OffsetSize = Offsets32 ? 4 : 8;
    const Table Chunks(Offsets32 ? *Offsets32 : *Offsets64, kFullBoxHeader, OffsetSize);
    const Table ChunkRuns(*Runs, kFullBoxHeader, 12); // first chunk (from 1), samples a chunk, description
    const std::vector<uint32_t> SizeOf = SampleSizes(*Sizes);
    uint32_t Run = 0;
    size_t Sample = 0;
    for (uint32_t Chunk = 0; Chunk < Chunks.Count(); ++Chunk) {
        while (Run + 1 < ChunkRuns.Count() && ChunkRuns.At(Run + 1, 0, 4) <= Chunk + 1) ++Run;
        uint64_t Offset = Chunks.At(Chunk, 0, OffsetSize);
        for (uint64_t i = ChunkRuns.At(Run, 4, 4); i > 0 && Sample < SizeOf.size(); --i, ++Sample) {
            Samples.push_back(Part(File, Offset, SizeOf[Sample]));
            Offset += SizeOf[Sample];
        }
    }
}

} // namespace

std::vector<Bytes> FindMP4Samples(Bytes File)
{
    std::vector<Bytes> Samples;
    const std::optional<Bytes> Movie = Find(File, {"moov"});
    if (!Movie) Fail();
    ForEachBox(*Movie, [&](std::string_view Type, Bytes Track) {
        if (Type != "trak" || !Samples.empty()) return;
        const std::optional<Bytes> SampleTable = Find(Track, {"mdia", "minf", "stbl"});
        const std::optional<Bytes> Record = SampleTable ? FindRecord(*SampleTable) : std::nullopt;
        if (!Record) return;
        Samples.push_back(*Record);
        AppendSamples(File, *SampleTable, Samples);
    });
    if (Samples.empty()) Fail();
    return Samples;
}

} // namespace tools
