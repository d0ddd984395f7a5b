// Replays saved fuzz inputs through a target's LLVMFuzzerTestOneInput: every argument is a file
// or a folder of files. A crash, a sanitizer report or an abort() in the target fails the test;
// so does an argument that cannot be read (a mistyped corpus path is never a silent pass) and an
// empty corpus, which proves nothing.
#include "fuzztarget.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files;
        std::error_code error;
        if (std::filesystem::is_directory(argv[i], error)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file() && entry.path().filename().string()[0] != '.')
                    files.push_back(entry.path()); // hidden files (.gitkeep) hold no input
            std::sort(files.begin(), files.end()); // a stable order for readable logs
        } else {
            files.emplace_back(argv[i]);
        }
        for (const auto& file : files) {
            std::ifstream in(file, std::ios::binary);
            if (!in) {
                std::fprintf(stderr, "replay: cannot read %s\n", file.c_str());
                return 1;
            }
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
            std::fprintf(stderr, "replay: %s (%zu bytes)\n", file.c_str(), bytes.size());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++replayed;
        }
    }
    std::printf("replayed %zu inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
