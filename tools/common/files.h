// Files of the command-line tools: every failure is a CliError with the file's name.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

struct FileCloser {
    void operator()(std::FILE* p) const { std::fclose(p); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

FileHandle OpenForReading(const std::string& Name);
std::vector<uint8_t> ReadWholeFile(const std::string& Name);

/// A file that is written in order. Close() tells a full disk; without it the file is incomplete.
class OutputFile
{
public:
    explicit OutputFile(const std::string& Name);
    void Write(const void* pBytes, size_t Size);
    void Write(const std::string& Text) { Write(Text.data(), Text.size()); }
    void Close();

private:
    std::string m_Name;
    FileHandle m_File;
};
