// What a function writes into a file.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace test {

template <class Write>
std::string Dumped(Write&& WriteTo)
{
    std::FILE* const pFile = std::tmpfile();
    if (!pFile) {
        ADD_FAILURE() << "no temporary file";
        return {};
    }
    WriteTo(pFile);
    std::string Text(static_cast<size_t>(std::ftell(pFile)), '\0');
    std::rewind(pFile);
    EXPECT_EQ(std::fread(Text.data(), 1, Text.size(), pFile), Text.size());
    std::fclose(pFile);
    return Text;
}

} // namespace test
