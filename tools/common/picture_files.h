// Files of pictures in any format that the tools know: raw sequences, y4m, PNG. Every failure is a CliError with the
// file's name.
#pragma once

#include "tools/common/files.h"
#include "tools/common/picture_layout.h"
#include "tools/common/picture_reader.h"

#include <optional>
#include <string>
#include <vector>

enum class FileFormat { Rgb24, Rgb32, I420, Y4m, Png };

/// "rgb24, rgb32, i420, y4m, png": for the help of a command.
inline constexpr char kFormatNames[] = "rgb24, rgb32, i420, y4m or png";

/// The format that is named, or without a name the one that the file's ending tells (.rgb24 .rgb32 .i420 .yuv .y4m
/// .png). CliError for a name or an ending that is not known; the line tells to use pOption.
FileFormat ChooseFormat(const std::string& File, const std::string& Name, const char* pOption);
PictureLayout LayoutOf(FileFormat Format);

/// Reads one picture after the other in the layout of the format.
class PictureSource
{
public:
    /// @param Size  Of raw pictures; may be empty where the file tells it, which it must not contradict.
    PictureSource(const std::string& Name, FileFormat Format, FrameSize Size);

    FrameSize Size() const { return m_Size; }
    PictureLayout Layout() const { return LayoutOf(m_Format); }
    /// Frames a second that the file names; 30:1 where it names none.
    int32_t RateNumerator() const;
    int32_t RateDenominator() const;
    /// False at the end of the file.
    bool Next(std::vector<uint8_t>& Picture);

private:
    bool NextRaw(std::vector<uint8_t>& Picture);

    std::string m_Name;
    FileFormat m_Format;
    FrameSize m_Size;
    std::optional<PictureReader> m_Planes; // I420 and y4m
    FileHandle m_Raw;                      // RGB
    std::vector<uint8_t> m_Png;            // waits to be asked for; empty afterwards
};

/// Writes pictures in the layout of the format. A PNG file takes one.
class PictureSink
{
public:
    PictureSink(const std::string& Name, FileFormat Format, FrameSize Size, int32_t RateNumerator = 30,
                int32_t RateDenominator = 1);

    PictureLayout Layout() const { return LayoutOf(m_Format); }
    void Write(const std::vector<uint8_t>& Picture);
    /// Tells a full disk; without it the file is incomplete.
    void Close();

private:
    std::string m_Name;
    FileFormat m_Format;
    FrameSize m_Size;
    std::optional<OutputFile> m_File; // all but PNG
    bool m_bWritten = false;
};
