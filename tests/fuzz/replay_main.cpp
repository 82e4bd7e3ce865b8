// Runs a fuzz entry over every file of the folders named on the command line.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size);

int main(int argc, char** argv)
{
    size_t Count = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::exists(argv[i])) continue; // a target for which no finding is kept
        for (const auto& Entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (!Entry.is_regular_file()) continue;
            std::ifstream File(Entry.path(), std::ios::binary);
            const std::vector<char> Bytes((std::istreambuf_iterator<char>(File)), std::istreambuf_iterator<char>());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(Bytes.data()), Bytes.size());
            ++Count;
        }
    }
    std::printf("%zu inputs\n", Count);
    return Count == 0 ? 1 : 0;
}
