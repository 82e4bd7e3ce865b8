// Pictures for the tests of the noise filter.
#pragma once

#include "encoder/session/noise_planes.h"

#include <array>
#include <cstdint>
#include <random>
#include <vector>

namespace noise_testing {

/// A plane that owns its samples; behind each row lie samples that nothing may touch.
template <class Sample>
struct Plane {
    static constexpr Sample kGuard = 77;

    Plane(int32_t Width, int32_t Height, Sample Value = 0, int32_t Pitch = 0)
        : m_Width(Width), m_Height(Height), m_Pitch(Pitch ? Pitch : Width + 4),
          m_Samples(static_cast<size_t>(m_Pitch * Height), kGuard)
    {
        for (int32_t y = 0; y < Height; ++y)
            for (int32_t x = 0; x < Width; ++x) At(x, y) = Value;
    }
    /// Rows of text numbers, as they lie.
    Plane(int32_t Width, const std::vector<int>& Values) : Plane(Width, static_cast<int32_t>(Values.size()) / Width)
    {
        for (size_t i = 0; i < Values.size(); ++i)
            At(static_cast<int32_t>(i) % Width, static_cast<int32_t>(i) / Width) = static_cast<Sample>(Values[i]);
    }

    Sample& At(int32_t x, int32_t y) { return m_Samples[static_cast<size_t>(y * m_Pitch + x)]; }
    Sample At(int32_t x, int32_t y) const { return m_Samples[static_cast<size_t>(y * m_Pitch + x)]; }
    UMC_H264_ENCODER::NoisePlane<Sample> View() { return {m_Samples.data(), m_Pitch, m_Width, m_Height}; }
    Sample* Data() { return m_Samples.data(); }
    int32_t Pitch() const { return m_Pitch; }
    int32_t Width() const { return m_Width; }
    int32_t Height() const { return m_Height; }
    bool operator==(const Plane& Other) const = default; // guards too

    void FillRow(int32_t y, int Value)
    {
        for (int32_t x = 0; x < m_Width; ++x) At(x, y) = static_cast<Sample>(Value);
    }
    void FillColumn(int32_t x, int Value)
    {
        for (int32_t y = 0; y < m_Height; ++y) At(x, y) = static_cast<Sample>(Value);
    }
    void FillRandom(std::mt19937& Rng, int Low, int High)
    {
        for (int32_t y = 0; y < m_Height; ++y)
            for (int32_t x = 0; x < m_Width; ++x)
                At(x, y) = static_cast<Sample>(Low + static_cast<int>(Rng() % static_cast<uint32_t>(High - Low + 1)));
    }

private:
    int32_t m_Width, m_Height, m_Pitch;
    std::vector<Sample> m_Samples;
};

/// 4:2:0.
template <class Sample>
struct Picture {
    Plane<Sample> Y, U, V;

    Picture(int32_t Width, int32_t Height, int Luma = 0, int Cb = 128, int Cr = 128)
        : Y(Width, Height, static_cast<Sample>(Luma)), U(Width / 2, Height / 2, static_cast<Sample>(Cb)),
          V(Width / 2, Height / 2, static_cast<Sample>(Cr))
    {
    }
    UMC_H264_ENCODER::NoisePicture<Sample> View() { return {Y.View(), U.View(), V.View()}; }
    bool operator==(const Picture& Other) const = default;
    void FillRandom(std::mt19937& Rng, int Low, int High)
    {
        for (Plane<Sample>* p : {&Y, &U, &V}) p->FillRandom(Rng, Low, High);
    }
};

} // namespace noise_testing
