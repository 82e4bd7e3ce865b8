#include "tools/common/files.h"

#include "tools/common/cli_error.h"

#include <cerrno>
#include <cstring>

static CliError SystemError(const std::string& What, const std::string& Name)
{
    return CliError(What + " " + Name + ": " + std::strerror(errno));
}

FileHandle OpenForReading(const std::string& Name)
{
    FileHandle File(std::fopen(Name.c_str(), "rb"));
    if (!File) throw SystemError("cannot open", Name);
    return File;
}

std::vector<uint8_t> ReadWholeFile(const std::string& Name)
{
    const FileHandle File = OpenForReading(Name);
    std::vector<uint8_t> Bytes;
    uint8_t Chunk[65536];
    while (const size_t Count = std::fread(Chunk, 1, sizeof Chunk, File.get()))
        Bytes.insert(Bytes.end(), Chunk, Chunk + Count);
    if (std::ferror(File.get())) throw SystemError("cannot read", Name);
    return Bytes;
}

OutputFile::OutputFile(const std::string& Name) : m_Name(Name), m_File(std::fopen(Name.c_str(), "wb"))
{
    if (!m_File) throw SystemError("cannot write", Name);
}

void OutputFile::Write(const void* pBytes, size_t Size)
{
    if (Size && std::fwrite(pBytes, 1, Size, m_File.get()) != Size) throw SystemError("cannot write", m_Name);
}

void OutputFile::Close()
{
    if (std::fflush(m_File.get()) != 0) throw SystemError("cannot write", m_Name); // not every fclose tells of it
    if (std::fclose(m_File.release()) != 0) throw SystemError("cannot write", m_Name);
}
