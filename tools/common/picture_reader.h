// Sequences of I420 pictures from a .y4m file or raw bytes.
#pragma once

#include "tools/common/files.h"
#include "tools/common/picture_size.h"

#include <string>
#include <vector>

class PictureReader
{
public:
    /// A file that begins as a y4m file is read as one; otherwise it is raw I420 of the given size. CliError for a
    /// missing file, a missing or contradicting size, an empty file, or a y4m layout that is not 8-bit 4:2:0.
    PictureReader(const std::string& Name, FrameSize Size);

    FrameSize Size() const { return m_Size; }
    /// Frames a second that the file names, as a fraction; 0:1 for raw files.
    int32_t RateNumerator() const { return m_RateNumerator; }
    int32_t RateDenominator() const { return m_RateDenominator; }

    /// The next picture; false at the end of the file. CliError for a picture that is cut short.
    bool Next(std::vector<uint8_t>& Picture);

private:
    void ReadHeader();

    std::string m_Name;
    FileHandle m_File;
    FrameSize m_Size;
    bool m_bY4m = false;
    int32_t m_RateNumerator = 0, m_RateDenominator = 1;
};
