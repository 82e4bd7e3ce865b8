// A client of the library: treats a camera picture, compresses it and decompresses it again.
#include <quilvex/Quilvex.h>

#include <cstdio>
#include <vector>

// Brightens an RGB24 picture in place and makes I420 of it.
static bool TreatAndConvert(uint8_t* pRgb, int32_t iWidth, int32_t iHeight, uint8_t* pPicture)
{
    IVideoProcess* const pProcess = CreateVideoProcess();
    if (!pProcess) return false;
    pProcess->SetBrightness(0.2f);
    pProcess->ProcessFrame(iWidth, iHeight, pRgb, iWidth * 3);
    pProcess->Release();
    return IPP_RGB24ToYUV420(pRgb, pPicture, iWidth, iHeight) == 1;
}

// Compresses one I420 picture and decompresses it again.
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
        iType = kFrameNone; // tells whether a picture came: hardware gives it at once, software one access unit late
        pDecoder->Decode(Unit.data(), iLength, Picture.data(), &iType);
        const uint8_t Delimiter[] = {0, 0, 0, 1, 9, 0xF0};
        if (iType == kFrameNone) pDecoder->Decode(Delimiter, sizeof Delimiter, Picture.data(), &iType);
        bDone = iType > kFrameNone;
    }
    if (pEncoder) pEncoder->Release();
    if (pDecoder) pDecoder->Release();
    return bDone;
}

int main()
{
    constexpr int32_t iWidth = 320, iHeight = 240;
    std::vector<uint8_t> Camera(iWidth * iHeight * 3, 128), Picture(iWidth * iHeight * 3 / 2);
    const bool bDone =
        TreatAndConvert(Camera.data(), iWidth, iHeight, Picture.data()) && RoundTrip(Picture.data(), iWidth, iHeight);
    std::printf("%s\n", bDone ? "one picture there and back" : "no engine serves this machine");
    return bDone ? 0 : 1;
}
