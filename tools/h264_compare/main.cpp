// h264_compare: decodes a stream and names the first picture and macroblock that differ from another decoder's
// pictures.
#include "tools/common/command_line.h"
#include "tools/common/compared_planes.h"
#include "tools/h264_decode/stream_decoder.h"

#include <cstdio>
#include <string>
#include <vector>

int main(int argc, char** argv)
try {
    std::string Stream, Other;
    CommandLine App("Names the first picture and macroblock of a stream that differ from another decoder's pictures",
                    "h264_compare");
    App.Add("IN", Stream, "Annex B byte stream").Required();
    App.Add("YUV", Other, "the other decoder's pictures, raw and cropped, in output order").Required();
    if (const auto Status = App.Parse(argc, argv)) return *Status;

    const std::vector<uint8_t> Bytes = ReadWholeFile(Stream);
    PictureComparison Comparison(Other);
    std::string Difference;
    const auto Compare = [&](const UMC::VideoData& Picture) {
        if (Difference.empty()) Difference = Comparison.Next(PlanesOf(Picture));
    };
    tools::StreamDecoder Decoder(Compare, 1, false);
    Decoder.Feed(Bytes);
    Decoder.Drain();
    const std::string Pictures = std::to_string(Comparison.Count()) + " pictures";
    if (Difference.empty() && !Comparison.IsAtEnd()) Difference = Pictures + ", and the other decoder has more";
    std::printf("%s\n", Difference.empty() ? (Pictures + " are equal").c_str() : Difference.c_str());
    return Difference.empty() ? 0 : 1;
} catch (const std::exception& Fault) {
    std::fprintf(stderr, "h264_compare: %s\n", Fault.what());
    return 2;
}
