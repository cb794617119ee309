// Runs a fuzzer's function once over each file it is given, folders included, so
// that a build without libFuzzer still proves that no kept input breaks it.

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace {

std::vector<std::filesystem::path> FilesUnder(std::filesystem::path const& start) {
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_regular_file(start)) {
        files.push_back(start);
        return files;
    }
    for (auto const& entry : std::filesystem::recursive_directory_iterator(start)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    return files;
}

void Replay(std::filesystem::path const& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    // A buffer of exactly this size lets the address sanitizer see a read past the end.
    std::vector<uint8_t> const bytes(text.begin(), text.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
    size_t count = 0;
    std::filesystem::path current;
    try {
        for (int i = 1; i < argc; ++i) {
            for (auto const& path : FilesUnder(argv[i])) {
                current = path;
                Replay(path);
                ++count;
            }
        }
    } catch (std::exception const& e) {
        std::fprintf(stderr, "%s: %s\n", current.c_str(), e.what());
        return 1;
    }
    if (count == 0) {
        std::fprintf(stderr, "No input found. Give files or folders of kept inputs.\n");
        return 1;
    }
    std::printf("%zu inputs replayed\n", count);
    return 0;
}
