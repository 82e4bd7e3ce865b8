// A client of the library: compresses one I420 picture and decompresses it again.
#include <quilvex/Quilvex.h>

#include <cstdio>
#include <vector>

static bool RoundTrip(const uint8_t* pPicture, int32_t iWidth, int32_t iHeight)
{
    IVCodec* const pEncoder = CreateVCodec(1);   // encoder, hardware preferred
    IVCodec* const pDecoder = CreateVCodec(101); // decoder, hardware preferred
    bool bDone =
        pEncoder && pDecoder &&
        pEncoder->InitEncoder(iWidth, iHeight, 30 /* frames a second */, 75 /* key interval */, 800 /* kb/s */) &&
        pDecoder->InitDecoder(iWidth, iHeight);
    const auto Luma = static_cast<size_t>(iWidth) * static_cast<size_t>(iHeight);
    std::vector<uint8_t> Unit(Luma * 3), Picture(Luma * 3 / 2);
    int32_t iLength = 0, iType = kFrameNone;
    bDone = bDone && pEncoder->Encode(pPicture, Unit.data(), &iLength, 0, &iType);
    if (bDone) {
        pDecoder->Decode(Unit.data(), iLength, Picture.data(), nullptr); // the first call: a black picture stands in
        const uint8_t Delimiter[] = {0, 0, 0, 1, 9, 0xF0};               // output runs one access unit late
        iType = kFrameNone;
        bDone = pDecoder->Decode(Delimiter, sizeof Delimiter, Picture.data(), &iType) && iType == kFrameI;
    }
    if (pEncoder) pEncoder->Release();
    if (pDecoder) pDecoder->Release();
    return bDone;
}

int main()
{
    constexpr int32_t iWidth = 320, iHeight = 240;
    const std::vector<uint8_t> Grey(iWidth * iHeight * 3 / 2, 128);
    const bool bDone = RoundTrip(Grey.data(), iWidth, iHeight);
    std::printf("%s\n", bDone ? "one picture there and back" : "no engine serves this machine");
    return bDone ? 0 : 1;
}
