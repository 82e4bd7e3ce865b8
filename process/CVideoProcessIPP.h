// Treatment of camera pictures: the object behind CreateVideoProcess.
#pragma once

#include "Common/h/WCritSec.h"
#include "kernels/memory/memory.h"
#include "process/chroma_key.h"
#include "quilvex/IVideoProcess.h"

#include <atomic>
#include <memory>

struct KernelBlockFree {
    void operator()(void* p) const { kernels::Free(p); }
};
using ByteBlock = std::unique_ptr<uint8_t[], KernelBlockFree>;
using FloatBlock = std::unique_ptr<float[], KernelBlockFree>;

/// Replaces a keyed background, smooths the luma and changes the brightness, in place. The contract of the operations
/// is IVideoProcess. Work buffers are kept from frame to frame and replaced when the frame size changes.
class CVideoProcessIPP : public IVideoProcess
{
public:
    CVideoProcessIPP();
    /// Virtual for the tests' doubles; it takes slots behind the interface's.
    virtual ~CVideoProcessIPP() = default;

    void* DeletingDestructor(uint32_t iFlags) override;
    int32_t AddRef() override;
    int32_t Release() override;
    int32_t SetKeyingEnabled(int32_t iMode) override;
    int32_t GetKeyingEnabled() override { return m_KeyingEnabled; }
    int32_t SetBackgroundImage(int32_t iWidth, int32_t iHeight, const uint8_t* pRgb, int32_t iPitch) override;
    int32_t SetKeyColor(uint8_t R, uint8_t G, uint8_t B) override;
    int32_t GetKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB) override;
    int32_t GetDefaultKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB) override;
    int32_t SetKeyDistance(int32_t iDistance) override;
    int32_t GetKeyDistance(int32_t* pDistance) override;
    int32_t GetDefaultKeyDistance(int32_t* pDistance) override;
    int32_t SetSmoothingEnabled(int32_t bEnabled) override;
    int32_t GetSmoothingEnabled() override { return m_bSmoothing; }
    int32_t SetBrightness(float fBrightness) override;
    float GetBrightness() override { return m_Brightness; }
    int32_t ProcessFrame(int32_t iWidth, int32_t iHeight, uint8_t* pRgb, int32_t iPitch) override;

protected:
    /// Looks for the green or the blue key near the corners of a picture's chroma planes, within the thresholds of the
    /// settings file (process/chroma_key.h). No operation asks for it at present.
    bool DetectKeyColor(int32_t iPitch, int32_t iHeight, const uint8_t* pU, const uint8_t* pV, ChromaKey& Found) const;

    std::atomic<int32_t> m_iRefCount{1};
    std::unique_ptr<WCritSec> m_pLock; // guards the stored picture, its size and its scaling
    int32_t m_bSmoothing = 0;
    float m_Brightness = 0.0f;
    int32_t m_Width = 0, m_Height = 0; // of the frames in the work buffers
    ByteBlock m_pY, m_pU, m_pV;        // width * height each, at whatever chroma format the frame travels
    ByteBlock m_pScratch;
    int32_t m_KeyingEnabled = 0;
    std::atomic<int32_t> m_bBackgroundChanged = 0; // a new picture waits to be scaled; set by any thread
    int32_t m_bBackgroundReady = 0;                // a scaled picture exists; never cleared
    int32_t m_GreenThreshold1 = kDefaultKeyThresholds.Green1;
    int32_t m_GreenThreshold2 = kDefaultKeyThresholds.Green2;
    int32_t m_BlueThreshold1 = kDefaultKeyThresholds.Blue1;
    int32_t m_BlueThreshold2 = kDefaultKeyThresholds.Blue2;
    RgbColor m_DefaultKeyColor;
    RgbColor m_KeyColor;
    int32_t m_KeyU = kDefaultKey.U, m_KeyV = kDefaultKey.V;
    int32_t m_DefaultKeyDistance = kDefaultKeyDistance;
    int32_t m_KeyDistance = kDefaultKeyDistance;
    int32_t m_Threshold1 = kDefaultKey.Threshold1, m_Threshold2 = kDefaultKey.Threshold2;
    int32_t m_BackgroundWidth = 0, m_BackgroundHeight = 0; // of the stored picture
    FloatBlock m_pDistanceA, m_pDistanceB;                 // width * height floats
    ByteBlock m_pArgb;                                     // width * height * 4
    ByteBlock m_pBackground;                               // the stored picture, background width * height * 4
    ByteBlock m_pScaledBackground;                         // width * height * 4
    ByteBlock m_pMask, m_pAlpha;                           // width * height

private:
    bool EnsureBuffers(int32_t iWidth, int32_t iHeight);
    bool AllocateBuffers();
    void FreeBuffers();
    void ReadThresholds();
    bool HasBrightness() const;
    void TreatKeyed(uint8_t* pRgb, int32_t iPitch, bool bSizeChanged);
    void TreatPlain(uint8_t* pRgb, int32_t iPitch);
    void TreatLuma();
    void SmoothLuma();
    void ApplyBrightness();
    void UpdateScaledBackground();
    bool ScaleBackground(); // false when memory is exhausted
    void Composite();
};
