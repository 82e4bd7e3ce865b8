// The whole decoder on arbitrary bytes. The first byte chooses the form of the input and how it is cut.
#include "tests/fuzz/fuzz_pieces.h"
#include "tools/h264_decode/stream_decoder.h"

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
    size_t Pictures = 0;
    volatile uint32_t Sum = 0;
    tools::StreamDecoder Decoder(
        [&](const UMC::VideoData& Picture) {
            Sum = Touch(Picture);
            ++Pictures;
        },
        1, fuzz::IsMp4(pData[0]));
    bool IsReset = (pData[0] & 0x80) == 0; // else once, in the middle
    fuzz::ForEachPiece(pData[0], Input, [&](std::span<const uint8_t> Piece) {
        Decoder.Feed(Piece);
        if (!IsReset && static_cast<size_t>(Piece.data() - Input.data()) > Input.size() / 2) {
            Decoder.Decoder().Reset();
            IsReset = true;
        }
        return Pictures < kMaxPictures;
    });
    Decoder.Drain();
    return 0;
}
