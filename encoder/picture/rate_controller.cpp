#include "encoder/picture/rate_controller.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/state/encoder_types.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {
constexpr double kMaxBitsPerFrame = std::numeric_limits<int32_t>::max();
}

int32_t RateController::InitialQp(int32_t Bitrate, double FrameRate, int32_t Width, int32_t Height, int32_t BitDepth,
                                  int32_t ChromaFormatIdc, bool HasAlpha, int32_t QpMax)
{
    const int64_t Size = int64_t{Width} * Height;
    int64_t Total = HasAlpha ? 2 * Size : Size;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[ChromaFormatIdc & 3];
    Total += 2 * Size * Chroma.MbWidth * Chroma.MbHeight / 256;
    const int64_t Bytes = Total * BitDepth / 8;
    const double x = (static_cast<double>(2 * Bytes) / 3.0) * FrameRate / Bitrate;
    // Maps the decades 0..1.75 of the compression ratio to 1.19..1.75 decades of QP.
    const double e = (std::log10(x) - 0.0) * (1.75 - 1.19) / (1.75 - 0.0) + 1.19;
    const double q = std::pow(10.0, e) * 0.8333333333333334 + 0.5;
    return static_cast<int32_t>(std::clamp(q, 1.0, static_cast<double>(QpMax)));
}

int32_t RateController::Init(int32_t QpWindow, int32_t BitsWindow, int32_t ErrorWindow, int32_t Bitrate,
                             double FrameRate, int32_t Width, int32_t Height, int32_t BitDepth, int32_t ChromaFormatIdc,
                             bool HasAlpha)
{
    m_QpOffset = 6 * (BitDepth - 8);
    m_QpMax = 51 + m_QpOffset;
    m_QpWindow = QpWindow < 1 ? 100 : QpWindow;
    m_BitsWindow = BitsWindow < 1 ? 30 : BitsWindow;
    m_ErrorWindow = ErrorWindow < 1 ? 100 : ErrorWindow;
    // Bounded at both ends: a budget of no bits would be divided by.
    m_BitsPerFrame = static_cast<int32_t>(std::clamp(Bitrate / FrameRate, 1.0, kMaxBitsPerFrame));
    m_BitsDesired = 0;
    const int32_t Qp = InitialQp(Bitrate, FrameRate, Width, Height, BitDepth, ChromaFormatIdc, HasAlpha, m_QpMax);
    m_QpI = m_QpP = m_QpPPrevious = m_QpLast = Qp;
    m_QpB = QpFromP();
    m_AvgInverseQp = 1.0 / m_QpLast;
    m_AvgFrameBits = m_BitsPerFrame;
    return 0;
}

int32_t RateController::QpFromP() const { return std::clamp(((m_QpP + m_QpPPrevious) * 563 >> 10) + 1, 1, m_QpMax); }

int32_t RateController::GetQP(int32_t FrameType) const
{
    const int32_t Qp = FrameType == FRAME_I ? m_QpI : FrameType == FRAME_B ? m_QpB : m_QpP;
    return Qp - m_QpOffset;
}

void RateController::SetQP(int32_t FrameType, int32_t Qp)
{
    if (FrameType == FRAME_B)
        m_QpB = Qp + m_QpOffset;
    else
        m_QpP = m_QpI = m_QpLast = Qp + m_QpOffset;
}

int32_t RateController::LimitStep(int32_t Wanted, int32_t Last)
{
    if (Wanted >= Last + 5) return Last + 3;
    if (Wanted >= Last + 3) return Last + 2;
    if (Wanted > Last + 1) return Last + 1;
    if (Wanted <= Last - 5) return Last - 3;
    if (Wanted <= Last - 3) return Last - 2;
    if (Wanted < Last - 1) return Last - 1;
    return Wanted;
}

void RateController::PostFrame(int32_t FrameType, int64_t TotalBits)
{
    const double Lowest = 1.0 / m_QpMax;
    const auto FrameBits = static_cast<double>(TotalBits - m_BitsEncoded);
    m_BitsEncoded = TotalBits;
    m_BitsDesired += m_BitsPerFrame;

    const int32_t Used = GetQP(FrameType) + m_QpOffset;
    m_AvgInverseQp += (1.0 / Used - m_AvgInverseQp) / m_QpWindow;
    m_AvgInverseQp = std::clamp(m_AvgInverseQp, Lowest, 1.0);
    // With the long window I pictures stay out of the mean: one in a hundred would only shake it.
    if (!(FrameType == FRAME_I && m_BitsWindow >= 30)) m_AvgFrameBits += (FrameBits - m_AvgFrameBits) / m_BitsWindow;
    m_QpB = QpFromP();

    double y = m_AvgInverseQp * std::pow(m_BitsPerFrame / m_AvgFrameBits, 2.0);
    const double Overshoot = static_cast<double>(m_BitsEncoded - m_BitsDesired) / m_ErrorWindow / m_BitsPerFrame;
    y += (Lowest - y) * std::clamp(Overshoot, -1.0, 1.0);
    y = std::clamp(y, Lowest, 1.0);

    const int32_t Next = LimitStep(static_cast<int32_t>(1.0 / y + 0.5), m_QpLast);
    if (FrameType != FRAME_B) m_QpPPrevious = m_QpP;
    m_QpP = m_QpI = m_QpLast = Next;
}

} // namespace UMC_H264_ENCODER
