// Peak signal-to-noise ratio of 8-bit I420 pictures.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

/// Adds up squared differences over pictures.
class Psnr
{
public:
    void Add(const uint8_t* pA, const uint8_t* pB, size_t Count)
    {
        for (size_t i = 0; i < Count; ++i) {
            const int Difference = pA[i] - pB[i];
            m_Squares += static_cast<uint64_t>(Difference * Difference);
        }
        m_Samples += Count;
    }
    /// Decibels; 99 for equal pictures.
    double Decibels() const
    {
        if (!m_Squares || !m_Samples) return 99.0;
        return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(m_Samples) / static_cast<double>(m_Squares));
    }

private:
    uint64_t m_Squares = 0, m_Samples = 0;
};
