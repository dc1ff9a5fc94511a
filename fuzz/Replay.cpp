// Runs a target over the files given, and over the files of the folders given, without a fuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

// In the order of their names, so that runs can be compared.
std::set<fs::path> InputFiles(int argc, char** argv) {
    std::set<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        const fs::path path = fs::absolute(argv[i]);
        if (fs::is_directory(path)) {
            files.insert(fs::directory_iterator(path), fs::directory_iterator());
        } else {
            files.insert(path);
        }
    }
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    const std::set<fs::path> files = InputFiles(argc, argv);
    LLVMFuzzerInitialize(&argc, &argv);
    for (const fs::path& file : files) {
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        if (!stream.is_open()) {
            std::fprintf(stderr, "cannot read %s\n", file.c_str());
            return 1;
        }
        std::printf("%s\n", file.c_str());
        std::fflush(stdout);  // A crash must not keep the name of its input.
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs replayed\n", files.size());
    return files.empty() ? 1 : 0;
}
