// Replays inputs that a fuzzer found: every file of a folder, once.

#include "Fuzz.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

std::vector<std::uint8_t> contentOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    std::error_code error;
    std::size_t inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1], error)) {
        const std::vector<std::uint8_t> input = contentOf(entry.path());
        std::printf("%s, %zu bytes\n", entry.path().filename().c_str(), input.size());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++inputs;
    }
    std::printf("%zu inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
