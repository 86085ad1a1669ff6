// Runs a fuzz target's entry point on saved inputs, without libFuzzer: every file named on the
// command line, and every file in each directory named (a missing directory holds none). Fails
// when no input was run; a crash fails the test by itself.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            inputs.insert(inputs.end(), fs::directory_iterator(argv[i]), fs::directory_iterator());
        } else if (fs::exists(argv[i])) {
            inputs.push_back(argv[i]);
        }
    }
    for (const auto& path : inputs) {
        std::ifstream in(path, std::ios::binary);
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        std::fprintf(stderr, "%s (%zu bytes)\n", path.c_str(), bytes.size());  // unbuffered: before a crash
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
