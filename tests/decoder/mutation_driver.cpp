// Decodes mutations of streams, each with the clean stream behind it, in one process: mutation_driver COUNT SEED
// FILE... or mutation_driver --write NUMBER SEED FILE OUT for one of them. What has to hold is that decoding goes on
// and that everything from the clean stream's first IDR picture on comes out as it does from the stream alone, within
// bounds of time and memory that go by the sizes that the stream names.
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/seq_info.h"
#include "tests/decoder/mutations.h"
#include "tests/decoder/parsed_unit.h"
#include "tests/support/decode_helper.h"
#include "tests/support/failing_allocation.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using namespace test;

constexpr size_t kMaxBytes = 16000; // of a stream; at least so many pictures of a larger one
constexpr int kMinPictures = 3;
const Bytes kDelimiter = {0, 0, 0, 1, 9, 0x10};

using Digest = uint64_t;

struct Expense {
    double Seconds = 0; // of processor time
    ptrdiff_t Peak = 0; // bytes
};

Digest DigestOf(const UMC::VideoData& Picture)
{
    Digest Hash = 14695981039346656037u;
    tools::ForEachRow(Picture, [&](std::span<const uint8_t> Row) {
        size_t i = 0;
        for (; i + 8 <= Row.size(); i += 8) {
            uint64_t Word;
            std::memcpy(&Word, Row.data() + i, 8);
            Hash = (Hash ^ Word) * 1099511628211u;
            Hash ^= Hash >> 32;
        }
        for (; i < Row.size(); ++i) Hash = (Hash ^ Row[i]) * 1099511628211u;
    });
    return Hash;
}

std::vector<Digest> Decode(const Bytes& Stream, Expense& Cost)
{
    std::vector<Digest> Pictures;
    const FailingAllocation Count(0); // memory alone
    const std::clock_t Start = std::clock();
    {
        tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(DigestOf(p)); }, 1, false);
        Decoder.Feed(Stream);
        Decoder.Drain();
    }
    Cost.Seconds = static_cast<double>(std::clock() - Start) / CLOCKS_PER_SEC;
    Cost.Peak = FailingAllocation::MostBytesHeld();
    if (FailingAllocation::BytesHeld() > static_cast<ptrdiff_t>(Pictures.capacity() * sizeof(Digest)) + 4096)
        std::printf("  %zd bytes are left\n", FailingAllocation::BytesHeld());
    return Pictures;
}

// What the pictures of a stream may need, by the largest ones that its sequence parameter sets name.
struct Allowance {
    double Macroblocks = 0; // of all pictures that its slices may open, those made up included
    double Memory = 0;      // bytes
};

Allowance Allowed(const Bytes& Stream)
{
    Allowance Result;
    double Mbs = 0, Slices = 0, Frames = 0, MbBytes = 0;
    for (const Bytes& Unit : SplitUnits(Stream)) {
        Slices += IsSliceUnit(Unit);
        if ((Unit[0] & 31) != 7) continue;
        UMC::H264SeqParamSet Seq;
        test::Unit Data(Bytes{0, 0, 1} + Unit);
        if (UMC::ReadSeqParamSet(Data.Bits, Seq) != UMC::StatusOk) continue;
        Mbs = std::max(Mbs, double(Seq.frame_width_in_mbs) * Seq.frame_height_in_mbs);
        Frames = std::max({Frames, double(UMC::DpbFrames(Seq)), double(std::min(Seq.num_ref_frames, 16u))});
        const double Samples = Seq.chroma_format_idc == 3 ? 1280 : 768; // that is room for chroma twice
        MbBytes = std::max(MbBytes, Seq.bit_depth_luma > 8 || Seq.bit_depth_chroma > 8 ? 2 * Samples : Samples);
    }
    Result.Macroblocks = (Slices + 2) * Mbs * (1 + Frames);
    Result.Memory = Mbs * ((Frames + 4) * (MbBytes + 256) + 1200) + 2. * double(Stream.size()) + (4 << 20);
    return Result;
}

struct Clean {
    Units All;                    // of the stream, cut short
    Bytes Tail;                   // from its first IDR picture on, with the parameter sets in front
    std::vector<Digest> Pictures; // of the whole
    std::vector<Digest> TailPictures;
    bool HasIdr = false;
    bool IsOneEach = false; // every slice with first_mb_in_slice 0 begins a picture that is shown
    Expense Cost;
};

uint32_t FirstMb(const Bytes& Slice)
{
    test::Unit Data(Bytes{0, 0, 1} + Slice + Bytes{0x80});
    return Data.Bits.GetUE();
}

// Whether slices come in the order of their macroblocks, once each.
bool IsInOrder(const Units& All)
{
    uint32_t Last = 0;
    for (const Bytes& Unit : All) {
        if (!IsSliceUnit(Unit)) continue;
        const uint32_t First = FirstMb(Unit);
        if (First != 0 && First <= Last) return false;
        Last = First;
    }
    return true;
}

bool IsFirstOfPicture(const Bytes& Unit) { return IsSliceUnit(Unit) && Unit.size() > 1 && (Unit[1] & 0x80) != 0; }

// Whether a unit is a picture parameter set of several slice groups: of their pictures what was lost is shown as the
// memory was, so that a stream cannot be cut but between pictures, which slices in any order do not tell.
bool HasSliceGroups(const Bytes& Unit)
{
    if ((Unit[0] & 31) != 8) return false;
    test::Unit Data(Bytes{0, 0, 1} + Unit + Bytes{0x80});
    for (int i = 0; i < 2; ++i) Data.Bits.GetUE(); // numbers of the sets
    Data.Bits.GetBits(2);
    return Data.Bits.GetUE() > 0;
}

Clean Load(const std::string& Name)
{
    std::ifstream File(Name, std::ios::binary);
    const Bytes Stream((std::istreambuf_iterator<char>(File)), std::istreambuf_iterator<char>());
    Clean c;
    size_t Size = 0;
    int Pictures = 0;
    const Units Whole = SplitUnits(Stream);
    const bool IsDivided = std::any_of(Whole.begin(), Whole.end(), HasSliceGroups);
    for (const Bytes& Unit : Whole) {
        Pictures += IsFirstOfPicture(Unit);
        if (Size > kMaxBytes && Pictures > kMinPictures && !IsDivided) break;
        Size += Unit.size();
        c.All.push_back(Unit);
    }
    const auto Idr = std::find_if(c.All.begin(), c.All.end(), [](const Bytes& u) { return (u[0] & 31) == 5; });
    c.HasIdr = Idr != c.All.end();
    for (auto u = c.All.begin(); u != c.All.end(); ++u)
        if (u >= Idr || !IsSliceUnit(*u)) c.Tail += Bytes{0, 0, 0, 1} + *u;
    Expense Unused;
    c.Pictures = Decode(JoinUnits(c.All), c.Cost);
    c.IsOneEach = !IsDivided && IsInOrder(c.All) &&
                  c.Pictures.size() == static_cast<size_t>(std::count_if(c.All.begin(), c.All.end(), IsFirstOfPicture));
    c.TailPictures = Decode(c.Tail, Unused);
    return c;
}

// How many pictures have all of their slices.
size_t IntactPictures(const Units& All, const std::vector<bool>& Kept)
{
    size_t Count = 0;
    bool IsIntact = false;
    for (size_t i = 0; i < All.size(); ++i) {
        if (!IsSliceUnit(All[i])) continue;
        if (IsFirstOfPicture(All[i])) {
            Count += IsIntact;
            IsIntact = true;
        }
        IsIntact = IsIntact && Kept[i];
    }
    return Count + IsIntact;
}

std::string Judge(const Clean& c, const Mutation& m)
{
    const Bytes Stream = m.Stream + kDelimiter + c.Tail;
    const Allowance Bound = Allowed(Stream);
    Expense Cost;
    const auto Pictures = Decode(Stream, Cost);
    if (Cost.Seconds > 2 + 20 * c.Cost.Seconds + Bound.Macroblocks * 50e-6)
        return "takes " + std::to_string(Cost.Seconds) + " s, the clean stream " + std::to_string(c.Cost.Seconds);
    if (static_cast<double>(Cost.Peak) > Bound.Memory)
        return "holds " + std::to_string(Cost.Peak) + " bytes of " + std::to_string(Bound.Memory);
    if (!c.HasIdr) return "";
    const size_t Count = c.TailPictures.size();
    if (Pictures.size() < Count) return "gives only " + std::to_string(Pictures.size()) + " pictures";
    const auto FirstSlice = std::find_if(c.All.begin(), c.All.end(), IsSliceUnit) - c.All.begin();
    if (c.IsOneEach && !m.Kept.empty() && m.Kept[static_cast<size_t>(FirstSlice)]) {
        const size_t Intact = IntactPictures(c.All, m.Kept), Shown = Pictures.size() - Count;
        if (Shown != Intact)
            return "shows " + std::to_string(Shown) + " pictures, " + std::to_string(Intact) + " are intact";
    }
    const auto Tail = Pictures.end() - static_cast<ptrdiff_t>(Count);
    const auto First = std::mismatch(Tail, Pictures.end(), c.TailPictures.begin());
    if (First.first == Pictures.end()) return "";
    return "differs at picture " + std::to_string(First.first - Tail) + " of " + std::to_string(Count) +
           " behind the IDR picture";
}

int Run(int Argc, char** Argv)
{
    const auto Count = static_cast<uint32_t>(std::atoi(Argv[1])), Seed = static_cast<uint32_t>(std::atoi(Argv[2]));
    int Faults = 0;
    for (int i = 3; i < Argc; ++i) {
        const Clean c = Load(Argv[i]);
        if (std::none_of(c.All.begin(), c.All.end(), [](const Bytes& u) { return IsSliceUnit(u) && u.size() > 1; })) {
            std::printf("%s: no slices\n", Argv[i]);
            continue;
        }
        int FaultsHere = 0;
        double Slowest = 0;
        for (uint32_t n = 0; n < Count; ++n) {
            const Mutation m = Mutate(c.All, Seed, n);
            const std::clock_t Start = std::clock();
            const std::string Fault = Judge(c, m);
            Slowest = std::max(Slowest, static_cast<double>(std::clock() - Start) / CLOCKS_PER_SEC);
            if (Fault.empty()) continue;
            std::printf("%s: mutation %u, %s: %s\n", Argv[i], n, m.Kind, Fault.c_str());
            ++FaultsHere;
        }
        std::printf("%s: %zu units, %zu pictures%s, %.3f s clean, %.3f s at most, %d faults\n", Argv[i], c.All.size(),
                    c.Pictures.size(), c.HasIdr ? "" : ", no IDR picture", c.Cost.Seconds, Slowest, FaultsHere);
        std::fflush(stdout);
        Faults += FaultsHere;
    }
    return Faults ? 1 : 0;
}

int WriteOne(char** Argv)
{
    const Clean c = Load(Argv[4]);
    const Mutation m =
        Mutate(c.All, static_cast<uint32_t>(std::atoi(Argv[3])), static_cast<uint32_t>(std::atoi(Argv[2])));
    const Bytes Stream = m.Stream + kDelimiter + c.Tail;
    std::ofstream(Argv[5], std::ios::binary)
        .write(reinterpret_cast<const char*>(Stream.data()), static_cast<std::streamsize>(Stream.size()));
    std::printf("%s\n", m.Kind);
    return 0;
}

} // namespace

int main(int Argc, char** Argv)
{
    if (Argc == 6 && std::string(Argv[1]) == "--write") return WriteOne(Argv);
    if (Argc >= 4) return Run(Argc, Argv);
    std::fprintf(stderr, "usage: mutation_driver COUNT SEED FILE...\n");
    return 2;
}
