// The whole decoder on arbitrary bytes. The first byte chooses the form of the input and how it is cut.
#include "tools/h264_decode/stream_decoder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace {

constexpr size_t kMaxPictures = 200; // bounds the time of one input

// Reads every sample, so that a sanitizer sees a picture that is not all there.
uint32_t Touch(const UMC::VideoData& Picture)
{
    uint32_t Sum = 0;
    tools::ForEachRow(Picture, [&](std::span<const uint8_t> Row) {
        for (const uint8_t Sample : Row) Sum += Sample;
    });
    return Sum;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size)
{
    if (Size < 2) return 0;
    const std::span<const uint8_t> Input(pData + 1, Size - 1);
    const bool bMp4 = (pData[0] & 1) != 0;
    const size_t Piece = (pData[0] >> 1 & 3) == 0 ? Input.size() : size_t{16} << (pData[0] >> 3 & 7);
    size_t Pictures = 0;
    volatile uint32_t Sum = 0;
    tools::StreamDecoder Decoder(
        [&](const UMC::VideoData& Picture) {
            Sum = Touch(Picture);
            ++Pictures;
        },
        1, bMp4);
    for (size_t At = 0; At < Input.size() && Pictures < kMaxPictures; At += Piece) {
        Decoder.Feed(Input.subspan(At, std::min(Piece, Input.size() - At)));
        if ((pData[0] & 0x80) != 0 && At > Input.size() / 2 && At <= Input.size() / 2 + Piece)
            Decoder.Decoder().Reset();
    }
    Decoder.Drain();
    return 0;
}
