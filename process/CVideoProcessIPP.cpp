#include "process/CVideoProcessIPP.h"

#include "Common/h/deleting_destructor.h"
#include "Common/h/settings.h"
#include "kernels/bilateral/bilateral.h"
#include "kernels/dispatch/kernels.h"
#include "process/background_fit.h"
#include "process/matte.h"

#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr int32_t kMaxPixels = INT32_MAX / 4; // four bytes each fit the kernels' allocator

// Whether a picture of this size can be had at all.
bool IsUsableSize(int32_t iWidth, int32_t iHeight)
{
    return iWidth > 0 && iHeight > 0 && iWidth <= kMaxPixels / iHeight;
}

// Cleared, so that a background which could not be scaled shows black and never another's memory.
ByteBlock AllocatePicture(int32_t iWidth, int32_t iHeight)
{
    if (!IsUsableSize(iWidth, iHeight)) return nullptr;
    const int32_t Bytes = iWidth * iHeight * 4;
    ByteBlock Block(kernels::Malloc8u(Bytes));
    if (Block) kernels::g_Kernels.SetBytes(0, Block.get(), Bytes);
    return Block;
}

void Store(uint8_t* pTarget, uint8_t Value)
{
    if (pTarget) *pTarget = Value;
}

} // namespace

CVideoProcessIPP::CVideoProcessIPP()
    : m_pLock(std::make_unique<WCritSec>()),
      m_DefaultKeyColor(ColorOfChroma(kDefaultKeyLuma, kDefaultKey.U, kDefaultKey.V)), m_KeyColor(m_DefaultKeyColor)
{
}

void* CVideoProcessIPP::DeletingDestructor(uint32_t iFlags) { return DestroyObject(this, iFlags); }

int32_t CVideoProcessIPP::AddRef() { return ++m_iRefCount; }

int32_t CVideoProcessIPP::Release()
{
    const int32_t Count = --m_iRefCount;
    if (Count == 0) DeletingDestructor(1);
    return Count;
}

int32_t CVideoProcessIPP::SetKeyingEnabled(int32_t iMode)
{
    m_KeyingEnabled = iMode;
    if (iMode) ReadThresholds();
    return 1;
}

// The settings are a convenience: where they cannot be read the thresholds stay.
void CVideoProcessIPP::ReadThresholds()
try {
    const std::string File = HostSettingsFile();
    m_GreenThreshold1 = ReadProfileInt(File, kConfigSection, "greenThreshold1", kDefaultKeyThresholds.Green1);
    m_GreenThreshold2 = ReadProfileInt(File, kConfigSection, "greenThreshold2", kDefaultKeyThresholds.Green2);
    m_BlueThreshold1 = ReadProfileInt(File, kConfigSection, "blueThreshold1", kDefaultKeyThresholds.Blue1);
    // The same key again is deliberate: the fourth threshold has none of its own.
    m_BlueThreshold2 = ReadProfileInt(File, kConfigSection, "blueThreshold1", kDefaultKeyThresholds.Blue2);
} catch (...) {
}

int32_t CVideoProcessIPP::SetBackgroundImage(int32_t iWidth, int32_t iHeight, const uint8_t* pRgb, int32_t iPitch)
{
    const WLockGuard Held(m_pLock.get());
    if (iWidth != m_BackgroundWidth || iHeight != m_BackgroundHeight) {
        m_pBackground.reset();
        m_BackgroundWidth = iWidth;
        m_BackgroundHeight = iHeight;
    }
    if (!m_pBackground) m_pBackground = AllocatePicture(iWidth, iHeight);
    if (!m_pBackground || !pRgb) return 0;
    libyuv::RGB24ToARGB(pRgb, iPitch, m_pBackground.get(), iWidth * 4, iWidth, iHeight);
    m_bBackgroundChanged = 1;
    return 1;
}

int32_t CVideoProcessIPP::SetKeyColor(uint8_t R, uint8_t G, uint8_t B)
{
    m_KeyColor = {R, G, B};
    KeyChromaOfColor(m_KeyColor, m_KeyU, m_KeyV);
    return 1;
}

int32_t CVideoProcessIPP::GetKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB)
{
    Store(pR, m_KeyColor.R);
    Store(pG, m_KeyColor.G);
    Store(pB, m_KeyColor.B);
    return 1;
}

int32_t CVideoProcessIPP::GetDefaultKeyColor(uint8_t* pR, uint8_t* pG, uint8_t* pB)
{
    Store(pR, m_DefaultKeyColor.R);
    Store(pG, m_DefaultKeyColor.G);
    Store(pB, m_DefaultKeyColor.B);
    return 1;
}

int32_t CVideoProcessIPP::SetKeyDistance(int32_t iDistance)
{
    m_KeyDistance = iDistance;
    KeyRadiiOfDistance(iDistance, m_Threshold1, m_Threshold2);
    return 1;
}

int32_t CVideoProcessIPP::GetKeyDistance(int32_t* pDistance)
{
    if (pDistance) *pDistance = m_KeyDistance;
    return 1;
}

int32_t CVideoProcessIPP::GetDefaultKeyDistance(int32_t* pDistance)
{
    if (pDistance) *pDistance = m_DefaultKeyDistance;
    return 1;
}

int32_t CVideoProcessIPP::SetSmoothingEnabled(int32_t bEnabled)
{
    m_bSmoothing = bEnabled;
    return 1;
}

int32_t CVideoProcessIPP::SetBrightness(float fBrightness)
{
    m_Brightness = fBrightness;
    return 1;
}

int32_t CVideoProcessIPP::ProcessFrame(int32_t iWidth, int32_t iHeight, uint8_t* pRgb, int32_t iPitch)
{
    if (!m_KeyingEnabled && !m_bSmoothing && !HasBrightness()) return 1;
    if (!pRgb || !IsUsableSize(iWidth, iHeight)) return 1;
    // With keying off a pitch of 0 is that of rows without gaps: both conversions take it so.
    const bool bWithoutGaps = iPitch == 0 && !m_KeyingEnabled;
    if (!bWithoutGaps && std::abs(int64_t{iPitch}) < int64_t{iWidth} * 3) return 1;
    // A scaled picture that is missing counts as a change of size: the size may have changed while keying was off.
    const bool bChanged = iWidth != m_Width || iHeight != m_Height || !m_pScaledBackground;
    if (!EnsureBuffers(iWidth, iHeight)) return 1;
    if (m_KeyingEnabled)
        TreatKeyed(pRgb, iPitch, bChanged);
    else
        TreatPlain(pRgb, iPitch);
    return 1;
}

// False when memory is exhausted: the frame then passes on as it came, and the next one tries again.
bool CVideoProcessIPP::EnsureBuffers(int32_t iWidth, int32_t iHeight)
{
    if (iWidth != m_Width || iHeight != m_Height) {
        FreeBuffers();
        m_Width = iWidth;
        m_Height = iHeight;
    }
    if (AllocateBuffers()) return true;
    FreeBuffers();
    return false;
}

bool CVideoProcessIPP::AllocateBuffers()
{
    const int32_t Pixels = m_Width * m_Height;
    const auto Bytes = [](ByteBlock& Block, int32_t Count) {
        if (!Block) Block.reset(kernels::Malloc8u(Count));
        return Block != nullptr;
    };
    const auto Floats = [Pixels](FloatBlock& Block) {
        if (!Block) Block.reset(kernels::Malloc32f(Pixels));
        return Block != nullptr;
    };
    if (!Bytes(m_pY, Pixels) || !Bytes(m_pU, Pixels) || !Bytes(m_pV, Pixels) || !Bytes(m_pScratch, Pixels))
        return false;
    if (!m_KeyingEnabled) return true;
    if (!m_pScaledBackground) m_pScaledBackground = AllocatePicture(m_Width, m_Height);
    return m_pScaledBackground && Floats(m_pDistanceA) && Floats(m_pDistanceB) && Bytes(m_pArgb, Pixels * 4) &&
           Bytes(m_pMask, Pixels) && Bytes(m_pAlpha, Pixels);
}

void CVideoProcessIPP::FreeBuffers()
{
    for (ByteBlock* const pBlock :
         {&m_pY, &m_pU, &m_pV, &m_pScratch, &m_pArgb, &m_pScaledBackground, &m_pMask, &m_pAlpha})
        pBlock->reset();
    m_pDistanceA.reset();
    m_pDistanceB.reset();
}

// Full-resolution chroma all the way: the matte needs it.
void CVideoProcessIPP::TreatKeyed(uint8_t* pRgb, int32_t iPitch, bool bSizeChanged)
{
    if (bSizeChanged || m_bBackgroundChanged) UpdateScaledBackground();
    const int32_t ArgbPitch = m_Width * 4;
    libyuv::RGB24ToARGB(pRgb, iPitch, m_pArgb.get(), ArgbPitch, m_Width, m_Height);
    libyuv::ARGBToI444(m_pArgb.get(), ArgbPitch, m_pY.get(), m_Width, m_pU.get(), m_Width, m_pV.get(), m_Width, m_Width,
                       m_Height);
    TreatLuma();
    libyuv::I444ToARGB(m_pY.get(), m_Width, m_pU.get(), m_Width, m_pV.get(), m_Width, m_pArgb.get(), ArgbPitch, m_Width,
                       m_Height);
    if (m_bBackgroundReady) Composite();
    libyuv::ARGBToRGB24(m_pArgb.get(), ArgbPitch, pRgb, iPitch, m_Width, m_Height);
}

// 4:2:0. The rows of the input are taken to lie without gaps whatever the pitch, which counts on the way out only; this
// stands deliberately. Of a bottom-up picture the rows are read from the lowest address on, so that none is read
// outside.
void CVideoProcessIPP::TreatPlain(uint8_t* pRgb, int32_t iPitch)
{
    const bool bBottomUp = iPitch < 0;
    const uint8_t* const pLowest = bBottomUp ? pRgb + ptrdiff_t{m_Height - 1} * iPitch : pRgb;
    const int32_t ChromaPitch = m_Width >> 1;
    libyuv::ConvertToI420(pLowest, 0, m_pY.get(), m_Width, m_pU.get(), ChromaPitch, m_pV.get(), ChromaPitch, 0, 0,
                          m_Width, bBottomUp ? -m_Height : m_Height, m_Width, m_Height, libyuv::kRotate0,
                          libyuv::FOURCC_24BG);
    TreatLuma();
    libyuv::ConvertFromI420(m_pY.get(), m_Width, m_pU.get(), ChromaPitch, m_pV.get(), ChromaPitch, pRgb, iPitch,
                            m_Width, m_Height, libyuv::FOURCC_24BG);
}

// A brightness that is no number changes nothing.
bool CVideoProcessIPP::HasBrightness() const { return m_Brightness < 0.0f || m_Brightness > 0.0f; }

void CVideoProcessIPP::TreatLuma()
{
    if (m_bSmoothing) SmoothLuma();
    if (HasBrightness()) ApplyBrightness();
}

// The statuses of the kernels are of no interest: a frame that one refuses passes on.
void CVideoProcessIPP::SmoothLuma()
{
    constexpr int32_t kWindow = 13, kStepInWindow = 6, kMargin = kWindow / 2;
    constexpr float kValueSquareSigma = 200.0f, kPositionSquareSigma = 200.0f;
    const int32_t Width = m_Width - 2 * kMargin, Height = m_Height - 2 * kMargin;
    if (Width <= 0 || Height <= 0) return;
    int32_t Size = 0;
    kernels::g_Kernels.BilateralGetSize(kernels::kBilateralGauss, Width, Height, kWindow, kWindow, &Size);
    const ByteBlock Work(kernels::Malloc8u(Size));
    kernels::g_Kernels.BilateralInit(kernels::kBilateralGauss, kWindow, kWindow, kValueSquareSigma,
                                     kPositionSquareSigma, kStepInWindow, Work.get());
    uint8_t* const pInterior = m_pY.get() + ptrdiff_t{kMargin} * m_Width + kMargin;
    kernels::g_Kernels.BilateralFilter(pInterior, m_Width, pInterior, m_Width, Width, Height, kWindow, kWindow,
                                       Work.get());
}

// A relative change: 0.5 lifts each sample by half of itself; 1 and beyond act as 255 / 256.
void CVideoProcessIPP::ApplyBrightness()
{
    const auto Share = static_cast<uint8_t>(std::min(std::fabs(m_Brightness) * 256.0f, 255.0f));
    constexpr int32_t kShareBits = 8;
    uint8_t *const pY = m_pY.get(), *const pScratch = m_pScratch.get();
    kernels::g_Kernels.Copy8u(pY, m_Width, pScratch, m_Width, m_Width, m_Height);
    kernels::g_Kernels.MulConst8uInPlace(Share, pScratch, m_Width, m_Width, m_Height, kShareBits);
    if (m_Brightness > 0.0f)
        kernels::g_Kernels.Add8u(pY, m_Width, pScratch, m_Width, pY, m_Width, m_Width, m_Height);
    else
        kernels::g_Kernels.Sub8u(pScratch, m_Width, pY, m_Width, pY, m_Width, m_Width, m_Height, 0);
}

void CVideoProcessIPP::UpdateScaledBackground()
{
    const WLockGuard Held(m_pLock.get());
    m_bBackgroundChanged = 0;
    // Without memory this frame shows black, or the picture before, rather than what the key is to hide.
    if (m_pBackground && !ScaleBackground()) m_bBackgroundChanged = 1; // the next frame tries again
}

bool CVideoProcessIPP::ScaleBackground()
{
    m_bBackgroundReady = 1;
    const int32_t Pitch = m_BackgroundWidth * 4, ScaledPitch = m_Width * 4;
    if (m_BackgroundWidth == m_Width && m_BackgroundHeight == m_Height) {
        libyuv::ARGBCopy(m_pBackground.get(), Pitch, m_pScaledBackground.get(), ScaledPitch, m_Width, m_Height);
        return true;
    }
    const CropRectangle Crop = FitBackground(m_Width, m_Height, m_BackgroundWidth, m_BackgroundHeight);
    return kernels::g_Kernels.Resize8uC4(m_pBackground.get(), m_BackgroundWidth, m_BackgroundHeight, Pitch, Crop.X,
                                         Crop.Y, Crop.Width, Crop.Height, m_pScaledBackground.get(), ScaledPitch,
                                         m_Width, m_Height, static_cast<double>(m_Width) / Crop.Width,
                                         static_cast<double>(m_Height) / Crop.Height,
                                         kernels::kCubic) != kernels::kStatusNoMemory;
}

void CVideoProcessIPP::Composite()
{
    const MattePlanes Planes{m_pU.get(), m_pV.get(), m_pDistanceA.get(), m_pDistanceB.get(), m_pMask.get(),
                             m_Width,    m_Height};
    MakeMatte(Planes, {m_KeyU, m_KeyV, m_Threshold1, m_Threshold2});
    BlendOver(m_pArgb.get(), m_pScaledBackground.get(), m_pMask.get(), m_pAlpha.get(), m_Width, m_Height);
}

bool CVideoProcessIPP::DetectKeyColor(int32_t iPitch, int32_t iHeight, const uint8_t* pU, const uint8_t* pV,
                                      ChromaKey& Found) const
{
    return ::DetectKeyColor({m_GreenThreshold1, m_GreenThreshold2, m_BlueThreshold1, m_BlueThreshold2}, iPitch, iHeight,
                            pU, pV, Found);
}
