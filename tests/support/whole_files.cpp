#include "tests/support/whole_files.h"

#include <fstream>

namespace test {

std::vector<uint8_t> ReadWholeFile(const std::string& Path)
{
    std::ifstream File(Path, std::ios::binary | std::ios::ate);
    if (!File) return {};
    std::vector<uint8_t> Bytes(static_cast<size_t>(File.tellg()));
    File.seekg(0);
    File.read(reinterpret_cast<char*>(Bytes.data()), static_cast<std::streamsize>(Bytes.size()));
    return Bytes;
}

void WriteWholeFile(const std::string& Path, const std::vector<uint8_t>& Bytes)
{
    std::ofstream(Path, std::ios::binary)
        .write(reinterpret_cast<const char*>(Bytes.data()), static_cast<std::streamsize>(Bytes.size()));
}

} // namespace test
