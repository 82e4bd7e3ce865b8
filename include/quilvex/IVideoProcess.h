// Treatment of camera pictures before they are encoded.
#pragma once

#include <stdint.h>

/// Chroma-key background replacement, smoothing and brightness, each of which can be off: all are off at first.
/// Pictures are RGB24: blue, green, red bytes, rows of pitch bytes; a negative pitch is that of a bottom-up picture,
/// whose pointer is to the row shown on top, the last one in memory. Buffers belong to the caller and are used during
/// the call only. Nothing is thrown; a null pointer for a result is passed over.
///
/// One thread at a time uses an object, and settings are changed between frames. AddRef, Release and SetBackgroundImage
/// may be called from any thread at any time. Separate objects share nothing.
///
/// The order of the seventeen operations is the contract, as that of IVCodec's is.
struct IVideoProcess {
    /// Slot 0, what Microsoft's compiler makes of a virtual destructor (IVCodec.h says more): destroys the object,
    /// frees its memory when bit 0 of the flags is set, and returns its address. A client calls Release instead.
    virtual void* DeletingDestructor(uint32_t iFlags) = 0;

    /// Adds a reference; returns the new count.
    virtual int32_t AddRef() = 0;
    /// Gives a reference back; returns the new count. At 0 the object is deleted.
    virtual int32_t Release() = 0;

    /// Switches background replacement on (any mode but 0) or off. Switching on reads the thresholds of key detection
    /// from the settings file. Returns 1.
    virtual int32_t SetKeyingEnabled(int32_t iMode) = 0;
    /// The mode as it was set.
    virtual int32_t GetKeyingEnabled() = 0;
    /// Takes a copy of the picture that replaces the background, of any size: it is fitted to the frames, cut at the
    /// sides or above and below where its shape differs. A frame in treatment meanwhile still shows the old one.
    /// @return 1 when stored. 0 for a null picture, a size that is not positive or exhausted memory: what was stored at
    ///         the same size stays then, at another size it is gone. The background on show changes only with a result
    ///         of 1.
    virtual int32_t SetBackgroundImage(int32_t iWidth, int32_t iHeight, const uint8_t* pRgb, int32_t iPitch) = 0;
    /// The colour that is replaced. Returns 1, as the next five do.
    virtual int32_t SetKeyColor(uint8_t R, uint8_t G, uint8_t B) = 0;
    virtual int32_t GetKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB) = 0;
    /// A green: 69, 250, 92.
    virtual int32_t GetDefaultKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB) = 0;
    /// How far from the key, in levels of chroma, a colour is still background; it is foreground from about a tenth
    /// more on, and a mixture between. A distance of -1 to -9 turns this round: colours as near as that stay, and all
    /// others are replaced.
    virtual int32_t SetKeyDistance(int32_t iDistance) = 0;
    virtual int32_t GetKeyDistance(int32_t* pDistance) = 0;
    /// 60.
    virtual int32_t GetDefaultKeyDistance(int32_t* pDistance) = 0;

    /// Switches the smoothing of the luma, which keeps edges, on or off. The outer six rows and columns stay as they
    /// are. Returns 1.
    virtual int32_t SetSmoothingEnabled(int32_t bEnabled) = 0;
    virtual int32_t GetSmoothingEnabled() = 0;
    /// A relative change of the luma: 0.5 lifts each sample by half of itself, -0.5 halves it; 1 and beyond act as
    /// 255 / 256. 0, and what is no number, change nothing. Returns 1.
    virtual int32_t SetBrightness(float fBrightness) = 0;
    virtual float GetBrightness() = 0;

    /// Treats one picture in place. Always returns 1; a picture that cannot be treated (null, a size that is not
    /// positive, a pitch below width * 3) is left as it was. When memory is exhausted it is left as it was, or goes
    /// without the smoothing or with a black background, and the next one is tried again.
    /// @note With keying off the rows are read without gaps whatever the pitch, so pass width * 3 (or minus that)
    ///       there; 0 stands for width * 3.
    virtual int32_t ProcessFrame(int32_t iWidth, int32_t iHeight, uint8_t* pRgb, int32_t iPitch) = 0;

protected:
    ~IVideoProcess() = default; // no `delete` by a client: Release
};
