#include "tools/common/picture_reader.h"

#include <cstring>
#include <sstream>

namespace {

constexpr char kMagic[] = "YUV4MPEG2";

// One line without its end mark; false at the end of the file.
bool ReadLine(std::FILE* pFile, std::string& Line)
{
    constexpr size_t kLongest = 1024;
    Line.clear();
    for (int c; (c = std::fgetc(pFile)) != EOF;) {
        if (c == '\n') return true;
        if (Line.size() == kLongest) return false;
        Line.push_back(static_cast<char>(c));
    }
    return !Line.empty();
}

} // namespace

PictureReader::PictureReader(const std::string& Name, FrameSize Size)
    : m_Name(Name), m_File(OpenForReading(Name)), m_Size(Size)
{
    char Start[sizeof kMagic - 1];
    const size_t Count = std::fread(Start, 1, sizeof Start, m_File.get());
    if (Count == 0) throw CliError("no picture in " + Name);
    m_bY4m = Count == sizeof Start && std::memcmp(Start, kMagic, sizeof Start) == 0;
    if (m_bY4m) {
        ReadHeader();
        return;
    }
    std::rewind(m_File.get());
    if (!Size) throw CliError("raw pictures need --size WxH: " + Name);
}

void PictureReader::ReadHeader()
{
    std::string Line, Field;
    if (!ReadLine(m_File.get(), Line)) throw CliError("broken y4m header in " + m_Name);
    FrameSize Size;
    std::istringstream Fields(Line);
    while (Fields >> Field) {
        const char* const pValue = Field.c_str() + 1;
        switch (Field[0]) {
        case 'W': Size.Width = std::atoi(pValue); break;
        case 'H': Size.Height = std::atoi(pValue); break;
        case 'F': std::sscanf(pValue, "%d:%d", &m_RateNumerator, &m_RateDenominator); break;
        case 'C':
            if (Field.rfind("C420", 0) != 0 || Field.find("p1") != std::string::npos)
                throw CliError("only 8-bit 4:2:0 pictures can be read, not " + Field.substr(1) + ": " + m_Name);
            break;
        default: break;
        }
    }
    if (!Size || Size.Width > 16384 || Size.Height > 16384)
        throw CliError("no usable size in the y4m header of " + m_Name);
    if (m_Size && m_Size != Size) throw CliError("--size differs from the y4m header of " + m_Name);
    if (m_RateNumerator <= 0 || m_RateDenominator <= 0) m_RateNumerator = 0, m_RateDenominator = 1;
    m_Size = Size;
}

bool PictureReader::Next(std::vector<uint8_t>& Picture)
{
    if (m_bY4m) {
        std::string Line;
        if (!ReadLine(m_File.get(), Line)) return false;
        if (Line.rfind("FRAME", 0) != 0) throw CliError("broken y4m picture header in " + m_Name);
    }
    // Odd sizes: the file's chroma planes round up, the library's picture rounds down.
    const size_t ChromaWidth = static_cast<size_t>(m_Size.Width + 1) / 2,
                 ChromaHeight = static_cast<size_t>(m_Size.Height + 1) / 2;
    const size_t FileBytes = m_bY4m ? m_Size.LumaBytes() + 2 * ChromaWidth * ChromaHeight : m_Size.I420Bytes();
    Picture.resize(FileBytes);
    const size_t Count = std::fread(Picture.data(), 1, FileBytes, m_File.get());
    if (Count == 0 && !m_bY4m) return false;
    if (Count != FileBytes) throw CliError("the last picture is cut short in " + m_Name);
    return true;
}
