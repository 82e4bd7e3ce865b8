// Picture QP of the encoder: a smoothed inverse QP, a smoothed picture size and a long-term error term.
#pragma once

#include <cstdint>

namespace UMC_H264_ENCODER {

// Decides the QP of the next picture from the bits spent so far. It has no buffer model and no look-ahead, and never
// moves the QP by more than three steps between two updates. QPs inside are internal: QP + m_QpOffset.
class RateController
{
public:
    /// Starts over for a rate. Windows below 1 take 100, 30 and 100 pictures. The running total of bits stays, because
    /// the caller's total goes on through a change of rate, while the budget restarts at 0: the imbalance is
    /// deliberate.
    ///
    /// @param Bitrate    bits per second, above 0
    /// @param FrameRate  pictures per second, above 0
    /// @param BitDepth   the largest of the depths in use
    /// @return always 0
    int32_t Init(int32_t QpWindow, int32_t BitsWindow, int32_t ErrorWindow, int32_t Bitrate, double FrameRate,
                 int32_t Width, int32_t Height, int32_t BitDepth, int32_t ChromaFormatIdc, bool HasAlpha);

    /// QP of the next picture of a type (0 I, 1 P, 2 B) on the scale of the standard: negative for deep samples.
    int32_t GetQP(int32_t FrameType) const;
    /// A B picture sets its own QP; any other type sets that of I and P pictures and where the step limit counts from.
    void SetQP(int32_t FrameType, int32_t Qp);
    /// Called once for each coded picture with the sum of all bits written so far.
    void PostFrame(int32_t FrameType, int64_t TotalBits);

    int64_t BitsEncoded() const { return m_BitsEncoded; }
    int64_t BitsDesired() const { return m_BitsDesired; }
    double AverageFrameBits() const { return m_AvgFrameBits; }
    double AverageInverseQp() const { return m_AvgInverseQp; }

    /// The QP from which a stream of this size and rate starts, 1..QpMax.
    static int32_t InitialQp(int32_t Bitrate, double FrameRate, int32_t Width, int32_t Height, int32_t BitDepth,
                             int32_t ChromaFormatIdc, bool HasAlpha, int32_t QpMax);
    /// What becomes of a wished QP when the last one was Last: not linear, at most three steps.
    static int32_t LimitStep(int32_t Wanted, int32_t Last);

private:
    int32_t QpFromP() const; // the QP of B pictures

    int32_t m_BitsPerFrame = 0; // budget of a picture
    int64_t m_BitsEncoded = 0;  // as last reported
    int64_t m_BitsDesired = 0;  // budgets of the pictures so far
    int32_t m_QpI = 0, m_QpP = 0, m_QpB = 0;
    int32_t m_QpMax = 51;
    int32_t m_QpPPrevious = 0; // m_QpP before the last I or P picture changed it
    int32_t m_QpOffset = 0;    // 6 * (bit depth - 8)
    int32_t m_BitsWindow = 30; // pictures
    int32_t m_QpWindow = 100;
    int32_t m_ErrorWindow = 100;
    int32_t m_QpLast = 0; // the step limit counts from here
    double m_AvgInverseQp = 0.0;
    double m_AvgFrameBits = 0.0;
};

} // namespace UMC_H264_ENCODER
