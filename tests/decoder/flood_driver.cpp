// Decodes one flood and prints what it cost in memory, and what the rule allows it: flood_driver NAME [COUNT]. Without
// a name it lists the floods with their counts. Instructions are counted from outside, over DecodeFlood.
#include "tests/decoder/floods.h"
#include "tests/support/failing_allocation.h"
#include "tools/h264_decode/stream_decoder.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

extern "C" void DecodeFlood(tools::StreamDecoder& Decoder, const test::Bytes& Stream);

[[gnu::noinline]] void DecodeFlood(tools::StreamDecoder& Decoder, const test::Bytes& Stream)
{
    Decoder.Feed(Stream);
    Decoder.Drain();
}

namespace {

test::Flood MakeFlood(const std::string& Name, int Argc, char** Argv)
{
    for (const test::FloodKind& Kind : test::AllFloods())
        if (Name == Kind.Name) return Kind.Make(Argc > 2 ? static_cast<uint32_t>(std::atoi(Argv[2])) : Kind.Count);
    if (Name == "36864 slices") return test::OneMacroblockSlices();
    if (Name == "100000 slices") return test::TooManySlices();
    if (Name == "90000 macroblocks") return test::TooLargePicture();
    if (Name == "largest parameter sets") return test::LargestParameterSets();
    if (Name == "long slices") return test::LongSlices();
    if (Name == "lists of their own") return test::ListsOfTheirOwn();
    if (Name == "many sizes") return test::ManySizes();
    if (Name == "references in 4:4:4") return test::References444();
    if (Name == "a small size behind a large one") return test::SmallBehindLarge();
    throw std::runtime_error("no flood named " + Name);
}

} // namespace

int main(int Argc, char** Argv)
try {
    if (Argc < 2) {
        for (const test::FloodKind& Kind : test::AllFloods()) std::printf("%u %s\n", Kind.Count, Kind.Name);
        return 0;
    }
    const test::Flood Flood = MakeFlood(Argv[1], Argc, Argv);
    int Pictures = 0;
    const FailingAllocation Count(0); // memory alone
    tools::StreamDecoder Decoder([&](const UMC::VideoData&) { ++Pictures; }, 1, false);
    DecodeFlood(Decoder, Flood.Stream);
    std::printf("{\"bytes\": %zu, \"macroblocks\": %llu, \"pictures\": %d, \"peak\": %zd, \"left\": %zd}\n",
                Flood.Stream.size(), static_cast<unsigned long long>(Flood.Macroblocks), Pictures,
                FailingAllocation::MostBytesHeld(), FailingAllocation::BytesHeld());
    return 0;
} catch (const std::exception& e) {
    std::fprintf(stderr, "flood_driver: %s\n", e.what());
    return 1;
}
