// h264_compare: decodes a stream and names the first picture and macroblock that differ from another decoder's
// pictures.
#include "tools/h264_decode/stream_decoder.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr const char* kPlaneName[] = {"Y", "Cb", "Cr"};

std::vector<uint8_t> ReadFile(const std::string& Name)
{
    std::ifstream File(Name, std::ios::binary);
    if (!File) throw std::runtime_error(Name + ": cannot be opened");
    return {std::istreambuf_iterator<char>(File), std::istreambuf_iterator<char>()};
}

// Walks the other decoder's pictures beside ours and reports until one differs.
class Comparison
{
public:
    explicit Comparison(const std::string& Name) : m_File(Name, std::ios::binary)
    {
        if (!m_File) throw std::runtime_error(Name + ": cannot be opened");
    }
    void Compare(const UMC::VideoData& Picture)
    {
        if (!m_IsEqual) return;
        for (int32_t Plane = 0; Plane < Picture.GetPlaneCount() && m_IsEqual; ++Plane) ComparePlane(Picture, Plane);
        m_Pictures += m_IsEqual;
    }
    bool IsEqual() const { return m_IsEqual; }
    size_t Pictures() const { return m_Pictures; }
    bool IsAtEnd() { return m_File.peek() == std::ifstream::traits_type::eof(); }

private:
    void ComparePlane(const UMC::VideoData& Picture, int32_t Plane)
    {
        UMC::PlaneInfo Info{};
        Picture.GetPlaneInfo(&Info, Plane);
        std::vector<uint8_t> Row(static_cast<size_t>(Info.m_Width) * static_cast<size_t>(Info.m_SampleBytes));
        for (int32_t y = 0; y < Info.m_Height && m_IsEqual; ++y) {
            const uint8_t* const pOurs = Info.m_pPlane + ptrdiff_t{y} * Info.m_Pitch;
            m_File.read(reinterpret_cast<char*>(Row.data()), static_cast<std::streamsize>(Row.size()));
            if (!m_File) {
                std::printf("picture %zu: the other decoder has no more\n", m_Pictures);
                m_IsEqual = false;
                return;
            }
            const auto Differing = std::mismatch(Row.begin(), Row.end(), pOurs);
            if (Differing.first != Row.end())
                Report(Info, Plane, static_cast<int32_t>(Differing.first - Row.begin()), y, Row, pOurs);
        }
    }
    void Report(const UMC::PlaneInfo& Info, int32_t Plane, int32_t Byte, int32_t y, const std::vector<uint8_t>& Row,
                const uint8_t* pOurs)
    {
        m_IsEqual = false;
        const int32_t x = Byte / Info.m_SampleBytes;
        std::printf("picture %zu, plane %s, sample (%d, %d), macroblock (%d, %d): %d, expected %d\n", m_Pictures,
                    kPlaneName[Plane], x, y, x * Info.m_WidthDiv / 16, y * Info.m_HeightDiv / 16, pOurs[Byte],
                    Row[static_cast<size_t>(Byte)]);
    }

    std::ifstream m_File;
    size_t m_Pictures = 0;
    bool m_IsEqual = true;
};

} // namespace

int main(int argc, char** argv)
try {
    std::string Stream, Other;
    CLI::App App("Names the first picture and macroblock of a stream that differ from another decoder's pictures");
    App.add_option("IN", Stream, "Annex B byte stream")->required();
    App.add_option("YUV", Other, "the other decoder's pictures, raw and cropped, in output order")->required();
    CLI11_PARSE(App, argc, argv);
    const std::vector<uint8_t> Bytes = ReadFile(Stream);
    Comparison Result(Other);
    tools::StreamDecoder Decoder([&](const UMC::VideoData& Picture) { Result.Compare(Picture); }, 1, false);
    Decoder.Feed(Bytes);
    Decoder.Drain();
    if (!Result.IsEqual()) return 1;
    if (!Result.IsAtEnd()) {
        std::printf("%zu pictures, and the other decoder has more\n", Result.Pictures());
        return 1;
    }
    std::printf("%zu pictures are equal\n", Result.Pictures());
    return 0;
} catch (const std::exception& Fault) {
    std::cerr << "h264_compare: " << Fault.what() << '\n';
    return 2;
}
