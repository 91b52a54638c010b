// Writes status lines that overwrite each other on the terminal.

#include "progress.h"

#include "document.h"

namespace arborctl {
namespace {

constexpr std::uintmax_t kMegabyte = 1'000'000;
constexpr std::uintmax_t kLarge = 10 * kMegabyte;
constexpr std::size_t kKeysPerUpdate = 1 << 14;

}   // namespace

Progress::Stage::Stage(const Progress& progress, std::string line)
    : out(progress.out), sharesTerminal(progress.sharesTerminal), text(std::move(line)), width(text.size()) {
    *out << text << std::flush;
}

void Progress::Stage::Erase() {
    if (out != nullptr) *out << '\r' << std::string(width, ' ') << '\r' << std::flush;
    out = nullptr;
}

void Progress::Stage::CountKey() {
    if (out == nullptr || ++count % kKeysPerUpdate != 0) return;
    const std::string line = text + ' ' + std::to_string(count) + " keys";
    *out << '\r' << line << std::flush;
    width = line.size();
}

Progress::Stage Progress::Begin(std::string_view work, const std::filesystem::path& document) const {
    std::error_code missing;
    const std::uintmax_t size = out != nullptr ? std::filesystem::file_size(document, missing) : 0;
    if (missing || size < kLarge) return {};
    return {*this, std::string(work) + ' ' + PathText(document) + ", " + std::to_string(size / kMegabyte) + " MB ..."};
}

}   // namespace arborctl
