// Runs a fuzz target over the files of a folder, each once: replay FOLDER
#include "fuzz.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

void Replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto input = fuzz::Exactly(std::string_view(bytes.data(), bytes.size()));
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.get()), bytes.size());
}

}   // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        std::size_t replayed = 0;
        for (const auto& file : std::filesystem::directory_iterator(argv[1])) {
            std::printf("%s\n", file.path().filename().string().c_str());
            static_cast<void>(std::fflush(stdout));   // the last line names the input that fails
            Replay(file.path());
            ++replayed;
        }
        std::printf("%zu inputs\n", replayed);
        return replayed != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return EXIT_FAILURE;
    }
}
