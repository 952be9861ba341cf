/// Runs a fuzz target once over the files of the folders given, in the order of their names.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/FuzzCheck.h"

int main(int ACount, char** AArguments)
{
    std::vector<std::filesystem::path> Files;
    for (int At = 1; At < ACount; ++At)
        for (const auto& Entry : std::filesystem::recursive_directory_iterator(AArguments[At]))
            if (Entry.is_regular_file())
                Files.push_back(Entry.path());
    std::sort(Files.begin(), Files.end());
    for (const auto& File : Files) {
        std::ifstream Stream(File, std::ios::binary);
        const std::string Bytes{std::istreambuf_iterator<char>(Stream), {}};
        std::fprintf(stderr, "%s\n", File.filename().c_str()); // the last one named is the one that failed
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(Bytes.data()), Bytes.size());
    }
    std::printf("%zu inputs\n", Files.size());
    return Files.empty() ? 1 : 0;
}
