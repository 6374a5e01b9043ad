// ReplayMain.cpp - runs a fuzz target's entry point over every file of its corpus, so that the
// corpus is replayed as an ordinary test by builds without libFuzzer.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replayFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
        return 1;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    int files = 0;
    int failures = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(path, ec)) {
            for (const auto& entry : std::filesystem::directory_iterator(path)) {
                if (entry.is_regular_file()) {
                    failures += replayFile(entry.path());
                    ++files;
                }
            }
        } else {
            failures += replayFile(path);
            ++files;
        }
    }
    // An empty corpus is a mistake in the build, not a pass.
    if (files == 0) {
        std::fprintf(stderr, "no corpus files found\n");
        return 1;
    }
    std::printf("replayed %d corpus files\n", files);
    return failures == 0 ? 0 : 1;
}
