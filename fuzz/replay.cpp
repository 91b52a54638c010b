// Runs a fuzz target over a file or the files of a folder, each as it is and then in COUNT random variations (0):
// replay PATH [COUNT]. A variation depends only on the file and its number, so each run has the same inputs.
#include "fuzz.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

std::string Read(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("can't open " + file.string());
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Replaces, inserts, removes or repeats up to four ranges of `bytes`.
std::string Vary(std::string bytes, std::size_t number) {
    std::mt19937 random(static_cast<unsigned>(number + 1000 * bytes.size()));
    for (std::size_t edits = 1 + random() % 4; edits > 0; --edits) {
        const std::size_t position = random() % (bytes.size() + 1);
        const std::size_t length = 1 + random() % (random() % 8 == 0 ? 64 : 4);
        std::string inserted = bytes.substr(random() % (bytes.size() + 1), length);
        if (random() % 2 == 0) {
            for (char& byte : inserted) byte = static_cast<char>(random());
        }
        bytes.replace(position, random() % 2 == 0 ? length : 0, random() % 4 == 0 ? "" : inserted);
    }
    return bytes;
}

/// The last number that is printed after the file's name is that of the input that fails.
void Replay(const std::filesystem::path& file, std::size_t variations) {
    const std::string bytes = Read(file);
    std::printf("%s", file.filename().string().c_str());
    for (std::size_t number = 0; number <= variations; ++number) {
        std::printf(" %zu", number);
        static_cast<void>(std::fflush(stdout));
        const std::string varied = number == 0 ? bytes : Vary(bytes, number);
        const auto input = fuzz::CopyToBlock(std::string_view(varied));
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.get()), varied.size());
    }
    std::printf("\n");
}

}   // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: %s PATH [COUNT]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        const std::size_t variations = argc > 2 ? std::stoul(argv[2]) : 0;
        const std::filesystem::path path = argv[1];
        std::vector<std::filesystem::path> files = {path};
        if (std::filesystem::is_directory(path)) files.assign(std::filesystem::directory_iterator(path), {});
        for (const std::filesystem::path& file : files) Replay(file, variations);
        std::printf("%zu files\n", files.size());
        return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return EXIT_FAILURE;
    }
}
