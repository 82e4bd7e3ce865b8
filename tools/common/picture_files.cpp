#include "tools/common/picture_files.h"

#include "tools/common/png_file.h"

#include <utility>

FileFormat ChooseFormat(const std::string& File, const std::string& Name, const char* pOption)
{
    static const std::pair<const char*, FileFormat> kNames[] = {
        {"rgb24", FileFormat::Rgb24}, {"rgb32", FileFormat::Rgb32}, {"i420", FileFormat::I420},
        {"yuv", FileFormat::I420},    {"y4m", FileFormat::Y4m},     {"png", FileFormat::Png}};
    const size_t Dot = File.find_last_of('.');
    const std::string Wanted = !Name.empty() ? Name : Dot == std::string::npos ? std::string() : File.substr(Dot + 1);
    for (const auto& [pName, Format] : kNames)
        if (Wanted == pName) return Format;
    if (!Name.empty()) throw CliError("not a format (" + std::string(kFormatNames) + "): " + Name);
    throw CliError("the name does not tell the format: " + File + "; give " + pOption);
}

PictureLayout LayoutOf(FileFormat Format)
{
    switch (Format) {
    case FileFormat::Rgb24:
    case FileFormat::Png: return PictureLayout::Rgb24;
    case FileFormat::Rgb32: return PictureLayout::Rgb32;
    default: return PictureLayout::I420;
    }
}

PictureSource::PictureSource(const std::string& Name, FileFormat Format, FrameSize Size)
    : m_Name(Name), m_Format(Format), m_Size(Size)
{
    if (Layout() == PictureLayout::I420) {
        m_Planes.emplace(Name, Size);
        m_Size = m_Planes->Size();
        CheckSize(PictureLayout::I420, m_Size);
    } else if (Format == FileFormat::Png) {
        m_Size = ReadPng(Name, m_Png);
        if (Size && Size != m_Size) throw CliError("--size differs from that of " + Name);
    } else {
        m_Raw = OpenForReading(Name);
        if (!Size) throw CliError("raw pictures need --size WxH: " + Name);
    }
}

int32_t PictureSource::RateNumerator() const
{
    return m_Planes && m_Planes->RateNumerator() ? m_Planes->RateNumerator() : 30;
}

int32_t PictureSource::RateDenominator() const { return m_Planes ? m_Planes->RateDenominator() : 1; }

bool PictureSource::Next(std::vector<uint8_t>& Picture)
{
    if (m_Planes) return m_Planes->Next(Picture);
    if (m_Format != FileFormat::Png) return NextRaw(Picture);
    Picture = std::exchange(m_Png, {});
    return !Picture.empty();
}

bool PictureSource::NextRaw(std::vector<uint8_t>& Picture)
{
    Picture.resize(PictureBytes(Layout(), m_Size));
    const size_t Count = std::fread(Picture.data(), 1, Picture.size(), m_Raw.get());
    if (Count && Count != Picture.size()) throw CliError("the last picture is cut short in " + m_Name);
    return Count != 0;
}

PictureSink::PictureSink(const std::string& Name, FileFormat Format, FrameSize Size, int32_t RateNumerator,
                         int32_t RateDenominator)
    : m_Name(Name), m_Format(Format), m_Size(Size)
{
    CheckSize(Layout(), Size);
    if (Format != FileFormat::Png) m_File.emplace(Name);
    if (Format == FileFormat::Y4m)
        m_File->Write("YUV4MPEG2 W" + std::to_string(Size.Width) + " H" + std::to_string(Size.Height) + " F" +
                      std::to_string(RateNumerator) + ":" + std::to_string(RateDenominator) + " Ip A1:1 C420mpeg2\n");
}

void PictureSink::Write(const std::vector<uint8_t>& Picture)
{
    if (!m_File) {
        if (m_bWritten) throw CliError("a PNG file holds one picture, and there are more for " + m_Name);
        WritePng(m_Name, m_Size, Picture);
    } else {
        if (m_Format == FileFormat::Y4m) m_File->Write("FRAME\n");
        m_File->Write(Picture.data(), Picture.size());
    }
    m_bWritten = true;
}

void PictureSink::Close()
{
    if (m_File) m_File->Close();
}
