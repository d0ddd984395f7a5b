// Replays saved fuzz inputs through a target's LLVMFuzzerTestOneInput: every argument is a file
// or a folder of files. A crash, a sanitizer report or an abort() in the target fails the test;
// an argument that cannot be read fails it too, so a mistyped corpus path is never a silent pass.
#include "fuzztarget.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

bool replayFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
    std::fprintf(stderr, "replay: %s (%zu bytes)\n", path.c_str(), bytes.size());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path argument(argv[i]);
        std::vector<std::filesystem::path> files;
        std::error_code error;
        if (std::filesystem::is_directory(argument, error)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(argument))
                // Hidden files (.gitkeep) hold no input; keep empty folders in git.
                if (entry.is_regular_file() && entry.path().filename().string()[0] != '.')
                    files.push_back(entry.path());
            std::sort(files.begin(), files.end()); // a stable order for readable logs
        } else {
            files.push_back(argument);
        }
        for (const auto& file : files) {
            if (!replayFile(file))
                return 1;
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    return replayed > 0 ? 0 : 1; // an empty corpus proves nothing
}
