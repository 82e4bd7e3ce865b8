// Where a sequence of pictures first differs from another decoder's: a mismatch hunt begins there.
#pragma once

#include "tools/common/files.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

/// One plane of a picture in memory.
struct ComparedPlane {
    const uint8_t* pSamples;
    ptrdiff_t Pitch;             // bytes from one row to the next
    int32_t Width, Height;       // in samples, cropped
    int32_t SampleBytes;         // 1, or 2 with the low byte first
    int32_t WidthDiv, HeightDiv; // of the picture's size, 1 for luma
};

/// Walks a file of raw pictures, planes one after another without gaps, beside pictures in memory.
class PictureComparison
{
public:
    /// CliError when the file cannot be opened.
    explicit PictureComparison(const std::string& Name) : m_File(OpenForReading(Name)) {}

    /// Compares the next picture. Empty when it is equal, else a line that names the picture, the first macroblock in
    /// raster order that differs in any plane, its first sample that does, and both values; or that the file has no
    /// more pictures.
    std::string Next(std::span<const ComparedPlane> Planes);

    /// Pictures compared so far.
    size_t Count() const { return m_Count; }
    bool IsAtEnd();

private:
    FileHandle m_File;
    std::vector<uint8_t> m_Expected;
    size_t m_Count = 0;
};
