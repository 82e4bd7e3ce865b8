// Decoding in tests: pictures as bytes, and pictures of one grey value as numbers.
#pragma once

#include "tests/support/h264_stream_writer.h"
#include "tools/h264_decode/stream_decoder.h"

#include <vector>

namespace test {

inline Bytes SamplesOf(const UMC::VideoData& Picture)
{
    Bytes Samples;
    tools::ForEachRow(Picture,
                      [&](std::span<const uint8_t> Row) { Samples.insert(Samples.end(), Row.begin(), Row.end()); });
    return Samples;
}

// Every picture of a stream that is fed as a whole.
inline std::vector<Bytes> DecodeAll(const Bytes& Stream)
{
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, false);
    Decoder.Feed(Stream);
    Decoder.Drain();
    return Pictures;
}

// The first luma sample of every picture.
inline std::vector<int> DecodeValues(const Bytes& Stream)
{
    std::vector<int> Values;
    for (const Bytes& Samples : DecodeAll(Stream)) Values.push_back(Samples.front());
    return Values;
}

} // namespace test
