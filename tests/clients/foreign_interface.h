// The library's interfaces as a client of Microsoft's compiler declares them for itself: with a virtual destructor,
// which is one slot there.
#pragma once

#include <stdint.h>

struct IVCodec {
    virtual ~IVCodec() {}
    virtual uint32_t GetFamilyTag() = 0;
    virtual int32_t AddRef() = 0;
    virtual int32_t Release() = 0;
    virtual int32_t Reset() = 0;
    virtual uint32_t GetBackendTag() = 0;
    virtual int32_t InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond,
                                int32_t iKeyinterval, int32_t iKbps) = 0;
    virtual int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                           int32_t* pFrameType) = 0;
    virtual int32_t InitDecoder(int32_t PictureWidth, int32_t PictureHeight) = 0;
    virtual int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) = 0;
    virtual int32_t SetBitrate(int32_t iKbps) = 0;
};

struct IVideoProcess {
    virtual ~IVideoProcess() {}
    virtual int32_t AddRef() = 0;
    virtual int32_t Release() = 0;
    virtual int32_t SetKeyingEnabled(int32_t iMode) = 0;
    virtual int32_t GetKeyingEnabled() = 0;
    virtual int32_t SetBackgroundImage(int32_t iWidth, int32_t iHeight, const uint8_t* pRgb, int32_t iPitch) = 0;
    virtual int32_t SetKeyColor(uint8_t R, uint8_t G, uint8_t B) = 0;
    virtual int32_t GetKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB) = 0;
    virtual int32_t GetDefaultKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB) = 0;
    virtual int32_t SetKeyDistance(int32_t iDistance) = 0;
    virtual int32_t GetKeyDistance(int32_t* pDistance) = 0;
    virtual int32_t GetDefaultKeyDistance(int32_t* pDistance) = 0;
    virtual int32_t SetSmoothingEnabled(int32_t bEnabled) = 0;
    virtual int32_t GetSmoothingEnabled() = 0;
    virtual int32_t SetBrightness(float fBrightness) = 0;
    virtual float GetBrightness() = 0;
    virtual int32_t ProcessFrame(int32_t iWidth, int32_t iHeight, uint8_t* pRgb, int32_t iPitch) = 0;
};

extern "C" __declspec(dllimport) IVCodec* CreateVCodec(uint32_t id);
extern "C" __declspec(dllimport) IVideoProcess* CreateVideoProcess(void);
