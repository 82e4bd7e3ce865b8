// The planes of a picture for tests of reconstruction, in samples of either type.
#pragma once

#include "decoder/slice/slice_cursor.h"

#include <cstdint>
#include <random>
#include <vector>

namespace UMC {

template <class Sample>
struct SamplePlanes {
    std::vector<Sample> Plane[3];
    int Width[3], Height[3]; // samples

    // Width and height in macroblocks.
    SamplePlanes(int32_t Format, int MbWidth, int MbHeight)
    {
        const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[Format];
        for (int i = 0; i < 3; ++i) {
            Width[i] = MbWidth * (i == 0 ? 16 : Chroma.MbWidth);
            Height[i] = MbHeight * (i == 0 ? 16 : Chroma.MbHeight);
            Plane[i].resize(static_cast<size_t>(Width[i] * Height[i]));
        }
    }
    // The same values for any sample type and format, of so many bits.
    void Fill(uint32_t Seed, int LumaDepth = 8, int ChromaDepth = 8)
    {
        std::minstd_rand Random(Seed);
        for (int i = 0; i < 3; ++i)
            for (Sample& v : Plane[i])
                v = static_cast<Sample>(Random() >> 8 & ((1u << (i == 0 ? LumaDepth : ChromaDepth)) - 1));
    }
    ptrdiff_t Pitch(int i) const { return Width[i] * static_cast<ptrdiff_t>(sizeof(Sample)); }
    uint8_t* Bytes(int i) { return reinterpret_cast<uint8_t*>(Plane[i].data()); }
    // The picture that a slice is decoded into.
    void ShowIn(PictureView& View)
    {
        for (int i = 0; i < 3; ++i) View.pPlane[i] = Bytes(i);
        View.PitchLuma = Pitch(0);
        View.PitchChroma = Pitch(1);
    }
    ReferencePlanes AsReference(int32_t ChromaMvOffset = 0)
    {
        return {{Bytes(0), Bytes(1), Bytes(2)},
                Pitch(0),
                Pitch(1),
                Width[0],
                Height[0],
                Width[1],
                Height[1],
                ChromaMvOffset};
    }
};

template <class A, class B>
bool HaveEqualSamples(const SamplePlanes<A>& a, const SamplePlanes<B>& b, int i)
{
    return std::equal(a.Plane[i].begin(), a.Plane[i].end(), b.Plane[i].begin(), b.Plane[i].end());
}

} // namespace UMC
