// Runs the fuzz target once over each file of the folders on the command line, so that the seed
// corpus is tested by builds without libFuzzer too.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size);

int main(int argc, char** argv)
{
    int NumFiles = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& Entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            std::ifstream File(Entry.path(), std::ios::binary);
            const std::vector<char> Data{std::istreambuf_iterator<char>(File), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(Data.data()), Data.size());
            ++NumFiles;
        }
    }
    std::printf("%d files\n", NumFiles);
    return NumFiles > 0 ? 0 : 1;
}
