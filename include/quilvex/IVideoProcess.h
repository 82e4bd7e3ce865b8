// Treatment of camera pictures before they are encoded.
#pragma once

#include <stdint.h>

/// Chroma-key background replacement, smoothing and brightness on RGB24 pictures (blue first in memory), each of which
/// can be off. An object is used by one thread at a time; SetBackgroundImage may be called from another one.
struct IVideoProcess {
    virtual ~IVideoProcess() {}

    virtual int32_t AddRef() = 0;                        ///< returns the new count
    virtual int32_t Release() = 0;                       ///< returns the new count; deletes the object at 0
    virtual int32_t SetKeyingEnabled(int32_t iMode) = 0; ///< 0: off. Returns 1
    virtual int32_t GetKeyingEnabled() = 0;
    /// Takes a copy of the picture that replaces the background. 1 when stored, else 0.
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
    /// Treats one picture in place. Returns 1.
    virtual int32_t ProcessFrame(int32_t iWidth, int32_t iHeight, uint8_t* pRgb, int32_t iPitch) = 0;
};
