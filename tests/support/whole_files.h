// Files that go to the programs that tests are compared with, and what those wrote.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// Empty when there is no such file: the program has failed, and its caller says so.
std::vector<uint8_t> ReadWholeFile(const std::string& Path);
void WriteWholeFile(const std::string& Path, const std::vector<uint8_t>& Bytes);

} // namespace test
